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

sys_seconds Moment(const KoTimeStampRec& stamp)
{
    const year_month_day date{year{stamp.year}, month{static_cast<unsigned>(stamp.month)},
                              day{static_cast<unsigned>(stamp.day)}};
    return sys_days{date} + hours{stamp.hour} + minutes{stamp.minute} + seconds{stamp.second};
}

#if defined(_WIN32)

// This does not ask the runtime's own clock, which moves in steps of a timer tick.
KoTimeStampRec SystemUtc()
{
    constexpr o_8b kTicks = 10'000'000;     // of 100 ns in a second
    constexpr o_8b kEpoch = 11'644'473'600; // seconds from 1601 to 1970
    FILETIME file;
    GetSystemTimePreciseAsFileTime(&file);
    const o_8b ticks = static_cast<o_8b>(o_u8b{file.dwHighDateTime} << 32 | file.dwLowDateTime);
    return Stamp(sys_seconds{seconds{ticks / kTicks - kEpoch}},
                 static_cast<o_4b>(ticks % kTicks * 100));
}

// Local time minus UTC in minutes at a moment of UTC; 0 or KoRC_NO_TIMEZONE.
int SystemZoneAt(const KoTimeStampRec& utc, int* zone)
{
    const SYSTEMTIME there = {utc.year,
                              static_cast<WORD>(utc.month),
                              0,
                              static_cast<WORD>(utc.day),
                              static_cast<WORD>(utc.hour),
                              static_cast<WORD>(utc.minute),
                              static_cast<WORD>(utc.second),
                              0};
    TIME_ZONE_INFORMATION rules;
    SYSTEMTIME here;
    if (!GetTimeZoneInformationForYear(utc.year, nullptr, &rules) ||
        !SystemTimeToTzSpecificLocalTime(&rules, &there, &here))
        return KoRC_NO_TIMEZONE;
    const KoTimeStampRec local = {here.wYear,
                                  static_cast<o_1b>(here.wMonth),
                                  static_cast<o_1b>(here.wDay),
                                  static_cast<o_1b>(here.wHour),
                                  static_cast<o_1b>(here.wMinute),
                                  static_cast<o_1b>(here.wSecond),
                                  0};
    *zone = static_cast<int>(duration_cast<minutes>(Moment(local) - Moment(utc)).count());
    return 0;
}

#else

KoTimeStampRec SystemUtc()
{
    const auto moment = system_clock::now();
    const sys_seconds whole = floor<seconds>(moment);
    return Stamp(whole, static_cast<o_4b>(duration_cast<nanoseconds>(moment - whole).count()));
}

int SystemZoneAt(const KoTimeStampRec& utc, int* zone)
{
    const std::time_t moment = Moment(utc).time_since_epoch().count();
    std::tm local;
    // "-00" is how the zone database names a local time that nobody has set.
    if (!localtime_r(&moment, &local) || (local.tm_zone && std::strcmp(local.tm_zone, "-00") == 0))
        return KoRC_NO_TIMEZONE;
    *zone = static_cast<int>(local.tm_gmtoff / 60);
    return 0;
}

#endif

constinit const KoClock* g_clock = nullptr; // null: the system's

// The zone at the reading itself: another look at the clock might fall beyond a change of the zone.
int ZoneAt(const KoTimeStampRec& utc, int* zone)
{
    return g_clock ? g_clock->zone(zone) : SystemZoneAt(utc, zone);
}

// UTC and the zone of one reading of the clock. An unknown zone is a code beside usable values;
// after any other code there are none.
struct Reading {
    KoTimeStampRec stamp{};
    int zone = 0; // minutes
    int result = 0;

    bool Usable() const { return result == 0 || result == KoRC_NO_TIMEZONE; }
};

Reading ReadUtc()
{
    Reading reading;
    if (g_clock)
        reading.result = g_clock->utc(&reading.stamp);
    else
        reading.stamp = SystemUtc();
    return reading;
}

Reading ReadLocal()
{
    Reading reading = ReadUtc();
    if (reading.result != 0)
        return reading;
    int zone = 0;
    reading.result = ZoneAt(reading.stamp, &zone);
    if (reading.result == 0) {
        reading.zone = zone;
        reading.stamp = Stamp(Moment(reading.stamp) + minutes{zone}, reading.stamp.fraction);
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

int bksgettimezone(int* zone)
{
    return ZoneAt(g_clock ? KoTimeStampRec{} : SystemUtc(), zone);
}

int bksGetHiresTime(KoTimeStampRec* now)
{
    return GiveAll(ReadLocal(), now);
}

int bksGetHiresTimeUTC(KoTimeStampRec* now)
{
    return GiveAll(ReadUtc(), now);
}
