#ifndef KO_ENGINE_UNFINISHED_FILE_H
#define KO_ENGINE_UNFINISHED_FILE_H

#include "engine/locked_file.h"

#include <memory>
#include <string>

namespace ko::store::inner::lmdb
{

/// What a file says of itself, behind the first head of LMDB, where a store that is whole has
/// zeros. Only by this mark is a file in the name of a new store known to be a loader's, and not
/// somebody's own.
enum class Mark {
    None,
    Unfinished, ///< nobody needs what is in it
    Naming,     ///< it is whole and takes its name: once it has two, the first may go
};
void SetMark(LockedFile& file, Mark mark);

/// Opens and locks the file that a loader builds a store in, or, without `create`, the one that a
/// loader left that was killed. What is in it may be destroyed. Throws Error (ErrorCode::Io)
/// for a file that is somebody's own, which stays as it is, and while a loader is at work.
std::unique_ptr<LockedFile> ClaimUnfinished(const std::string& path, bool create);

/// Throws Error (ErrorCode::Io) where a file stands in the name of LMDB's lock file that is none:
/// LMDB would write over it.
void RequireLockFile(const std::string& path);

} // namespace ko::store::inner::lmdb

#endif
