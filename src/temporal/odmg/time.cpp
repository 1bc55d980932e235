#include <koodmg.h>

#include "temporal/odmg/elements.h"

#include <cmath>

namespace ko
{

namespace
{

constexpr float kDay = 86400.0F;

int& DefaultZone()
{
    static int zone = 0;
    return zone;
}

struct OdmgTimeType : OdmgTimeElements {
    using Value = d_Time;
    static constexpr KoTypeId kId = D_TIME_T;
    static constexpr TemporalKind kKind = TemporalKind::kOdmgTime;

    static TemporalFields ToFields(const d_Time& time)
    {
        TemporalFields fields;
        SetTimeFields(fields, time);
        return fields;
    }
    static d_Time FromFields(const TemporalFields& fields) { return TimeOfFields(fields); }
    static d_Time FromStamp(const KoTimeStampRec& clock) { return StampTime(clock); }

    static KoString ToText(const d_Time& time)
    {
        TemporalFields fields = ToFields(time);
        fields.kind = kKind;
        return ZonedText(fields, "%H:%M:%f", time);
    }
    static d_Time FromText(const KoString& text)
    {
        TemporalFields fields;
        fields.kind = kKind;
        return ScanZonedText(fields, text, "%H:%M:%f");
    }
};

using OdmgTimeOps = TemporalOps<OdmgTimeType>;

} // namespace

KO_DEFINE_TYPE(d_TimeDescriptor, OdmgTimeOps, D_TIME_T)

// ---- fields

void SetTimeFields(TemporalFields& fields, const d_Time& time)
{
    fields.hour = time.hour();
    fields.minute = time.minute();
    fields.second = time.whole_second();
    fields.nanoseconds = time.hundredths() * 10'000'000;
    fields.hasZone = true;
    fields.zoneHour = time.tz_hour();
    fields.zoneMinute = time.tz_minute();
}

d_Time TimeOfFields(const TemporalFields& fields)
{
    return fields.hasZone ? TimeOfFields(fields, fields.zoneHour, fields.zoneMinute)
                          : TimeOfFields(fields, DefaultZone(), 0);
}

d_Time TimeOfFields(const TemporalFields& fields, int zoneHour, int zoneMinute)
{
    return d_Time::OfFields(fields.hour, fields.minute, fields.second,
                            fields.nanoseconds / 10'000'000, zoneHour, zoneMinute);
}

// ---- the class

} // namespace ko

using namespace ko;

int d_TimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return OdmgTimeOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

void d_Time::set_default_Time_Zone(Time_Zone zone)
{
    DefaultZone() = static_cast<o_1b>(zone); // as a time holds it
}

void d_Time::set_default_Time_Zone_to_local()
{
    KoTimeRec now = {};
    bksgettime(&now);
    if (now.zone != 0)
        DefaultZone() = static_cast<o_1b>(now.zone / 3600);
}

d_Time::d_Time(o_u2b hour, o_u2b minute, float second)
    : d_Time(hour, minute, second, static_cast<o_2b>(DefaultZone()), 0)
{
}

d_Time::d_Time(o_u2b hour, o_u2b minute, float second, o_2b zoneHour, o_2b zoneMinute)
    : d_Time(OfFields(hour, minute, 0, 0, zoneHour, zoneMinute))
{
    SetSeconds(second);
}

d_Time::d_Time(int seconds)
    : d_Time(KoTime(seconds < 0 ? (seconds % 86400 + 86400) % 86400 : seconds))
{
}

d_Time::d_Time(const KoTime& time)
    : d_Time(OfFields(time.Hour(), time.Minute(), time.Second(), 0, DefaultZone(), 0))
{
}

void d_Time::SetSeconds(float seconds)
{
    const float whole = std::trunc(seconds);
    // Beyond 64 bits no second is left in the byte.
    m_second = std::abs(whole) < 9.0e18F ? static_cast<o_1b>(static_cast<o_8b>(whole)) : o_1b{0};
    const float hundredths = (seconds - whole) * 100.0F;
    m_hundredths = std::isfinite(hundredths) ? static_cast<o_1b>(hundredths) : o_1b{0};
}

int d_Time::Difference(const d_Time& other) const
{
    if (const int order = static_cast<o_2b>(hour() - other.hour()); order != 0)
        return order;
    if (const int order = static_cast<o_2b>(minute() - other.minute()); order != 0)
        return order;
    // Cut toward zero: programs count times less than a second apart as the same.
    return ((m_second - other.m_second) * 100 + m_hundredths - other.m_hundredths) / 100;
}

float d_Time::Move(const d_Interval& interval)
{
    // The time goes through a float, in which hundredths may come out one lower: stored times come
    // from this.
    const d_Interval start(0, m_hour, m_minute, second());
    const float moved = (start + interval).Seconds();
    if (!std::isfinite(moved))
        return 0.0F;
    float ofDay = std::fmod(moved, kDay);
    float midnights = (moved - ofDay) / kDay;
    if (ofDay < 0.0F) {
        ofDay += kDay;
        midnights -= 1.0F;
    }
    if (ofDay >= kDay) { // so little before midnight that a float cannot tell
        ofDay = 0.0F;
        midnights += 1.0F;
    }
    const int whole = static_cast<int>(ofDay);
    m_hour = static_cast<o_1b>(whole / 3600);
    m_minute = static_cast<o_1b>(whole % 3600 / 60);
    SetSeconds(ofDay - static_cast<float>(whole) + static_cast<float>(whole % 60));
    return midnights;
}
