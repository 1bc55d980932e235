#include "temporal/carry.h"
#include "temporal/date_time_type.h"
#include "temporal/zone.h"

namespace ko
{

namespace
{

constexpr int kEpoch = 1721060; // the day number of 0000-01-01
constexpr KoDateTimeN kClear(0, 0, 0, 0, 0, 0, 0);
constexpr KoDateTimeN kNull(-32768, -128, -128, -128, -128, -128, 0);
constexpr KoDateTimeN kDefault(-4713, 11, 24, 0, 0, 0, 0);
constexpr KoDateTimeN kZero(0, 1, 1, 0, 0, 0, 0);

struct DateTimeNType : PackedWithNanoseconds {
    using Value = KoDateTimeN;
    static constexpr KoTypeId kId = KoDATIME_N_T;
    static constexpr TemporalKind kKind = TemporalKind::kDateTimeN;

    static TemporalFields ToFields(const KoDateTimeN& value)
    {
        TemporalFields fields = FieldsOfDateTime(value.Date(), value.Time());
        fields.nanoseconds = value.NanoSeconds();
        return fields;
    }
    static KoDateTimeN FromFields(const TemporalFields& fields)
    {
        return {static_cast<o_2b>(fields.year),
                static_cast<o_1b>(fields.month),
                static_cast<o_1b>(fields.day),
                static_cast<o_1b>(fields.hour),
                static_cast<o_1b>(fields.minute),
                static_cast<o_1b>(fields.second),
                fields.nanoseconds};
    }
    static KoDateTimeN FromStamp(const KoTimeStampRec& clock)
    {
        return {static_cast<o_2b>(clock.year),
                clock.month,
                clock.day,
                clock.hour,
                clock.minute,
                clock.second,
                clock.fraction};
    }
};

using DateTimeNOps = TemporalOps<DateTimeNType>;

} // namespace

KO_DEFINE_TYPE(koDateTimeNDescriptor, DateTimeNOps, KoDATIME_N_T)

} // namespace ko

using namespace ko;

int KoDateTimeNCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                       void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return DateTimeNOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

const KoDateTimeN& KoDateTimeN::ClearValue()
{
    return kClear;
}

const KoDateTimeN& KoDateTimeN::NullValue()
{
    return kNull;
}

const KoDateTimeN& KoDateTimeN::DefaultValue()
{
    return kDefault;
}

const KoDateTimeN& KoDateTimeN::ZeroValue()
{
    return kZero;
}

KoDateTimeN::KoDateTimeN(double seconds) : KoDateTimeN(kZero)
{
    AddSeconds(seconds);
}

int KoDateTimeN::GetTotalDays() const
{
    return Date().dayabs() - kEpoch;
}

o_8b KoDateTimeN::GetTotalSeconds() const
{
    return o_8b{GetTotalDays()} * 86400 + static_cast<int>(Time());
}

double KoDateTimeN::GetTotalSeconds_f() const
{
    return static_cast<double>(GetTotalSeconds()) + m_nanoseconds / 1e9;
}

o_8b KoDateTimeN::GetTotalNanoSeconds() const
{
    return TotalNanoSeconds(GetTotalSeconds(), m_nanoseconds);
}

void KoDateTimeN::SetZero()
{
    *this = kZero;
}

void KoDateTimeN::AddDays(int n)
{
    FieldCarry{*this, true}.AddDays(n);
}

void KoDateTimeN::AddHours(int n)
{
    FieldCarry{*this, true}.AddHours(n);
}

void KoDateTimeN::AddMinutes(int n)
{
    FieldCarry{*this, true}.AddMinutes(n);
}

void KoDateTimeN::AddSeconds(o_8b n)
{
    FieldCarry{*this, true}.AddSeconds(n);
}

void KoDateTimeN::AddSeconds(double n)
{
    FieldCarry{*this, true}.AddSeconds(n);
}

void KoDateTimeN::AddNanoSeconds(o_8b n)
{
    FieldCarry{*this, true}.AddNanoSeconds(n);
}

KoDateTimeN& KoDateTimeN::Now()
{
    KoTimeStampRec now;
    const int result = bksGetHiresTime(&now);
    // Without a zone the reading is UTC.
    if (result == 0 || result == KoRC_NO_TIMEZONE)
        *this = DateTimeNType::FromStamp(now);
    return *this;
}

KoDateTimeN& KoDateTimeN::NowUTC()
{
    KoTimeStampRec now;
    if (bksGetHiresTimeUTC(&now) == 0)
        *this = DateTimeNType::FromStamp(now);
    return *this;
}

int KoDateTimeN::ToLocalTime()
{
    return WithZone([this](int minutes) { AddMinutes(minutes); });
}

int KoDateTimeN::ToUTCTime()
{
    return WithZone([this](int minutes) { FieldCarry{*this, true}.AddMinutes(-o_8b{minutes}); });
}

void KoDateTimeN::PrintToKoString(KoString& out, const char* format) const
{
    PrintTemporalValue<DateTimeNType>(out, *this, format);
}

void KoDateTimeN::ScanFromKoString(KoString& in, const char* format)
{
    ScanTemporalValue<DateTimeNType>(*this, in, format);
}
