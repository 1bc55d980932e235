#ifndef KOODMG_H
#define KOODMG_H

#include "kodatetime.h"
#include "kosortkey.h"

#include <compare>
#include <concepts>

/// The temporal classes of the ODMG standard. Their arithmetic is their own: days follow the Julian
/// calendar before the Gregorian reform, a time of day has a zone, an interval is one float. Their
/// day numbers must not be mixed with those of KoDate.
///
/// They have no null value, and -1 is a number in them, no wildcard. Fields wrap at their widths,
/// and nothing reports an error.

class d_Time;
class d_Timestamp;

/// A signed length of time in seconds, of the persistent type D_INTERVAL_T, whose elements
/// FloatCompare compares and whose forms are those of a float.
class d_Interval
{
public:
    constexpr d_Interval() : m_seconds(0.0F) {}
    explicit d_Interval(int days) : d_Interval(days, 0) {}
    /// The sum of the magnitudes, negative when any of the four is.
    KOTMS_API d_Interval(int days, int hours, int minutes = 0, float seconds = 0);
    static constexpr d_Interval OfSeconds(float seconds)
    {
        d_Interval interval;
        interval.m_seconds = seconds;
        return interval;
    }

    constexpr float Seconds() const { return m_seconds; }

    constexpr d_Interval operator-() const { return OfSeconds(-m_seconds); }
    friend constexpr d_Interval operator+(const d_Interval& a, const d_Interval& b)
    {
        return OfSeconds(a.m_seconds + b.m_seconds);
    }
    friend constexpr d_Interval operator-(const d_Interval& a, const d_Interval& b)
    {
        return OfSeconds(a.m_seconds - b.m_seconds);
    }
    friend constexpr d_Interval operator*(const d_Interval& a, int n)
    {
        return OfSeconds(a.m_seconds * static_cast<float>(n));
    }
    friend constexpr d_Interval operator*(int n, const d_Interval& a) { return a * n; }
    /// Unchanged for an `n` of 0.
    friend constexpr d_Interval operator/(const d_Interval& a, int n)
    {
        return n == 0 ? a : OfSeconds(a.m_seconds / static_cast<float>(n));
    }
    friend constexpr auto operator<=>(const d_Interval&, const d_Interval&) = default;

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    float m_seconds;
};

/// What d_Date, d_Time and d_Timestamp do with an interval, over their += and -=.
template <class T>
class KoMovedByInterval
{
    friend T operator+(T value, const d_Interval& interval)
    {
        value += interval;
        return value;
    }
    friend T operator+(const d_Interval& interval, const T& value) { return value + interval; }
    friend T operator-(T value, const d_Interval& interval)
    {
        value -= interval;
        return value;
    }
};

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

/// A time of day with its zone, in hundredths of a second, of the persistent type D_TIME_T. The
/// hour and minute are held with the zone's added, and accessors take it off again.
///
/// Texts of conversion carry the zone as ISO 8601 writes it, "10:00:05.250-05:30", and none where
/// it is 0; one without a zone is read with the zone 0, whatever the default is. Under a format
/// "%z" prints and reads the zone; scanning without it gives the default.
///
/// Elements are compared by d_TimeCompare; their persistent form is six bytes: zone hour and
/// minute, hour and minute as they are held, second, hundredths.
class d_Time : public KoMovedByInterval<d_Time>
{
public:
    /// Hours ahead of Greenwich.
    enum Time_Zone : int {
        GMT_12 = -12,
        GMT_11,
        GMT_10,
        GMT_9,
        GMT_8,
        GMT_7,
        GMT_6,
        GMT_5,
        GMT_4,
        GMT_3,
        GMT_2,
        GMT_1,
        GMT,
        GMT1,
        GMT2,
        GMT3,
        GMT4,
        GMT5,
        GMT6,
        GMT7,
        GMT8,
        GMT9,
        GMT10,
        GMT11,
        GMT12,
        USpacific = -8,
        USmountain = -7,
        UScentral = -6,
        USeastern = -5,
    };

    /// The zone of times that are made without one, GMT at first. Setting it is not synchronised.
    KOTMS_API static void set_default_Time_Zone(Time_Zone zone);
    /// Takes the clock's zone in whole hours; a zone of 0 leaves the default as it is.
    KOTMS_API static void set_default_Time_Zone_to_local();

    d_Time() : d_Time(KoTime()) {} ///< now, local
    static d_Time current() { return d_Time(); }
    /// Seconds to hundredths, the rest cut off.
    KOTMS_API d_Time(o_u2b hour, o_u2b minute, float second);
    KOTMS_API d_Time(o_u2b hour, o_u2b minute, float second, o_2b zoneHour, o_2b zoneMinute);
    /// Seconds since midnight; negative ones count back from the end of the day.
    KOTMS_API explicit d_Time(int seconds);
    KOTMS_API d_Time(const KoTime& time);
    /// The fields as they are, the zone's added to hour and minute.
    static constexpr d_Time OfFields(int hour, int minute, int second, int hundredths, int zoneHour,
                                     int zoneMinute)
    {
        // Cut to 8 bits first: the sums are the same modulo 256, and do not overflow.
        return d_Time(Raw{}, static_cast<o_1b>(hour) + static_cast<o_1b>(zoneHour),
                      static_cast<o_1b>(minute) + static_cast<o_1b>(zoneMinute), second, hundredths,
                      zoneHour, zoneMinute);
    }
    d_Time(const KoDateTime& dateTime) : d_Time(dateTime.Time()) {}
    d_Time(const d_Timestamp& stamp);

    constexpr int hour() const { return m_hour - m_zoneHour; }
    constexpr int minute() const { return m_minute - m_zoneMinute; }
    constexpr float second() const
    {
        return static_cast<float>(m_second) + static_cast<float>(m_hundredths) / 100.0F;
    }
    constexpr int whole_second() const { return m_second; }
    constexpr int hundredths() const { return m_hundredths; } ///< of the second
    constexpr int tz_hour() const { return m_zoneHour; }
    constexpr int tz_minute() const { return m_zoneMinute; }

    /// Move within the day, in the arithmetic of a float; an interval that is no number or is
    /// infinite moves nothing.
    d_Time& operator+=(const d_Interval& interval)
    {
        Move(interval);
        return *this;
    }
    d_Time& operator-=(const d_Interval& interval) { return *this += -interval; }
    /// Between the times as they are held, without the hundredths.
    friend d_Interval operator-(const d_Time& a, const d_Time& b)
    {
        return a.WholeSeconds() - b.WholeSeconds();
    }

    /// The difference of the hours, or else of the minutes, or else of the seconds cut toward zero:
    /// times less than a second apart do not differ.
    friend int operator!=(const d_Time& a, const d_Time& b) { return a.Difference(b); }
    friend bool operator==(const d_Time& a, const d_Time& b) { return a.Difference(b) == 0; }
    /// These go by the times as they are held, to the hundredth.
    friend bool operator<(const d_Time& a, const d_Time& b) { return a.Position() < b.Position(); }
    friend bool operator>(const d_Time& a, const d_Time& b) { return b < a; }
    friend bool operator<=(const d_Time& a, const d_Time& b) { return !(b < a); }
    friend bool operator>=(const d_Time& a, const d_Time& b) { return !(a < b); }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    friend class d_Timestamp;

    struct Raw {
    };
    constexpr d_Time(Raw, int hour, int minute, int second, int hundredths, int zoneHour,
                     int zoneMinute)
        : m_zoneHour(static_cast<o_1b>(zoneHour)), m_zoneMinute(static_cast<o_1b>(zoneMinute)),
          m_hour(static_cast<o_1b>(hour)), m_minute(static_cast<o_1b>(minute)),
          m_second(static_cast<o_1b>(second)), m_hundredths(static_cast<o_1b>(hundredths))
    {
    }

    /// Hundredths since midnight, as held.
    constexpr int Position() const
    {
        return ((m_hour * 60 + m_minute) * 60 + m_second) * 100 + m_hundredths;
    }
    d_Interval WholeSeconds() const
    {
        return d_Interval(0, m_hour, m_minute, static_cast<float>(m_second));
    }
    KOTMS_API int Difference(const d_Time& other) const;
    void SetSeconds(float seconds);
    /// Moves, and returns the midnights passed.
    KOTMS_API float Move(const d_Interval& interval);

    o_1b m_zoneHour;
    o_1b m_zoneMinute;
    o_1b m_hour;
    o_1b m_minute;
    o_1b m_second;
    o_1b m_hundredths;
};

/// A date and a time of day with its zone, of the persistent type D_TIMESTAMP_T.
///
/// Elements are compared by d_TimestampCompare; their persistent form is that of the date and then
/// that of the time, 10 bytes.
class d_Timestamp : public KoMovedByInterval<d_Timestamp>
{
public:
    KOTMS_API d_Timestamp(); ///< now, local
    static d_Timestamp current() { return d_Timestamp(); }
    constexpr d_Timestamp(const d_Date& date, const d_Time& time) : m_date(date), m_time(time) {}
    explicit d_Timestamp(const d_Date& date) : m_date(date), m_time(0) {} ///< at midnight
    d_Timestamp(const KoDateTime& dateTime) : m_date(dateTime), m_time(dateTime) {}

    constexpr const d_Date& date() const { return m_date; }
    constexpr const d_Time& time() const { return m_time; }
    d_Timestamp& operator=(const d_Date& date) ///< replaces the date alone
    {
        m_date = date;
        return *this;
    }
    /// Replaces both. Nothing converts on the way: a KoDate goes through d_Date.
    template <std::same_as<KoDateTime> T>
    d_Timestamp& operator=(const T& dateTime)
    {
        return *this = d_Timestamp(dateTime);
    }

    /// Move the time as d_Time does, and the date by the midnights passed and whole days.
    KOTMS_API d_Timestamp& operator+=(const d_Interval& interval);
    d_Timestamp& operator-=(const d_Interval& interval) { return *this += -interval; }
    /// The days between the dates and what lies between the times.
    friend d_Interval operator-(const d_Timestamp& a, const d_Timestamp& b) { return a.Since(b); }

    /// The difference of the dates, or else of the times.
    friend int operator!=(const d_Timestamp& a, const d_Timestamp& b)
    {
        const int days = a.m_date != b.m_date;
        return days != 0 ? days : a.m_time != b.m_time;
    }
    friend bool operator==(const d_Timestamp& a, const d_Timestamp& b) { return !(a != b); }
    /// Orders by the date, then by the time.
    friend bool operator<(const d_Timestamp& a, const d_Timestamp& b)
    {
        const int days = a.m_date != b.m_date;
        return days != 0 ? days < 0 : a.m_time < b.m_time;
    }
    friend bool operator>(const d_Timestamp& a, const d_Timestamp& b) { return b < a; }
    friend bool operator<=(const d_Timestamp& a, const d_Timestamp& b) { return !(b < a); }
    friend bool operator>=(const d_Timestamp& a, const d_Timestamp& b) { return !(a < b); }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    KOTMS_API d_Interval Since(const d_Timestamp& other) const;

    d_Date m_date;
    d_Time m_time;
};

static_assert(sizeof(d_Interval) == 4 && sizeof(d_Date) == 4 && sizeof(d_Time) == 6);
static_assert(sizeof(d_Timestamp) == 10 && alignof(d_Timestamp) == 2);

inline d_Date::d_Date(const d_Timestamp& stamp) : d_Date(stamp.date())
{
}
inline d_Time::d_Time(const d_Timestamp& stamp) : d_Time(stamp.time())
{
}

KO_GLOBAL_NAMES_BEGIN
/// True when two closed periods, each with its ends in either order, share a moment. A date covers
/// its whole day; a period of times applies to each day, and does not pass midnight.
KOTMS_API bool overlaps(const d_Date& a1, const d_Date& a2, const d_Date& b1, const d_Date& b2)
    KO_GLOBAL_SYMBOL("_Z8overlapsRK6d_DateS1_S1_S1_");
KOTMS_API bool overlaps(const d_Time& a1, const d_Time& a2, const d_Time& b1, const d_Time& b2)
    KO_GLOBAL_SYMBOL("_Z8overlapsRK6d_TimeS1_S1_S1_");
KOTMS_API bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Timestamp& b1,
                        const d_Timestamp& b2)
    KO_GLOBAL_SYMBOL("_Z8overlapsRK11d_TimestampS1_S1_S1_");
KOTMS_API bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Date& b1,
                        const d_Date& b2)
    KO_GLOBAL_SYMBOL("_Z8overlapsRK11d_TimestampS1_RK6d_DateS4_");
KOTMS_API bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Time& b1,
                        const d_Time& b2)
    KO_GLOBAL_SYMBOL("_Z8overlapsRK11d_TimestampS1_RK6d_TimeS4_");
inline bool overlaps(const d_Date& a1, const d_Date& a2, const d_Timestamp& b1,
                     const d_Timestamp& b2)
{
    return overlaps(b1, b2, a1, a2);
}
inline bool overlaps(const d_Time& a1, const d_Time& a2, const d_Timestamp& b1,
                     const d_Timestamp& b2)
{
    return overlaps(b1, b2, a1, a2);
}
KO_GLOBAL_NAMES_END

/// Compare stored or in-memory elements (see KoTypeCmpFunc): -1, 0 or 1 by year, month and day,
/// and by hour, minute, second and hundredths as they are held; times that are equal so far by
/// zone hour and minute. `cmpOp` is not looked at.
KOTMS_API KoTypeCmp d_DateCompare;
KOTMS_API KoTypeCmp d_TimeCompare;
KOTMS_API KoTypeCmp d_TimestampCompare;

#endif
