#ifndef KOCLOCK_H
#define KOCLOCK_H

#include "koscalar.h"

#include <cstddef>

/// The clock. Dates are of the Gregorian calendar, years 1 to 32767; times are of
/// the 24-hour day; a zone is local time minus UTC, positive east of Greenwich.
///
/// Every function returns 0 or the code of the clock behind it. KoRC_NO_TIMEZONE
/// means that the local time could not be told from UTC: a function that reads
/// local time has then given UTC. With any other code the outputs are unchanged.
/// The readings may be made by many threads, replacing the clock is not synchronised.

/// The clock could not determine the time zone.
inline constexpr int KoRC_NO_TIMEZONE = -2171;

struct KoDateRec {
    o_2b year;
    o_1b month; ///< 1 to 12
    o_1b day;   ///< 1 to 31
};

struct KoTimeRec {
    o_1b hour;
    o_1b minute;
    o_1b second;
    o_4b zone; ///< local time minus UTC, seconds; 0 in a reading of UTC
};

/// Date, time of day and fraction from one reading. It has the layout of the memory
/// form of a date-time with nanoseconds.
struct KoTimeStampRec {
    o_u2b year;
    o_1b month;
    o_1b day;
    o_1b hour;
    o_1b minute;
    o_1b second;
    o_4b fraction; ///< nanoseconds, 0 to 999,999,999
};
static_assert(sizeof(KoTimeStampRec) == 12 && offsetof(KoTimeStampRec, hour) == 4 &&
              offsetof(KoTimeStampRec, fraction) == 8);

/// The functions behind the clock; see bksSetClock. Neither may be null.
struct KoClock {
    /// UTC now; returns 0.
    int (*utc)(KoTimeStampRec* now);
    /// Local time minus UTC in minutes at this moment. Returns 0, or
    /// KoRC_NO_TIMEZONE with `minutes` unchanged.
    int (*zone)(int* minutes);
};

/// Replaces the clock (null: the system's) and returns the one installed before
/// (null when it was the system's). The caller keeps `clock` alive while it is
/// installed.
///
/// The system's clock takes the zone from the operating system as it is at the very
/// moment of the reading, daylight saving included, to the whole minute. On Linux
/// the zone is unknown when the system's own settings say so (a zone called "-00");
/// TZ is read when the process first asks and again after tzset.
KOBASE_API const KoClock* bksSetClock(const KoClock* clock);

/// Today's local date.
KOBASE_API int bksgetdate(KoDateRec* date);
/// The local time of day, with its zone.
KOBASE_API int bksgettime(KoTimeRec* time);
/// Time of day and date in UTC, from one reading.
KOBASE_API int bksgetsystemtime(KoTimeRec* time, KoDateRec* date);
/// Local time minus UTC in minutes; unchanged when the zone is unknown.
KOBASE_API int bksgettimezone(int* zone);
/// Local date and time with nanoseconds, from one reading.
KOBASE_API int bksGetHiresTime(KoTimeStampRec* now);
/// Date and time in UTC with nanoseconds, from one reading.
KOBASE_API int bksGetHiresTimeUTC(KoTimeStampRec* now);

#endif
