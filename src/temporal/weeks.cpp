#include "temporal/calendar.h"

#include "temporal/date_of_day.h"
#include "temporal/months.h"

#include <kodate.h>

// What a date is in its year: months, days, and the weeks of ISO 8601.

namespace ko
{

namespace
{

constexpr o_4b kDaysOfWeek = 7;
constexpr o_4b kThursday = 4;

/// Monday is 1. Day 0 of the Julian Day Numbers was a Monday, and a cycle has whole weeks.
constexpr o_4b IsoWeekday(o_4b calendarDay) noexcept
{
    static_assert(kCycleDays % kDaysOfWeek == 0);
    return (calendarDay + kCycleDays) % kDaysOfWeek + 1;
}

bool Exists(const KoDate& date)
{
    return IsGregorianDate(date.Year(), date.Month(), date.Day());
}

struct WeekOfYear {
    o_4b year;
    o_4b week;
};

/// ISO 8601 (2019) gives a week to the year that has its Thursday, and counts the Thursdays of the
/// year.
WeekOfYear WeekOf(const KoDate& date)
{
    const o_4b day = CalendarDay(date.Year(), date.Month(), date.Day());
    const o_4b thursday = day - IsoWeekday(day) + kThursday;
    // At most three days from the date, in its year or in one beside it.
    o_4b year = date.Year();
    if (thursday < CalendarDay(year, 1, 1))
        --year;
    else if (thursday >= CalendarDay(year + 1, 1, 1))
        ++year;
    return {year, (thursday - CalendarDay(year, 1, 1)) / kDaysOfWeek + 1};
}

} // namespace

} // namespace ko

using namespace ko;

int KoDate::AddMonths(int n)
{
    return MoveByMonths(m_year, m_month, m_day, n, IsGregorianDate);
}

int KoDate::AddYears(int n)
{
    return MoveByMonths(m_year, m_month, m_day, o_8b{n} * 12, IsGregorianDate);
}

int KoDate::DayOfTheYear() const
{
    return !Exists(*this) ? 0 : CalendarDay(m_year, m_month, m_day) - CalendarDay(m_year, 1, 1) + 1;
}

int KoDate::DaysInTheMonth() const
{
    return m_month < 1 || m_month > 12
               ? 0
               : CalendarDay(m_year, m_month + 1, 1) - CalendarDay(m_year, m_month, 1);
}

int KoDate::IsLeapYear() const
{
    return m_year % 4 == 0 && (m_year % 100 != 0 || m_year % 400 == 0) ? 1 : 0;
}

int KoDate::IsoDayOfTheWeek() const
{
    return !Exists(*this) ? 0 : IsoWeekday(CalendarDay(m_year, m_month, m_day));
}

int KoDate::IsoWeek() const
{
    return !Exists(*this) ? 0 : WeekOf(*this).week;
}

int KoDate::IsoWeekYear() const
{
    return !Exists(*this) ? 0 : WeekOf(*this).year;
}

KoDate KoDate::OfIsoWeek(int weekYear, int week, int weekday)
{
    constexpr int kMostWeeks = 53;
    if (weekYear < -32769 || weekYear > 32768 || week < 1 || week > kMostWeeks || weekday < 1 ||
        weekday > kDaysOfWeek)
        return NullValue();
    // 4 January is in week 1, whatever day it is.
    const o_4b fourth = CalendarDay(weekYear, 1, 4);
    const o_4b day = fourth - IsoWeekday(fourth) + 1 + (week - 1) * kDaysOfWeek + weekday - 1;
    if (day < kFirstCalendarDay || day > kLastCalendarDay)
        return NullValue();
    const KoDate date = DateOfCalendarDay(day);
    return date.IsoWeek() == week ? date : NullValue();
}
