#ifndef KOHASHWALK_H
#define KOHASHWALK_H

#include "kocmpwalk.h"

/// The multiplier of every scalar hash.
inline constexpr o_u4b kHashMultiplier = 1103515245U;

/// What a null element contributes to a hash in the place of its value: "NULL" in ASCII.
inline constexpr o_u4b kHashOfNull = 0x4E554C4CU;

/// Hash of `count` elements of `size` bytes: the exclusive or of `contribution(element)` over the
/// elements within the bound, times 1103515245 modulo 2^32. Hashes are stored, so a contribution
/// must never change, and must be the same for every form of the same value.
///
/// `status` becomes KoRC_TRUNCATED when the bound ended before the last of `count` elements, else
/// 0.
template <class Contribution>
o_u4b KoHashWalk(unsigned length, const void* value, unsigned size, unsigned count, int& status,
                 Contribution contribution)
{
    const unsigned visited = KoElementsWithin(length, size, count);
    status = visited < count ? KoRC_TRUNCATED : KoRC_OK;
    const auto* element = static_cast<const unsigned char*>(value);
    o_u4b sum = 0;
    for (unsigned i = 0; i < visited; ++i, element += size)
        sum ^= contribution(element);
    return sum * kHashMultiplier;
}

/// The 32 bits that a number contributes to a hash: signed numbers sign-extended, unsigned ones
/// zero-extended, 64-bit ones folded low xor high. Floating numbers contribute their bits with one
/// zero and one NaN, so that values that compare equal hash equal.
constexpr o_u4b KoHashBits(o_8b n) noexcept
{
    return static_cast<o_u4b>(static_cast<o_u8b>(n) ^ (static_cast<o_u8b>(n) >> 32));
}
constexpr o_u4b KoHashBits(o_u8b n) noexcept
{
    return static_cast<o_u4b>(n ^ (n >> 32));
}
constexpr o_u4b KoHashBits(o_4b n) noexcept
{
    return static_cast<o_u4b>(n);
}
constexpr o_u4b KoHashBits(o_u4b n) noexcept
{
    return n;
}
constexpr o_u4b KoHashBits(o_float n) noexcept
{
    if (n != n)
        return 0x7FC00000U;
    return n == 0.0F ? 0 : std::bit_cast<o_u4b>(n);
}
constexpr o_u4b KoHashBits(o_double n) noexcept
{
    if (n != n)
        return 0x7FF80000U;
    return n == 0.0 ? 0 : KoHashBits(std::bit_cast<o_u8b>(n));
}

#endif
