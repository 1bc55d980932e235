#ifndef KO_TEMPORAL_CARRY_H
#define KO_TEMPORAL_CARRY_H

#include <kodatetime.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ko
{

/// A number without its fraction, as 64 bits hold it: beyond their range the limit, 0 for a NaN.
inline o_8b Truncated(double n)
{
    constexpr double kLimit = 9223372036854775808.0;
    if (n >= kLimit)
        return std::numeric_limits<o_8b>::max();
    if (n < -kLimit)
        return std::numeric_limits<o_8b>::min();
    return n == n ? static_cast<o_8b>(n) : 0;
}

/// The carry from nanoseconds to years that KoDateTimeN and KoTimeSpan share. `calendar` lets days
/// go by the calendar while the date exists; without it a month always has 30 days.
///
/// Counts are 64 bits wide all the way up, so that the largest spans come out whole.
struct FieldCarry {
    KoDateTimeN& value;
    bool calendar;

    /// Nanoseconds of one second.
    static constexpr o_8b kSecond = 1000000000;

    /// Adds `n` to a field that counts up to `base`, and returns what goes to the field above. The
    /// remainder is never negative.
    template <class Field>
    static o_8b Carry(Field& field, o_8b n, o_8b base)
    {
        // Apart, the two cannot overflow.
        o_8b rest = n % base + field;
        o_8b carry = n / base + rest / base;
        rest %= base;
        if (rest < 0) {
            rest += base;
            --carry;
        }
        field = static_cast<Field>(rest);
        return carry;
    }

    void AddNanoSeconds(o_8b n) const
    {
        n = Carry(value.m_nanoseconds, n, kSecond);
        if (n != 0)
            AddSeconds(n);
    }

    void AddSeconds(o_8b n) const
    {
        int second = value.Time().Second();
        n = Carry(second, n, 60);
        value.m_dateTime = KoTime(value.Time().Hour(), value.Time().Minute(), second);
        if (n != 0)
            AddMinutes(n);
    }

    void AddSeconds(double n) const
    {
        if (n == 0.0 || std::isnan(n))
            return;
        constexpr double kLimit = 9223372036854775808.0;
        const double nanoseconds = n * 1e9;
        if (nanoseconds >= -kLimit && nanoseconds < kLimit)
            AddNanoSeconds(static_cast<o_8b>(nanoseconds));
        else
            AddManySeconds(n);
    }

    void AddMinutes(o_8b n) const
    {
        int minute = value.Time().Minute();
        n = Carry(minute, n, 60);
        value.m_dateTime = KoTime(value.Time().Hour(), minute, value.Time().Second());
        if (n != 0)
            AddHours(n);
    }

    void AddHours(o_8b n) const
    {
        int hour = value.Time().Hour();
        n = Carry(hour, n, 24);
        value.m_dateTime = KoTime(hour, value.Time().Minute(), value.Time().Second());
        AddDays(n);
    }

    void AddDays(o_8b n) const
    {
        if (n == 0)
            return;
        const KoDate& date = value.Date();
        if (calendar && date.IsDate() != 0)
            value.m_dateTime.SetDate(date + static_cast<int>(n));
        else
            AddSpanDays(n);
    }

private:
    /// Beyond what 64 bits hold as nanoseconds. The days move once, by all: in two steps a span
    /// could borrow where it has nothing.
    void AddManySeconds(double n) const
    {
        using Limits = std::numeric_limits<o_8b>;
        const o_8b fraction = Truncated((n - std::trunc(n)) * 1e9); // 0 for an infinite count
        const o_8b carry = Carry(value.m_nanoseconds, fraction, kSecond);
        const o_8b whole = Truncated(n);
        AddSeconds(carry > 0 ? std::min(whole, Limits::max() - carry) + carry
                             : std::max(whole, Limits::min() - carry) + carry);
    }

    /// A borrow needs a field above that is not 0: without one the leading field stays negative.
    /// Spans are stored so.
    static o_8b CarryWhere(o_8b& field, o_8b n, o_8b base, bool isLeading)
    {
        const o_8b sum = n % base + field;
        o_8b carry = n / base + sum / base;
        field = sum % base;
        // The two quotients may differ in sign from the quotient of the whole sum.
        if (carry > 0 && field < 0) {
            field += base;
            --carry;
        } else if (carry < 0 && field > 0) {
            field -= base;
            ++carry;
        }
        if (field < 0 && !(carry == 0 && isLeading)) {
            field += base;
            --carry;
        }
        return carry;
    }

    void AddSpanDays(o_8b n) const
    {
        o_8b year = value.Date().Year();
        o_8b month = value.Date().Month();
        o_8b day = value.Date().Day();
        n = CarryWhere(day, n, 30, month == 0 && year == 0);
        if (n != 0)
            n = CarryWhere(month, n, 12, year == 0);
        if (n != 0)
            year = std::clamp<o_8b>(year + n, std::numeric_limits<o_2b>::min(),
                                    std::numeric_limits<o_2b>::max());
        value.m_dateTime.SetDate(
            KoDate(static_cast<int>(year), static_cast<int>(month), static_cast<int>(day)));
    }
};

/// Nanoseconds of so many seconds and nanoseconds, modulo 2^64.
constexpr o_8b TotalNanoSeconds(o_8b seconds, int nanoseconds)
{
    return static_cast<o_8b>(static_cast<o_u8b>(seconds) * static_cast<o_u8b>(FieldCarry::kSecond) +
                             static_cast<o_u8b>(o_8b{nanoseconds}));
}

} // namespace ko

#endif
