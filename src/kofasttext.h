#ifndef KOFASTTEXT_H
#define KOFASTTEXT_H

#include "kocollator.h"

#include <algorithm>
#include <atomic>

/// Texts whose characters are looked up in tables of keys: what the fast ways of comparing,
/// matching and hashing share. They hold for the collation variant 0 alone.

/// What is looked up in the other library once, where an identifier always means the same.
class KoKnown
{
public:
    /// The fast keys of the characters 0 to 255 of a code set.
    static const o_u4b* Keys(unsigned char codeSet)
    {
        const o_u4b* const keys = KeysOrNull(codeSet);
        return keys != nullptr ? keys : AskKeys(codeSet);
    }
    /// The collation variant of a language is 0; never of the null value's.
    static bool IsPlain(unsigned char language)
    {
        const unsigned char known = s_languages[language].load(std::memory_order_relaxed);
        return known != kUnknown ? known == kPlain : AskLanguage(language);
    }

    // Without asking: null or false, too, for what is not known yet or means different things in
    // turn, and for the code set that marks null values.
    static const o_u4b* KeysOrNull(unsigned char codeSet)
    {
        return s_keys[codeSet].load(std::memory_order_relaxed);
    }
    static bool IsKnownPlain(unsigned char language)
    {
        return s_languages[language].load(std::memory_order_relaxed) == kPlain;
    }
    /// Asks the tables about both; true where more is known than before.
    static bool Learn(unsigned char codeSet, unsigned char language);

private:
    static constexpr unsigned char kUnknown = 0;
    static constexpr unsigned char kPlain = 1;
    static constexpr unsigned char kOther = 2;
    static const o_u4b* AskKeys(unsigned char codeSet);
    static bool AskLanguage(unsigned char language);

    static std::atomic<const o_u4b*> s_keys[256];
    static std::atomic<unsigned char> s_languages[256];
};

/// The fast key of a 16-bit character.
o_u4b KoWideFastKey(unsigned character);

/// The orders of a text's language are not compared as plain numbers.
inline bool KoHasFastKeys(const KoText& text)
{
    return text.language == KoLANG_NONE || KoKnown::IsPlain(text.language);
}

/// Characters of type `Unit`, o_u1b or o_u2b.
template <class Unit>
class KoFastText
{
public:
    explicit KoFastText(const KoText& text)
        : m_bytes(text.bytes), m_units(text.units), m_keys(KoKnown::Keys(text.codeSet)),
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
        return ko::ReadNumber<o_u2b>(Bytes(index), m_swapped);
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
