#ifndef KOTEMPORALBOUND_H
#define KOTEMPORALBOUND_H

#include "koboundeval.h"
#include "kotemporalkey.h"
#include "kotemporaltext.h"

#include <iterator>

/// One field of a date or a time on its way into a number: how many values it has, and the first.
struct KoCountedField {
    int values;
    int first;
};

/// A temporal value as the numbers that it stands for; two where a field is the wildcard.
struct KoTemporalSpan {
    double from = 0.0;
    double to = 0.0;

    void Add(KoCountedField field, int value, bool wildcard)
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
struct KoTemporalAxis {
    using Value = KoTemporalSpan;
    static constexpr KoAxisKind kKind = KoAxisKind::kPlain;
    using Layout = typename Type::Fields;

    explicit KoTemporalAxis(unsigned char format)
        : big(ko::IsBigEndian(format)), memory((format & KoFMT_MEMORY) != 0),
          size(Layout::Size(format))
    {
    }

    unsigned Size() const { return size; }
    KoTemporalSpan Read(const unsigned char* element) const
    {
        KoTemporalSpan span;
        unsigned at = 0;
        if constexpr (Layout::kHasYear) {
            // A year of -1 is a year.
            span.from = span.to = ko::ReadOrdered<o_2b>(element, big);
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
            const auto value = ko::ReadOrdered<o_4b>(element + Layout::NanosecondsAt(memory), big);
            const bool wildcard = kWildcards && value == -1;
            span.from += wildcard ? 0.0 : value / 1e9;
            span.to += wildcard ? 1.0 : value / 1e9;
        }
        return span;
    }
    static double From(const KoTemporalSpan& span) { return span.from; }
    static double To(const KoTemporalSpan& span) { return span.to; }

    static KoTemporalSpan Lowest() { return Everything(-32768); }
    static KoTemporalSpan Highest() { return Everything(32767); }

private:
    static constexpr bool kWildcards = KindHasWildcards(Type::kKind);
    /// Spans count months and days from 0.
    static constexpr int kFirst = Type::kKind == TemporalKind::kTimeSpan ? 0 : 1;
    static constexpr KoCountedField kFields[] = {
        {12, kFirst}, {31, kFirst}, {24, 0}, {60, 0}, {60, 0}};
    static constexpr unsigned kHour = 2;
    /// Two bytes of the zone before the hour, hundredths after the second. What the zone is does
    /// not count.
    static constexpr bool kZone =
        Type::kKind == TemporalKind::kOdmgTime || Type::kKind == TemporalKind::kOdmgTimestamp;
    static constexpr unsigned kFirstField = Layout::kHasYear ? 0 : kHour;
    static constexpr unsigned kEndField = kFirstField + Layout::kBytes - (kZone ? 3 : 0);
    static_assert(kEndField <= std::size(kFields));

    static KoTemporalSpan Everything([[maybe_unused]] int year)
    {
        KoTemporalSpan span;
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

#endif
