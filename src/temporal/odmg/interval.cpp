#include <koodmg.h>

#include "core/bounds.h"
#include "core/number_type.h"
#include "number/string_number.h"
#include "temporal/ops.h"

#include <kotyphash.h>

#include <bit>
#include <cmath>

namespace ko
{

namespace
{

/// A float, which stands in its forms as other 32-bit numbers do.
struct OdmgIntervalType {
    using Fields = TemporalLayout<false, 0, true>;
    using Value = d_Interval;
    static constexpr KoTypeId kId = D_INTERVAL_T;
    static constexpr TemporalKind kKind = TemporalKind::kOdmgInterval;

    /// 0 for what is no number; beyond 32 bits of days their limit.
    static TemporalFields ToFields(const d_Interval& interval)
    {
        constexpr double kLimit = 2147483647.0 * 86400.0;
        TemporalFields fields;
        fields.kind = kKind;
        const double seconds = interval.Seconds();
        if (std::isnan(seconds))
            return fields;
        const double limited = std::clamp(seconds, -kLimit, kLimit);
        const auto whole = static_cast<o_8b>(limited);
        fields.day = static_cast<o_4b>(whole / 86400);
        const auto ofDay = static_cast<o_4b>(whole % 86400);
        fields.hour = ofDay / 3600;
        fields.minute = ofDay % 3600 / 60;
        fields.second = ofDay % 60;
        const double fraction = limited - static_cast<double>(whole);
        fields.nanoseconds = static_cast<o_4b>(std::round(fraction * 1e9));
        return fields;
    }
    static d_Interval FromFields(const TemporalFields& fields)
    {
        const o_8b whole =
            (o_8b{fields.day} * 24 + fields.hour) * 3600 + o_8b{fields.minute} * 60 + fields.second;
        const double fraction = fields.nanoseconds / 1e9;
        return d_Interval::OfSeconds(static_cast<float>(static_cast<double>(whole) + fraction));
    }

    /// The fields from days to nanoseconds where they are the value, else seconds with an "s" at
    /// the end.
    static KoString ToText(const d_Interval& interval)
    {
        KoString text;
        const TemporalFields fields = ToFields(interval);
        if (Bits(FromFields(fields)) == Bits(interval))
            PrintTemporal(text, fields, nullptr);
        else
            AppendShortest(text, interval.Seconds()) << 's';
        return text;
    }
    static int ParseText(d_Interval& interval, const KoString& text, unsigned& errorAt)
    {
        const NarrowText narrow(text);
        const std::size_t length = narrow.Length();
        if (length > 0 && narrow.Data()[length - 1] == 's') {
            float seconds = 0.0F;
            const int result = ParseNumber(seconds, narrow.Data(), length - 1, nullptr, errorAt);
            if (result == 0)
                interval = d_Interval::OfSeconds(seconds);
            return result;
        }
        TemporalFields fields;
        fields.kind = kKind;
        const int result = ParseTemporal(fields, text, nullptr, errorAt);
        if (result == 0)
            interval = FromFields(fields);
        return result;
    }
    static d_Interval FromText(const KoString& text)
    {
        const NarrowText narrow(text);
        if (narrow.Length() > 0 && narrow.Data()[narrow.Length() - 1] == 's') {
            float seconds = 0.0F;
            ScanNumber(seconds, text, nullptr);
            return d_Interval::OfSeconds(seconds);
        }
        TemporalFields fields;
        fields.kind = kKind;
        ScanTemporal(fields, text, nullptr);
        return FromFields(fields);
    }

private:
    static o_u4b Bits(const d_Interval& interval)
    {
        return std::bit_cast<o_u4b>(interval.Seconds());
    }
};

struct OdmgIntervalOps : TemporalOps<OdmgIntervalType> {
    static constexpr KoTypeCmpFunc Cmp = FloatCompare;
    static constexpr KoHashFunc Hash = FloatHash;

    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<ScalarAxis<NumberType<o_float>>>(bounds, op, value, format, count,
                                                               newBounds);
    }

    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        return NumbersSortKey<NumberType<o_float>>(key, room, value, format, count);
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<d_Interval>(
            value, key, length, count,
            [](d_Interval& interval, const unsigned char* at, unsigned left) {
                o_float seconds = 0;
                const unsigned taken = ReadNumberKey<NumberType<o_float>>(seconds, at, left);
                interval = d_Interval::OfSeconds(seconds);
                return taken;
            });
    }
};

} // namespace

KO_DEFINE_TYPE(d_IntervalDescriptor, OdmgIntervalOps, D_INTERVAL_T)

} // namespace ko

using namespace ko;

// In steps, so that no compiler makes a multiplication and a sum one operation, which would round
// otherwise.
d_Interval::d_Interval(int days, int hours, int minutes, float seconds)
    : m_seconds(std::fabs(static_cast<float>(days)) * 86400.0F)
{
    const float ofHours = std::fabs(static_cast<float>(hours)) * 3600.0F;
    const float ofMinutes = std::fabs(static_cast<float>(minutes)) * 60.0F;
    m_seconds += ofHours;
    m_seconds += ofMinutes;
    m_seconds += std::fabs(seconds);
    // One negative part turns the whole: programs write a length back in time so.
    if (days < 0 || hours < 0 || minutes < 0 || seconds < 0.0F)
        m_seconds = -m_seconds;
}
