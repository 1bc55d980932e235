#ifndef KO_TEMPORAL_DATE_TIME_TYPE_H
#define KO_TEMPORAL_DATE_TIME_TYPE_H

#include "temporal/ops.h"

#include <kodatetime.h>

/// The fields of the types that hold a date and a time.

namespace ko
{

inline TemporalFields FieldsOfDateTime(const KoDate& date, const KoTime& time)
{
    TemporalFields fields;
    fields.year = date.Year();
    fields.month = date.Month();
    fields.day = date.Day();
    fields.hour = time.Hour();
    fields.minute = time.Minute();
    fields.second = time.Second();
    return fields;
}

inline KoDateTime DateTimeOfFields(const TemporalFields& fields)
{
    return {KoDate(fields.year, fields.month, fields.day),
            KoTime(fields.hour, fields.minute, fields.second)};
}

/// The layout of a date-time or a span with nanoseconds.
using PackedWithNanoseconds = PackedElements<TemporalLayout<true, 5, true>>;

} // namespace ko

#endif
