#include "query/planner.h"

#include "query/chooser.h"
#include "query/costs.h"
#include "query/scan.h"
#include "query/shares.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// So many objects are read in less time than it takes to think about them, where there are others
/// to choose from, and where there are none.
constexpr std::uint64_t kFew = 4;
constexpr std::uint64_t kFewAlone = 50;

void AddAttributes(const Condition& condition, std::vector<std::size_t>& attributes)
{
    for (const Condition& part : condition.parts)
        AddAttributes(part, attributes);
    if (condition.parts.empty())
        attributes.push_back(condition.attribute);
}

class Planning
{
public:
    Planning(Snapshot& snapshot, const Condition* condition, const Wanted& wanted)
        : m_snapshot(snapshot), m_condition(condition), m_wanted(wanted)
    {
    }

    Plan Make() &&
    {
        if (m_wanted.order && m_snapshot.GetSchema().IsIndexed(*m_wanted.order))
            m_snapshot.NeedIndexes();
        if (m_condition != nullptr) {
            AddAttributes(*m_condition, m_attributes);
            m_plan.narrowed = Narrow(m_snapshot, *m_condition, false, m_plan.terms);
            FindFew();
            if (m_plan.way && !m_wanted.tells)
                return std::move(m_plan);
        }
        Ask();
        Weigh();
        return std::move(m_plan);
    }

private:
    /// Where an index has few entries for the condition nothing else needs to be known.
    void FindFew()
    {
        Shares shares(m_snapshot, nullptr);
        const auto& parts = m_plan.narrowed.parts;
        const bool alone = parts.size() == 1 && m_plan.narrowed.either.empty();
        const std::uint64_t few = alone ? kFewAlone : kFew;
        std::uint64_t fewest = few + 1;
        for (const auto& [attribute, part] : parts) {
            const auto count = shares.Count(part.range, few);
            if (!count || *count >= fewest)
                continue;
            fewest = *count;
            m_plan.way = Way::Of(part.range);
            m_plan.way->share = static_cast<double>(fewest) /
                                std::max(static_cast<double>(m_snapshot.GetCounts().objects), 1.0);
        }
    }

    /// Statistics know nothing of ids: for conditions on these the types are asked.
    void Ask()
    {
        const bool forIds = std::erase(m_attributes, kObjectIdIndex) != 0;
        if (!m_attributes.empty()) {
            Statistics* const statistics = m_snapshot.FindStatistics(m_attributes);
            if (statistics != nullptr && statistics->Objects() != 0)
                m_estimator.emplace(*statistics);
            if (m_estimator && m_wanted.tells) {
                const Counts& now = m_snapshot.GetCounts();
                const Statistics::Age age = statistics->AgeAt(now.objects, now.nextNumber);
                m_plan.age = {statistics->Objects(), age.added, age.erased};
            }
        }
        if (m_condition != nullptr && (!m_estimator || m_wanted.tells || forIds)) {
            m_plan.terms.clear();
            m_plan.narrowed = Narrow(m_snapshot, *m_condition, true, m_plan.terms);
        }
    }

    void Weigh()
    {
        Shares shares(m_snapshot, m_estimator ? &*m_estimator : nullptr, m_plan.terms);
        const Costs costs(m_snapshot,
                          m_condition != nullptr ? shares.CostOf(*m_condition) : TestCost());
        Chooser chooser(shares, costs, m_wanted);
        const bool isLimited = m_wanted.limit < m_snapshot.GetCounts().objects;
        if (m_condition != nullptr && (isLimited || m_wanted.order || m_wanted.tells))
            m_plan.found = shares.OfCondition(*m_condition, false, m_plan.narrowed.share);
        chooser.SetFound(m_plan.found.share);
        if (m_wanted.tells) {
            for (const PlanTerm& term : m_plan.terms)
                m_plan.shares.push_back(OfTerm(shares, term));
        }
        Alternative all{std::nullopt, false, 1.0, costs.InOrder(chooser.Looked(1.0)), false};
        std::optional<Weighed> best;
        if (m_condition != nullptr)
            best = chooser.Best(m_plan.narrowed);
        std::vector<Alternative> others = std::move(chooser).Told();
        Alternative chosen = all;
        if (best && best->cost < all.cost)
            chosen = {best->way, false, best->share.share, best->cost, false};
        if (m_wanted.order) {
            // What is found has to be put in order.
            const double sorting = costs.Sort(m_plan.found.share * costs.Objects(),
                                              static_cast<double>(m_wanted.limit));
            all.cost += sorting;
            chosen.cost += sorting;
            for (Alternative& other : others)
                other.cost += sorting;
            if (const auto walk = InOrder(shares, costs)) {
                others.push_back(*walk);
                if (walk->cost < chosen.cost)
                    chosen = *walk;
            }
        }
        others.push_back(all);
        for (const Alternative& other : others) {
            if (m_plan.way && other.way && other.way->kind == Way::Kind::Range &&
                other.way->range.attribute == m_plan.way->range.attribute && !other.inOrder)
                chosen = other;
        }
        Choose(chosen, std::move(others));
    }

    void Choose(const Alternative& chosen, std::vector<Alternative> others)
    {
        m_plan.way = chosen.way;
        m_plan.inOrder = chosen.inOrder;
        if (!m_wanted.tells)
            return;
        const auto same = std::find_if(others.begin(), others.end(), [&](const Alternative& one) {
            return one.cost == chosen.cost && one.inOrder == chosen.inOrder &&
                   one.way.has_value() == chosen.way.has_value();
        });
        if (same != others.end())
            same->chosen = true;
        std::stable_sort(
            others.begin(), others.end(),
            [](const Alternative& a, const Alternative& b) { return a.cost < b.cost; });
        m_plan.alternatives = std::move(others);
    }

    static Share OfTerm(Shares& shares, const PlanTerm& term)
    {
        // A range that holds what the comparison does may be counted.
        if (term.range && term.range->exact)
            return shares.OfRange(*term.range, term.share);
        return shares.OfCondition(*term.condition, term.negated, term.share);
    }

    /// A walk over the index that has the order, which ends where the limit is met.
    std::optional<Alternative> InOrder(Shares& shares, const Costs& costs) const
    {
        const std::size_t order = *m_wanted.order;
        if (!m_snapshot.GetSchema().IsIndexed(order))
            return {};
        const auto part = m_plan.narrowed.parts.find(order);
        IndexRange range = IndexRange::All(order);
        double share = 1.0;
        if (part != m_plan.narrowed.parts.end()) {
            range = part->second.range;
            share = shares.OfRange(range, part->second.share).share;
        } else if (m_condition == nullptr) {
            range.exact = true;
        }
        const double entries = share * costs.Objects();
        const double found = m_plan.found.share * costs.Objects();
        const auto limit = static_cast<double>(m_wanted.limit);
        const double looked = limit < found ? entries * limit / found : entries;
        double cost = costs.Entries(looked, shares.Rows(range, looked));
        if (!range.exact)
            cost += costs.ByEntry(looked, std::clamp(limit, 1.0, double{Scan::kMostTogether}));
        Way way = Way::Of(std::move(range));
        way.share = share;
        return Alternative{std::move(way), true, looked / std::max(costs.Objects(), 1.0), cost,
                           false};
    }

    Snapshot& m_snapshot;
    const Condition* m_condition;
    const Wanted& m_wanted;
    std::vector<std::size_t> m_attributes;
    std::optional<Estimator> m_estimator;
    Plan m_plan;
};

} // namespace

Plan MakePlan(Snapshot& snapshot, const Condition* condition, const Wanted& wanted)
{
    return Planning(snapshot, condition, wanted).Make();
}

} // namespace ko::store::inner
