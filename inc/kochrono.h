#ifndef KOCHRONO_H
#define KOCHRONO_H

#include "kodatetime.h"
#include "koodmg.h"
#include "kotimespan.h"

#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>

/// Dates, times and spans to and from std::chrono:
///
///     const auto day = ko::ToChrono(date);                 // std::optional<year_month_day>
///     if (day)
///         date = *ko::FromChrono<KoDate>(sys_days(*day) + days(30));
///     const auto time = ko::FromChrono<KoTime>(hh_mm_ss(14h + 30min));
///
/// | class       | ko::ToChrono gives        | ko::FromChrono<class> takes          |
/// |-------------|---------------------------|--------------------------------------|
/// | KoDate      | year_month_day            | year_month_day, sys_days             |
/// | d_Date      | year_month_day            | year_month_day, sys_days             |
/// | KoTime      | seconds since midnight    | a duration since midnight, hh_mm_ss  |
/// | d_Time      | hundredths since midnight | a duration since midnight, hh_mm_ss  |
/// | KoDateTime  | sys_seconds               | sys_time of any duration             |
/// | KoDateTimeN | sys_time<nanoseconds>     | sys_time of any duration             |
/// | d_Timestamp | sys_time of hundredths    | sys_time of any duration             |
/// | KoTimeSpan  | nanoseconds               | a duration                           |
/// | d_Interval  | duration<float>           | a duration                           |
///
/// Each result is a std::optional, which is empty where the value has no counterpart: null, a field
/// that makes no date or time of day (24:00:00, 31 April), or one that is a wildcard. The year -1
/// is one, so 2 BC has no counterpart in either direction. Parts below the unit of a class are cut
/// off toward the past. Nothing throws, whatever the number is.
///
/// Dates are of the Gregorian calendar on the side of std::chrono. A d_Date follows the Julian one
/// before 15 October 1582 and goes from year 1 on: 1582-10-04 is 1582-10-14 there.
///
/// KoDateTime and KoDateTimeN have no zone: their fields are taken as UTC. Call ToUTCTime before
/// where they are local. A d_Timestamp is the moment that its text names, its clock less its zone;
/// a d_Time is its clock, whatever its zone. What comes from std::chrono has the zone 0.
///
/// sys_time<nanoseconds> and nanoseconds hold 292 years around 1970 and of a span: values of more
/// than 9,223,372,035 seconds in either direction have no counterpart (see GetTotalSeconds). A
/// month of a span has 30 days and a year 12 months; a field of -1 in a span is a number, since
/// negative spans have it.
namespace ko
{

/// Hundredths of a second.
using Hundredths = std::chrono::duration<std::int64_t, std::centi>;

/// Inner parts of the conversions.
namespace chrono_parts
{

using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::year_month_day;

inline constexpr sys_days kReform = sys_days(std::chrono::year(1582) / 10 / 15);
inline constexpr int kWildcardYear = -1;

constexpr std::optional<year_month_day> Calendar(int year, int month, int day)
{
    if (year == kWildcardYear || month < 1 || day < 1)
        return std::nullopt;
    const year_month_day date(std::chrono::year(year),
                              std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day)));
    return date.ok() ? std::optional(date) : std::nullopt;
}

/// A count of days as a date; std::chrono says nothing about years beyond its own.
constexpr std::optional<year_month_day> Calendar(sys_days moment)
{
    using std::chrono::year;
    if (moment < sys_days(year::min() / 1 / 1) || moment > sys_days(year::max() / 12 / 31))
        return std::nullopt;
    const year_month_day date(moment);
    return int(date.year()) == kWildcardYear ? std::nullopt : std::optional(date);
}

/// The moment of a d_Date that exists, by the days between it and one that both calendars have.
inline std::optional<sys_days> Moment(const d_Date& date)
{
    const bool leftOut =
        date.year() == 1582 && date.month() == 10 && date.day() > 4 && date.day() < 15;
    if (date.year() < 1 || date.month() < 1 || date.day() < 1 || leftOut ||
        date.day() > date.days_in_month())
        return std::nullopt;
    return sys_days(days(date != d_Date(1970, 1, 1)));
}

inline std::optional<d_Date> OdmgDate(sys_days moment)
{
    const auto date = Calendar(moment);
    if (!date)
        return std::nullopt;
    auto year = static_cast<o_2b>(int(date->year()));
    if (moment >= kReform)
        return d_Date(year, static_cast<o_u2b>(unsigned(date->month())),
                      static_cast<o_u2b>(unsigned(date->day())));
    // The years of the two calendars begin some days apart.
    const auto dayOfYear = [&] {
        return (moment - sys_days()).count() - (d_Date(year, 1, 1) != d_Date(1970, 1, 1)) + 1;
    };
    if (year >= 1 && dayOfYear() < 1)
        --year;
    if (year < 1)
        return std::nullopt;
    return d_Date(year, static_cast<o_u2b>(dayOfYear()));
}

constexpr std::optional<seconds> Clock(int hour, int minute, int second)
{
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59)
        return std::nullopt;
    return std::chrono::hours(hour) + std::chrono::minutes(minute) + seconds(second);
}

/// A length of time in whole units and what is left, where the units are not more than `limit`
/// seconds in either direction: then no step from one unit to another overflows.
template <class Unit, class Rep, class Period>
constexpr std::optional<Unit> Whole(std::chrono::duration<Rep, Period> length, double limit)
{
    const double number = std::chrono::duration<double>(length).count();
    if (!(number > -limit && number < limit)) // nor a NaN
        return std::nullopt;
    return std::chrono::floor<Unit>(length);
}

/// What is left of a length beyond its whole seconds, from 0 to less than a second. The least count
/// of a unit has no whole seconds below it in that unit, so that a plain difference would overflow.
template <class Rep, class Period>
constexpr auto Rest(std::chrono::duration<Rep, Period> length)
{
    if constexpr (std::chrono::treat_as_floating_point_v<Rep>) {
        return length - std::chrono::floor<seconds>(length);
    } else {
        const auto rest = length % seconds(1);
        return rest < rest.zero() ? rest + seconds(1) : rest;
    }
}

inline constexpr double kSecondsOfDay = 86400;
/// More than the years of 16 bits have.
inline constexpr double kSecondsOfYears = 32768.0 * 366 * kSecondsOfDay;
/// What 64 bits of nanoseconds hold, and a second less.
inline constexpr std::int64_t kSecondsOfNanoseconds = 9223372035;

inline KoTime TimeOf(seconds clock)
{
    return KoTime(static_cast<int>(clock.count()));
}

template <class T, class... Choices>
concept OneOf = (std::same_as<T, Choices> || ...);

} // namespace chrono_parts

// ---- to std::chrono

inline std::optional<std::chrono::year_month_day> ToChrono(const KoDate& date)
{
    return chrono_parts::Calendar(date.Year(), date.Month(), date.Day());
}
inline std::optional<std::chrono::year_month_day> ToChrono(const d_Date& date)
{
    const auto moment = chrono_parts::Moment(date);
    return moment ? chrono_parts::Calendar(*moment) : std::nullopt;
}
inline std::optional<std::chrono::seconds> ToChrono(const KoTime& time)
{
    return chrono_parts::Clock(time.Hour(), time.Minute(), time.Second());
}
inline std::optional<Hundredths> ToChrono(const d_Time& time)
{
    const auto clock = chrono_parts::Clock(time.hour(), time.minute(), time.whole_second());
    if (!clock || time.hundredths() < 0 || time.hundredths() > 99)
        return std::nullopt;
    return *clock + Hundredths(time.hundredths());
}
inline std::optional<std::chrono::sys_seconds> ToChrono(const KoDateTime& dateTime)
{
    const auto date = ToChrono(dateTime.Date());
    const auto time = ToChrono(dateTime.Time());
    if (!date || !time)
        return std::nullopt;
    return std::chrono::sys_days(*date) + *time;
}
inline std::optional<std::chrono::sys_time<std::chrono::nanoseconds>>
ToChrono(const KoDateTimeN& dateTime)
{
    using namespace std::chrono;
    const auto whole = ToChrono(dateTime.DateTime());
    const int rest = dateTime.NanoSeconds();
    constexpr seconds kLimit(chrono_parts::kSecondsOfNanoseconds);
    if (!whole || rest < 0 || rest > 999999999 || whole->time_since_epoch() > kLimit ||
        whole->time_since_epoch() < -kLimit)
        return std::nullopt;
    return *whole + nanoseconds(rest);
}
inline std::optional<std::chrono::sys_time<Hundredths>> ToChrono(const d_Timestamp& stamp)
{
    const auto date = chrono_parts::Moment(stamp.date());
    const auto time = ToChrono(stamp.time());
    if (!date || !time)
        return std::nullopt;
    return *date + *time - std::chrono::hours(stamp.time().tz_hour()) -
           std::chrono::minutes(stamp.time().tz_minute());
}
inline std::optional<std::chrono::nanoseconds> ToChrono(const KoTimeSpan& span)
{
    const o_8b whole = span.GetTotalSeconds();
    if (span.IsNullValue() != 0 || whole > chrono_parts::kSecondsOfNanoseconds ||
        whole < -chrono_parts::kSecondsOfNanoseconds)
        return std::nullopt;
    return std::chrono::seconds(whole) + std::chrono::nanoseconds(span.NanoSeconds());
}
/// Empty for a NaN and an infinite interval.
inline std::optional<std::chrono::duration<float>> ToChrono(const d_Interval& interval)
{
    const float number = interval.Seconds();
    return number - number == 0 ? std::optional(std::chrono::duration<float>(number))
                                : std::nullopt;
}

// ---- from std::chrono

template <std::same_as<KoDate> T>
std::optional<T> FromChrono(const std::chrono::year_month_day& date)
{
    const int year = int(date.year());
    if (!date.ok() || year == chrono_parts::kWildcardYear)
        return std::nullopt;
    return T(year, static_cast<int>(unsigned(date.month())),
             static_cast<int>(unsigned(date.day())));
}
template <std::same_as<KoDate> T>
std::optional<T> FromChrono(std::chrono::sys_days moment)
{
    const auto date = chrono_parts::Calendar(moment);
    return date ? FromChrono<T>(*date) : std::nullopt;
}
template <std::same_as<d_Date> T>
std::optional<T> FromChrono(std::chrono::sys_days moment)
{
    return chrono_parts::OdmgDate(moment);
}
template <std::same_as<d_Date> T>
std::optional<T> FromChrono(const std::chrono::year_month_day& date)
{
    return date.ok() ? chrono_parts::OdmgDate(date) : std::nullopt;
}

template <chrono_parts::OneOf<KoTime, d_Time, KoTimeSpan, d_Interval> T, class Rep, class Period>
std::optional<T> FromChrono(std::chrono::duration<Rep, Period> length)
{
    using namespace std::chrono;
    using namespace chrono_parts;
    if constexpr (std::same_as<T, d_Interval>) {
        return T::OfSeconds(duration<float>(length).count());
    } else if constexpr (std::same_as<T, KoTimeSpan>) {
        const auto whole = Whole<seconds>(length, kSecondsOfYears);
        if (!whole)
            return std::nullopt;
        T span(T::ZeroValue());
        span.AddSeconds(o_8b{whole->count()});
        if (span.GetTotalSeconds() != whole->count()) // the years are at their limit
            return std::nullopt;
        span.AddNanoSeconds(o_8b{floor<nanoseconds>(Rest(length)).count()});
        return span;
    } else {
        const auto clock = Whole<Hundredths>(length, kSecondsOfDay);
        if (!clock || clock->count() < 0)
            return std::nullopt;
        const auto whole = floor<seconds>(*clock);
        const KoTime time = TimeOf(whole);
        if constexpr (std::same_as<T, KoTime>)
            return time;
        else
            return T::OfFields(time.Hour(), time.Minute(), time.Second(),
                               static_cast<int>((*clock - whole).count()), 0, 0);
    }
}
template <chrono_parts::OneOf<KoTime, d_Time> T, class Duration>
std::optional<T> FromChrono(const std::chrono::hh_mm_ss<Duration>& time)
{
    return FromChrono<T>(time.to_duration());
}

template <chrono_parts::OneOf<KoDateTime, KoDateTimeN, d_Timestamp> T, class Duration>
std::optional<T> FromChrono(std::chrono::sys_time<Duration> moment)
{
    using namespace std::chrono;
    using namespace chrono_parts;
    const auto whole = Whole<seconds>(moment.time_since_epoch(), kSecondsOfYears);
    if (!whole)
        return std::nullopt;
    const auto midnight = floor<days>(*whole);
    const seconds clock = *whole - midnight;
    const auto rest = Rest(moment.time_since_epoch());
    if constexpr (std::same_as<T, d_Timestamp>) {
        const auto date = OdmgDate(sys_days(midnight));
        const auto time = FromChrono<d_Time>(clock + floor<Hundredths>(rest));
        return date && time ? std::optional(T(*date, *time)) : std::nullopt;
    } else {
        const auto date = FromChrono<KoDate>(sys_days(midnight));
        if (!date)
            return std::nullopt;
        T dateTime(KoDateTime(*date, TimeOf(clock)));
        if constexpr (std::same_as<T, KoDateTimeN>)
            dateTime.AddNanoSeconds(o_8b{floor<nanoseconds>(rest).count()});
        return dateTime;
    }
}

} // namespace ko

#endif
