#ifndef KOODMG_H
#define KOODMG_H

#include "koodmgdate.h"
#include "koodmginterval.h"
#include "koodmgtime.h"

#include <concepts>

/// The temporal classes of the ODMG standard: d_Interval, d_Date and d_Time in headers of their
/// own, d_Timestamp here. Their arithmetic is their own: days follow the Julian calendar before the
/// Gregorian reform, a time of day has a zone, an interval is one float. Their day numbers must not
/// be mixed with those of KoDate.
///
/// They have no null value, and -1 is a number in them, no wildcard. Fields wrap at their widths,
/// and nothing reports an error.

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
