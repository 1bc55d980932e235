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

// In the byte order and word size of the machine that wrote the file.
constexpr std::uint32_t kMagic = 0xBEEFC0DE;
constexpr std::uint32_t kVersion = 1;

std::string Error(const std::string& path)
{
    return path + ": " + std::strerror(errno);
}

[[noreturn]] void FailDamaged(const std::string& path, const std::string& what)
{
    throw Failure(Exit::Damaged, path + ": " + what);
}

} // namespace

StoreFile::StoreFile(const std::string& path)
    : m_path(path), m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC))
{
    struct stat info {
    };
    if (m_file < 0)
        throw Failure(Exit::Io, Error(path));
    if (fstat(m_file, &info) == 0 && S_ISREG(info.st_mode))
        return;
    close(m_file);
    FailDamaged(path, "is no store (not a regular file)");
}

StoreFile::~StoreFile()
{
    close(m_file);
}

bool StoreFile::Read(void* to, std::size_t bytes, std::uint64_t offset) const
{
    return pread(m_file, to, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

StoreHead StoreFile::Head() const
{
    StoreHead first{};
    StoreHead second{};
    if (!Read(&first, sizeof first, kPageHeader))
        FailDamaged(m_path, "is no store (too short)");
    if (first.magic == __builtin_bswap32(kMagic))
        FailDamaged(m_path, "is a store of a machine with another byte order");
    if (first.magic != kMagic)
        FailDamaged(m_path, "is no store");
    const std::uint64_t pageSize = first.trees[0].pageSize;
    if (first.version != kVersion || !std::has_single_bit(pageSize) || pageSize < 512 ||
        pageSize > 65536)
        FailDamaged(m_path, "is of a file version that this program does not read");
    if (!Read(&second, sizeof second, pageSize + kPageHeader) || second.magic != kMagic)
        FailDamaged(m_path, "is damaged (its second page is missing or overwritten)");
    StoreHead& latest = second.transaction > first.transaction ? second : first;
    latest.trees[0].pageSize = first.trees[0].pageSize;
    struct stat info {
    };
    if (fstat(m_file, &info) != 0)
        throw Failure(Exit::Io, Error(m_path));
    const auto size = static_cast<std::uint64_t>(info.st_size);
    if (latest.lastPage >= size / pageSize)
        FailDamaged(m_path, "is truncated: its pages take " + std::to_string(latest.Bytes()) +
                                " bytes, the file has " + std::to_string(size));
    return latest;
}

std::uint64_t CheckStoreFile(const std::string& path)
{
    return StoreFile(path).Head().Bytes();
}

LockedFile::LockedFile(const std::string& path, bool create) : m_path(path), m_file(-1)
{
    struct stat named {
    };
    // What has a second name is whole: the import that made it was killed before it took this one
    // away. Written over, it would be lost under the other.
    if (create && lstat(path.c_str(), &named) == 0 && named.st_nlink > 1)
        unlink(path.c_str());
    m_file = open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0666);
    if (m_file < 0)
        throw Failure(Exit::Io, Error(path));
    const bool locked = flock(m_file, LOCK_EX | LOCK_NB) == 0;
    if (locked && (!create || IsNamed()))
        return;
    const bool busy = locked || errno == EWOULDBLOCK;
    const std::string message = busy ? path + ": another import is writing to it" : Error(path);
    close(m_file);
    throw Failure(Exit::Io, message);
}

/// False where another import has given the file another name since it was opened.
bool LockedFile::IsNamed() const
{
    struct stat opened {
    };
    struct stat named {
    };
    return fstat(m_file, &opened) == 0 && stat(m_path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino && opened.st_nlink == 1;
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

void EndOnBrokenPage() noexcept
{
    constexpr char kMessage[] =
        "kotm: reading the store went wrong: it is damaged if \"kotm check\" finds a fault in it\n";
    [[maybe_unused]] const ssize_t put = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
    _exit(static_cast<int>(Exit::Damaged));
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
