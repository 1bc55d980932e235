#include "statistics/attribute_estimate.h"

#include "statistics/owned_bounds.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

/// Values that are tested for one comparison where order does not help, and their bytes, so that a
/// plan takes no longer than it may: a pattern takes 50 ns, and 10 for each byte.
constexpr unsigned kMostTests = 800;
constexpr std::size_t kMostTestedBytes = 8'000;
/// How sure the mean of a bucket is of one of its values, as so many objects of the sample.
constexpr double kMeanWeight = 0.5;
/// What takes the place of a hit where there is none.
constexpr double kHalf = 0.5;

int Order(o_char type, std::string_view a, std::string_view b)
{
    int status = 0;
    return ComparePersistent(type, a, b, kPlainOperator, status);
}

/// The objects of a value, of which the mean one has so many, and the sample a few of this one.
double OfOneValue(double mean, double hits, double rate)
{
    return (kMeanWeight + hits) / (kMeanWeight / mean + rate);
}

/// Evaluators take their operands unqualified and do not write to them.
char* Unqualified(std::string_view form)
{
    return const_cast<char*>(form.data());
}

} // namespace

AttributeEstimate::AttributeEstimate(Statistics& statistics, std::size_t attribute)
    : m_type(statistics.Type(attribute)), m_summary(statistics.Of(attribute)),
      m_column(statistics.Column(attribute)), m_restBefore(statistics.RestBefore(attribute)),
      m_whole(m_column.Objects() == m_summary.objects)
{
    for (const Summary::Bucket& bucket : m_summary.buckets)
        m_rest += static_cast<double>(bucket.count);
}

/// The codes of the values that are equal to a literal: one or none.
CodeRange AttributeEstimate::Equal(std::string_view form) const
{
    const std::uint16_t begin =
        m_column.Find(m_type, form, SampleColumn::kFirst, m_column.EndCode());
    const bool found = begin < m_column.EndCode() && Order(m_type, m_column.Form(begin), form) == 0;
    return {begin, static_cast<std::uint16_t>(begin + (found ? 1 : 0))};
}

AttributeEstimate::Split AttributeEstimate::SplitAt(std::string_view form) const
{
    if (m_whole) {
        const CodeRange equal = Equal(form);
        return {static_cast<double>(m_column.Count(SampleColumn::kFirst, equal.begin)),
                static_cast<double>(m_column.Count(equal.begin, equal.end)),
                Estimate::Source::Sample};
    }
    Split split = SplitRest(form);
    const auto found =
        std::lower_bound(m_summary.common.begin(), m_summary.common.end(), form,
                         [this](const Summary::Common& common, std::string_view literal) {
                             return Order(m_type, common.form, literal) < 0;
                         });
    for (auto common = m_summary.common.begin(); common != found; ++common)
        split.below += static_cast<double>(common->count);
    if (found != m_summary.common.end() && Order(m_type, found->form, form) == 0) {
        split.equal = static_cast<double>(found->count);
        if (split.source == Estimate::Source::Counts)
            split.source = Estimate::Source::CommonValues;
    } else if (m_rest == 0.0) {
        split.source = Estimate::Source::CommonValues;
    }
    return split;
}

/// The same for values that are not common.
AttributeEstimate::Split AttributeEstimate::SplitRest(std::string_view form) const
{
    Split split;
    split.source = Estimate::Source::Counts;
    if (m_rest == 0.0 || Order(m_type, form, m_summary.lowest) < 0)
        return split;
    const auto bucket =
        std::lower_bound(m_summary.buckets.begin(), m_summary.buckets.end(), form,
                         [this](const Summary::Bucket& one, std::string_view literal) {
                             return Order(m_type, one.high, literal) < 0;
                         });
    for (auto before = m_summary.buckets.begin(); before != bucket; ++before)
        split.below += static_cast<double>(before->count);
    if (bucket == m_summary.buckets.end())
        return split;
    if (Order(m_type, bucket->high, form) == 0) {
        split.below += static_cast<double>(bucket->count - bucket->ofHigh);
        split.equal = static_cast<double>(bucket->ofHigh);
        split.source = Estimate::Source::Histogram;
        return split;
    }
    SplitBucket(static_cast<std::size_t>(bucket - m_summary.buckets.begin()), form, split);
    return split;
}

/// Splits a bucket whose high end is above the literal. The sample's values in it divide it into
/// parts of the same size; in the part where the literal lies the type's evaluator is asked.
void AttributeEstimate::SplitBucket(std::size_t at, std::string_view form, Split& split) const
{
    const Summary::Bucket& bucket = m_summary.buckets[at];
    const std::string& lowest = at == 0 ? m_summary.lowest : m_summary.buckets[at - 1].high;
    const std::uint16_t begin =
        at == 0 ? SampleColumn::kFirst : m_summary.buckets[at - 1].sampleEnd;
    std::uint16_t end = bucket.sampleEnd;
    if (end > begin &&
        Order(m_type, m_column.Form(static_cast<std::uint16_t>(end - 1)), bucket.high) == 0)
        --end;
    const std::uint16_t code = m_column.Find(m_type, form, begin, end);
    const bool met = code < end && Order(m_type, m_column.Form(code), form) == 0;
    const auto next = static_cast<std::uint16_t>(code + (met ? 1 : 0));
    const auto count = [this](std::uint16_t from, std::uint16_t to) {
        return from < to ? static_cast<double>(m_restBefore[to] - m_restBefore[from]) : 0.0;
    };
    const auto inside = static_cast<double>(bucket.count - bucket.ofHigh);
    const double all = count(begin, end);
    const double hits = count(code, next);
    double share = kHalf;
    if (!met) {
        const std::string_view low =
            code > begin ? m_column.Form(static_cast<std::uint16_t>(code - 1)) : lowest;
        share = ShareBelow(low, code < end ? m_column.Form(code) : bucket.high, form);
    }
    split.source = all == 0.0 ? Estimate::Source::Evaluator : Estimate::Source::Histogram;
    // Nothing is known to be below the lowest value.
    if (at != 0 || Order(m_type, form, m_summary.lowest) > 0)
        split.below += inside * (count(begin, code) + share) / (all + 1.0);
    if (bucket.distinct > 1 && inside > 0.0) {
        const double mean = inside / static_cast<double>(bucket.distinct - 1);
        const double rate = all / inside;
        split.equal =
            hits >= kEnoughHits ? hits / rate : (kMeanWeight + hits) / (kMeanWeight / mean + rate);
    }
}

/// The share of the values from `low` to `high` that the type sees below a literal.
double AttributeEstimate::ShareBelow(std::string_view low, std::string_view high,
                                     std::string_view form) const
{
    if (!IsForm(m_type, low) || !IsForm(m_type, high))
        return kHalf;
    KoIdxBounds bounds{Unqualified(low), Unqualified(high), 0, 0};
    unsigned short word = KoQOP_LESS | kPlainOperator;
    return Manager().EvalAndBound(m_type, &bounds, word, Unqualified(form), kStoreFormat, 1,
                                  nullptr, nullptr);
}

Estimate AttributeEstimate::OfOrder(const Comparison& comparison) const
{
    const auto values = static_cast<double>(m_summary.Values());
    const Split split = SplitAt(comparison.form);
    double objects = 0.0;
    objects += (comparison.bits & KoQOP_LESS) != 0 ? split.below : 0.0;
    objects += (comparison.bits & KoQOP_EQUAL) != 0 ? split.equal : 0.0;
    objects += (comparison.bits & KoQOP_GREATER) != 0
                   ? std::max(values - split.below - split.equal, 0.0)
                   : 0.0;
    return {std::clamp(objects, 0.0, values), split.source};
}

/// The range that the type narrows a comparison to.
AttributeEstimate::Narrowed AttributeEstimate::Narrow(const Comparison& comparison) const
{
    Narrowed narrowed{{SampleColumn::kFirst, m_column.EndCode()}, m_rest};
    if (m_summary.lowest.empty())
        return narrowed;
    KoIdxBounds bounds{Unqualified(m_summary.lowest), Unqualified(m_summary.highest), 0, 0};
    OwnedBounds ends;
    auto word = static_cast<unsigned short>(comparison.bits | comparison.cmpOp);
    Manager().EvalAndBound(m_type, &bounds, word, Unqualified(comparison.form), kStoreFormat, 1,
                           &ends, nullptr);
    if (ends.high != nullptr) {
        const std::string_view high(static_cast<const char*>(ends.high), ends.highLen);
        const Split split = SplitRest(high);
        narrowed.rest = split.below + split.equal;
        narrowed.codes.end = Equal(high).end;
    }
    if (ends.low != nullptr) {
        const std::string_view low(static_cast<const char*>(ends.low), ends.lowLen);
        narrowed.rest -= SplitRest(low).below;
        narrowed.codes.begin = Equal(low).begin;
    }
    narrowed.codes.end = std::max(narrowed.codes.begin, narrowed.codes.end);
    narrowed.rest = std::max(narrowed.rest, 0.0);
    return narrowed;
}

SampleTruth AttributeEstimate::Test(const Comparison& comparison) const
{
    SampleTruth truth;
    truth.objects = m_column.Objects();
    if (comparison.IsPlain()) {
        const CodeRange equal = Equal(comparison.form);
        const bool less = (comparison.bits & KoQOP_LESS) != 0;
        const bool same = (comparison.bits & KoQOP_EQUAL) != 0;
        const bool greater = (comparison.bits & KoQOP_GREATER) != 0;
        truth.isRange = true;
        truth.outside = less && greater && !same;
        truth.range = equal;
        if (!truth.outside && less)
            truth.range.begin = SampleColumn::kFirst;
        if (!truth.outside && greater)
            truth.range.end = m_column.EndCode();
        if (!same && less != greater)
            (less ? truth.range.end : truth.range.begin) = less ? equal.begin : equal.end;
        return truth;
    }
    truth.ofCode.resize(m_column.EndCode());
    truth.tested.resize(m_column.EndCode());
    truth.range = Narrow(comparison).codes;
    if (m_column.Bytes(truth.range.begin, truth.range.end) > kMostTestedBytes ||
        truth.range.end - truth.range.begin > static_cast<int>(kMostTests)) {
        TestSome(comparison, truth);
        return truth;
    }
    for (std::uint16_t code = truth.range.begin; code < truth.range.end; ++code)
        TestCode(comparison, code, truth);
    return truth;
}

void AttributeEstimate::TestCode(const Comparison& comparison, std::uint16_t code,
                                 SampleTruth& truth) const
{
    truth.tested[code] = true;
    truth.ofCode[code] = comparison.Holds(m_type, m_column.Form(code)) ? 1 : 0;
}

/// Tests the values of the sample's first objects.
void AttributeEstimate::TestSome(const Comparison& comparison, SampleTruth& truth) const
{
    unsigned tests = 0;
    std::size_t bytes = 0;
    truth.objects = 0;
    for (const std::uint16_t code : m_column.Codes()) {
        if (code >= truth.range.begin && code < truth.range.end && !truth.tested[code]) {
            bytes += m_column.Form(code).size();
            if (tests++ == kMostTests || bytes > kMostTestedBytes)
                return;
            TestCode(comparison, code, truth);
        }
        ++truth.objects;
    }
}

/// Patterns, and comparisons under which more values are equal than under the order: common values
/// are tested one by one, and of the others in the range that the type narrows to, as many meet it
/// as the sample's there.
Estimate AttributeEstimate::OfOthers(const Comparison& comparison, const SampleTruth& truth) const
{
    double hits = 0.0;
    double all = 0.0;
    const bool isSome = truth.objects < m_column.Objects();
    if (m_whole && !isSome) {
        for (std::uint16_t code = truth.range.begin; code < truth.range.end; ++code)
            hits += truth.ofCode[code] != 0
                        ? m_column.Count(code, static_cast<std::uint16_t>(code + 1))
                        : 0;
        return {hits, Estimate::Source::Sample};
    }
    double common = 0.0;
    for (const Summary::Common& one : m_summary.common) {
        // Most of them are values of the sample, and were tested with these.
        const bool holds = truth.tested[one.sampleCode] ? truth.ofCode[one.sampleCode] != 0
                                                        : comparison.Holds(m_type, one.form);
        common += holds ? static_cast<double>(one.count) : 0.0;
    }
    if (m_rest == 0.0)
        return {common, Estimate::Source::CommonValues};
    const Narrowed narrowed = Narrow(comparison);
    const auto add = [&](std::uint16_t code, double count) {
        all += count;
        hits += truth.ofCode[code] != 0 ? count : 0.0;
    };
    const auto restOf = [&](std::uint16_t code) {
        return m_restBefore[code + 1U] - m_restBefore[code];
    };
    if (isSome) {
        for (std::size_t i = 0; i < truth.objects; ++i) {
            const std::uint16_t code = m_column.Codes()[i];
            if (code >= narrowed.codes.begin && code < narrowed.codes.end && restOf(code) != 0)
                add(code, 1.0);
        }
    } else {
        for (std::uint16_t code = narrowed.codes.begin; code < narrowed.codes.end; ++code)
            add(code, restOf(code));
    }
    const auto source = hits >= kEnoughHits          ? Estimate::Source::Sample
                        : all > 0.0 || common == 0.0 ? Estimate::Source::Histogram
                                                     : Estimate::Source::CommonValues;
    if (hits >= kEnoughHits)
        return {common + narrowed.rest * hits / all, source};
    if (comparison.bits != KoQOP_EQUAL)
        return {common + narrowed.rest * (hits + kHalf) / (all + kHalf), source};
    // No less than one value has; and no more, as far as the sample does not know of another,
    // where there are no wildcards.
    const double distinct = std::max(static_cast<double>(m_summary.distinct) -
                                         static_cast<double>(m_summary.common.size()),
                                     1.0);
    const double mean = m_rest / distinct;
    const double rate = static_cast<double>(m_restBefore.back()) / m_rest *
                        static_cast<double>(truth.objects) /
                        static_cast<double>(std::max<std::size_t>(m_column.Objects(), 1));
    const bool isOneValue = (comparison.cmpOp & kPlainOperator) != 0;
    return {common + (isOneValue ? OfOneValue(mean, hits, rate)
                                 : std::max(narrowed.rest, mean) * (hits + kHalf) / (all + kHalf)),
            source};
}

Estimate AttributeEstimate::Of(const Comparison& comparison, const SampleTruth& truth) const
{
    return comparison.IsPlain() ? OfOrder(comparison) : OfOthers(comparison, truth);
}

} // namespace ko::store::inner
