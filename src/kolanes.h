#ifndef KOLANES_H
#define KOLANES_H

#include "kobytes.h"

#include <koscalar.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Tests on several characters at once.

/// The tests on a word of eight bytes, which holds eight characters of 8 bits or four of 16.
template <class Unit>
struct KoLanes {
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
class KoBlock
{
#if defined(__SSE2__)
public:
    static constexpr unsigned kCount = sizeof(__m128i) / sizeof(Unit);

    static KoBlock At(const char* text)
    {
        return KoBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)));
    }
    /// 8-bit characters as 16-bit ones.
    static KoBlock WidenedAt(const char* text)
    {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(text));
        return KoBlock(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    }

    KoBlock operator|(KoBlock other) const
    {
        return KoBlock(_mm_or_si128(m_value, other.m_value));
    }
    KoBlock Is(unsigned character) const
    {
        return KoBlock(Same(m_value, Every(character)));
    }
    KoBlock IsNotAscii() const
    {
        // As signed numbers; for 16-bit characters it is asked only below 256.
        return KoBlock(sizeof(Unit) == 1 ? _mm_cmplt_epi8(m_value, _mm_setzero_si128())
                                         : _mm_cmpgt_epi16(m_value, Every(0x7F)));
    }
    KoBlock Differs(KoBlock other) const
    {
        return KoBlock(Not(Same(m_value, other.m_value)));
    }
    /// Without ASCII letters that differ in case alone.
    KoBlock DiffersBeyondCase(KoBlock other) const
    {
        const __m128i bit = Every(0x20);
        const __m128i lower = _mm_or_si128(m_value, bit);
        const __m128i letter =
            _mm_and_si128(Above(lower, Every('a' - 1)), Above(Every('z' + 1), lower));
        const __m128i difference = _mm_xor_si128(m_value, other.m_value);
        const __m128i same = _mm_or_si128(Same(difference, _mm_setzero_si128()),
                                          _mm_and_si128(letter, Same(difference, bit)));
        return KoBlock(Not(same));
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
    explicit KoBlock(__m128i value) : m_value(value)
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
    using L = KoLanes<Unit>;

public:
    static constexpr unsigned kCount = L::kCount;

    static KoBlock At(const char* text)
    {
        o_u8b word = ko::ReadOrdered<o_u8b>(text, false);
        if constexpr (sizeof(Unit) == 2 && std::endian::native == std::endian::big)
            word = (word & 0x00FF00FF00FF00FFU) << 8U | (word >> 8U & 0x00FF00FF00FF00FFU);
        return KoBlock(word);
    }
    static KoBlock WidenedAt(const char* text)
    {
        char half[8] = {};
        std::memcpy(half, text, 4);
        o_u8b word = ko::ReadOrdered<o_u8b>(half, false);
        word = (word | word << 16U) & 0x0000FFFF0000FFFFU;
        return KoBlock((word | word << 8U) & 0x00FF00FF00FF00FFU);
    }

    KoBlock operator|(KoBlock other) const
    {
        return KoBlock(m_value | other.m_value);
    }
    KoBlock Is(unsigned character) const
    {
        return KoBlock(L::Equal(m_value, L::kOnes * character));
    }
    KoBlock IsNotAscii() const
    {
        return KoBlock(m_value & L::kOnes * 0x80);
    }
    KoBlock Differs(KoBlock other) const
    {
        return KoBlock(m_value ^ other.m_value);
    }
    KoBlock DiffersBeyondCase(KoBlock other) const
    {
        return KoBlock(L::WithoutCase(m_value, m_value ^ other.m_value));
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
    explicit KoBlock(o_u8b value) : m_value(value)
    {
    }

    o_u8b m_value;
#endif
};

#endif
