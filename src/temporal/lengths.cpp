#include "temporal/carry.h"
#include "temporal/date_of_day.h"

#include <koodmg.h>
#include <kotimespan.h>

// Whole spans, which are counted in seconds and nanoseconds, and the moments that they move.

namespace ko
{

namespace
{

constexpr o_8b kSecondsOfDay = 86400;
constexpr o_8b kDaysOfYear = 360; // of a span

/// Seconds, and nanoseconds from 0 to one second.
struct Length {
    o_8b seconds;
    o_8b nanoseconds;
};

constexpr o_8b FloorDivide(o_8b a, o_8b b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

/// The sum of both parts, whatever the sign of the second.
constexpr Length LengthOf(o_8b seconds, o_8b nanoseconds)
{
    const o_8b carry = FloorDivide(nanoseconds, FieldCarry::kSecond);
    return {seconds + carry, nanoseconds - carry * FieldCarry::kSecond};
}
Length LengthOf(const KoTimeSpan& span)
{
    return LengthOf(span.GetTotalSeconds(), span.NanoSeconds());
}
/// Never overflows: no span has the smallest count.
constexpr Length Negated(const Length& length)
{
    return LengthOf(-length.seconds, -length.nanoseconds);
}

/// The span of a length, null beyond the years of spans.
KoTimeSpan SpanOf(const Length& length)
{
    const o_8b days = FloorDivide(length.seconds, kSecondsOfDay);
    if (days < -32768 * kDaysOfYear || days >= 32768 * kDaysOfYear)
        return KoTimeSpan::NullValue();
    KoTimeSpan span = KoTimeSpan::ZeroValue();
    span.AddNanoSeconds(length.nanoseconds);
    span.AddSeconds(length.seconds);
    return span;
}

/// The moment in seconds of the day numbers; false for one that does not exist.
bool MomentOf(const KoDateTimeN& when, Length& moment)
{
    const KoDate& date = when.Date();
    if (!IsGregorianDate(date.Year(), date.Month(), date.Day()) || when.Time().IsTime() == 0 ||
        when.NanoSeconds() < 0 || when.NanoSeconds() >= FieldCarry::kSecond)
        return false;
    const o_8b day = CalendarDay(date.Year(), date.Month(), date.Day());
    moment = {day * kSecondsOfDay + static_cast<int>(when.Time()), when.NanoSeconds()};
    return true;
}

} // namespace

} // namespace ko

using namespace ko;

KoTimeSpan KoTimeSpan::Between(const KoDateTimeN& from, const KoDateTimeN& to)
{
    Length start;
    Length end;
    if (!MomentOf(from, start) || !MomentOf(to, end))
        return NullValue();
    return SpanOf(LengthOf(end.seconds - start.seconds, end.nanoseconds - start.nanoseconds));
}

KoTimeSpan KoTimeSpan::Between(const d_Timestamp& from, const d_Timestamp& to)
{
    constexpr o_8b kHundredth = FieldCarry::kSecond / 100;
    // The zone's hour and minute are in the times as they are held.
    const auto held = [](const d_Time& time) {
        return (o_8b{time.hour()} + time.tz_hour()) * 3600 +
               (o_8b{time.minute()} + time.tz_minute()) * 60 + time.whole_second();
    };
    const int days = to.date() != from.date();
    return SpanOf(LengthOf(days * kSecondsOfDay + held(to.time()) - held(from.time()),
                           (o_8b{to.time().hundredths()} - from.time().hundredths()) * kHundredth));
}

KoDateTimeN KoTimeSpan::After(const KoDateTimeN& start) const
{
    Length moment;
    if (IsNullValue() != 0 || !MomentOf(start, moment))
        return KoDateTimeN::NullValue();
    const Length length = LengthOf(*this);
    moment = LengthOf(moment.seconds + length.seconds, moment.nanoseconds + length.nanoseconds);
    const o_8b day = FloorDivide(moment.seconds, kSecondsOfDay);
    if (day < kFirstCalendarDay || day > kLastCalendarDay)
        return KoDateTimeN::NullValue();
    KoDateTimeN end(DateOfCalendarDay(static_cast<o_4b>(day)),
                    KoTime(static_cast<int>(moment.seconds - day * kSecondsOfDay)));
    end.AddNanoSeconds(moment.nanoseconds);
    return end;
}

KoDateTime KoTimeSpan::After(const KoDateTime& start) const
{
    return After(KoDateTimeN(start)).DateTime();
}

KoTimeSpan KoTimeSpan::operator-() const
{
    return IsNullValue() != 0 ? *this : SpanOf(Negated(LengthOf(*this)));
}

KoTimeSpan& KoTimeSpan::operator+=(const KoTimeSpan& other)
{
    if (IsNullValue() != 0 || other.IsNullValue() != 0)
        return *this = NullValue();
    const Length a = LengthOf(*this);
    const Length b = LengthOf(other);
    return *this = SpanOf(LengthOf(a.seconds + b.seconds, a.nanoseconds + b.nanoseconds));
}

KoTimeSpan& KoTimeSpan::operator*=(int n)
{
    if (IsNullValue() != 0)
        return *this;
    const Length length = LengthOf(*this);
    // So far out that nanoseconds cannot bring it back; nearer, no sum overflows.
    constexpr o_8b kFar = kDaysOfYear * kSecondsOfDay * 65536;
    o_8b seconds;
    if (__builtin_mul_overflow(length.seconds, o_8b{n}, &seconds) || seconds > kFar ||
        seconds < -kFar)
        return *this = NullValue();
    return *this = SpanOf(LengthOf(seconds, length.nanoseconds * n));
}

KoTimeSpan& KoTimeSpan::operator/=(int n)
{
    if (IsNullValue() != 0 || n == 0)
        return *this = NullValue();
    Length length = LengthOf(*this);
    const bool negative = length.seconds < 0;
    if (negative)
        length = Negated(length);
    // The rest is below 2^31 seconds, so its nanoseconds fit 64 bits.
    const o_8b divisor = n;
    length =
        LengthOf(length.seconds / divisor,
                 (length.seconds % divisor * FieldCarry::kSecond + length.nanoseconds) / divisor);
    return *this = SpanOf(negative ? Negated(length) : length);
}

int KoTimeSpan::CompareLength(const KoTimeSpan& other) const
{
    const int nulls = (IsNullValue() == 0 ? 1 : 0) - (other.IsNullValue() == 0 ? 1 : 0);
    if (nulls != 0 || IsNullValue() != 0)
        return nulls;
    const Length a = LengthOf(*this);
    const Length b = LengthOf(other);
    if (a.seconds != b.seconds)
        return a.seconds < b.seconds ? -1 : 1;
    return (a.nanoseconds > b.nanoseconds) - (a.nanoseconds < b.nanoseconds);
}
