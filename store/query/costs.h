#ifndef KO_STORE_QUERY_COSTS_H
#define KO_STORE_QUERY_COSTS_H

#include "object/snapshot.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

/// What ways of finding a share of all objects cost, in nanoseconds: bench/store/plan_bench
/// measures the parts.
class Costs
{
public:
    explicit Costs(const Snapshot& snapshot)
        : m_objects(static_cast<double>(snapshot.GetCounts().objects)),
          m_blocks(std::max(m_objects / snapshot.SlotsOfBlock(), 1.0))
    {
    }

    /// Those that lie one after another.
    double InOrder(double share) const
    {
        return share * (m_blocks * kBlockCost + m_objects * kScanCost);
    }
    /// The entries of an index, without their objects.
    double Entries(double share) const { return share * m_objects * kEntryCost; }
    /// Those that an index names, which lie anywhere: many of them meet in the same blocks.
    double ByIndex(double share) const
    {
        const double found = share * m_objects;
        const double met = m_blocks * (1.0 - std::exp(-found / m_blocks));
        return met * kBlockCost + found * kFetchCost;
    }

    /// Whether to count a range before the estimate decides for a way that costs so much.
    static bool IsWorthCounting(double cost) { return cost > kCountingPays; }
    double ShareOf(std::uint64_t objects) const
    {
        return std::min(static_cast<double>(objects) / std::max(m_objects, 1.0), 1.0);
    }

private:
    /// Many times what the rows of entries cost that RangeWalk::CountFew reads.
    static constexpr double kCountingPays = 1'000'000.0;
    /// A block is looked up and its checksum proved, whatever is wanted of it.
    static constexpr double kBlockCost = 2000.0;
    /// An object, where a condition tests whole columns: 3 for a text of a dictionary, 12 for a
    /// number that repeats, 25 for one that does not.
    static constexpr double kScanCost = 10.0;
    /// One that an index names: its number is sorted, and it is looked at by itself.
    static constexpr double kFetchCost = 100.0;
    /// An entry: 2 in a full row, 40 in one of its own.
    static constexpr double kEntryCost = 20.0;

    double m_objects;
    double m_blocks;
};

} // namespace ko::store::inner

#endif
