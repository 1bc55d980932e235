#ifndef KO_STORE_QUERY_PLANNER_H
#define KO_STORE_QUERY_PLANNER_H

#include "object/snapshot.h"
#include "query/condition.h"
#include "query/index_range.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// A comparison of a predicate, and what the index on its attribute tells about it.
struct PlanTerm {
    const Condition* condition;
    bool negated;        ///< by an odd number of "not" around it
    std::string lowest;  ///< form of the index's lowest value; empty: no index, or no value in it
    std::string highest; ///< of the highest
    std::optional<IndexRange> range; ///< what narrowing leaves of the index
    double share;                    ///< estimated, of all objects
};

/// How to find the objects that meet a condition.
struct Plan {
    /// The part of an index to scan; absent: all objects are read.
    std::optional<IndexRange> range;
    double rangeShare = 1.0; ///< estimated share of the entries of that part
    double share = 1.0;      ///< estimated share of the objects that meet the condition
    std::vector<PlanTerm> terms;
    /// What the condition leaves of each index. Every object of the answer lies in all of them.
    std::map<std::size_t, IndexRange> ranges;
};

/// Asks the type of every comparison with an index for its estimate, combines them, and chooses the
/// cheapest way. `countOnly`: the objects themselves are not needed where the range is exact.
/// `condition` has to outlive the plan.
Plan MakePlan(Snapshot& snapshot, const Condition& condition, bool countOnly);

} // namespace ko::store::inner

#endif
