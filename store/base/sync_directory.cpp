#include "base/sync_directory.h"

#include <fcntl.h>
#include <unistd.h>

namespace ko::store::inner
{

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

} // namespace ko::store::inner
