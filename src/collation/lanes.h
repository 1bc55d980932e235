#ifndef KO_COLLATION_LANES_H
#define KO_COLLATION_LANES_H

#include "core/bytes.h"

#include <koscalar.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Tests on several characters at once.

namespace ko
{

/// The tests on a word of eight bytes, which holds eight characters of 8 bits or four of 16.
template <class Unit>
struct Lanes {
    static constexpr unsigned kBits = 8 * sizeof(Unit);
    static constexpr o_u8b kOnes = ~o_u8b{0} / static_cast<Unit>(~Unit{0});
    static constexpr o_u8b kTops = kOnes << (kBits - 1);
    static constexpr unsigned kCount = sizeof(o_u8b) / sizeof(Unit);

    /// Not 0 exactly when a character is 0. The lowest bit tells which, those above may be wrong.
    static constexpr o_u8b Zero(o_u8b word) { return (word - kOnes) & ~word & kTops; }
    static constexpr o_u8b Equal(o_u8b word, o_u8b every) { return Zero(word ^ every); }
    /// The difference of two words without the characters that are ASCII letters and differ in
    /// case alone.
    static constexpr o_u8b WithoutCase(o_u8b word, o_u8b difference)
    {
        constexpr o_u8b kLow = ~kTops;
        constexpr o_u8b kTop = kTops / kOnes;
        const o_u8b other = difference ^ kOnes * 0x20;
        const o_u8b caseBit = ~(((other & kLow) + kLow) | other);
        const o_u8b lower = (word & kLow) | kOnes * 0x20;
        const o_u8b letter =
            (lower + kOnes * (kTop - 'a')) & ~(lower + kOnes * (kTop - 'z' - 1)) & ~word;
        const o_u8b same = caseBit & letter & kTops;
        return difference & ~((same >> (kBits - 1)) * static_cast<Unit>(~Unit{0}));
    }
    /// Not 0 where a character is a default wildcard. `shift` is 8 for swapped ones.
    static constexpr o_u8b Wildcards(o_u8b word, unsigned shift = 0)
    {
        return Equal(word, kOnes * '*' << shift) | Equal(word, kOnes * '?' << shift) |
               Equal(word, kOnes * '\\' << shift);
    }
};

/// As many characters as the machine tests at once, or a set of some of them. Of a set only whether
/// it is empty and which is its first character can be asked.
template <class Unit>
class UnitBlock
{
#if defined(__SSE2__)
public:
    static constexpr unsigned kCount = sizeof(__m128i) / sizeof(Unit);

    static UnitBlock At(const char* text)
    {
        return UnitBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)));
    }
    /// 8-bit characters as 16-bit ones.
    static UnitBlock WidenedAt(const char* text)
    {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text));
        return UnitBlock(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    }

    UnitBlock operator|(UnitBlock other) const
    {
        return UnitBlock(_mm_or_si128(m_value, other.m_value));
    }
    UnitBlock Is(unsigned character) const
    {
        return UnitBlock(Same(m_value, Every(character)));
    }
    UnitBlock IsNotAscii() const
    {
        // As signed numbers; for 16-bit characters it is asked only below 256.
        return UnitBlock(sizeof(Unit) == 1 ? _mm_cmplt_epi8(m_value, _mm_setzero_si128())
                                           : _mm_cmpgt_epi16(m_value, Every(0x7F)));
    }
    UnitBlock Differs(UnitBlock other) const
    {
        return UnitBlock(Not(Same(m_value, other.m_value)));
    }
    /// Without ASCII letters that differ in case alone.
    UnitBlock DiffersBeyondCase(UnitBlock other) const
    {
        const __m128i bit = Every(0x20);
        const __m128i lower = _mm_or_si128(m_value, bit);
        const __m128i letter =
            _mm_and_si128(Above(lower, Every('a' - 1)), Above(Every('z' + 1), lower));
        const __m128i difference = _mm_xor_si128(m_value, other.m_value);
        const __m128i same = _mm_or_si128(Same(difference, _mm_setzero_si128()),
                                          _mm_and_si128(letter, Same(difference, bit)));
        return UnitBlock(Not(same));
    }

    unsigned Bits() const
    {
        return static_cast<unsigned>(_mm_movemask_epi8(m_value));
    }
    /// The first character of a set that is not empty, by its bits.
    static unsigned First(unsigned bits)
    {
        return static_cast<unsigned>(std::countr_zero(bits)) / unsigned{sizeof(Unit)};
    }

private:
    explicit UnitBlock(__m128i value) : m_value(value)
    {
    }
    static __m128i Every(unsigned character)
    {
        return sizeof(Unit) == 1 ? _mm_set1_epi8(static_cast<char>(character))
                                 : _mm_set1_epi16(static_cast<short>(character));
    }
    static __m128i Same(__m128i a, __m128i b)
    {
        return sizeof(Unit) == 1 ? _mm_cmpeq_epi8(a, b) : _mm_cmpeq_epi16(a, b);
    }
    static __m128i Above(__m128i a, __m128i b)
    {
        return sizeof(Unit) == 1 ? _mm_cmpgt_epi8(a, b) : _mm_cmpgt_epi16(a, b);
    }
    static __m128i Not(__m128i a)
    {
        return _mm_xor_si128(a, _mm_set1_epi8(-1));
    }

    __m128i m_value;
#else
    using L = Lanes<Unit>;

public:
    static constexpr unsigned kCount = L::kCount;

    static UnitBlock At(const char* text)
    {
        o_u8b word = ReadOrdered<o_u8b>(text, false);
        if constexpr (sizeof(Unit) == 2 && std::endian::native == std::endian::big)
            word = (word & 0x00FF00FF00FF00FFU) << 8U | (word >> 8U & 0x00FF00FF00FF00FFU);
        return UnitBlock(word);
    }
    static UnitBlock WidenedAt(const char* text)
    {
        char half[8] = {};
        std::memcpy(half, text, 4);
        o_u8b word = ReadOrdered<o_u8b>(half, false);
        word = (word | word << 16U) & 0x0000FFFF0000FFFFU;
        return UnitBlock((word | word << 8U) & 0x00FF00FF00FF00FFU);
    }

    UnitBlock operator|(UnitBlock other) const
    {
        return UnitBlock(m_value | other.m_value);
    }
    UnitBlock Is(unsigned character) const
    {
        return UnitBlock(L::Equal(m_value, L::kOnes * character));
    }
    UnitBlock IsNotAscii() const
    {
        return UnitBlock(m_value & L::kOnes * 0x80);
    }
    UnitBlock Differs(UnitBlock other) const
    {
        return UnitBlock(m_value ^ other.m_value);
    }
    UnitBlock DiffersBeyondCase(UnitBlock other) const
    {
        return UnitBlock(L::WithoutCase(m_value, m_value ^ other.m_value));
    }

    o_u8b Bits() const
    {
        return m_value;
    }
    static unsigned First(o_u8b bits)
    {
        return static_cast<unsigned>(std::countr_zero(bits)) / L::kBits;
    }

private:
    explicit UnitBlock(o_u8b value) : m_value(value)
    {
    }

    o_u8b m_value;
#endif
};

/// The number of equal bytes at the start of two texts, none of them 0, rounded down to a multiple
/// of a block. No byte from `end` on is read.
std::size_t SkipEqual(const char* left, const char* right, std::size_t end);
/// SkipEqual without the instructions that only some processors have.
std::size_t SkipEqualPlain(const char* left, const char* right, std::size_t end);

} // namespace ko

#endif
