#include "engine/lmdb_file.h"

#include "engine/locked_file.h"
#include <kostore.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstring>

namespace ko::store::inner::lmdb
{

namespace
{

// In the byte order and word size of the machine that wrote the file.
constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kVersion = 1;

constexpr std::uint64_t kSmallestPage = 512;
constexpr std::uint64_t kLargestPage = 32768;
constexpr std::uint64_t kLargestMap = std::uint64_t{1} << 46;
constexpr std::uint16_t kHeadKind = 8;
// Flags of the trees: keys that are numbers, and that the store is a file instead of a directory.
constexpr std::uint16_t kNumberKeys = 8;
constexpr std::uint16_t kPlainFile = 0x4000;

bool IsPageSize(std::uint64_t size)
{
    return std::has_single_bit(size) && size >= kSmallestPage && size <= kLargestPage;
}

bool IsSound(const Tree& tree, std::uint64_t lastPage)
{
    if (tree.root == Tree::kEmpty)
        return tree.depth == 0;
    return tree.root >= 2 && tree.root <= lastPage && tree.depth >= 1 &&
           tree.depth <= Tree::kDeepest;
}

} // namespace

/// The first two pages as far as they say something.
struct File::Heads {
    struct Page {
        std::uint64_t number;
        std::uint16_t unused;
        std::uint16_t kind;
        std::uint32_t alsoUnused;
        Head head;
    };
    static_assert(sizeof(Page) == kPageHeader + sizeof(Head));

    Page pages[2];

    const Head& First() const { return pages[0].head; }
    const Head& Second() const { return pages[1].head; }
    /// Each transaction has the number after the last one and is written over the head before
    /// that: at its number's place LMDB looks for a head.
    bool AreInTurn() const
    {
        const std::uint64_t first = First().transaction;
        const std::uint64_t second = Second().transaction;
        return first % 2 == 0 &&
               (second == first + 1 || second + 1 == first || first + second == 0);
    }
};

File::File(const std::string& path)
    // Without O_NONBLOCK a pipe would wait for its other end.
    : m_path(path), m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    struct stat info {
    };
    if (m_file < 0)
        throw Error(errno == ENOENT || errno == ENOTDIR ? ErrorCode::Missing : ErrorCode::Io,
                    SystemError(path));
    if (fstat(m_file, &info) == 0 && S_ISREG(info.st_mode))
        return;
    close(m_file);
    FailDamaged("is no store (not a regular file)");
}

File::~File()
{
    close(m_file);
}

void File::FailDamaged(const std::string& what) const
{
    throw Error(ErrorCode::Damaged, m_path + ": " + what);
}

bool File::Read(void* to, std::size_t bytes, std::uint64_t offset) const
{
    return pread(m_file, to, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

/// False where the second head cannot be read.
bool File::ReadHeads(Heads& heads) const
{
    if (!Read(&heads.pages[0], sizeof heads.pages[0], 0))
        FailDamaged("is no store (too short)");
    const Head& first = heads.First();
    if (first.magic == __builtin_bswap32(kMagic))
        FailDamaged("is a store of a machine with another byte order");
    if (first.magic != kMagic)
        FailDamaged("is no store");
    if (first.version != kVersion)
        FailDamaged("is of a file version that this program does not read");
    const std::uint64_t pageSize = first.trees[0].pageSize;
    if (!IsPageSize(pageSize))
        FailDamaged("is damaged (its first head has no page size)");
    return Read(&heads.pages[1], sizeof heads.pages[1], pageSize);
}

Head File::ReadHead() const
{
    Heads heads{};
    // A writer may be at work on a head while it is read: read twice the same, it is whole.
    for (int attempts = 0;; ++attempts) {
        Heads again{};
        if (!ReadHeads(heads) || !ReadHeads(again))
            FailDamaged("is damaged (its second page is missing or overwritten)");
        const bool still = std::memcmp(&heads, &again, sizeof heads) == 0;
        if ((still && heads.AreInTurn()) || attempts == 10)
            break;
    }
    CheckFormat(heads);
    const Head& latest =
        heads.Second().transaction > heads.First().transaction ? heads.Second() : heads.First();
    CheckLatest(latest);
    return latest;
}

void File::CheckFormat(const Heads& heads) const
{
    const Head& first = heads.First();
    const Head& second = heads.Second();
    if (second.magic != kMagic)
        FailDamaged("is damaged (its second page is missing or overwritten)");
    for (unsigned i = 0; i < 2; ++i) {
        if (heads.pages[i].number != i || heads.pages[i].kind != kHeadKind)
            FailDamaged("is damaged (page " + std::to_string(i) + " is no head)");
        // A writer keeps the larger of this and its own, in the older head too.
        if (heads.pages[i].head.mapSize > kLargestMap)
            FailDamaged("is damaged (its head has no size of a map)");
    }
    if (second.version != first.version || second.trees[0].pageSize != first.trees[0].pageSize)
        FailDamaged("is damaged (its two heads differ in version or page size)");
    if (!heads.AreInTurn())
        FailDamaged("is damaged (its two heads do not follow each other)");
}

void File::CheckLatest(const Head& head) const
{
    struct stat info {
    };
    if (fstat(m_file, &info) != 0)
        throw Error(ErrorCode::Io, SystemError(m_path));
    const auto size = static_cast<std::uint64_t>(info.st_size);
    const std::uint64_t pages = size / head.trees[0].pageSize;
    if (head.lastPage < 1 || head.lastPage >= std::uint64_t{1} << 48)
        FailDamaged("is damaged (its head has no last page)");
    if (head.lastPage >= pages)
        FailDamaged("is truncated: its pages take " + std::to_string(head.Bytes()) +
                    " bytes, the file has " + std::to_string(size));
    if (head.mapSize < head.Bytes())
        FailDamaged("is damaged (its head has no size of a map)");
    if ((head.trees[0].flags & ~kPlainFile) != kNumberKeys || head.trees[1].flags != 0)
        FailDamaged("is damaged (its head describes trees of another kind)");
    if (!IsSound(head.trees[0], head.lastPage) || !IsSound(head.trees[1], head.lastPage))
        FailDamaged("is damaged (its head names a root that is no page)");
}

std::uint64_t CheckHeads(const std::string& path)
{
    return File(path).ReadHead().Bytes();
}

} // namespace ko::store::inner::lmdb
