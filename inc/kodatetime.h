#ifndef KODATETIME_H
#define KODATETIME_H

#include "kodate.h"
#include "koint64.h"
#include "kosortkey.h"
#include "kotime.h"

namespace ko
{
struct FieldCarry;
}

/// A date and a time of day in whole seconds, of the persistent type KoDATIME_T.
///
/// A KoDate where one is asked for becomes that date at the current local time, a KoTime that time
/// today. So `dateTime == date` reads the clock and depends on it; `dateTime.Date() == date` does
/// not. A KoDateTimeN takes a date at midnight instead, and a time without a date.
///
/// Elements are compared by KoDateTimeCompare. Their persistent form is the year in the byte order
/// of the format and one byte for each of month, day, hour, minute and second: 7 bytes; in memory
/// an element takes 8.
class KoDateTime : public KoTemporal<KoDateTime>
{
public:
    /// The current local date and time; null when the clock has none.
    KOTMS_API KoDateTime();
    constexpr KoDateTime(const KoDate& date, const KoTime& time) : m_date(date), m_time(time) {}
    KoDateTime(const KoDate& date) : m_date(date) {} ///< at the current local time
    KoDateTime(const KoTime& time) : m_time(time) {} ///< today

    /// Becomes the current date and time, local or in UTC; unchanged when the clock has none.
    KOTMS_API KoDateTime& Now();
    KOTMS_API KoDateTime& NowUTC();

    constexpr const KoDate& Date() const { return m_date; }
    constexpr const KoTime& Time() const { return m_time; }
    void SetDate(const KoDate& date) { m_date = date; }
    void SetTime(const KoTime& time) { m_time = time; }
    KoDateTime& operator=(const KoTime& time) ///< replaces the time alone
    {
        m_time = time;
        return *this;
    }

    int IsDateTime() const { return m_date.IsDate() != 0 && m_time.IsTime() != 0; }
    int IsDaTime() const { return IsDateTime(); }

    /// The order of the dates, or of the times where the dates are equal; see KoDate::Compare.
    int Compare(const KoDateTime& other, unsigned short op) const
    {
        const int order = m_date.Compare(other.m_date, op);
        return order != 0 ? order : m_time.Compare(other.m_time, op);
    }
    int Compare(const KoDateTime& other) const { return Compare(other, kKoCmpStrict); }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

    /// Moves by so many seconds, the date with the time.
    KOTMS_API void AddSeconds(int n);
    int AddMonths(int n) { return m_date.AddMonths(n); } ///< as KoDate
    int AddYears(int n) { return m_date.AddYears(n); }
    /// Adds the zone's offset, or takes it off; the date moves by one day at the most, and an
    /// offset beyond that leaves an hour out of range. Returns 0, or KoRC_NO_TIMEZONE (unchanged).
    KOTMS_API int ToLocalTime();
    KOTMS_API int ToUTCTime();

    KOTMS_API static const KoDateTime& ClearValue(); ///< all fields 0
    KOTMS_API static const KoDateTime& Null();       ///< ClearValue, not NullValue
    KOTMS_API static const KoDateTime& NullValue();
    KOTMS_API static const KoDateTime& DefaultValue();             ///< -4713-11-24 00:00:00
    KOTMS_API static const KoDateTime& ZeroValue();                ///< 0000-01-01 00:00:00
    int IsDefaultValue() const { return m_date.IsDefaultValue(); } ///< whatever the time

    /// Appends the value under a format of directives; null stands for "%Y-%m-%dT%H:%M:%S".
    KOTMS_API void PrintToKoString(KoString& out, const char* format) const;
    /// Reads the value leniently; fields that the text lacks become 0.
    KOTMS_API void ScanFromKoString(KoString& in, const char* format);

private:
    KoDate m_date;
    KoTime m_time;
};

static_assert(sizeof(KoDateTime) == 8 && alignof(KoDateTime) == 2);

/// A date-time with nanoseconds, of the persistent type KoDATIME_N_T.
///
/// The epoch of all totals is 0000-01-01 00:00:00. Adding carries from nanoseconds up to days, and
/// from there goes by the calendar when the date exists. The fields of a date that does not exist
/// count years of 12 months of 30 days instead: the leading field may then be negative, and years
/// stop at their limits. Nanoseconds are 0 to 999,999,999 after any of it.
///
/// Elements are compared by KoDateTimeNCompare. Their persistent form is that of KoDateTime and
/// then the nanoseconds in the byte order of the format: 11 bytes; in memory an element takes 12.
class KoDateTimeN : public KoTemporal<KoDateTimeN>, public KoTotals<KoDateTimeN>
{
public:
    KoDateTimeN() : KoDateTimeN(NullValue()) {} ///< null
    /// The fields as they are.
    constexpr KoDateTimeN(o_2b year, o_1b month, o_1b day, o_1b hour, o_1b minute, o_1b second,
                          o_4b nanoseconds)
        : m_dateTime(KoDate(year, month, day), KoTime(hour, minute, second)),
          m_nanoseconds(nanoseconds)
    {
    }
    constexpr KoDateTimeN(const KoDate& date, const KoTime& time) : m_dateTime(date, time) {}
    KoDateTimeN(const KoDate& date) : m_dateTime(date, KoTime(0, 0, 0)) {}
    KoDateTimeN(const KoTime& time) : m_dateTime(KoDate(0, 0, 0), time) {} ///< date fields 0
    constexpr KoDateTimeN(const KoDateTime& dateTime) : m_dateTime(dateTime) {}
    /// So many seconds from the epoch; see AddSeconds.
    KOTMS_API KoDateTimeN(double seconds);

    constexpr const KoDate& Date() const { return m_dateTime.Date(); }
    constexpr const KoTime& Time() const { return m_dateTime.Time(); }
    constexpr const KoDateTime& DateTime() const { return m_dateTime; }
    constexpr int NanoSeconds() const { return m_nanoseconds; }

    int IsValidDateTime() const { return m_dateTime.IsDaTime(); }

    /// From the epoch, all but the last without the nanoseconds. The count of nanoseconds wraps at
    /// 64 bits: it holds 292 years.
    KOTMS_API int GetTotalDays() const;
    KOTMS_API o_8b GetTotalSeconds() const;
    KOTMS_API double GetTotalSeconds_f() const; ///< with the nanoseconds as fraction
    KOTMS_API o_8b GetTotalNanoSeconds() const;
    KOTMS_API void SetZero(); ///< the epoch

    using KoTotals<KoDateTimeN>::AddSeconds;
    using KoTotals<KoDateTimeN>::AddNanoSeconds;
    KOTMS_API void AddDays(int n);
    KOTMS_API void AddHours(int n);
    KOTMS_API void AddMinutes(int n);
    KOTMS_API void AddSeconds(o_8b n);
    /// Adds n * 1e9 nanoseconds, the fraction cut off. Where 64 bits do not hold their count, from
    /// 292 years on, the whole seconds and the nanoseconds of the fraction are added apart; seconds
    /// beyond 64 bits stop at the limit. A NaN adds nothing.
    KOTMS_API void AddSeconds(double n);
    KOTMS_API void AddNanoSeconds(o_8b n);
    int AddMonths(int n) { return m_dateTime.AddMonths(n); } ///< as KoDate
    int AddYears(int n) { return m_dateTime.AddYears(n); }

    /// Becomes the current time, local or in UTC; unchanged when the clock has none.
    KOTMS_API KoDateTimeN& Now();
    KOTMS_API KoDateTimeN& NowUTC();
    /// Adds the zone's offset, or takes it off. Returns 0, or KoRC_NO_TIMEZONE (unchanged).
    KOTMS_API int ToLocalTime();
    KOTMS_API int ToUTCTime();

    /// As KoDateTime::Compare; after that -1 or 1 by the nanoseconds, in which -1 is a wildcard
    /// too.
    int Compare(const KoDateTimeN& other, unsigned short op) const
    {
        const int order = m_dateTime.Compare(other.m_dateTime, op);
        if (order != 0 ||
            ((op & kKoCmpStrictBit) == 0 && (m_nanoseconds == -1 || other.m_nanoseconds == -1)))
            return order;
        return (m_nanoseconds > other.m_nanoseconds) - (m_nanoseconds < other.m_nanoseconds);
    }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

    KOTMS_API static const KoDateTimeN& ClearValue(); ///< all fields 0
    KOTMS_API static const KoDateTimeN& NullValue();
    KOTMS_API static const KoDateTimeN& DefaultValue(); ///< -4713-11-24 00:00:00
    KOTMS_API static const KoDateTimeN& ZeroValue();    ///< the epoch

    /// Appends the value under a format of directives; null stands for "%X".
    KOTMS_API void PrintToKoString(KoString& out, const char* format) const;
    /// Reads the value leniently; fields that the text lacks become 0.
    KOTMS_API void ScanFromKoString(KoString& in, const char* format);

private:
    friend struct ko::FieldCarry;

    KoDateTime m_dateTime;
    o_4b m_nanoseconds = 0;
};

static_assert(sizeof(KoDateTimeN) == 12 && alignof(KoDateTimeN) == 4);

/// Compare stored or in-memory date-times (see KoTypeCmpFunc). In memory the result is that of
/// Compare. In a persistent form it is -1, 0 or 1; unless bit 4 of `cmpOp` is set, the date is
/// compared as KoDateCompare does, the time as KoTimeCompare, and nanoseconds of -1 on either side
/// equal all others.
KOTMS_API KoTypeCmp KoDateTimeCompare;
KOTMS_API KoTypeCmp KoDateTimeNCompare;

/// Sets `out` to the milliseconds from 1970-01-01 00:00:00 UTC to now, by the system's clock.
/// Returns 0.
KOTMS_API int GetSystemTimeInMSSinceTheEpoch(KoInt64& out);

#endif
