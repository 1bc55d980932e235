#ifndef KO_STORE_STATISTICS_OWNED_BOUNDS_H
#define KO_STORE_STATISTICS_OWNED_BOUNDS_H

#include <kobasic.h>
#include <kotypevl.h>

namespace ko::store::inner
{

/// The ends of a range of keys that an evaluator allocates.
struct OwnedBounds : KoIdxBounds {
    OwnedBounds() : KoIdxBounds{} {}
    OwnedBounds(const OwnedBounds&) = delete;
    OwnedBounds& operator=(const OwnedBounds&) = delete;
    ~OwnedBounds()
    {
        KoFree(low);
        KoFree(high);
    }
};

} // namespace ko::store::inner

#endif
