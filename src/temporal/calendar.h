#ifndef KO_TEMPORAL_CALENDAR_H
#define KO_TEMPORAL_CALENDAR_H

#include <kobasic.h>

#include <string_view>

/// The calendar arithmetic of KoDate over plain numbers. Years are astronomical (year 0 exists).
/// Divisions cut toward zero throughout: stored day numbers before day 0 depend on it.

namespace ko
{

/// The Julian Day Number of a date of the proleptic Gregorian calendar (Fliegel and Van Flandern,
/// 1968). Any 16-bit year, 9-bit month and 8-bit day: a month or day out of range counts on, as 13
/// is January of the next year. Before -4800-03-01 the cut quotients leave the calendar.
constexpr o_4b DayNumber(o_4b year, o_4b month, o_4b day) noexcept
{
    const o_4b a = (month - 14) / 12;
    return 1461 * (year + 4800 + a) / 4 + 367 * (month - 2 - 12 * a) / 12 -
           3 * ((year + 4900 + a) / 100) / 4 + day - 32075;
}

/// A day that exists, in any year.
constexpr bool IsCalendarDate(o_4b year, o_4b month, o_4b day) noexcept
{
    return day >= 1 && day <= 31 && month >= 1 && month <= 12 &&
           DayNumber(year, month + 1, 1) > DayNumber(year, month, day);
}

// The quotients are whole again for all years that a date can hold when the calendar is counted
// some of its cycles later.
inline constexpr o_4b kCycleYears = 400 * 90;
inline constexpr o_4b kCycleDays = 146097 * 90;

/// The Julian Day Number of a date of the proleptic Gregorian calendar in any 16-bit year. From
/// -4800-03-01 on it is DayNumber.
constexpr o_4b CalendarDay(o_4b year, o_4b month, o_4b day) noexcept
{
    return DayNumber(year + kCycleYears, month, day) - kCycleDays;
}
/// A date of the proleptic Gregorian calendar. IsCalendarDate has a day too many in the centuries
/// before -4800, where its quotients are cut.
constexpr bool IsGregorianDate(o_4b year, o_4b month, o_4b day) noexcept
{
    return IsCalendarDate(year + kCycleYears, month, day);
}
/// The first and the last day that a date can hold.
inline constexpr o_4b kFirstCalendarDay = CalendarDay(-32768, 1, 1);
inline constexpr o_4b kLastCalendarDay = CalendarDay(32767, 12, 31);

/// The weekday, Monday 0 to Sunday 6.
///
/// Days of February come out three weekdays early, since the month term counts February as 0
/// where the congruence (Zeller, 1886) has 12. Texts and queries written with this rule exist, so
/// it stays.
constexpr o_4b WeekdayOf(o_4b year, o_4b month, o_4b day) noexcept
{
    const o_4b y = year + (month - 14) / 12;
    const o_4b m = (month + 10) % 12;
    const o_4b w = day - 2 * (y / 100) + y / 400 + 5 * (y % 100) / 4 + (13 * m - 1) / 5 + 77;
    const o_4b r = w % 7;
    return r > 0 ? r - 1 : 6; // a negative remainder is a Sunday too
}

/// The English names of the weekdays, in the order of WeekdayOf. Each is a whole literal, so a zero
/// ends it.
inline constexpr std::string_view kDayNames[7] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                  "Friday", "Saturday", "Sunday"};

} // namespace ko

#endif
