#ifndef KO_NUMBER_DIGITS_H
#define KO_NUMBER_DIGITS_H

#include <kobasic.h>

#include <array>
#include <bit>
#include <cstring>

/// Decimal digits of integers, two at a time.

namespace ko
{

inline constexpr auto kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

inline void PutPair(char* out, o_u4b n)
{
    std::memcpy(out, &kDigitPairs[std::size_t{2} * n], 2);
}

/// Exactly eight digits, with leading zeros; `n` is below 10^8.
inline void PutEight(char* out, o_u4b n)
{
    const o_u4b high = n / 10000;
    const o_u4b low = n % 10000;
    PutPair(out, high / 100);
    PutPair(out + 2, high % 100);
    PutPair(out + 4, low / 100);
    PutPair(out + 6, low % 100);
}

/// The digits of `n` below 10^8, at least one; their end.
inline char* PutShort(char* out, o_u4b n)
{
    constexpr o_u4b kPowers[] = {0, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    // 1233 / 4096 is just above log10(2): the estimate is right or one too large.
    const unsigned estimate = (static_cast<unsigned>(std::bit_width(n | 1)) * 1233) >> 12;
    const unsigned count = estimate + (n >= kPowers[estimate] ? 1 : 0);
    char* const end = out + (count == 0 ? 1 : count);
    char* p = end;
    for (; n >= 100; n /= 100)
        PutPair(p -= 2, n % 100);
    if (n >= 10)
        PutPair(p - 2, n);
    else
        p[-1] = static_cast<char>('0' + n);
    return end;
}

/// The digits of `n`, at most 20; their end.
inline char* PutDecimal(char* out, o_u8b n)
{
    constexpr o_u8b kEight = 100000000;
    if (n < kEight)
        return PutShort(out, static_cast<o_u4b>(n));
    const o_u8b high = n / kEight;
    const auto low = static_cast<o_u4b>(n % kEight);
    if (high < kEight) {
        out = PutShort(out, static_cast<o_u4b>(high));
    } else {
        out = PutShort(out, static_cast<o_u4b>(high / kEight));
        PutEight(out, static_cast<o_u4b>(high % kEight));
        out += 8;
    }
    PutEight(out, low);
    return out + 8;
}

} // namespace ko

#endif
