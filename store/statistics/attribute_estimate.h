#ifndef KO_STORE_STATISTICS_ATTRIBUTE_ESTIMATE_H
#define KO_STORE_STATISTICS_ATTRIBUTE_ESTIMATE_H

#include "statistics/question.h"
#include "statistics/statistics.h"

#include <cstdint>
#include <vector>

namespace ko::store::inner
{

/// Fewer objects of the sample than these say little by themselves.
inline constexpr unsigned kEnoughHits = 10;

/// Codes of a sample's column, from the first to before the end.
struct CodeRange {
    std::uint16_t begin = 0;
    std::uint16_t end = 0;
};

/// What the sample says of one comparison.
struct SampleTruth {
    /// Where order decides: values with a code in the range meet it, or those outside of it.
    bool isRange = false;
    bool outside = false;
    CodeRange range;
    /// Else, by code of the column, not 0 where the value meets it. Codes outside of `range`, and
    /// those that were not tested, are 0.
    std::vector<std::uint8_t> ofCode;
    std::vector<bool> tested{}; ///< by code
    /// So many objects of the sample, the first ones, have values that were tested.
    std::size_t objects = 0;
};

/// Estimates how many objects meet a comparison on one attribute.
class AttributeEstimate
{
public:
    AttributeEstimate(Statistics& statistics, std::size_t attribute);

    Estimate Of(const Comparison& comparison, const SampleTruth& truth) const;
    /// Tests the sample's values: all of them where order leaves few to test, else as many as may
    /// be in the time of a plan.
    SampleTruth Test(const Comparison& comparison) const;

private:
    /// The objects with values below a literal, and those with an equal one.
    struct Split {
        double below = 0.0;
        double equal = 0.0;
        Estimate::Source source = Estimate::Source::Histogram;
    };
    /// What a type says about where the values are that meet a comparison.
    struct Narrowed {
        CodeRange codes;
        double rest = 0.0; ///< objects without a common value in it
    };

    CodeRange Equal(std::string_view form) const;
    Split SplitAt(std::string_view form) const;
    Split SplitRest(std::string_view form) const;
    void SplitBucket(std::size_t bucket, std::string_view form, Split& split) const;
    double ShareBelow(std::string_view low, std::string_view high, std::string_view form) const;
    Narrowed Narrow(const Comparison& comparison) const;
    Estimate OfOrder(const Comparison& comparison) const;
    Estimate OfOthers(const Comparison& comparison, const SampleTruth& truth) const;
    void TestSome(const Comparison& comparison, SampleTruth& truth) const;
    void TestCode(const Comparison& comparison, std::uint16_t code, SampleTruth& truth) const;

    o_char m_type;
    const Summary& m_summary;
    const SampleColumn& m_column;
    const std::vector<std::uint32_t>& m_restBefore;
    bool m_whole;        ///< the column has all objects of the store
    double m_rest = 0.0; ///< objects with a value that is not common
};

} // namespace ko::store::inner

#endif
