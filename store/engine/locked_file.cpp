#include "engine/locked_file.h"

#include "base/sync_directory.h"
#include <kostore.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <thread>

namespace ko::store::inner::lmdb
{

std::string SystemError(const std::string& path)
{
    return path + ": " + std::strerror(errno);
}

namespace
{

/// Takes the lock before the time is over; errno says why not.
bool Lock(int file, unsigned milliseconds)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    for (;;) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0)
            return true;
        if (errno != EWOULDBLOCK || Clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

bool RenameToFree(const char* from, const char* to, Naming way)
{
#if defined(__linux__)
    if (way == Naming::Rename) {
        if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
            return true;
        if (errno != EINVAL && errno != ENOSYS)
            return false;
    }
#endif
    if (way != Naming::Look) {
        if (link(from, to) == 0)
            return unlink(from) == 0;
        if (errno == EEXIST || errno == ENOENT)
            return false;
    }
    struct stat named {
    };
    if (lstat(to, &named) == 0) {
        errno = EEXIST;
        return false;
    }
    return std::rename(from, to) == 0;
}

} // namespace

LockedFile::LockedFile(const std::string& path, bool create, unsigned milliseconds) : m_path(path)
{
    Open(create);
    const bool locked = Lock(m_file, milliseconds);
    if (locked && (!create || IsNamed()))
        return;
    const bool busy = locked || errno == EWOULDBLOCK;
    const std::string message =
        busy ? path + ": another program is writing to it" : SystemError(path);
    close(m_file);
    throw Error(ErrorCode::Io, message);
}

void LockedFile::Open(bool create)
{
    struct stat named {
    };
    if (create && lstat(m_path.c_str(), &named) == 0 && !S_ISREG(named.st_mode))
        throw Error(ErrorCode::Io, m_path + ": is in the way (not a regular file)");
    m_file = open(m_path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0666);
    if (m_file < 0)
        throw Error(ErrorCode::Io, SystemError(m_path));
}

/// False where another loader has given the file another name since it was opened.
bool LockedFile::IsNamed() const
{
    struct stat opened {
    };
    struct stat named {
    };
    return fstat(m_file, &opened) == 0 && stat(m_path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

LockedFile::~LockedFile()
{
    close(m_file);
}

struct stat LockedFile::About() const
{
    struct stat opened {
    };
    if (fstat(m_file, &opened) != 0)
        throw Error(ErrorCode::Io, SystemError(m_path));
    return opened;
}

std::uint64_t LockedFile::Size() const
{
    return static_cast<std::uint64_t>(About().st_size);
}

std::uint64_t LockedFile::Names() const
{
    return About().st_nlink;
}

bool LockedFile::Read(void* to, std::size_t bytes, std::uint64_t offset) const
{
    return pread(m_file, to, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

void LockedFile::Write(const void* from, std::size_t bytes, std::uint64_t offset)
{
    if (pwrite(m_file, from, bytes, static_cast<off_t>(offset)) != static_cast<ssize_t>(bytes))
        throw Error(ErrorCode::Io, SystemError(m_path));
}

void LockedFile::Sync()
{
    if (fsync(m_file) != 0)
        throw Error(ErrorCode::Io, SystemError(m_path));
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
        throw Error(ErrorCode::Io, SystemError(m_path));
#endif
    m_reserved = wanted;
}

void LockedFile::Resize(std::uint64_t bytes)
{
    if (ftruncate(m_file, static_cast<off_t>(bytes)) != 0)
        throw Error(ErrorCode::Io, SystemError(m_path));
    m_reserved = std::min(m_reserved, bytes);
}

void LockedFile::TakeName(const std::string& path, Naming first)
{
    if (!RenameToFree(m_path.c_str(), path.c_str(), first))
        throw Error(errno == EEXIST ? ErrorCode::Exists : ErrorCode::Io, SystemError(path));
    m_path = path;
    SyncDirectoryOf(path);
}

} // namespace ko::store::inner::lmdb
