#ifndef KO_STORE_QUERY_PLAN_H
#define KO_STORE_QUERY_PLAN_H

#include "query/narrowing.h"
#include "query/way.h"
#include "statistics/question.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace ko::store::inner
{

/// What is wanted of the objects that meet a condition.
struct Wanted {
    bool countOnly = false; ///< the objects themselves are not needed where a way is exact
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    /// They come in the order of this attribute, which is not kObjectIdIndex.
    std::optional<std::size_t> order{};
    bool tells = false; ///< everything is estimated, for people
};

/// How many objects meet something, as a share of all, and how it is known.
struct Share {
    enum class Source {
        Statistics, ///< see `estimate`
        Walk,       ///< entries of an index were counted
        Types,      ///< the types' evaluators, or what is assumed
    };

    double share = 1.0;
    Source source = Source::Types;
    Estimate::Source estimate = Estimate::Source::Counts;
};

/// A way that was weighed.
struct Alternative {
    std::optional<Way> way; ///< absent: all objects
    bool inOrder = false;   ///< its range is walked in the order that is wanted
    double share = 1.0;     ///< of the objects that are looked at, estimated
    double cost = 0.0;      ///< in nanoseconds
    bool chosen = false;
};

/// How old statistics are.
struct StatisticsAge {
    std::uint64_t objects; ///< that the store had when they were made
    std::uint64_t added;   ///< since
    std::uint64_t erased;  ///< since
};

/// How to find the objects that meet a condition.
struct Plan {
    std::optional<Way> way; ///< absent: all objects are read
    bool inOrder = false;   ///< the way is a range that is walked in the order that is wanted
    Share found;            ///< the objects that meet the condition; where Wanted::tells
    Narrowed narrowed;
    std::vector<PlanTerm> terms;
    std::optional<StatisticsAge> age;      ///< of statistics that were asked; where Wanted::tells
    std::vector<Share> shares;             ///< of the terms; where Wanted::tells
    std::vector<Alternative> alternatives; ///< from the cheapest on; where Wanted::tells
};

} // namespace ko::store::inner

#endif
