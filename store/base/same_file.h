#ifndef KO_STORE_BASE_SAME_FILE_H
#define KO_STORE_BASE_SAME_FILE_H

#include <string>

namespace ko::store::inner
{

/// What a path names once the symbolic links at its end are followed, whether there is such a file
/// or not.
std::string FollowLinks(std::string path);

/// True where two paths name one file, by whatever links, or would if there were one.
bool IsSameFile(const std::string& a, const std::string& b);

} // namespace ko::store::inner

#endif
