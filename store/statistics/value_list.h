#ifndef KO_STORE_STATISTICS_VALUE_LIST_H
#define KO_STORE_STATISTICS_VALUE_LIST_H

#include "statistics/summary.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The order in which statistics have two values, below 0, 0 or above: that of the operator word
/// 0x0010 as far as the beginning of their sort keys tells it, and then that of their bytes.
int OrderOfForms(o_char type, std::string_view a, std::string_view b);

/// What is known of the values of one attribute before they are summed up: how many objects have
/// each. The same value may be added several times; what is said of it adds up.
class ValueList
{
public:
    explicit ValueList(o_char type) : m_type(type) {}

    /// `distinct` values around that of the form, which many objects have all together. `form`
    /// outlives the list. Returns the number of the addition, from 0 on.
    std::uint32_t Add(std::string_view form, double objects, double distinct);

    /// Puts values in order; nothing is added afterwards.
    void Sort();

    struct Value {
        std::string_view form;
        double objects = 0.0;
        double distinct = 0.0;
        std::uint32_t hits = 0;    ///< objects of the sample
        std::uint32_t newHits = 0; ///< of those, the ones that were added since the last time
        std::uint16_t code = 0;    ///< of the sample's column
    };
    /// In ascending order, each value once.
    std::vector<Value>& Values() { return m_values; }
    /// The value of an addition.
    Value& Of(std::uint32_t addition) { return m_values[m_valueOf[addition]]; }

    /// Common values and buckets, out of what the values say; the rest of `summary` is there
    /// already. Numbers of objects below `least` are taken for no more than the mean.
    void SumUp(Summary& summary, double least) const;

private:
    std::vector<bool> ChooseCommon(double least) const;
    /// Values that are not common, for each that the list has.
    double Distinct(const Summary& summary, const std::vector<bool>& common) const;
    Summary::Bucket MakeBucket(std::size_t begin, std::size_t end, const std::vector<bool>& common,
                               double distinct, double least) const;
    void SetSampleEnds(Summary& summary) const;

    o_char m_type;
    std::vector<Value> m_values; ///< before Sort: one for each addition
    std::vector<std::uint32_t> m_valueOf;
};

} // namespace ko::store::inner

#endif
