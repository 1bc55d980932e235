#ifndef KO_STORE_QUERY_COSTS_H
#define KO_STORE_QUERY_COSTS_H

#include "object/snapshot.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

/// What parts of a find cost, in nanoseconds: bench/store/plan_bench measures them for each engine.
struct CostParts {
    double range;  ///< to go to the first entry of a range
    double row;    ///< of an index
    double entry;  ///< a number in a row, which is sorted or looked up among others
    double block;  ///< that objects of an index are in: it is looked up, its checksum proved
    double next;   ///< block of all objects, one after another
    double scan;   ///< an object, where a condition tests whole columns
    double fetch;  ///< one that an index names: it is looked at by itself
    double reopen; ///< a block that was met before
    double value;  ///< of an object, to be put in order
};

inline const CostParts& PartsOf(Reach reach)
{
    static constexpr CostParts kMapped{3000, 60, 3, 2500, 2200, 10, 60, 150, 300};
    static constexpr CostParts kCopied{3000, 100, 3, 1500, 1200, 10, 60, 1500, 300};
    static constexpr CostParts kServer{300'000, 300, 3, 6000, 4000, 10, 60, 6000, 300};
    return reach == Reach::Mapped ? kMapped : reach == Reach::Copied ? kCopied : kServer;
}

/// What ways of finding objects cost.
class Costs
{
public:
    /// `comparisons` are those of the condition.
    Costs(const Snapshot& snapshot, std::size_t comparisons)
        : m_parts(PartsOf(snapshot.EngineReach())),
          m_objects(static_cast<double>(snapshot.GetCounts().objects)),
          m_blocks(std::max(m_objects / snapshot.SlotsOfBlock(), 1.0)),
          m_tests(std::max(static_cast<double>(comparisons), 1.0))
    {
    }

    double Objects() const { return m_objects; }
    /// A share of all objects, which lie one after another.
    double InOrder(double share) const
    {
        return share * (m_blocks * m_parts.next + m_objects * m_parts.scan * m_tests);
    }
    /// So many entries of a range, in so many rows.
    double Entries(double entries, double rows) const
    {
        return m_parts.range + rows * m_parts.row + entries * m_parts.entry;
    }
    /// Objects that an index names, which lie anywhere: many of them meet in the same blocks.
    double ByNumber(double objects) const
    {
        return Met(objects) * m_parts.block + objects * m_parts.fetch * m_tests;
    }
    /// The same in the order of an index, so many at once.
    double ByEntry(double objects, double atOnce) const
    {
        const double met = Met(objects);
        const double times = std::max(objects / atOnce, 1.0);
        return met * m_parts.block + std::max(times * Met(atOnce) - met, 0.0) * m_parts.reopen +
               objects * m_parts.fetch * m_tests;
    }
    /// To put objects in order by their values.
    double Sort(double objects) const
    {
        return objects * (m_parts.value + 20.0 * std::log2(objects + 1.0));
    }

private:
    double Met(double objects) const { return m_blocks * (1.0 - std::exp(-objects / m_blocks)); }

    const CostParts& m_parts;
    double m_objects;
    double m_blocks;
    double m_tests;
};

} // namespace ko::store::inner

#endif
