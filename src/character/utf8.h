#ifndef KO_CHARACTER_UTF8_H
#define KO_CHARACTER_UTF8_H

#include <koscalar.h>

#include <cstddef>

namespace ko
{

/// Decodes the character at `src` of `n` bytes: the bytes used, or 0 where there are none or they
/// are malformed in the sense of kombs.h.
unsigned DecodeCharacter(o_u4b& value, const char* src, std::size_t n);

/// Encodes a value of up to 31 bits; the bytes, which `dest` has room for unless it is null.
unsigned EncodeCharacter(char* dest, o_u4b value);

/// The longest sequence.
inline constexpr unsigned kMaxSequence = 6;

// ---- surrogate pairs

constexpr bool IsHighHalf(o_u4b unit) noexcept
{
    return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLowHalf(o_u4b unit) noexcept
{
    return unit >= 0xDC00 && unit < 0xE000;
}
constexpr o_u4b JoinHalves(o_u4b high, o_u4b low) noexcept
{
    return 0x10000U + ((high - 0xD800U) << 10U) + (low - 0xDC00U);
}

} // namespace ko

#endif
