#ifndef KO_STORE_QUERY_EXPLAIN_H
#define KO_STORE_QUERY_EXPLAIN_H

#include "object/snapshot.h"
#include <kostore.h>

#include <string>

namespace ko::store::inner
{

/// Shows how a query would be answered: for each comparison the index, its lowest and highest key,
/// what narrowing leaves of it, and the share of the objects, estimated and, counted on all of
/// them, true; then the ways that are weighed, the one that is chosen first. Throws Error
/// (ErrorCode::Usage) for the predicate and for the order.
Explanation Explain(Snapshot& snapshot, const Query& query);

} // namespace ko::store::inner

#endif
