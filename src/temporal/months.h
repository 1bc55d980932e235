#ifndef KO_TEMPORAL_MONTHS_H
#define KO_TEMPORAL_MONTHS_H

#include <kobasic.h>

#include <limits>

namespace ko
{

/// Moves the fields of a date by calendar months. A day that the month lacks becomes the last one
/// before it that it has. `exists(year, month, day)` knows the calendar. Returns 0, KoRC_REFUSED
/// for a date that does not exist, or KoRC_OVERFLOW beyond 16 bits of years; the fields are then as
/// they were.
template <class Exists>
int MoveByMonths(o_2b& year, o_1b& month, o_1b& day, o_8b n, Exists exists)
{
    using Years = std::numeric_limits<o_2b>;
    if (!exists(year, month, day))
        return KoRC_REFUSED;
    const o_8b moved = o_8b{year} * 12 + month - 1 + n;
    const o_8b ofYear = (moved % 12 + 12) % 12;
    const o_8b newYear = (moved - ofYear) / 12;
    if (newYear < Years::min() || newYear > Years::max())
        return KoRC_OVERFLOW;
    year = static_cast<o_2b>(newYear);
    month = static_cast<o_1b>(ofYear + 1);
    while (!exists(year, month, day))
        --day;
    return KoRC_OK;
}

} // namespace ko

#endif
