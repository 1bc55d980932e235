#ifndef KOSERVICES_H
#define KOSERVICES_H

#include "koscalar.h"

#include <cstddef>

// ---- assertions ------------------------------------------------------------

using KoAssertHandler = void (*)(const char* text, const char* file, int line);

/// Reports a programming error and returns; execution goes on.
KOBASE_API void KORA_assert(const char* text, const char* file, int line);

/// Installs `handler` (null: the default, one line on standard error) and
/// returns the handler that was installed.
KOBASE_API KoAssertHandler KoSetAssertHandler(KoAssertHandler handler);

// ---- memory ----------------------------------------------------------------

using KoMemoryHandler = void (*)(std::size_t size);

/// Memory of the process heap, not initialised. Null when the heap has none; the
/// caller then calls KoCallMemoryHandler. A size of 0 gives a unique pointer.
KOBASE_API void* KoAlloc(std::size_t size);

/// Releases memory of KoAlloc; null is allowed.
KOBASE_API void KoFree(void* memory);

/// Tells the installed handler that `size` bytes could not be had. The default
/// handler writes the size to standard error and aborts.
KOBASE_API void KoCallMemoryHandler(std::size_t size);

/// Installs `handler` (null: the default) and returns the one that was installed.
KOBASE_API KoMemoryHandler KoSetMemoryHandler(KoMemoryHandler handler);

/// Replaces the heap behind KoAlloc and KoFree (null, null: the process heap), so
/// that a test can let the n-th allocation fail. Not while memory is in use.
KOBASE_API void KoSetAllocator(void* (*allocate)(std::size_t), void (*release)(void*));

// ---- clock -----------------------------------------------------------------

/// Result of a clock function that could not determine the time zone.
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
    o_4b zone; ///< local time minus UTC, seconds
};

/// A clock reading: the leading bytes are the memory form of the date types.
struct KoTimeStampRec {
    o_u2b year;
    o_1b month;
    o_1b day;
    o_1b hour;
    o_1b minute;
    o_1b second;
    o_4b fraction; ///< nanoseconds
};
static_assert(sizeof(KoTimeStampRec) == 12 && offsetof(KoTimeStampRec, hour) == 4 &&
              offsetof(KoTimeStampRec, fraction) == 8);

/// The functions behind the clock; see bksSetClock.
struct KoClock {
    /// UTC now, with nanoseconds in `fraction`; returns 0.
    int (*utc)(KoTimeStampRec* now);
    /// Local time minus UTC in minutes at this moment; returns 0 or KoRC_NO_TIMEZONE.
    int (*zone)(int* minutes);
};

/// Replaces the clock (null: the system's) and returns the one installed before
/// (null when it was the system's). The caller keeps `clock` alive.
KOBASE_API const KoClock* bksSetClock(const KoClock* clock);

/// Today's local date; UTC's when the zone is unknown.
KOBASE_API int bksgetdate(KoDateRec* date);
/// The local time of day with its zone; UTC's with zone 0 when the zone is unknown.
KOBASE_API int bksgettime(KoTimeRec* time);
/// UTC time and date from one reading.
KOBASE_API int bksgetsystemtime(KoTimeRec* time, KoDateRec* date);
/// Local time minus UTC in minutes. Returns 0, or KoRC_NO_TIMEZONE with `minutes` unchanged.
KOBASE_API int bksgettimezone(int* minutes);
/// Local (UTC) date, time and nanoseconds from one reading, as a whole clock record.
KOBASE_API int bksGetHiresTime(KoTimeStampRec* now);
KOBASE_API int bksGetHiresTimeUTC(KoTimeStampRec* now);

// ---- configuration ---------------------------------------------------------

/// Settings of the process: category and key to text. Not synchronised.
class KOBASE_API DefaultConfig
{
public:
    /// The setting, or null where there is none. Valid until the setting changes.
    static const char* Get(const char* category, const char* key);
    /// True for "1", "yes", "true" and "on" in any case; false for all else and no setting.
    static bool GetBool(const char* category, const char* key);
    /// Sets the value; null removes the setting. Returns 0, or -1 for a null category or key.
    static int Set(const char* category, const char* key, const char* value);
};

// ---- versions --------------------------------------------------------------

/// Compares the five components of a library's version with those of this
/// system (12.0.2.248.0). Bits 0 to 3 of `flags` ask for an equal major, minor,
/// patch and build. Returns 0, or the number (1 to 4) of the first component
/// asked for that differs. The fifth component is never compared.
KOBASE_API int CheckKoVersionNumber(unsigned major, unsigned minor, unsigned patch, unsigned build,
                                    unsigned fifth, int flags);

#endif
