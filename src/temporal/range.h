#ifndef KO_TEMPORAL_RANGE_H
#define KO_TEMPORAL_RANGE_H

#include "temporal/fields.h"

#include <limits>

/// What is a value of each temporal type, for the strict reader.

namespace ko
{

constexpr bool KindHasDate(TemporalKind kind)
{
    return kind == TemporalKind::kDate || kind == TemporalKind::kDateTime ||
           kind == TemporalKind::kDateTimeN || kind == TemporalKind::kOdmgDate ||
           kind == TemporalKind::kOdmgTimestamp;
}

/// The smallest step of a kind's seconds, in nanoseconds.
constexpr o_4b SecondStep(TemporalKind kind)
{
    switch (kind) {
    case TemporalKind::kDateTimeN:
    case TemporalKind::kTimeSpan:
    case TemporalKind::kOdmgInterval:
        return 1;
    case TemporalKind::kOdmgTime:
    case TemporalKind::kOdmgTimestamp:
        return 10'000'000;
    default:
        return 1'000'000'000;
    }
}

/// A date of the calendar of d_Date: Julian up to 1582-10-04, and the next day is 1582-10-15.
constexpr bool IsReformedDate(o_4b year, o_4b month, o_4b day)
{
    if (month < 1 || month > 12 || day < 1 || day > 31)
        return false;
    if (year == 1582 && month == 10 && day > 4 && day < 15)
        return false;
    if (month != 2)
        return day < 31 || (month != 4 && month != 6 && month != 9 && month != 11);
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0 || year < 1600);
    return day <= (leap ? 29 : 28);
}

/// The one form of so many days that counting gives: days below 30, months below 12, and only the
/// first part that is not 0 is negative in a span back in time.
inline void SetSpanDays(TemporalFields& span, o_4b days)
{
    span.month = days / 30;
    span.day = days % 30;
    if (span.day < 0 && span.month != 0) {
        span.day += 30;
        --span.month;
    }
    span.year = span.month / 12;
    span.month %= 12;
    if (span.month < 0 && span.year != 0) {
        span.month += 12;
        --span.year;
    }
}

struct TemporalRange {
    o_4b low;
    o_4b high;
    unsigned minDigits = 1;
};

/// What a directive takes from a text that is a value of its kind. Fields that the kind lacks are
/// printed as 0 and read as any number that some kind could have there.
constexpr TemporalRange TemporalRangeOf(TemporalKind kind, char letter, bool halfOfDay)
{
    using Limits32 = std::numeric_limits<o_4b>;
    constexpr o_4b kNano = 999'999'999;
    constexpr o_4b kSpanDays = 32767 * 360 + 359;
    const bool span = kind == TemporalKind::kTimeSpan;
    const bool interval = kind == TemporalKind::kOdmgInterval;
    const o_4b first = KindHasDate(kind) ? 1 : 0;
    switch (letter) {
    case 'Y':
        return {-32768, 32767, 4};
    case 'y':
        return {0, 99};
    case 'm':
        return span ? TemporalRange{-11, 11} : TemporalRange{first, 12};
    case 'd':
    case 'e':
        if (interval)
            return {Limits32::min(), Limits32::max()};
        return span ? TemporalRange{-29, 29} : TemporalRange{first, 31};
    case 'J':
        return interval ? TemporalRange{Limits32::min(), Limits32::max()}
                        : TemporalRange{-kSpanDays - 1, kSpanDays};
    case 'I':
        if (!interval)
            return {halfOfDay ? 1 : 0, 12};
        [[fallthrough]];
    case 'H':
        return {interval ? -23 : 0, 23};
    case 'M':
    case 'S':
        return {interval ? -59 : 0, 59};
    default: // 'N'
        return {interval ? -kNano : 0, kNano};
    }
}

constexpr unsigned DecimalDigits(o_4b number)
{
    unsigned digits = 1;
    while ((number /= 10) != 0)
        ++digits;
    return digits;
}

} // namespace ko

#endif
