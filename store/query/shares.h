#ifndef KO_STORE_QUERY_SHARES_H
#define KO_STORE_QUERY_SHARES_H

#include "query/costs.h"
#include "query/plan.h"
#include "statistics/estimator.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ko::store::inner
{

/// Estimates for one plan, as shares of the objects that the store has now.
class Shares
{
public:
    /// `estimator` is null where there are no statistics. `terms` are what types say of conditions
    /// on ids, beside statistics.
    Shares(Snapshot& snapshot, Estimator* estimator, std::span<const PlanTerm> terms = {});

    bool HasStatistics() const { return m_estimator != nullptr; }
    /// Of a range; `byTypes` is what the types say.
    Share OfRange(const IndexRange& range, double byTypes);
    /// The entries of a range, where counting them is cheap and they are no more than `most`.
    std::optional<std::uint64_t> Count(const IndexRange& range, std::uint64_t most);
    /// Of a way of several parts.
    Share OfWay(const Way& way, double byTypes);
    Share OfCondition(const Condition& condition, bool negated, double byTypes);
    /// What it costs to test a condition, part by part on the objects that are still open.
    TestCost CostOf(const Condition& condition);
    /// About how many rows an index has for the objects of a range.
    double Rows(const IndexRange& range, double objects);

private:
    /// What counting came to.
    struct Counted {
        IndexRange range;
        std::uint64_t entries;
        std::uint64_t most; ///< so many were wanted
        bool IsAll() const { return entries <= most; }
    };

    struct Tested {
        TestCost cost;
        double share;
    };

    Tested Test(const Condition& condition, bool negated);
    TestCost TestLeaf(const Condition& condition);
    const Counted* Walk(const IndexRange& range, std::uint64_t most);
    std::optional<std::uint64_t> CountBlindly(const IndexRange& range);
    Share OfQuestion(const Question& question);
    Share WithIds(const Condition& condition, bool negated);

    Snapshot& m_snapshot;
    Estimator* m_estimator;
    std::span<const PlanTerm> m_terms;
    double m_objects;
    std::uint64_t m_mostCounted;
    std::vector<Counted> m_counted;
};

} // namespace ko::store::inner

#endif
