#ifndef KO_TEMPORAL_DATE_OF_DAY_H
#define KO_TEMPORAL_DATE_OF_DAY_H

#include "temporal/calendar.h"

#include <kodate.h>

namespace ko
{

/// The date of a day from kFirstCalendarDay to kLastCalendarDay.
inline KoDate DateOfCalendarDay(o_4b day)
{
    const KoDate later(day + kCycleDays);
    // Its year has wrapped at 16 bits where it is beyond them, and so wraps back.
    return {later.Year() - kCycleYears, later.Month(), later.Day()};
}

} // namespace ko

#endif
