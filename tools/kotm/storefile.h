#ifndef KOTM_STOREFILE_H
#define KOTM_STOREFILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace kotm
{

/// A page of a store's file begins with so many bytes; after them the first two hold a head each.
inline constexpr std::size_t kPageHeader = 16;

/// The file in which a new store is written before it has its name.
inline std::string NewStorePath(const std::string& path)
{
    return path + ".new";
}
/// The file through which LMDB knows of readers and writers.
inline std::string StoreLockPath(const std::string& path)
{
    return path + "-lock";
}

/// LMDB's description of a tree of pages.
struct StoreTree {
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
struct StoreHead {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    StoreTree trees[2]; ///< the free pages, and the databases by name
    std::uint64_t lastPage;
    std::uint64_t transaction;

    /// That all pages take.
    std::uint64_t Bytes() const { return (lastPage + 1) * trees[0].pageSize; }
};
static_assert(sizeof(StoreTree) == 48 && sizeof(StoreHead) == 136);

/// A store's file, to look at before it is mapped: reading past the end of a mapped file ends the
/// process.
class StoreFile
{
public:
    /// Throws Failure: Exit::Io where it cannot be opened, Exit::Damaged where it is no regular
    /// file, for which it never waits.
    explicit StoreFile(const std::string& path);
    ~StoreFile();
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

    const std::string& Path() const { return m_path; }
    bool Read(void* to, std::size_t bytes, std::uint64_t offset) const;
    /// The head that counts. Throws Failure (Exit::Damaged) with what is wrong where it is no LMDB
    /// file, of another version or byte order, or shorter than its own pages, and where one of the
    /// heads says what LMDB must not believe: it maps what they say and looks at nothing first.
    StoreHead Head() const;

private:
    struct Heads;

    bool ReadHeads(Heads& heads) const;
    void CheckFormat(const Heads& heads) const;
    void CheckLatest(const StoreHead& head) const;
    [[noreturn]] void FailDamaged(const std::string& what) const;

    std::string m_path;
    int m_file;
};

/// Opens a store's file and looks at its head, with StoreFile's Failures. Returns the bytes that
/// its pages take.
std::uint64_t CheckStoreFile(const std::string& path);

/// An open file with an exclusive lock on it, for the one who writes a store. The lock goes with
/// the process.
class LockedFile
{
public:
    /// Opens, and creates where `create` says so. Throws Failure (Exit::Io), also when another
    /// process holds the lock, or the name is that of something else than a regular file.
    LockedFile(const std::string& path, bool create);
    ~LockedFile();
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    /// Takes disk space for the file's first `bytes` bytes, so that a full disk is an error here
    /// and not a fault on a page of the map. Throws Failure (Exit::Io).
    void Reserve(std::uint64_t bytes);
    void Resize(std::uint64_t bytes);

private:
    bool IsNamed() const;

    std::string m_path;
    int m_file;
    std::uint64_t m_reserved = 0;
};

/// Ends the process with Exit::Damaged and a sentence: for signals, and faults that LMDB meets in
/// pages that it trusts.
[[noreturn]] void EndOnBrokenPage() noexcept;

/// Makes a change of a directory's entries last.
void SyncDirectoryOf(const std::string& path);

} // namespace kotm

#endif
