#ifndef KO_ENGINE_LMDB_COUNT_H
#define KO_ENGINE_LMDB_COUNT_H

#include "engine/engine.h"
#include "engine/lmdb_file.h"

namespace ko::store::inner::lmdb
{

/// The entries of a range of a tree, guessed from where its ends stand on the pages on the way down
/// to them, of which none must be written meanwhile.
std::uint64_t CountByPages(const File& file, std::size_t pageSize, const Tree& tree,
                           const Range& range);

} // namespace ko::store::inner::lmdb

#endif
