#ifndef KOTIME_H
#define KOTIME_H

#include "kobeside.h"
#include "kosortkey.h"
#include "kostring.h"
#include "kotemporal.h"

/// A time of day in whole seconds: hour, minute and second, of the persistent type KoTIME_T.
///
/// Arithmetic wraps at midnight, with exceptions that stay because stored times depend on them: a
/// sum that falls on hour -24 or -48 becomes 24:00:00, and a count of 128 hours or more overflows
/// the hour's 8 bits before it is reduced.
///
/// Elements are compared by KoTimeCompare; their persistent form is the three bytes.
///
/// An integer beside a time is a count of seconds: since midnight in a comparison, and to be added
/// in a sum, where its low 32 bits count.
class KoTime : public KoTemporal<KoTime>, public KoCountBeside<KoTime>
{
public:
    /// The current local time; null when the clock has none.
    KOTMS_API KoTime();
    /// Makes the time as SetSecondsAbs does.
    KoTime(int seconds) { SetSecondsAbs(seconds); }
    /// The fields as they are, cut to their widths.
    constexpr KoTime(int hour, int minute, int second)
        : m_hour(static_cast<o_1b>(hour)), m_minute(static_cast<o_1b>(minute)),
          m_second(static_cast<o_1b>(second))
    {
    }

    /// Becomes the current time, local or in UTC; unchanged when the clock has none.
    KOTMS_API KoTime& Now();
    KOTMS_API KoTime& NowUTC();

    constexpr int Hour() const { return m_hour; }
    constexpr int Minute() const { return m_minute; }
    constexpr int Second() const { return m_second; }

    /// Splits a count of seconds; the hour is not reduced to a day: 90000 gives 25:00:00.
    void SetSecondsAbs(int seconds)
    {
        *this = KoTime(seconds / 3600, seconds % 3600 / 60, seconds % 60);
    }
    /// Seconds since midnight.
    constexpr operator int() const { return 3600 * m_hour + 60 * m_minute + m_second; }

    KOTMS_API KoTime operator+(int seconds) const;
    KoTime operator-(int seconds) const
    {
        return *this + static_cast<int>(0U - static_cast<unsigned>(seconds));
    }
    /// A time of day again, not a count.
    KoTime operator-(const KoTime& other) const { return *this + -static_cast<int>(other); }
    KoTime& operator+=(int seconds) { return *this = *this + seconds; }
    KoTime& operator-=(int seconds) { return *this = *this - seconds; }
    KoTime& operator++() { return *this += 1; }
    KoTime& operator--() { return *this -= 1; }

    /// Adds the zone's offset, or takes it off. Returns 0, or KoRC_NO_TIMEZONE (unchanged).
    KOTMS_API int ToLocalTime();
    KOTMS_API int ToUTCTime();

    /// Compares as KoDate::Compare does, over hour, minute and second.
    int Compare(const KoTime& other, unsigned short op) const
    {
        const bool strict = (op & kKoCmpStrictBit) != 0;
        if (const int order = KoCompareField(m_hour, other.m_hour, strict); order != 0)
            return order;
        if (const int order = KoCompareField(m_minute, other.m_minute, strict); order != 0)
            return order;
        return KoCompareField(m_second, other.m_second, strict);
    }

    /// 1 for 00:00:00 to 23:59:59.
    int IsTime() const
    {
        return m_hour >= 0 && m_hour < 24 && m_minute >= 0 && m_minute < 60 && m_second >= 0 &&
               m_second < 60;
    }

    KOTMS_API static const KoTime& ClearValue();   ///< 00:00:00
    KOTMS_API static const KoTime& NullValue();    ///< -128 in all fields
    KOTMS_API static const KoTime& DefaultValue(); ///< 00:00:00
    KOTMS_API static const KoTime& ZeroValue();    ///< 00:00:00

    KO_SORT_KEY_MEMBERS(KOTMS_API);

    /// Appends the time under a format of directives; null stands for "%H:%M:%S".
    KOTMS_API void PrintToKoString(KoString& out, const char* format) const;
    /// Reads the time leniently; fields that the text lacks become 0.
    KOTMS_API void ScanFromKoString(KoString& in, const char* format);

private:
    o_1b m_hour;
    o_1b m_minute;
    o_1b m_second;
};

static_assert(sizeof(KoTime) == 3);

/// Compares stored or in-memory times (see KoTypeCmpFunc). In memory the result is that of
/// KoTime::Compare; in a persistent form the order is the same, as -1, 0 or 1.
KOTMS_API KoTypeCmp KoTimeCompare;

#endif
