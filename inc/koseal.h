#ifndef KOSEAL_H
#define KOSEAL_H

#include "koint64.h"
#include "koobjid.h"
#include "kosortkey.h"

/// A stamp of 48 bits: the persistent type KoSEAL_T. It is made from an object number or from an
/// integer, of which it keeps the low 48 bits, and gives them back, never negative.
///
/// The persistent form is the three words, the most significant one first, each in the byte order
/// of the format: 6 bytes. Elements are ordered by their number.
class KOTMS_API KoSeal
{
public:
    constexpr KoSeal() = default; ///< 0
    /// Bits 32 to 47, 16 to 31 and 0 to 15.
    constexpr KoSeal(o_u2b word0, o_u2b word1, o_u2b word2) : m_words{word0, word1, word2} {}

    /// The object number; its tag is dropped.
    constexpr void ConvertFrom(const KoObjId& object) { SetNumber(object.Number()); }
    constexpr void ConvertFrom(const KoInt64& number) { SetNumber(number.GetU8b()); }
    constexpr void ConvertFrom(const o_8b& number) { SetNumber(static_cast<o_u8b>(number)); }
    constexpr void ConvertTo(KoInt64& number) const { number = KoInt64(Number()); }
    constexpr void ConvertTo(o_8b& number) const { number = static_cast<o_8b>(Number()); }

    constexpr o_u2b Word(unsigned index) const { return m_words[index]; }
    constexpr o_u8b Number() const
    {
        return o_u8b{m_words[0]} << 32 | o_u4b{m_words[1]} << 16 | m_words[2];
    }

    constexpr int operator==(const KoSeal& other) const { return Number() == other.Number(); }
    /// The difference of the first two words that differ, 0 when none do: the sign is the order.
    constexpr int operator!=(const KoSeal& other) const
    {
        for (unsigned i = 0; i < 2; ++i)
            if (m_words[i] != other.m_words[i])
                return m_words[i] - other.m_words[i];
        return m_words[2] - other.m_words[2];
    }

    /// Appends 12 hexadecimal digits.
    void PrintToKoString(KoString& text) const;
    /// Reads up to 12 hexadecimal digits of either case, after blanks; a text without any leaves
    /// the value as it is.
    void ScanFromKoString(const KoString& text);

    KO_SORT_KEY_MEMBERS();

private:
    constexpr void SetNumber(o_u8b number)
    {
        *this = KoSeal(static_cast<o_u2b>(number >> 32), static_cast<o_u2b>(number >> 16),
                       static_cast<o_u2b>(number));
    }

    o_u2b m_words[3] = {};
};

static_assert(sizeof(KoSeal) == 6 && alignof(KoSeal) == 2);

#endif
