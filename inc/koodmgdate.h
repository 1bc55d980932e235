#ifndef KOODMGDATE_H
#define KOODMGDATE_H

#include "kodatetime.h"
#include "koodmginterval.h"

/// The header koodmg.h tells what the temporal classes of the standard have in common.

class d_Timestamp;

/// A calendar date of the persistent type D_DATE_T: year (astronomical), month and day.
///
/// Its days are those of the Julian calendar to 1582-10-04 and of the Gregorian one from the next
/// day, 1582-10-15, on. Before year 1 the quotients behind them are cut toward zero and leave the
/// calendar.
///
/// Elements are compared by d_DateCompare, and their forms are those of KoDate.
class d_Date : public KoMovedByInterval<d_Date>
{
public:
// The same names as in KoDaysOfTheWeek, and other numbers: those of the standard.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wshadow"
#endif
    enum Weekday { Sunday, Monday, Tuesday, Wednesday, Thursday, Friday, Saturday };
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

    d_Date() : d_Date(KoDate())
    {
    } ///< today, local
    static d_Date current()
    {
        return d_Date();
    }
    /// The fields as they are, cut to their widths.
    constexpr d_Date(o_2b year, o_u2b month, o_u2b day)
        : m_year(year), m_month(static_cast<o_1b>(month)), m_day(static_cast<o_1b>(day))
    {
    }
    /// Day `dayOfYear` of the year, 1 for 1 January.
    KOTMS_API d_Date(o_2b year, o_u2b dayOfYear);
    constexpr d_Date(const KoDate& date)
        : m_year(static_cast<o_2b>(date.Year())), m_month(static_cast<o_1b>(date.Month())),
          m_day(static_cast<o_1b>(date.Day()))
    {
    }
    constexpr d_Date(const KoDateTime& dateTime) : d_Date(dateTime.Date())
    {
    }
    d_Date(const d_Timestamp& stamp);

    constexpr int year() const
    {
        return m_year;
    }
    constexpr int month() const
    {
        return m_month;
    }
    constexpr int day() const
    {
        return m_day;
    }

    /// Days of a month: 0 for a month that does not exist. Before 1600 every fourth year is a leap
    /// year.
    int days_in_month() const
    {
        return days_in_month(m_year, static_cast<o_u2b>(m_month));
    }
    KOTMS_API static int days_in_month(o_2b year, o_u2b month);
    KOTMS_API int day_of_year() const; ///< 1 for 1 January
    /// Move by calendar months and years. The day stays, or becomes the last one before it that the
    /// month has: 29 February becomes the 28th, and 10 October 1582 the 4th. Return 0; KoRC_REFUSED
    /// for a date that does not exist; or KoRC_OVERFLOW beyond 16 bits of years. The date is then
    /// as it was.
    KOTMS_API int add_months(int n);
    KOTMS_API int add_years(int n);
    KOTMS_API Weekday day_of_week() const;

    /// Become the nearest later or earlier date on a weekday, 1 to 7 days away.
    KOTMS_API d_Date& next(Weekday weekday);
    KOTMS_API d_Date& previous(Weekday weekday);

    /// Move by whole days: the interval's seconds over 86400 as a float, cut toward zero. Beyond 32
    /// bits the number of days stops at the limit; a NaN moves nothing.
    KOTMS_API d_Date& operator+=(const d_Interval& interval);
    d_Date& operator-=(const d_Interval& interval)
    {
        return *this += -interval;
    }
    d_Date operator++(int)
    {
        return MovedFrom(1);
    }
    d_Date operator--(int)
    {
        return MovedFrom(-1);
    }

    /// The difference of the day numbers, whose sign is the order.
    friend int operator!=(const d_Date& a, const d_Date& b)
    {
        return a.DaysSince(b);
    }
    friend bool operator==(const d_Date& a, const d_Date& b)
    {
        return a.DaysSince(b) == 0;
    }
    friend bool operator<(const d_Date& a, const d_Date& b)
    {
        return a.DaysSince(b) < 0;
    }
    friend bool operator>(const d_Date& a, const d_Date& b)
    {
        return b < a;
    }
    friend bool operator<=(const d_Date& a, const d_Date& b)
    {
        return !(b < a);
    }
    friend bool operator>=(const d_Date& a, const d_Date& b)
    {
        return !(a < b);
    }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    friend class d_Timestamp;

    int getAbsDate() const;
    d_Date& setAbsDate(int dayNumber);
    KOTMS_API int DaysSince(const d_Date& other) const;
    KOTMS_API d_Date& Move(int days);
    d_Date MovedFrom(int days)
    {
        const d_Date before = *this;
        Move(days);
        return before;
    }

    o_2b m_year;
    o_1b m_month;
    o_1b m_day;
};

static_assert(sizeof(d_Date) == 4);

#endif
