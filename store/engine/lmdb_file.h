#ifndef KO_ENGINE_LMDB_FILE_H
#define KO_ENGINE_LMDB_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace ko::store::inner::lmdb
{

/// A page of a store's file begins with so many bytes; after them the first two hold a head each.
inline constexpr std::size_t kPageHeader = 16;

/// LMDB's description of a tree of pages.
struct Tree {
    static constexpr std::uint64_t kEmpty = ~std::uint64_t{0};
    static constexpr unsigned kDeepest = 32; ///< LMDB's cursors hold as many pages

    std::uint32_t pageSize; ///< in the first tree of a head
    std::uint16_t flags;
    std::uint16_t depth;
    std::uint64_t branchPages;
    std::uint64_t leafPages;
    std::uint64_t longPages;
    std::uint64_t entries;
    std::uint64_t root; ///< kEmpty: no page
};

/// LMDB's head of a file, of which the one with the larger transaction number counts.
struct Head {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    Tree trees[2]; ///< the free pages, and the databases by name
    std::uint64_t lastPage;
    std::uint64_t transaction;

    /// That all pages take.
    std::uint64_t Bytes() const { return (lastPage + 1) * trees[0].pageSize; }
};
static_assert(sizeof(Tree) == 48 && sizeof(Head) == 136);

/// A store's file, to look at before it is mapped: reading past the end of a mapped file ends the
/// process.
class File
{
public:
    /// Throws Error: ErrorCode::Missing where there is none, ErrorCode::Io where it cannot be
    /// opened, ErrorCode::Damaged where it is no regular file, for which it never waits.
    explicit File(const std::string& path);
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const std::string& Path() const { return m_path; }
    bool Read(void* to, std::size_t bytes, std::uint64_t offset) const;
    /// The head that counts. Throws Error (ErrorCode::Damaged) with what is wrong where it is no
    /// LMDB file, of another version or byte order, or shorter than its own pages, and where one of
    /// the heads says what LMDB must not believe: it maps what they say and looks at nothing first.
    Head ReadHead() const;

private:
    struct Heads;

    bool ReadHeads(Heads& heads) const;
    void CheckFormat(const Heads& heads) const;
    void CheckLatest(const Head& head) const;
    [[noreturn]] void FailDamaged(const std::string& what) const;

    std::string m_path;
    int m_file;
};

/// Opens a store's file and looks at its head, with File's Failures. Returns the bytes that
/// its pages take.
std::uint64_t CheckHeads(const std::string& path);

} // namespace ko::store::inner::lmdb

#endif
