#ifndef KO_STORE_QUERY_ANSWER_H
#define KO_STORE_QUERY_ANSWER_H

#include "query/planner.h"
#include "query/scan.h"
#include <kostore.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// Finds the objects that a query asks for, in the order that it asks for.
class Answer
{
public:
    /// Throws Error (ErrorCode::Usage) for a predicate or an order that cannot be worked with.
    /// `count`: objects are only counted, in any order. The snapshot outlives the answer.
    Answer(Snapshot& snapshot, const Query& query, bool count);
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    /// The numbers of the next objects, up to `most`; none at the end. Valid until the next call.
    std::span<const std::uint64_t> Next(std::size_t most);
    /// How many there are, up to the limit.
    std::uint64_t Count();
    /// How many there are with each value of an attribute, null first, without a limit.
    std::vector<Group> CountBy(std::size_t attribute);

private:
    Scan& Start();
    void Sort();

    Snapshot& m_snapshot;
    std::optional<Condition> m_condition;
    Plan m_plan;
    bool m_isExact = false; ///< nothing is left to test
    std::optional<std::size_t> m_order;
    bool m_descending;
    bool m_mustSort = false; ///< no index brings the order
    bool m_isSorted = false;
    std::uint64_t m_left; ///< of the limit
    std::optional<Scan> m_scan;
    std::vector<std::uint64_t> m_sorted;
    std::size_t m_taken = 0; ///< of these
};

/// The place of an attribute, or kObjectIdIndex. Throws Error (ErrorCode::Usage) where there is
/// none.
std::size_t PlaceOf(const Schema& schema, const std::string& name);

} // namespace ko::store::inner

#endif
