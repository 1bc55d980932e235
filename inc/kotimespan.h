#ifndef KOTIMESPAN_H
#define KOTIMESPAN_H

#include "kodatetime.h"
#include "kosortkey.h"

/// A length of time of the persistent type KoTIMESPAN_T: years, months, days, hours, minutes,
/// seconds and nanoseconds, where a month has 30 days and a year 12 months.
///
/// Adding carries as in KoDateTimeN, never by the calendar: the leading field may be negative, and
/// years stop at -32768 and 32767.
///
/// Elements are compared by KoTimeSpanCompare; their forms are those of KoDateTimeN.
class KoTimeSpan : public KoTemporal<KoTimeSpan>, public KoTotals<KoTimeSpan>
{
public:
    KoTimeSpan() = default; ///< null
    /// The fields as they are, cut to their widths.
    constexpr KoTimeSpan(int years, int months, int days, int hours, int minutes, int seconds,
                         int nanoseconds)
        : m_value(static_cast<o_2b>(years), static_cast<o_1b>(months), static_cast<o_1b>(days),
                  static_cast<o_1b>(hours), static_cast<o_1b>(minutes), static_cast<o_1b>(seconds),
                  nanoseconds)
    {
    }
    /// The fields as they are, but for the days, which are spread over days, months and years.
    KoTimeSpan(int days, int hours, int minutes, int seconds, int nanoseconds)
        : KoTimeSpan(0, 0, 0, hours, minutes, seconds, nanoseconds)
    {
        AddDays(days);
    }
    /// So many seconds; see AddSeconds.
    KOTMS_API KoTimeSpan(double seconds);

    int Years() const { return m_value.Date().Year(); }
    int Months() const { return m_value.Date().Month(); }
    int Days() const { return m_value.Date().Day(); }
    int Hours() const { return m_value.Time().Hour(); }
    int Minutes() const { return m_value.Time().Minute(); }
    int Seconds() const { return m_value.Time().Second(); }
    int NanoSeconds() const { return m_value.NanoSeconds(); }
    /// Set one field, cut to its width.
    void SetYears(int n) { *this = With(n, Months(), Days(), Hours(), Minutes(), Seconds()); }
    void SetMonths(int n) { *this = With(Years(), n, Days(), Hours(), Minutes(), Seconds()); }
    void SetDays(int n) { *this = With(Years(), Months(), n, Hours(), Minutes(), Seconds()); }
    void SetHours(int n) { *this = With(Years(), Months(), Days(), n, Minutes(), Seconds()); }
    void SetMinutes(int n) { *this = With(Years(), Months(), Days(), Hours(), n, Seconds()); }
    void SetSeconds(int n) { *this = With(Years(), Months(), Days(), Hours(), Minutes(), n); }
    void SetNanoSeconds(int n)
    {
        *this = KoTimeSpan(Years(), Months(), Days(), Hours(), Minutes(), Seconds(), n);
    }

    /// The whole length, without the nanoseconds but in the last two. The count of nanoseconds
    /// wraps at 64 bits: it holds 292 years, the others every span.
    int GetTotalDays() const { return (Years() * 12 + Months()) * 30 + Days(); }
    KOTMS_API o_8b GetTotalSeconds() const;
    KOTMS_API double GetTotalSeconds_f() const;
    KOTMS_API o_8b GetTotalNanoSeconds() const;
    void SetZero() { *this = ZeroValue(); }

    using KoTotals<KoTimeSpan>::AddSeconds;
    using KoTotals<KoTimeSpan>::AddNanoSeconds;
    KOTMS_API void AddDays(int n);
    KOTMS_API void AddHours(int n);
    KOTMS_API void AddMinutes(int n);
    KOTMS_API void AddSeconds(o_8b n);
    KOTMS_API void AddSeconds(double n); ///< as KoDateTimeN::AddSeconds
    KOTMS_API void AddNanoSeconds(o_8b n);

    /// Compares as KoDateTimeN::Compare does.
    int Compare(const KoTimeSpan& other, unsigned short op) const
    {
        return m_value.Compare(other.m_value, op);
    }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

    /// The span between two date-times that stand in the fields of spans, never negative; a null
    /// one counts as all zero. Days are counted by the calendar, then every 30 are a month: from
    /// 2023-01-01 to 2024-01-01 it is 1 year and 5 days.
    KOTMS_API static KoTimeSpan Difference(const KoTimeSpan& a, const KoTimeSpan& b);

    KOTMS_API static const KoTimeSpan& ClearValue(); ///< all fields 0
    KOTMS_API static const KoTimeSpan& NullValue();
    KOTMS_API static const KoTimeSpan& DefaultValue(); ///< years -4713, months 11, days 24
    KOTMS_API static const KoTimeSpan& ZeroValue();    ///< all fields 0

    /// Appends the span under a format of directives; null stands for "%V".
    KOTMS_API void PrintToKoString(KoString& out, const char* format) const;
    /// Reads the span leniently; fields that the text lacks become 0.
    KOTMS_API void ScanFromKoString(KoString& in, const char* format);

private:
    KoTimeSpan With(int years, int months, int days, int hours, int minutes, int seconds) const
    {
        return {years, months, days, hours, minutes, seconds, NanoSeconds()};
    }
    KoDateTimeN m_value;
};

static_assert(sizeof(KoTimeSpan) == 12 && alignof(KoTimeSpan) == 4);

/// Compares stored or in-memory spans as KoDateTimeNCompare does date-times.
KOTMS_API KoTypeCmp KoTimeSpanCompare;

#endif
