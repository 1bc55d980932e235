#ifndef KOTIMESPAN_H
#define KOTIMESPAN_H

#include "kodatetime.h"
#include "kosortkey.h"

#include <concepts>

class d_Timestamp;

/// The classes that spans move.
template <class T>
concept KoMovedBySpan = std::same_as<T, KoDateTime> || std::same_as<T, KoDateTimeN>;

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

    // ---- lengths: whole spans, which count as GetTotalSeconds and the nanoseconds say, whatever
    // their fields are. Nothing wraps or stops at a limit: the answer is null where an operand is
    // null and beyond what 32767 years of 360 days hold, about 32297 years of the calendar.

    /// The length from one date-time to another, by the calendar and to the nanosecond; negative
    /// back in time. Null also where one of them does not exist: where its fields, a wildcard
    /// among them, are none of the calendar and the clock.
    KOTMS_API static KoTimeSpan Between(const KoDateTimeN& from, const KoDateTimeN& to);
    static KoTimeSpan Between(const KoDateTime& from, const KoDateTime& to)
    {
        return Between(KoDateTimeN(from), KoDateTimeN(to));
    }
    /// The same to the hundredth, between the times as they are held, as all arithmetic of
    /// d_Timestamp is; its fields are not looked at.
    KOTMS_API static KoTimeSpan Between(const d_Timestamp& from, const d_Timestamp& to);

    /// The moment so much later than `start`: what Between finds is moved by. A KoDateTime is
    /// rounded down to the second. Null as for Between, and beyond the years -32768 to 32767.
    KOTMS_API KoDateTimeN After(const KoDateTimeN& start) const;
    KOTMS_API KoDateTime After(const KoDateTime& start) const;

    KOTMS_API KoTimeSpan operator-() const;
    KOTMS_API KoTimeSpan& operator+=(const KoTimeSpan& other);
    KoTimeSpan& operator-=(const KoTimeSpan& other) { return *this += -other; }
    KOTMS_API KoTimeSpan& operator*=(int n);
    /// Cut toward zero to whole nanoseconds; null for an `n` of 0.
    KOTMS_API KoTimeSpan& operator/=(int n);
    friend KoTimeSpan operator+(KoTimeSpan a, const KoTimeSpan& b) { return a += b; }
    friend KoTimeSpan operator-(KoTimeSpan a, const KoTimeSpan& b) { return a -= b; }
    friend KoTimeSpan operator*(KoTimeSpan span, int n) { return span *= n; }
    friend KoTimeSpan operator*(int n, KoTimeSpan span) { return span *= n; }
    friend KoTimeSpan operator/(KoTimeSpan span, int n) { return span /= n; }
    template <KoMovedBySpan T>
    friend T operator+(const T& start, const KoTimeSpan& span)
    {
        return span.After(start);
    }
    template <KoMovedBySpan T>
    friend T operator-(const T& start, const KoTimeSpan& span)
    {
        return (-span).After(start);
    }

    /// -1, 0 or 1 by the lengths: 30 days equal a month here. Null comes first, and equals null.
    KOTMS_API int CompareLength(const KoTimeSpan& other) const;
    /// -1, 0 or 1; 0 for null.
    int Sign() const { return IsNullValue() != 0 ? 0 : CompareLength(ZeroValue()); }
    KoTimeSpan Magnitude() const { return Sign() < 0 ? -*this : *this; }

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

/// KoTimeSpan::Between, `end` being the later one where the span is positive.
template <KoMovedBySpan T>
KoTimeSpan operator-(const T& end, const T& start)
{
    return KoTimeSpan::Between(start, end);
}

/// Compares stored or in-memory spans as KoDateTimeNCompare does date-times.
KOTMS_API KoTypeCmp KoTimeSpanCompare;

#endif
