#include "koclock.h"

#include <chrono>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cstring>
#include <ctime>
#endif

namespace
{

using namespace std::chrono;

// Whole seconds and the fraction are kept apart: 64 bits of nanoseconds end in the year 2262, the
// years of a stamp do not.
KoTimeStampRec Stamp(sys_seconds moment, o_4b fraction)
{
    const sys_days midnight = floor<days>(moment);
    const year_month_day date{midnight};
    const hh_mm_ss time{moment - midnight};
    return {static_cast<o_u2b>(static_cast<int>(date.year())),
            static_cast<o_1b>(static_cast<unsigned>(date.month())),
            static_cast<o_1b>(static_cast<unsigned>(date.day())),
            static_cast<o_1b>(time.hours().count()),
            static_cast<o_1b>(time.minutes().count()),
            static_cast<o_1b>(time.seconds().count()),
            fraction};
}

KoTimeStampRec MovedEast(const KoTimeStampRec& utc, int zone)
{
    const year_month_day date{year{utc.year}, month{static_cast<unsigned>(utc.month)},
                              day{static_cast<unsigned>(utc.day)}};
    return Stamp(sys_days{date} + hours{utc.hour} + minutes{utc.minute} + seconds{utc.second} +
                     minutes{zone},
                 utc.fraction);
}

#if defined(_WIN32)

// Not the runtime's own clock: it moves in steps of a timer tick.
int SystemUtc(KoTimeStampRec* now)
{
    constexpr o_8b kTicks = 10'000'000;     // of 100 ns in a second
    constexpr o_8b kEpoch = 11'644'473'600; // seconds from 1601 to 1970
    FILETIME file;
    GetSystemTimePreciseAsFileTime(&file);
    const o_8b ticks = static_cast<o_8b>(o_u8b{file.dwHighDateTime} << 32 | file.dwLowDateTime);
    *now = Stamp(sys_seconds{seconds{ticks / kTicks - kEpoch}},
                 static_cast<o_4b>(ticks % kTicks * 100));
    return 0;
}

int SystemZone(int* minutes)
{
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
    return 0;
}

#else

int SystemUtc(KoTimeStampRec* now)
{
    const auto moment = system_clock::now();
    const sys_seconds whole = floor<seconds>(moment);
    *now = Stamp(whole, static_cast<o_4b>(duration_cast<nanoseconds>(moment - whole).count()));
    return 0;
}

int SystemZone(int* minutes)
{
    const std::time_t now = std::time(nullptr);
    std::tm local;
    // "-00" is how the zone database names a local time that nobody has set.
    if (!localtime_r(&now, &local) || (local.tm_zone && std::strcmp(local.tm_zone, "-00") == 0))
        return KoRC_NO_TIMEZONE;
    *minutes = static_cast<int>(local.tm_gmtoff / 60);
    return 0;
}

#endif

constexpr KoClock kSystemClock = {SystemUtc, SystemZone};
constinit const KoClock* g_clock = nullptr;

const KoClock& Clock()
{
    return g_clock ? *g_clock : kSystemClock;
}

// UTC and the zone of one reading of the clock. An unknown zone is a code beside usable values;
// after any other code there are none.
struct Reading {
    KoTimeStampRec stamp{};
    int zone = 0; // minutes
    int result;

    bool Usable() const { return result == 0 || result == KoRC_NO_TIMEZONE; }
};

Reading ReadUtc()
{
    Reading reading;
    reading.result = Clock().utc(&reading.stamp);
    return reading;
}

Reading ReadLocal()
{
    Reading reading = ReadUtc();
    if (reading.result != 0)
        return reading;
    int zone = 0;
    reading.result = Clock().zone(&zone);
    if (reading.result == 0) {
        reading.zone = zone;
        reading.stamp = MovedEast(reading.stamp, zone);
    }
    return reading;
}

void Give(const Reading& reading, KoDateRec* date)
{
    const KoTimeStampRec& stamp = reading.stamp;
    if (reading.Usable())
        *date = {static_cast<o_2b>(stamp.year), stamp.month, stamp.day};
}

void Give(const Reading& reading, KoTimeRec* time)
{
    const KoTimeStampRec& stamp = reading.stamp;
    if (reading.Usable())
        *time = {stamp.hour, stamp.minute, stamp.second, reading.zone * 60};
}

void Give(const Reading& reading, KoTimeStampRec* stamp)
{
    if (reading.Usable())
        *stamp = reading.stamp;
}

template <class... Records>
int GiveAll(const Reading& reading, Records*... records)
{
    (Give(reading, records), ...);
    return reading.result;
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
    return GiveAll(ReadLocal(), date);
}

int bksgettime(KoTimeRec* time)
{
    return GiveAll(ReadLocal(), time);
}

int bksgetsystemtime(KoTimeRec* time, KoDateRec* date)
{
    return GiveAll(ReadUtc(), time, date);
}

int bksgettimezone(int* minutes)
{
    return Clock().zone(minutes);
}

int bksGetHiresTime(KoTimeStampRec* now)
{
    return GiveAll(ReadLocal(), now);
}

int bksGetHiresTimeUTC(KoTimeStampRec* now)
{
    return GiveAll(ReadUtc(), now);
}
