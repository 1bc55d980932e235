#include <koodmg.h>

#include "koodmgelements.h"

#include <algorithm>
#include <cmath>

namespace
{

struct OdmgTimestampType : OdmgTimestampElements {
    using Value = d_Timestamp;
    static constexpr KoTypeId kId = D_TIMESTAMP_T;
    static constexpr TemporalKind kKind = TemporalKind::kOdmgTimestamp;

    static TemporalFields ToFields(const d_Timestamp& stamp)
    {
        TemporalFields fields;
        fields.kind = kKind;
        fields.year = stamp.date().year();
        fields.month = stamp.date().month();
        fields.day = stamp.date().day();
        SetTimeFields(fields, stamp.time());
        return fields;
    }
    static d_Timestamp FromFields(const TemporalFields& fields)
    {
        return {DateOf(fields), TimeOfFields(fields)};
    }
    static d_Timestamp FromStamp(const KoTimeStampRec& clock)
    {
        return {StampDate(clock), StampTime(clock)};
    }

    static KoString ToText(const d_Timestamp& stamp)
    {
        return ZonedText(ToFields(stamp), nullptr, stamp.time());
    }
    static d_Timestamp FromText(const KoString& text)
    {
        TemporalFields fields;
        fields.kind = kKind;
        const d_Time time = ScanZonedText(fields, text, nullptr);
        return {DateOf(fields), time};
    }

private:
    static d_Date DateOf(const TemporalFields& fields)
    {
        return KoDate(fields.year, fields.month, fields.day);
    }
};

using OdmgTimestampOps = TemporalOps<OdmgTimestampType>;

/// True when the closed periods share a value; their ends stand in either order.
template <class T>
bool Overlap(const T& a1, const T& a2, const T& b1, const T& b2)
{
    return std::max(std::min(a1, a2), std::min(b1, b2)) <=
           std::min(std::max(a1, a2), std::max(b1, b2));
}

} // namespace

KO_DEFINE_TYPE(d_TimestampDescriptor, OdmgTimestampOps, D_TIMESTAMP_T)

int d_TimestampCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                       void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return OdmgTimestampOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

d_Timestamp::d_Timestamp() : d_Timestamp(KoDateTime())
{
}

d_Timestamp& d_Timestamp::operator+=(const d_Interval& interval)
{
    const double seconds = interval.Seconds();
    if (!std::isfinite(seconds))
        return *this;
    // Whole days go to the date at once: in the sum of a float little of the time would be left.
    const double ofDay = std::fmod(seconds, 86400.0);
    const double days = (seconds - ofDay) / 86400.0 +
                        double{m_time.Move(d_Interval::OfSeconds(static_cast<float>(ofDay)))};
    m_date.Move(static_cast<int>(std::clamp(days, -2147483648.0, 2147483647.0)));
    return *this;
}

d_Interval d_Timestamp::Since(const d_Timestamp& other) const
{
    const double days = m_date.DaysSince(other.m_date);
    const double ofDays = days * 86400.0;
    return d_Interval::OfSeconds(
        static_cast<float>(ofDays + double{(m_time - other.m_time).Seconds()}));
}

bool overlaps(const d_Date& a1, const d_Date& a2, const d_Date& b1, const d_Date& b2)
{
    return Overlap(a1, a2, b1, b2);
}

bool overlaps(const d_Time& a1, const d_Time& a2, const d_Time& b1, const d_Time& b2)
{
    return Overlap(a1, a2, b1, b2);
}

bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Timestamp& b1,
              const d_Timestamp& b2)
{
    return Overlap(a1, a2, b1, b2);
}

bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Date& b1, const d_Date& b2)
{
    return Overlap(a1.date(), a2.date(), b1, b2);
}

bool overlaps(const d_Timestamp& a1, const d_Timestamp& a2, const d_Time& b1, const d_Time& b2)
{
    const d_Timestamp& first = std::min(a1, a2);
    const d_Timestamp& last = std::max(a1, a2);
    const int days = last.date() != first.date();
    if (days == 0)
        return Overlap(first.time(), last.time(), b1, b2);
    // A day in between is covered whole; else the end of one day and the start of the next are.
    return days > 1 || first.time() <= std::max(b1, b2) || std::min(b1, b2) <= last.time();
}
