#ifndef KO_STORE_BASE_SYNC_DIRECTORY_H
#define KO_STORE_BASE_SYNC_DIRECTORY_H

#include <string>

namespace ko::store::inner
{

/// Makes a change of the name of a file last.
void SyncDirectoryOf(const std::string& path);

} // namespace ko::store::inner

#endif
