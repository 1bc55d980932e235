#include "storefile.h"

#include "failure.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

namespace kotm
{

namespace
{

// The head of an LMDB data file: a page header of 16 bytes, then the meta data below, once on each
// of the first two pages; the one with the larger transaction number counts. All in the byte
// order and word size of the machine that wrote it.
constexpr std::size_t kPageHeader = 16;
constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kVersion = 1;

struct MetaData {
    std::uint32_t magic;
    std::uint32_t version;
    std::uint64_t address;
    std::uint64_t mapSize;
    struct {
        std::uint32_t pageSize; ///< in the first database's record
        std::uint8_t rest[44];
    } databases[2];
    std::uint64_t lastPage;
    std::uint64_t transaction;
};
static_assert(sizeof(MetaData) == 136);

std::string Error(const std::string& path)
{
    return path + ": " + std::strerror(errno);
}

bool ReadMeta(int file, std::uint64_t page, std::uint64_t pageSize, MetaData& meta)
{
    const auto offset = static_cast<off_t>(page * pageSize + kPageHeader);
    return pread(file, &meta, sizeof meta, offset) == static_cast<ssize_t>(sizeof meta);
}

std::uint64_t CheckOpenFile(int file, std::uint64_t size, const std::string& path)
{
    const auto fail = [&](const std::string& what) -> void {
        throw Failure(Exit::Damaged, path + ": " + what);
    };
    MetaData first{};
    MetaData second{};
    if (!ReadMeta(file, 0, 0, first))
        fail("is no store (too short)");
    if (first.magic == __builtin_bswap32(kMagic))
        fail("is a store of a machine with another byte order");
    if (first.magic != kMagic)
        fail("is no store");
    const std::uint64_t pageSize = first.databases[0].pageSize;
    if (first.version != kVersion || !std::has_single_bit(pageSize) || pageSize < 512 ||
        pageSize > 65536)
        fail("is of a file version that this program does not read");
    if (!ReadMeta(file, 1, pageSize, second) || second.magic != kMagic)
        fail("is damaged (its second page is missing or overwritten)");
    const MetaData& latest = second.transaction > first.transaction ? second : first;
    const std::uint64_t needed = (latest.lastPage + 1) * pageSize;
    if (latest.lastPage > size / pageSize || needed > size)
        fail("is truncated: its pages take " + std::to_string(needed) + " bytes, the file has " +
             std::to_string(size));
    return needed;
}

} // namespace

std::uint64_t CheckStoreFile(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {
    };
    if (file < 0 || fstat(file, &info) != 0)
        throw Failure(Exit::Io, Error(path));
    struct Closer {
        int file;
        ~Closer() { close(file); }
    } const closer{file};
    if (!S_ISREG(info.st_mode))
        throw Failure(Exit::Damaged, path + ": is no store (not a regular file)");
    return CheckOpenFile(file, static_cast<std::uint64_t>(info.st_size), path);
}

LockedFile::LockedFile(const std::string& path, bool create)
    : m_path(path), m_file(open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0666))
{
    if (m_file < 0)
        throw Failure(Exit::Io, Error(path));
    if (flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        const bool busy = errno == EWOULDBLOCK;
        const std::string message = busy ? path + ": another import is writing to it" : Error(path);
        close(m_file);
        throw Failure(Exit::Io, message);
    }
}

LockedFile::~LockedFile()
{
    close(m_file);
}

void LockedFile::Reserve(std::uint64_t bytes)
{
    if (bytes <= m_reserved)
        return;
    // In steps that grow with the file: few calls for a large one, little too much for a small.
    const std::uint64_t wanted = bytes + std::max<std::uint64_t>(bytes / 4, 4U << 20);
#if defined(__linux__)
    if (fallocate(m_file, 0, static_cast<off_t>(m_reserved),
                  static_cast<off_t>(wanted - m_reserved)) != 0 &&
        errno != EOPNOTSUPP)
        throw Failure(Exit::Io, Error(m_path));
#endif
    m_reserved = wanted;
}

void LockedFile::Resize(std::uint64_t bytes)
{
    if (ftruncate(m_file, static_cast<off_t>(bytes)) != 0)
        throw Failure(Exit::Io, Error(m_path));
    m_reserved = std::min(m_reserved, bytes);
}

void SyncDirectoryOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int file = open(directory.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return;
    fsync(file);
    close(file);
}

} // namespace kotm
