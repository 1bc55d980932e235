#ifndef KOMBSCHAR_H
#define KOMBSCHAR_H

#include <koscalar.h>

#include <cstddef>

/// Decodes the character at `src` of `n` bytes: the bytes used, or 0 where there are none or they
/// are malformed in the sense of kombs.h.
unsigned KoDecodeCharacter(o_u4b& value, const char* src, std::size_t n);

/// Encodes a value of up to 31 bits; the bytes, which `dest` has room for unless it is null.
unsigned KoEncodeCharacter(char* dest, o_u4b value);

/// The longest sequence.
inline constexpr unsigned kMaxSequence = 6;

// ---- surrogate pairs

constexpr bool KoIsHighHalf(o_u4b unit) noexcept
{
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool KoIsLowHalf(o_u4b unit) noexcept
{
    return unit >= 0xDC00 && unit < 0xE000;
}
constexpr o_u4b KoJoinHalves(o_u4b high, o_u4b low) noexcept
{
    return 0x10000U + ((high - 0xD800U) << 10U) + (low - 0xDC00U);
}

#endif
