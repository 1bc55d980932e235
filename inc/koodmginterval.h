#ifndef KOODMGINTERVAL_H
#define KOODMGINTERVAL_H

#include "kosortkey.h"

#include <compare>

/// The header koodmg.h tells what the temporal classes of the standard have in common.

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

static_assert(sizeof(d_Interval) == 4);

#endif
