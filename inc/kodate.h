#ifndef KODATE_H
#define KODATE_H

#include "kobeside.h"
#include "kosortkey.h"
#include "kostring.h"
#include "kotemporal.h"

#include <array>
#include <utility>

namespace ko
{
enum KoDaysOfTheWeek { Monday, Tuesday, Wednesday, Thursday, Friday, Saturday, Sunday };
}
using ko::KoDaysOfTheWeek;
#if !defined(KO_NO_GLOBAL_NAMES)
using enum ko::KoDaysOfTheWeek;
#endif

/// A calendar date: year, month and day, of the persistent type KoDATE_T.
///
/// Years are astronomical: year 0 exists and 1 BC is year 0. Arithmetic goes through the day
/// number, the Julian Day Number of the proleptic Gregorian calendar: 2000-01-01 is day 2451545,
/// -4713-11-24 is day 0. Every day number gives a date, with its year cut to 16 bits; from year
/// -4799 on the days are those of the calendar, before that they follow quotients that are cut
/// toward zero. Invalid dates count on: day 31 of April is the 1st of May, month 13 is January.
///
/// Elements are compared by KoDateCompare; their persistent form is the year in the byte order of
/// the format, the month and the day: 4 bytes.
///
/// The null date is carried through day numbers like any other: null plus a day has the fields
/// 32757, 0 and -7, and is no longer null. Ask IsNullValue first. An integer beside a date in a
/// comparison is a day number, and in a sum a count of days, of which the low 32 bits count.
class KoDate : public KoTemporal<KoDate>, public KoCountBeside<KoDate>
{
public:
    /// Today's local date; null when the clock has none.
    KOTMS_API KoDate();
    KoDate(int dayNumber) { dateabs(dayNumber); }
    /// The fields as they are, cut to their widths.
    constexpr KoDate(int year, int month, int day)
        : m_year(static_cast<o_2b>(year)), m_month(static_cast<o_1b>(month)),
          m_day(static_cast<o_1b>(day))
    {
    }

    /// Becomes today's local date; unchanged when the clock has none.
    KOTMS_API KoDate& Today();

    constexpr int Year() const { return m_year; }
    constexpr int Month() const { return m_month; }
    constexpr int Day() const { return m_day; }

    /// The day number of the date.
    int dayabs() const;
    /// Becomes the date of a day number.
    KoDate& dateabs(int dayNumber);
    operator int() const { return dayabs(); }
    /// Days from this date to the first of the next month.
    KOTMS_API int daynxtmonth() const;

    /// Days later or earlier; the day number wraps at 32 bits.
    KoDate operator+(int days) const { return KoDate(Sum(dayabs(), days)); }
    KoDate operator-(int days) const { return *this + Sum(~days, 1); }
    int operator-(const KoDate& other) const { return dayabs() - other.dayabs(); } ///< in days
    KoDate& operator+=(int days) { return *this = *this + days; }
    KoDate& operator-=(int days) { return *this = *this - days; }
    KoDate& operator++() { return *this += 1; }
    KoDate& operator--() { return *this -= 1; }

    /// The difference of the first field that differs, this minus other; 0 when none does. Unless
    /// bit 4 of `op` is set, a field that is -1 on either side equals every other.
    int Compare(const KoDate& other, unsigned short op) const
    {
        const bool strict = (op & kKoCmpStrictBit) != 0;
        if (const int order = KoCompareField(m_year, other.m_year, strict); order != 0)
            return order;
        if (const int order = KoCompareField(m_month, other.m_month, strict); order != 0)
            return order;
        return KoCompareField(m_day, other.m_day, strict);
    }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

    KOTMS_API int IsDate() const; ///< 1 for a day that exists, of any year
    int IsLastDayOfTheMonth() const { return daynxtmonth() == 1; }
    /// The weekday from March of year 0 to February 11400, but for dates in February: these have
    /// the one three days before, to the year 4500. Elsewhere the quotients of the formula, which
    /// are cut toward zero, and its Sunday for every sum below zero mostly give another day.
    KOTMS_API KoDaysOfTheWeek GetDayOfTheDate() const;
    KoDaysOfTheWeek DayOfTheDate() const { return GetDayOfTheDate(); }
    /// The English name of GetDayOfTheDate for a const date, its number for another.
    KOTMS_API KoString PrintDayOfTheDate() const;
    KOTMS_API KoString PrintDayOfTheDate();

    // ---- the calendar: the Gregorian one, in every year that a date can hold. -1 is a year like
    // any other here; a month or day of -1 makes a date that does not exist, as null is one. So is
    // 29 February -4900, which IsDate takes for one.

    /// Move by calendar months and years. The day stays, or becomes the last one of a month that is
    /// shorter: a month after 31 January is 28 or 29 February, and a month before 31 March as well.
    /// So a month on and a month back need not meet. Return 0; KoRC_REFUSED for a date that does
    /// not exist; or KoRC_OVERFLOW beyond the years -32768 to 32767. The date is then as it was.
    KOTMS_API int AddMonths(int n);
    KOTMS_API int AddYears(int n);
    /// 1 to 366; 0 for a date that does not exist.
    KOTMS_API int DayOfTheYear() const;
    /// 28 to 31 by year and month alone; 0 for a month that does not exist.
    KOTMS_API int DaysInTheMonth() const;
    KOTMS_API int IsLeapYear() const; ///< 1 or 0, by the year alone
    /// 1 to 4, by the month alone; 0 for a month that does not exist.
    int Quarter() const { return m_month >= 1 && m_month <= 12 ? (m_month + 2) / 3 : 0; }
    /// The weekday of ISO 8601, 1 for Monday to 7 for Sunday, in February and in all years; 0 for a
    /// date that does not exist.
    KOTMS_API int IsoDayOfTheWeek() const;
    /// The week of ISO 8601, 1 to 53, and the year that it belongs to. Weeks begin on Monday, and
    /// week 1 has the first Thursday of the year: the first days of January can belong to the year
    /// before, the last ones of December to the next. Both are 0 for a date that does not exist; 0
    /// is a year, too.
    KOTMS_API int IsoWeek() const;
    KOTMS_API int IsoWeekYear() const;
    /// The date of a weekday, 1 to 7, in a week of ISO 8601; null where there is none.
    KOTMS_API static KoDate OfIsoWeek(int weekYear, int week, int weekday);

    KOTMS_API static const KoDate& ClearValue();   ///< 0000-00-00
    KOTMS_API static const KoDate& NullValue();    ///< the smallest fields
    KOTMS_API static const KoDate& DefaultValue(); ///< day number 0
    KOTMS_API static const KoDate& ZeroValue();    ///< 0000-01-01

    /// Appends the date under a format of directives; null stands for "%Y-%m-%d".
    KOTMS_API void PrintToKoString(KoString& out, const char* format) const;
    /// Reads the date leniently; fields that the text lacks become 0.
    KOTMS_API void ScanFromKoString(KoString& in, const char* format);

protected:
    /// |a| / |b| and |a| mod |b|, negated when one of a and b is negative; 0 for a `b` of 0.
    KOTMS_API int divide(int a, int b) const;
    KOTMS_API int modulo(int a, int b) const;

private:
    static int Sum(int a, int b)
    {
        return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
    }
    KOTMS_API static int DayNumberByFormula(int year, int month, int day);
    KOTMS_API static KoDate DateByFormula(int dayNumber);

    o_2b m_year;
    o_1b m_month;
    o_1b m_day;
};

static_assert(sizeof(KoDate) == 4 && alignof(KoDate) == 2);

/// Compares stored or in-memory dates (see KoTypeCmpFunc). In memory the result is that of
/// KoDate::Compare. In a persistent form it is -1, 0 or 1, and unless bit 4 of `cmpOp` is set a
/// month or day of -1 equals every other where it stands in the second operand; the year is always
/// compared.
KOTMS_API KoTypeCmp KoDateCompare;

// Day numbers and dates by two tables, which hold what the formulas (Fliegel and Van Flandern,
// 1968) make of months. What is left are quotients of positive numbers, as long as the years are in
// the calendar.

/// What each month adds, by its bits: years, which run from March and count from -4800, and days.
struct KoMonthStart {
    o_4b years;
    o_4b days;
};
inline constexpr auto koMonthStarts = [] {
    std::array<KoMonthStart, 256> starts{};
    for (o_4b month = -128; month < 128; ++month) {
        const o_4b a = (month - 14) / 12;
        starts[static_cast<o_u1b>(month)] = {4800 + a, 367 * (month - 2 - 12 * a) / 12 - 32075};
    }
    return starts;
}();

/// The days of the year from March -4900 on.
inline constexpr auto koDaysFromMarch = []<int... day>(std::integer_sequence<int, day...>)
{
    const auto date = [](int days) {
        const int k = 80 * days / 2447;
        return KoDate(k / 11 - 4900, k + 2 - k / 11 * 12, days - 2447 * k / 80);
    };
    return std::array<KoDate, sizeof...(day)>{date(day + 31)...};
}
(std::make_integer_sequence<int, 366>());

inline int KoDate::dayabs() const
{
    const KoMonthStart& start = koMonthStarts[static_cast<o_u1b>(m_month)];
    const int signedYear = m_year + start.years;
    if (signedYear < 0) [[unlikely]]
        return DayNumberByFormula(m_year, m_month, m_day);
    const auto year = static_cast<unsigned>(signedYear);
    const unsigned century = year / 100;
    return static_cast<int>(1461 * year / 4 - century + century / 4) + start.days + m_day;
}

inline KoDate& KoDate::dateabs(int dayNumber)
{
    // Days are counted from 1 March of year -4900, so that a leap day ends a year.
    const unsigned days = static_cast<unsigned>(dayNumber) + 68569U;
    if (days >= 1U << 29) [[unlikely]]
        return *this = DateByFormula(dayNumber);
    // Quarters of a day are counted as if every fourth year were a leap year.
    const unsigned century = 4 * days / 146097;
    const unsigned quarters = 4 * (days + 3 * century / 4) + 3;
    *this = koDaysFromMarch[quarters % 1461 / 4];
    m_year = static_cast<o_2b>(m_year + static_cast<int>(quarters / 1461));
    return *this;
}

#endif
