#ifndef KOZONE_H
#define KOZONE_H

#include <kobase.h>

/// Calls `move(minutes)` with the minutes that local time is ahead of UTC. Returns 0, or the
/// clock's error without a call.
template <class Move>
int KoWithZone(Move move)
{
    int minutes = 0;
    const int result = bksgettimezone(&minutes);
    if (result == 0)
        move(minutes);
    return result;
}

/// -n modulo 2^32.
constexpr int KoNegated(int n) noexcept
{
    return static_cast<int>(0U - static_cast<unsigned>(n));
}

#endif
