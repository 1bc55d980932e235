#ifndef KOTM_PAGECHECK_H
#define KOTM_PAGECHECK_H

#include <string>

namespace kotm
{

/// Walks the trees of pages of a store's file. LMDB trusts its pages: a number in one that was
/// changed can lead it anywhere. Afterwards all pages that it comes to are within the file and of
/// the kind that belongs there, no page is met twice, and what a page holds lies within it.
/// Throws Failure: Exit::Damaged for what is wrong first, Exit::Io for a file that cannot be read.
void CheckPages(const std::string& path);

} // namespace kotm

#endif
