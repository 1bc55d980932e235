#ifndef KO_COLLATION_KEYED_TEXT_H
#define KO_COLLATION_KEYED_TEXT_H

#include "collation/orders.h"

#include <algorithm>
#include <atomic>

/// Texts whose characters are looked up in tables of keys: what the fast ways of comparing,
/// matching and hashing share. They hold for the collation variant 0 alone.

namespace ko
{

/// What is looked up in the other library once, where an identifier always means the same.
class KnownCodeSets
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
    static bool Learn(unsigned char codeSet, unsigned char language)
    {
        const bool knewKeys = KeysOrNull(codeSet) != nullptr;
        const bool knewLanguage = IsKnownPlain(language);
        return (!knewKeys && Keys(codeSet) == KeysOrNull(codeSet)) ||
               (!knewLanguage && IsPlain(language) && IsKnownPlain(language));
    }

private:
    static constexpr unsigned char kUnknown = 0;
    static constexpr unsigned char kPlain = 1;
    static constexpr unsigned char kOther = 2;
    [[gnu::noinline]] static const o_u4b* AskKeys(unsigned char codeSet)
    {
        // Identifiers from 225 on all have 16-bit Unicode characters here, even that of the default
        // one.
        const auto asked = std::min<unsigned char>(codeSet, KoCS_UNICODE);
        const o_u4b* const keys = KoLanguageContext::QueryCodeSet(asked)->FastKeys();
        if (codeSet != KoCS_NONE && codeSet != KoCS_NULL) // the one is the native one at the time
            s_keys[codeSet].store(keys, std::memory_order_relaxed);
        return keys;
    }
    [[gnu::noinline]] static bool AskLanguage(unsigned char language)
    {
        const bool plain = language != KoLANG_NULL &&
                           KoLanguageContext::QueryCodeSet(KoCS_UNICODE)->GetVariant(language) == 0;
        if (language != KoLANG_DEFAULT)
            s_languages[language].store(plain ? kPlain : kOther, std::memory_order_relaxed);
        return plain;
    }

    inline static std::atomic<const o_u4b*> s_keys[256];
    inline static std::atomic<unsigned char> s_languages[256];
};

/// The fast key of a 16-bit character.
[[gnu::noinline]] inline o_u4b WideFastKey(unsigned character)
{
    static const KoCodeSet& s_unicode = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
    const o_u4b* page = s_unicode.FastKeys(static_cast<unsigned char>(character >> 8U));
    return page == nullptr ? KoFastKey(static_cast<o_u2b>(character)) : page[character & 0xFFU];
}

/// The orders of a text's language are not compared as plain numbers.
inline bool HasFastKeys(const KoText& text)
{
    return text.language == KoLANG_NONE || KnownCodeSets::IsPlain(text.language);
}

/// Characters of type `Unit`, o_u1b or o_u2b.
template <class Unit>
class FastText
{
public:
    explicit FastText(const KoText& text)
        : m_bytes(text.bytes), m_units(text.units), m_keys(KnownCodeSets::Keys(text.codeSet)),
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
        return ReadNumber<o_u2b>(Bytes(index), m_swapped);
    }
    o_u4b Key(unsigned character) const
    {
        if constexpr (sizeof(Unit) == 1)
            return m_keys[character];
        return character < 256 ? m_keys[character] : WideFastKey(character);
    }
    template <class Other>
    bool HasKeysOf(const FastText<Other>& other) const
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
auto WithFastTexts(const KoText& left, const KoText& right, Work work)
{
    if (left.Width() == 1) {
        if (right.Width() == 1)
            return work(FastText<o_u1b>(left), FastText<o_u1b>(right));
        return work(FastText<o_u1b>(left), FastText<o_u2b>(right));
    }
    if (right.Width() == 1)
        return work(FastText<o_u2b>(left), FastText<o_u1b>(right));
    return work(FastText<o_u2b>(left), FastText<o_u2b>(right));
}

} // namespace ko

#endif
