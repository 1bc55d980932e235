#ifndef KOHASHWORDS_H
#define KOHASHWORDS_H

#include "kolanes.h"

/// h = 9h + k over 8-bit characters, many at a time: what later characters multiply by is known.

constexpr o_u4b KoPowerOf9(unsigned exponent)
{
    o_u4b power = 1;
    for (o_u4b square = 9; exponent != 0; exponent >>= 1U, square *= square)
        if ((exponent & 1U) != 0)
            power *= square;
    return power;
}

/// The number that a byte stands for in a hash.
enum class KoByteValue { kUnsigned, kSigned, kLowSeven };

/// The hash of texts of bytes.
template <KoByteValue value>
struct KoHashOfBytes {
    /// What eight bytes add, the first one lowest: pairs are joined into 16, 32 and 64 bits, so
    /// that nothing waits for eight multiplications in turn.
    o_u4b OfWord(o_u8b word) const
    {
        // c as a signed byte is (c xor 0x80) - 0x80.
        constexpr o_u4b kEach = value == KoByteValue::kSigned ? 0U - 0x80U : 0U;
        if (value == KoByteValue::kSigned)
            word ^= KoLanes<o_u1b>::kTops;
        if (value == KoByteValue::kLowSeven)
            word &= ~KoLanes<o_u1b>::kTops;
        // A pair is at most 255 * 10 and a four 255 * 10 * 82, so that none leaves its lane.
        const o_u8b pairs = (word & 0x00FF00FF00FF00FFU) * 9 + (word >> 8U & 0x00FF00FF00FF00FFU);
        const o_u8b fours =
            (pairs & 0x0000FFFF0000FFFFU) * 81 + (pairs >> 16U & 0x0000FFFF0000FFFFU);
        return static_cast<o_u4b>(fours) * KoPowerOf9(4) + static_cast<o_u4b>(fours >> 32U) +
               kEach * ((KoPowerOf9(8) - 1) / 8);
    }

#if defined(__SSE2__)
    /// The same of a text with zeros up to a whole block of 16. False where it is not just that.
    [[gnu::always_inline]] static bool OfPadded(const char* text, unsigned count, o_u4b& hash)
    {
        const unsigned padding = (0U - count) % 16;
        const unsigned blocks = (count + padding) / 16;
        unsigned block = 0;
        __m128i zeros = _mm_setzero_si128();
        Sums sum = {};
        if (blocks >= 8) {
            Sums sums[4] = {};
            for (; block + 5 <= blocks; block += 4)
                for (unsigned i = 0; i < 4; ++i)
                    sums[i] = sums[i] * KoPowerOf9(64) +
                              SumsAt(text + std::size_t{16} * (block + i), zeros);
            for (const Sums& each : sums)
                sum = sum * KoPowerOf9(16) + each;
        }
        for (; block + 1 < blocks; ++block)
            sum = sum * KoPowerOf9(16) + SumsAt(text + std::size_t{16} * block, zeros);
        const unsigned inside = static_cast<unsigned>(_mm_movemask_epi8(zeros));
        zeros = _mm_setzero_si128();
        sum = sum * KoPowerOf9(16) + SumsAt(text + std::size_t{16} * block, zeros);
        const unsigned last = static_cast<unsigned>(_mm_movemask_epi8(zeros));
        // The zeros after the text have multiplied the hash by powers of 9 that are taken back.
        hash =
            (sum[0] * KoPowerOf9(12) + sum[1] * KoPowerOf9(8) + sum[2] * KoPowerOf9(4) + sum[3]) *
            kInverses.power[padding];
        return inside == 0 && last == (0xFFFFU << (16 - padding) & 0xFFFFU);
    }

private:
    using Sums = o_u4b __attribute__((vector_size(16)));

    /// What each four of sixteen bytes come to. Adds the zeros among them to `zeros`.
    [[gnu::always_inline]] static Sums SumsAt(const char* text, __m128i& zeros)
    {
        const __m128i nothing = _mm_setzero_si128();
        const __m128i pair = _mm_set1_epi32(0x00010009); // 9 and 1, then 81 and 1
        const __m128i four = _mm_set1_epi32(0x00010051);
        __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
        zeros = _mm_or_si128(zeros, _mm_cmpeq_epi8(bytes, nothing));
        if (value == KoByteValue::kLowSeven)
            bytes = _mm_and_si128(bytes, _mm_set1_epi8(0x7F));
        const bool isSigned = value == KoByteValue::kSigned;
        __m128i low = _mm_unpacklo_epi8(isSigned ? nothing : bytes, isSigned ? bytes : nothing);
        __m128i high = _mm_unpackhi_epi8(isSigned ? nothing : bytes, isSigned ? bytes : nothing);
        if (isSigned) {
            low = _mm_srai_epi16(low, 8);
            high = _mm_srai_epi16(high, 8);
        }
        const __m128i pairs =
            _mm_packs_epi32(_mm_madd_epi16(low, pair), _mm_madd_epi16(high, pair));
        return reinterpret_cast<Sums>(_mm_madd_epi16(pairs, four));
    }

    /// Powers of what 9 has to be multiplied by to give 1.
    struct Inverses {
        o_u4b power[16] = {1};
        constexpr Inverses()
        {
            for (unsigned i = 1; i < 16; ++i)
                power[i] = power[i - 1] * 0x38E38E39U;
        }
    };
    static_assert(0x38E38E39U * 9U == 1);
    static constexpr Inverses kInverses{};
#endif
};

/// The hash of `count` characters, or less where a 0 ends them before. Of a padded text whole words
/// can be read. `hashOf` has OfWord, to which a 0 counts nothing, and may have OfPadded.
template <class HashOf>
o_u4b KoHashWords(const char* text, unsigned count, bool padded, HashOf& hashOf)
{
    using L = KoLanes<o_u1b>;
#if defined(__SSE2__)
    if constexpr (requires(o_u4b & h) { HashOf::OfPadded(text, count, h); }) {
        o_u4b hash;
        if (padded && count != 0 && HashOf::OfPadded(text, count, hash))
            return hash;
    }
#endif
    const unsigned odd = count % 8;
    const char* at = text + odd;
    const char* const end = text + count;
    o_u4b hash = 0;
    bool zero = false;
    // Zeros in front change nothing: the odd bytes are shifted into a word of them.
    if (odd != 0) {
        o_u8b word = 0;
        const unsigned shift = 64 - 8 * odd;
        if (padded || count >= 8)
            word = ko::ReadOrdered<o_u8b>(text, false) << shift;
        else
            for (unsigned i = 0; i < odd; ++i)
                word = word >> 8U | o_u8b{static_cast<unsigned char>(text[i])} << 56U;
        zero = L::Zero(word | ((o_u8b{1} << shift) - 1)) != 0;
        hash = hashOf.OfWord(word);
    }
    o_u8b zeros = 0;
    for (; at != end; at += 8) {
        const o_u8b word = ko::ReadOrdered<o_u8b>(at, false);
        zeros |= L::Zero(word);
        hash = hash * KoPowerOf9(8) + hashOf.OfWord(word);
    }
    if (!zero && zeros == 0)
        return hash;
    return KoHashWords(text, static_cast<unsigned>(std::strlen(text)), padded, hashOf);
}

#endif
