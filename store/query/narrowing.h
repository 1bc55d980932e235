#ifndef KO_STORE_QUERY_NARROWING_H
#define KO_STORE_QUERY_NARROWING_H

#include "object/snapshot.h"
#include "query/condition.h"
#include "query/index_range.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// A comparison of a predicate, and what the index on its attribute tells about it.
struct PlanTerm {
    const Condition* condition;
    bool negated;                      ///< by an odd number of "not" around it
    std::string lowest{};              ///< form of the index's lowest value, where it was asked for
    std::string highest{};             ///< of the highest
    std::optional<IndexRange> range{}; ///< what narrowing leaves of the index
    double share = 1.0;                ///< of all objects, as the types estimate it
};

/// What indexes have for a condition: each part and each of `either` holds all objects that meet
/// it, and so do those that several of them have together.
struct Narrowed {
    /// A range of an index.
    struct Part {
        IndexRange range;
        double share;          ///< of its entries, as the types estimate it
        std::uint64_t answers; ///< the conditions of an "and", a bit each, that all in it meet
    };
    /// What an "or" leaves: for each of its conditions what indexes have for that.
    struct Either {
        std::shared_ptr<const std::vector<Narrowed>> parts;
        std::uint64_t answers; ///< provided that each of its parts is exact
    };

    double share = 1.0;                  ///< of the objects, as the types estimate it
    std::map<std::size_t, Part> parts{}; ///< by attribute; those without a part are not limited
    std::vector<Either> either{};
    std::optional<std::size_t> attribute{}; ///< the only one that it asks about
    std::uint64_t all = 1;                  ///< the bits of all conditions of an "and"
};

/// Asks the type of every comparison what it leaves of the index on its attribute. `estimates`: and
/// how much that is, by the two ends of the index; otherwise no share says anything. `terms` get
/// all comparisons as they are written. Throws Error (ErrorCode::Damaged) where indexes that are
/// needed were made under another order.
Narrowed Narrow(Snapshot& snapshot, const Condition& condition, bool estimates,
                std::vector<PlanTerm>& terms);

} // namespace ko::store::inner

#endif
