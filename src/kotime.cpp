#include <kotime.h>

#include "kotemporalops.h"
#include "kozone.h"

namespace
{

constexpr KoTime kMidnight(0, 0, 0);
constexpr KoTime kNullTime(-128, -128, -128);

struct TimeType : PackedElements<TemporalLayout<false, 3>> {
    using Value = KoTime;
    static constexpr KoTypeId kId = KoTIME_T;
    static constexpr TemporalKind kKind = TemporalKind::kTime;

    static TemporalFields ToFields(const KoTime& time)
    {
        TemporalFields fields;
        fields.hour = time.Hour();
        fields.minute = time.Minute();
        fields.second = time.Second();
        return fields;
    }
    static KoTime FromFields(const TemporalFields& fields)
    {
        return {fields.hour, fields.minute, fields.second};
    }
    static KoTime FromStamp(const KoTimeStampRec& clock)
    {
        return {clock.hour, clock.minute, clock.second};
    }
};

using TimeOps = TemporalOps<TimeType>;

/// Seconds of so many minutes, modulo 2^32.
int SecondsOf(int minutes)
{
    return static_cast<int>(static_cast<unsigned>(minutes) * 60U);
}

} // namespace

KO_DEFINE_TYPE(koTimeDescriptor, TimeOps, KoTIME_T)

int KoTimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return TimeOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

const KoTime& KoTime::ClearValue()
{
    return kMidnight;
}

const KoTime& KoTime::NullValue()
{
    return kNullTime;
}

const KoTime& KoTime::DefaultValue()
{
    return kMidnight;
}

const KoTime& KoTime::ZeroValue()
{
    return kMidnight;
}

KoTime::KoTime() : KoTime(kNullTime)
{
    Now();
}

KoTime& KoTime::Now()
{
    KoTimeRec now = {m_hour, m_minute, m_second, 0};
    bksgettime(&now);
    return *this = KoTime(now.hour, now.minute, now.second);
}

KoTime& KoTime::NowUTC()
{
    KoTimeRec now = {m_hour, m_minute, m_second, 0};
    KoDateRec date = {};
    bksgetsystemtime(&now, &date);
    return *this = KoTime(now.hour, now.minute, now.second);
}

// Every sum is cut to the 8 bits of its field before the next step looks at it. Stored times come
// from this, 24:00:00 and the overflow of hours among them.
KoTime KoTime::operator+(int seconds) const
{
    const int minutes = seconds / 60;
    const int hours = minutes / 60;
    auto s = static_cast<o_1b>(m_second + seconds % 60);
    auto m = static_cast<o_1b>(m_minute + minutes % 60);
    auto h = static_cast<o_1b>(m_hour + hours);
    if (s >= 60) {
        s = static_cast<o_1b>(s - 60);
        m = static_cast<o_1b>(m + 1);
    } else if (s < 0) {
        s = static_cast<o_1b>(s + 60);
        m = static_cast<o_1b>(m - 1);
    }
    if (m >= 60) {
        m = static_cast<o_1b>(m - 60);
        h = static_cast<o_1b>(h + 1);
    } else if (m < 0) {
        m = static_cast<o_1b>(m + 60);
        h = static_cast<o_1b>(h - 1);
    }
    if (h >= 24)
        h = static_cast<o_1b>(h % 24);
    else if (h < 0)
        h = static_cast<o_1b>(h + 24 * (1 - h / 24)); // -24 and -48 become 24
    return {h, m, s};
}

int KoTime::ToLocalTime()
{
    return KoWithZone([this](int minutes) { *this += SecondsOf(minutes); });
}

int KoTime::ToUTCTime()
{
    return KoWithZone([this](int minutes) { *this -= SecondsOf(minutes); });
}

void KoTime::PrintToKoString(KoString& out, const char* format) const
{
    PrintTemporalValue<TimeType>(out, *this, format);
}

void KoTime::ScanFromKoString(KoString& in, const char* format)
{
    ScanTemporalValue<TimeType>(*this, in, format);
}
