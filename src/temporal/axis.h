#ifndef KO_TEMPORAL_AXIS_H
#define KO_TEMPORAL_AXIS_H

#include "core/bounds.h"
#include "temporal/fields.h"
#include "temporal/layout.h"

#include <iterator>

namespace ko
{

/// One field of a date or a time on its way into a number: how many values it has, and the first.
struct CountedField {
    int values;
    int first;
};

/// A temporal value as the numbers that it stands for; two where a field is the wildcard.
struct TemporalSpan {
    double from = 0.0;
    double to = 0.0;

    void Add(CountedField field, int value, bool wildcard)
    {
        const int first = wildcard ? field.first : value;
        const int last = wildcard ? field.first + field.values - 1 : value;
        from = from * field.values + first;
        to = to * field.values + last;
    }
};

/// The axis of a temporal type: days for a date, seconds for everything else, as if every month
/// had 31 days. Numbers so made keep the order of the fields, and their gaps are small.
template <class Type>
struct TemporalAxis {
    using Value = TemporalSpan;
    static constexpr AxisKind kKind = AxisKind::kPlain;
    using Layout = typename Type::Fields;

    explicit TemporalAxis(unsigned char format)
        : big(IsBigEndian(format)), memory((format & KoFMT_MEMORY) != 0), size(Layout::Size(format))
    {
    }

    unsigned Size() const { return size; }
    TemporalSpan Read(const unsigned char* element) const
    {
        TemporalSpan span;
        unsigned at = 0;
        if constexpr (Layout::kHasYear) {
            // A year of -1 is a year.
            span.from = span.to = ReadOrdered<o_2b>(element, big);
            at = 2;
        }
        for (unsigned i = kFirstField; i < kEndField; ++i, ++at) {
            if (kZone && i == kHour)
                at += 2;
            const auto value = static_cast<o_1b>(element[at]);
            span.Add(kFields[i], value, kWildcards && value == -1);
        }
        if constexpr (kZone) {
            const double fraction = static_cast<o_1b>(element[at]) / 100.0;
            span.from += fraction;
            span.to += fraction;
        }
        if constexpr (Layout::kHasNanoseconds) {
            const auto value = ReadOrdered<o_4b>(element + Layout::NanosecondsAt(memory), big);
            const bool wildcard = kWildcards && value == -1;
            span.from += wildcard ? 0.0 : value / 1e9;
            span.to += wildcard ? 1.0 : value / 1e9;
        }
        return span;
    }
    static double From(const TemporalSpan& span) { return span.from; }
    static double To(const TemporalSpan& span) { return span.to; }

    static TemporalSpan Lowest() { return Everything(-32768); }
    static TemporalSpan Highest() { return Everything(32767); }

private:
    static constexpr bool kWildcards = KindHasWildcards(Type::kKind);
    /// Spans count months and days from 0.
    static constexpr int kFirst = Type::kKind == TemporalKind::kTimeSpan ? 0 : 1;
    static constexpr CountedField kFields[] = {
        {12, kFirst}, {31, kFirst}, {24, 0}, {60, 0}, {60, 0}};
    static constexpr unsigned kHour = 2;
    /// Two bytes of the zone before the hour, hundredths after the second. What the zone is does
    /// not count.
    static constexpr bool kZone =
        Type::kKind == TemporalKind::kOdmgTime || Type::kKind == TemporalKind::kOdmgTimestamp;
    static constexpr unsigned kFirstField = Layout::kHasYear ? 0 : kHour;
    static constexpr unsigned kEndField = kFirstField + Layout::kBytes - (kZone ? 3 : 0);
    static_assert(kEndField <= std::size(kFields));

    static TemporalSpan Everything([[maybe_unused]] int year)
    {
        TemporalSpan span;
        if constexpr (Layout::kHasYear)
            span.from = span.to = year;
        for (unsigned i = kFirstField; i < kEndField; ++i)
            span.Add(kFields[i], 0, true);
        return span;
    }

    bool big;
    bool memory;
    unsigned size;
};

} // namespace ko

#endif
