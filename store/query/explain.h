#ifndef KO_STORE_QUERY_EXPLAIN_H
#define KO_STORE_QUERY_EXPLAIN_H

#include "object/snapshot.h"
#include <kostore.h>

#include <string>

namespace ko::store::inner
{

/// Shows how a predicate would be answered: for each comparison the index, its lowest and highest
/// key, what narrowing leaves of it, and the share of the objects, estimated and, counted on all of
/// them, true; then the way that is chosen. Throws Error (ErrorCode::Usage) for the predicate.
Explanation Explain(Snapshot& snapshot, const std::string& predicate);

} // namespace ko::store::inner

#endif
