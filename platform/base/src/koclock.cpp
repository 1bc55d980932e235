#include "koservices.h"

#include <chrono>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <ctime>
#endif

namespace
{

using namespace std::chrono;

KoTimeStampRec Fields(sys_time<nanoseconds> moment)
{
    const sys_days midnight = floor<days>(moment);
    const year_month_day date{midnight};
    const hh_mm_ss<nanoseconds> time{moment - midnight};
    return {static_cast<o_u2b>(static_cast<int>(date.year())),
            static_cast<o_1b>(static_cast<unsigned>(date.month())),
            static_cast<o_1b>(static_cast<unsigned>(date.day())),
            static_cast<o_1b>(time.hours().count()),
            static_cast<o_1b>(time.minutes().count()),
            static_cast<o_1b>(time.seconds().count()),
            static_cast<o_4b>(time.subseconds().count())};
}

// Seconds and nanoseconds apart: whole nanoseconds since 1970 end in 2262, years do not.
KoTimeStampRec Shifted(const KoTimeStampRec& utc, int minutesEast)
{
    const sys_days day{year{utc.year} / utc.month / utc.day};
    const auto moment =
        day + hours{utc.hour} + minutes{utc.minute} + seconds{utc.second} + minutes{minutesEast};
    const sys_days midnight = floor<days>(moment);
    const year_month_day date{midnight};
    const hh_mm_ss time{moment - midnight};
    return {static_cast<o_u2b>(static_cast<int>(date.year())),
            static_cast<o_1b>(static_cast<unsigned>(date.month())),
            static_cast<o_1b>(static_cast<unsigned>(date.day())),
            static_cast<o_1b>(time.hours().count()),
            static_cast<o_1b>(time.minutes().count()),
            static_cast<o_1b>(time.seconds().count()),
            utc.fraction};
}

int SystemUtc(KoTimeStampRec* now)
{
    *now = Fields(time_point_cast<nanoseconds>(system_clock::now()));
    return 0;
}

int SystemZone(int* minutes)
{
#if defined(_WIN32)
    DYNAMIC_TIME_ZONE_INFORMATION zone;
    const DWORD season = GetDynamicTimeZoneInformation(&zone);
    if (season == TIME_ZONE_ID_INVALID)
        return KoRC_NO_TIMEZONE;
    LONG bias = zone.Bias; // UTC minus local time
    if (season == TIME_ZONE_ID_STANDARD)
        bias += zone.StandardBias;
    else if (season == TIME_ZONE_ID_DAYLIGHT)
        bias += zone.DaylightBias;
    *minutes = -static_cast<int>(bias);
#else
    const std::time_t now = std::time(nullptr);
    std::tm local;
    if (!localtime_r(&now, &local))
        return KoRC_NO_TIMEZONE;
    *minutes = static_cast<int>(local.tm_gmtoff / 60);
#endif
    return 0;
}

constexpr KoClock kSystemClock = {SystemUtc, SystemZone};
constinit const KoClock* g_clock = nullptr;

const KoClock& Clock()
{
    return g_clock ? *g_clock : kSystemClock;
}

// The local time of one reading with its zone; UTC when the zone is unknown.
int ReadLocal(KoTimeStampRec* local, int* zone)
{
    KoTimeStampRec utc;
    if (const int failure = Clock().utc(&utc))
        return failure;
    *zone = 0;
    const int result = Clock().zone(zone);
    if (result)
        *zone = 0;
    *local = Shifted(utc, *zone);
    return result;
}

KoDateRec DateOf(const KoTimeStampRec& stamp)
{
    return {static_cast<o_2b>(stamp.year), stamp.month, stamp.day};
}

KoTimeRec TimeOf(const KoTimeStampRec& stamp, int zone)
{
    return {stamp.hour, stamp.minute, stamp.second, zone * 60};
}

} // namespace

const KoClock* bksSetClock(const KoClock* clock)
{
    const KoClock* previous = g_clock;
    g_clock = clock;
    return previous;
}

int bksgetdate(KoDateRec* date)
{
    KoTimeStampRec local{};
    int zone = 0;
    const int result = ReadLocal(&local, &zone);
    *date = DateOf(local);
    return result;
}

int bksgettime(KoTimeRec* time)
{
    KoTimeStampRec local{};
    int zone = 0;
    const int result = ReadLocal(&local, &zone);
    *time = TimeOf(local, zone);
    return result;
}

int bksgetsystemtime(KoTimeRec* time, KoDateRec* date)
{
    KoTimeStampRec utc{};
    const int result = Clock().utc(&utc);
    *time = TimeOf(utc, 0);
    *date = DateOf(utc);
    return result;
}

int bksgettimezone(int* minutes)
{
    return Clock().zone(minutes);
}

int bksGetHiresTime(KoTimeStampRec* now)
{
    int zone = 0;
    return ReadLocal(now, &zone);
}

int bksGetHiresTimeUTC(KoTimeStampRec* now)
{
    return Clock().utc(now);
}
