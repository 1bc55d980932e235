#ifndef KOFASTTEXT_H
#define KOFASTTEXT_H

#include "kocollator.h"

/// Texts whose characters are looked up in tables of keys: what the fast ways of comparing,
/// matching and hashing share. They hold for the collation variant 0 alone.

/// The fast keys of the characters 0 to 255 of a code set. Looked up once where an identifier
/// always means the same code set.
const o_u4b* KoFastKeysOf(unsigned char codeSet);

/// The fast key of a 16-bit character.
o_u4b KoWideFastKey(unsigned character);

/// The orders of a text are not compared as plain numbers.
inline bool KoHasFastKeys(const KoText& text)
{
    return text.language == KoLANG_NONE || KoVariantOf(KoCodeSetOf(text), text.language) == 0;
}

/// Characters of type `Unit`, o_u1b or o_u2b.
template <class Unit>
class KoFastText
{
public:
    explicit KoFastText(const KoText& text)
        : m_bytes(text.bytes), m_units(text.units), m_keys(KoFastKeysOf(text.codeSet)),
          m_swapped(text.IsSwapped())
    {
    }

    const char* Bytes(unsigned index) const { return m_bytes + std::size_t{index} * sizeof(Unit); }
    unsigned Units() const { return m_units; }
    bool IsSwapped() const { return m_swapped; }

    unsigned operator[](unsigned index) const
    {
        if constexpr (sizeof(Unit) == 1)
            return static_cast<unsigned char>(m_bytes[index]);
        o_u2b unit;
        std::memcpy(&unit, Bytes(index), sizeof unit);
        return m_swapped ? static_cast<o_u2b>(unit << 8U | unit >> 8U) : unit;
    }
    o_u4b Key(unsigned character) const
    {
        if constexpr (sizeof(Unit) == 1)
            return m_keys[character];
        return character < 256 ? m_keys[character] : KoWideFastKey(character);
    }
    template <class Other>
    bool HasKeysOf(const KoFastText<Other>& other) const
    {
        return m_keys == other.Keys();
    }
    const o_u4b* Keys() const { return m_keys; }

private:
    const char* m_bytes;
    unsigned m_units;
    const o_u4b* m_keys;
    bool m_swapped;
};

/// Calls `work` with the two texts as fast ones of their widths.
template <class Work>
auto KoWithFastTexts(const KoText& left, const KoText& right, Work work)
{
    if (left.Width() == 1) {
        if (right.Width() == 1)
            return work(KoFastText<o_u1b>(left), KoFastText<o_u1b>(right));
        return work(KoFastText<o_u1b>(left), KoFastText<o_u2b>(right));
    }
    if (right.Width() == 1)
        return work(KoFastText<o_u2b>(left), KoFastText<o_u1b>(right));
    return work(KoFastText<o_u2b>(left), KoFastText<o_u2b>(right));
}

#endif
