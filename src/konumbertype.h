#ifndef KONUMBERTYPE_H
#define KONUMBERTYPE_H

#include "kobytes.h"
#include "kohashwalk.h"

#include <cmath>
#include <concepts>
#include <type_traits>

namespace ko
{

/// How an element that is one number is read, ordered and hashed, in memory and in every persistent
/// form: its size is the same in all of them.
template <class T>
struct NumberType {
    using Value = T;
    static constexpr unsigned kSize = sizeof(T);

    static T Read(const unsigned char* at, bool swap) noexcept { return ReadNumber<T>(at, swap); }

    /// -1, 0 or 1. A NaN is below everything else and equal to another NaN; -0 equals 0.
    static int Order(T a, T b) noexcept
    {
        if constexpr (std::floating_point<T>) {
            if (std::isnan(a) || std::isnan(b))
                return static_cast<int>(std::isnan(b)) - static_cast<int>(std::isnan(a));
        }
        return KoOrder(a, b);
    }

    static void AddHash(KoHasher& hasher, T n) noexcept { hasher.Add(KoHashWord(n)); }
};

} // namespace ko

#endif
