#ifndef KO_ENGINE_LOCKED_FILE_H
#define KO_ENGINE_LOCKED_FILE_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace ko::store::inner::lmdb
{

/// A sentence about a file of which the system has just refused something, from errno.
std::string SystemError(const std::string& path);

/// How a file gets a name that nothing has: by the first of these that the file system can do.
enum class Naming {
    Rename, ///< in one step
    Link,   ///< by a second name, of which the first is then taken away
    Look,   ///< by a look, and under the lock that everybody takes who makes such a file
};

/// An open file with an exclusive lock on it, for the one who writes a store. The lock goes with
/// the process.
class LockedFile
{
public:
    /// Opens, and creates where `create` says so, and waits for the lock so long. Throws Error
    /// (ErrorCode::Io), also when another one holds the lock, or the name is that of something else
    /// than a regular file.
    LockedFile(const std::string& path, bool create, unsigned milliseconds = 0);
    ~LockedFile();
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    std::uint64_t Size() const;
    /// How many names it has.
    std::uint64_t Names() const;
    /// False where the file ends before.
    bool Read(void* to, std::size_t bytes, std::uint64_t offset) const;
    /// Throws Error (ErrorCode::Io), as does Sync.
    void Write(const void* from, std::size_t bytes, std::uint64_t offset);
    void Sync();
    /// Takes disk space for the file's first `bytes` bytes, so that a full disk is an error here
    /// and not a fault on a page of the map. Throws Error (ErrorCode::Io).
    void Reserve(std::uint64_t bytes);
    void Resize(std::uint64_t bytes);
    /// Gives the file another name, which nothing must have, all at once and to last, by the
    /// first way from `first` on that can be gone. Throws Error: ErrorCode::Exists where something
    /// has it, which stays as it is.
    void TakeName(const std::string& path, Naming first = Naming::Rename);

private:
    struct stat About() const;
    void Open(bool create);
    bool IsNamed() const;

    std::string m_path;
    int m_file = -1;
    std::uint64_t m_reserved = 0;
};

} // namespace ko::store::inner::lmdb

#endif
