#ifndef KOTM_PAGECHECK_H
#define KOTM_PAGECHECK_H

#include <string>

namespace kotm
{

/// Walks the trees of pages of a store's file. LMDB trusts its pages: a number in one that was
/// changed can lead it anywhere. Afterwards every page of the file belongs to one tree or is listed
/// once as free; those of the trees are of the kind that belongs there, what a page holds fills its
/// room exactly, and every key of a branch is the lowest one below it. The order of keys is left to
/// who knows it where it is not that of their bytes. Throws Failure: Exit::Damaged for what is
/// wrong first, Exit::Io for a file that cannot be read.
void CheckPages(const std::string& path);

/// The same for what LMDB writes by: the list of free pages, against the numbers of all pages in
/// use. Reads the leaves of a tree only where some of its values have pages of their own.
void CheckFreePages(const std::string& path);

} // namespace kotm

#endif
