#ifndef KO_STORE_QUERY_PLANNER_H
#define KO_STORE_QUERY_PLANNER_H

#include "query/plan.h"

namespace ko::store::inner
{

/// Estimates the ways that indexes have for a condition, by statistics, by counting entries, or by
/// the types' evaluators where there are no statistics, and chooses the cheapest. A null condition
/// is met by all objects. It has to outlive the plan.
Plan MakePlan(Snapshot& snapshot, const Condition* condition, const Wanted& wanted);

} // namespace ko::store::inner

#endif
