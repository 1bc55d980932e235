#ifndef KOTM_STOREFILE_H
#define KOTM_STOREFILE_H

#include <cstdint>
#include <string>

namespace kotm
{

/// Looks at a store's file before it is mapped, for reading past the end of a mapped file ends the
/// process. Throws Failure: Exit::Io where it cannot be read, Exit::Damaged with what is wrong
/// where it is no LMDB file, of another version or byte order, or shorter than its own pages.
/// Returns the bytes that its pages take.
std::uint64_t CheckStoreFile(const std::string& path);

/// An open file with an exclusive lock on it, for the one who writes a store. The lock goes with
/// the process.
class LockedFile
{
public:
    /// Opens, and creates where `create` says so. Throws Failure (Exit::Io), also when another
    /// process holds the lock.
    LockedFile(const std::string& path, bool create);
    ~LockedFile();
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    /// Takes disk space for the file's first `bytes` bytes, so that a full disk is an error here
    /// and not a fault on a page of the map. Throws Failure (Exit::Io).
    void Reserve(std::uint64_t bytes);
    void Resize(std::uint64_t bytes);

private:
    std::string m_path;
    int m_file;
    std::uint64_t m_reserved = 0;
};

/// Makes a change of a directory's entries last.
void SyncDirectoryOf(const std::string& path);

} // namespace kotm

#endif
