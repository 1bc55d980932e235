#ifndef KOHASHER_H
#define KOHASHER_H

#include <kobasic.h>

#include <bit>
#include <cstddef>
#include <cstring>

/// The one mixing of every hash that is not fixed elsewhere; doc/formats.md describes it so that it
/// can be computed without this library. Hashes are stored: nothing here may ever change.

/// The finaliser of SplitMix64 (Steele, Lea and Flood, 2014), with the constants of Stafford's
/// variant 13: every bit of the result depends on every bit of `word`, and no two words give one
/// result.
constexpr o_u8b KoMix(o_u8b word) noexcept
{
    word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9U;
    word = (word ^ (word >> 27U)) * 0x94D049BB133111EBU;
    return word ^ (word >> 31U);
}

/// What a null element gives in the place of its words: "NULLNULL" in ASCII. No number of up to 32
/// bits, and no length of a blob, is this word.
inline constexpr o_u8b kHashWordOfNull = 0x4E554C4C4E554C4CU;

/// The hash of a sequence of words. A word is mixed together with its place, and what comes of all
/// is summed, so that no word waits for the one before; the sum is mixed again, since sums of few
/// addends would show their pattern.
class KoHasher
{
public:
    constexpr void Add(o_u8b word) noexcept
    {
        m_place += 0x9E3779B97F4A7C15U; // 2^64 divided by the golden ratio
        m_sum += KoMix(word + m_place);
    }
    constexpr o_u4b Get() const noexcept { return static_cast<o_u4b>(KoMix(m_sum) >> 32U); }

private:
    o_u8b m_sum = 0;
    o_u8b m_place = 0;
};

/// The word of a number: signed numbers sign-extended, unsigned ones zero-extended. Floating
/// numbers give their bits, with one zero and one NaN, so that values that compare equal hash
/// equal.
constexpr o_u8b KoHashWord(o_8b n) noexcept
{
    return static_cast<o_u8b>(n);
}
constexpr o_u8b KoHashWord(o_u8b n) noexcept
{
    return n;
}
constexpr o_u8b KoHashWord(o_4b n) noexcept
{
    return static_cast<o_u8b>(o_8b{n});
}
constexpr o_u8b KoHashWord(o_u4b n) noexcept
{
    return n;
}
constexpr o_u8b KoHashWord(o_float n) noexcept
{
    if (n != n)
        return 0x7FC00000U;
    return n == 0.0F ? 0 : std::bit_cast<o_u4b>(n);
}
constexpr o_u8b KoHashWord(o_double n) noexcept
{
    if (n != n)
        return 0x7FF8000000000000U;
    return n == 0.0 ? 0 : std::bit_cast<o_u8b>(n);
}

/// Adds `count` bytes as words of eight, the first byte lowest; what is missing in the last word is
/// 0.
inline void KoHashBytes(KoHasher& hasher, const unsigned char* bytes, std::size_t count) noexcept
{
    const auto word = [](const unsigned char* at, std::size_t size) {
        o_u8b bits = 0;
        std::memcpy(&bits, at, size);
        return std::endian::native == std::endian::little ? bits : __builtin_bswap64(bits);
    };
    for (; count >= 8; count -= 8, bytes += 8)
        hasher.Add(word(bytes, 8));
    if (count > 0)
        hasher.Add(word(bytes, count));
}

#endif
