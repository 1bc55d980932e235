#ifndef KO_STORE_CHECK_INDEX_CHECK_H
#define KO_STORE_CHECK_INDEX_CHECK_H

#include "check/fault_list.h"
#include "engine/engine.h"
#include "object/index_feed.h"

namespace ko::store::inner
{

/// Looks at every row of every index: checksums, layout, and that the rows of one value do not
/// overlap. With `expected`, which has the entries of all objects and is emptied, each index must
/// have these and nothing else; the first row of an index that differs is told.
void CheckIndexes(Reader& reader, const Schema& schema, IndexFeed* expected, FaultList& faults);

} // namespace ko::store::inner

#endif
