#ifndef KO_TEMPORAL_ZONE_H
#define KO_TEMPORAL_ZONE_H

#include <kobase.h>

namespace ko
{

/// Calls `move(minutes)` with the minutes that local time is ahead of UTC. Returns 0, or the
/// clock's error without a call.
template <class Move>
int WithZone(Move move)
{
    int minutes = 0;
    const int result = bksgettimezone(&minutes);
    if (result == 0)
        move(minutes);
    return result;
}

} // namespace ko

#endif
