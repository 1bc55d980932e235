#include <kotimespan.h>

#include "temporal/carry.h"
#include "temporal/date_time_type.h"

#include <utility>

namespace ko
{

namespace
{

constexpr KoTimeSpan kClear(0, 0, 0, 0, 0, 0, 0);
constexpr KoTimeSpan kNull(-32768, -128, -128, -128, -128, -128, 0);
// The fields of the date-times' default, as stored defaults have them.
constexpr KoTimeSpan kDefault(-4713, 11, 24, 0, 0, 0, 0);

struct TimeSpanType : PackedWithNanoseconds {
    using Value = KoTimeSpan;
    static constexpr KoTypeId kId = KoTIMESPAN_T;
    static constexpr TemporalKind kKind = TemporalKind::kTimeSpan;

    static TemporalFields ToFields(const KoTimeSpan& span)
    {
        TemporalFields fields;
        fields.year = span.Years();
        fields.month = span.Months();
        fields.day = span.Days();
        fields.hour = span.Hours();
        fields.minute = span.Minutes();
        fields.second = span.Seconds();
        fields.nanoseconds = span.NanoSeconds();
        return fields;
    }
    static KoTimeSpan FromFields(const TemporalFields& fields)
    {
        return {fields.year,   fields.month,  fields.day,        fields.hour,
                fields.minute, fields.second, fields.nanoseconds};
    }
    /// Lenient reading spreads days back in time with a sign in each field. What counting made is
    /// to come back as it was.
    static KoTimeSpan FromText(const KoString& text)
    {
        TemporalFields fields;
        fields.kind = kKind;
        unsigned errorAt;
        if (ParseTemporal(fields, text, nullptr, errorAt) != 0)
            ScanTemporal(fields, text, nullptr);
        KoTimeSpan span;
        SetTemporalValue<TimeSpanType>(span, fields);
        return span;
    }
};

using TimeSpanOps = TemporalOps<TimeSpanType>;

} // namespace

KO_DEFINE_TYPE(koTimeSpanDescriptor, TimeSpanOps, KoTIMESPAN_T)

} // namespace ko

using namespace ko;

int KoTimeSpanCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                      void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return TimeSpanOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

const KoTimeSpan& KoTimeSpan::ClearValue()
{
    return kClear;
}

const KoTimeSpan& KoTimeSpan::NullValue()
{
    return kNull;
}

const KoTimeSpan& KoTimeSpan::DefaultValue()
{
    return kDefault;
}

const KoTimeSpan& KoTimeSpan::ZeroValue()
{
    return kClear;
}

KoTimeSpan::KoTimeSpan(double seconds) : KoTimeSpan(kClear)
{
    AddSeconds(seconds);
}

o_8b KoTimeSpan::GetTotalSeconds() const
{
    return o_8b{GetTotalDays()} * 86400 + static_cast<int>(m_value.Time());
}

double KoTimeSpan::GetTotalSeconds_f() const
{
    return static_cast<double>(GetTotalSeconds()) + NanoSeconds() / 1e9;
}

o_8b KoTimeSpan::GetTotalNanoSeconds() const
{
    return TotalNanoSeconds(GetTotalSeconds(), NanoSeconds());
}

void KoTimeSpan::AddDays(int n)
{
    FieldCarry{m_value, false}.AddDays(n);
}

void KoTimeSpan::AddHours(int n)
{
    FieldCarry{m_value, false}.AddHours(n);
}

void KoTimeSpan::AddMinutes(int n)
{
    FieldCarry{m_value, false}.AddMinutes(n);
}

void KoTimeSpan::AddSeconds(o_8b n)
{
    FieldCarry{m_value, false}.AddSeconds(n);
}

void KoTimeSpan::AddSeconds(double n)
{
    FieldCarry{m_value, false}.AddSeconds(n);
}

void KoTimeSpan::AddNanoSeconds(o_8b n)
{
    FieldCarry{m_value, false}.AddNanoSeconds(n);
}

KoTimeSpan KoTimeSpan::Difference(const KoTimeSpan& a, const KoTimeSpan& b)
{
    KoDateTimeN later = a.IsNullValue() != 0 ? KoDateTimeN::ClearValue() : a.m_value;
    KoDateTimeN earlier = b.IsNullValue() != 0 ? KoDateTimeN::ClearValue() : b.m_value;
    if (later < earlier)
        std::swap(later, earlier);
    int days = later.Date() - earlier.Date();
    KoTime end = later.Time();
    KoTime start = earlier.Time();
    o_8b nanoseconds = o_8b{later.NanoSeconds()} - earlier.NanoSeconds();
    if (nanoseconds < 0) {
        nanoseconds += FieldCarry::kSecond;
        ++start;
    }
    if (end < start && days >= 1) {
        --days;
        end = KoTime(end.Hour() + 24, end.Minute(), end.Second());
    }
    const KoTime rest = end - start; // within a day
    return {days / 30 / 12,
            days / 30 % 12,
            days % 30,
            rest.Hour(),
            rest.Minute(),
            rest.Second(),
            static_cast<int>(nanoseconds)};
}

void KoTimeSpan::PrintToKoString(KoString& out, const char* format) const
{
    PrintTemporalValue<TimeSpanType>(out, *this, format);
}

void KoTimeSpan::ScanFromKoString(KoString& in, const char* format)
{
    ScanTemporalValue<TimeSpanType>(*this, in, format);
}
