#ifndef KO_STORE_QUERY_COSTS_H
#define KO_STORE_QUERY_COSTS_H

#include "object/snapshot.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

/// What parts of a find cost, in nanoseconds.
struct CostParts {
    double range;  ///< to go to the first entry of a range
    double row;    ///< of an index
    double entry;  ///< a number in a row, which is sorted or looked up among others
    double block;  ///< that objects of an index are in: it is looked up, its checksum proved
    double next;   ///< one of all blocks, one after another
    double reopen; ///< a block that was met before
};

/// bench/store/plan_costs measures them.
inline const CostParts& PartsOf(Reach reach)
{
    static constexpr CostParts kMapped{4000, 50, 4.5, 2000, 2100, 200};
    static constexpr CostParts kCopied{1500, 110, 5, 800, 600, 800};
    static constexpr CostParts kServer{50'000, 470, 5, 4000, 2400, 4000};
    return reach == Reach::Mapped ? kMapped : reach == Reach::Copied ? kCopied : kServer;
}

/// What it costs to test a condition on an object.
struct TestCost {
    double ofAll = 10.0; ///< where whole columns are tested
    double ofOne = 30.0; ///< where an index names it
};

/// What ways of finding objects cost.
class Costs
{
public:
    Costs(const Snapshot& snapshot, const TestCost& test)
        : m_parts(PartsOf(snapshot.EngineReach())), m_test(test),
          m_objects(static_cast<double>(snapshot.GetCounts().objects)),
          m_blocks(std::max(m_objects / snapshot.SlotsOfBlock(), 1.0))
    {
    }

    double Objects() const { return m_objects; }
    /// A share of all objects, which lie one after another.
    double InOrder(double share) const
    {
        return share * (m_blocks * m_parts.next + m_objects * m_test.ofAll);
    }
    /// So many entries of a range, in so many rows.
    double Entries(double entries, double rows) const
    {
        return m_parts.range + rows * m_parts.row + entries * m_parts.entry;
    }
    /// Objects that an index names, which lie anywhere: many of them meet in the same blocks.
    double ByNumber(double objects, bool tested) const
    {
        return Met(objects) * m_parts.block + Tests(objects, tested);
    }
    /// The same in the order of an index, so many at once.
    double ByEntry(double objects, double atOnce) const
    {
        const double met = Met(objects);
        const double times = std::max(objects / atOnce, 1.0);
        return met * m_parts.block + std::max(times * Met(atOnce) - met, 0.0) * m_parts.reopen +
               Tests(objects, true);
    }
    /// To put objects in order by their values, of which the first ones are kept.
    double Sort(double objects, double kept) const
    {
        return objects * (kValue + kCompare * std::log2(std::min(objects, 2.0 * kept) + 1.0));
    }

private:
    /// An object that is found without a test, the value of one that is put in order, and its
    /// comparison with another: 60 for numbers, 250 for texts.
    static constexpr double kFound = 5.0;
    static constexpr double kValue = 300.0;
    static constexpr double kCompare = 100.0;

    double Met(double objects) const { return m_blocks * (1.0 - std::exp(-objects / m_blocks)); }
    /// Where many objects of a block are tested its columns are tested as a whole.
    double Tests(double objects, bool tested) const
    {
        return objects * kFound +
               (tested ? std::min(objects * m_test.ofOne, m_objects * m_test.ofAll) : 0.0);
    }

    const CostParts& m_parts;
    TestCost m_test;
    double m_objects;
    double m_blocks;
};

} // namespace ko::store::inner

#endif
