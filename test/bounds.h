#ifndef BOUNDS_H
#define BOUNDS_H

#include <kotms.h>

inline constexpr unsigned kEqual = KoQOP_EQUAL;
inline constexpr unsigned kLess = KoQOP_LESS;
inline constexpr unsigned kGreater = KoQOP_GREATER;

/// The ends of a range with the buffers that an evaluator put there.
struct Narrowed : KoIdxBounds {
    Narrowed() : KoIdxBounds{} {}
    Narrowed(const Narrowed&) = delete;
    Narrowed& operator=(const Narrowed&) = delete;
    ~Narrowed()
    {
        KoFree(low);
        KoFree(high);
    }
};

#endif
