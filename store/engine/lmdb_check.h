#ifndef KO_ENGINE_LMDB_CHECK_H
#define KO_ENGINE_LMDB_CHECK_H

#include <string>
#include <string_view>

namespace ko::store::inner::lmdb
{

/// Walks the trees of pages of a store's file. LMDB trusts its pages: a number in one that was
/// changed can lead it anywhere. Afterwards every page of the file belongs to one tree or is listed
/// once as free; those of the trees are of the kind that belongs there, what a page holds fills its
/// room exactly, the keys of leaves ascend and those of branches divide them. Throws Error:
/// ErrorCode::Damaged for what is wrong first, ErrorCode::Io for a file that cannot be read.
void CheckPages(const std::string& path);

/// The same for what LMDB writes by: the list of free pages, against the numbers of all pages in
/// use. Reads the leaves of a tree only where some of its values have pages of their own.
void CheckFreePages(const std::string& path);

/// Throws Error (ErrorCode::Damaged) for a name that no tree of a store has, and says what to do
/// with a store of an earlier format.
void CheckSpaceName(std::string_view name, const std::string& path);

} // namespace ko::store::inner::lmdb

#endif
