#include "kocmpwalk.h"
#include "kofasttext.h"

#include <algorithm>
#include <atomic>

// Comparing texts by tables of keys. Most pairs of texts are decided here: equal characters are
// skipped a word at a time, and where the texts differ a look into each table decides.

namespace
{

constexpr o_u4b kSkipped = KoKEY_SYMBOL | KoKEY_SPACE;

/// Tests on all characters of a word at once.
template <class Unit>
struct Lanes {
    static constexpr o_u8b kOnes = ~o_u8b{0} / static_cast<Unit>(~Unit{0});
    static constexpr o_u8b kTops = kOnes << (8 * sizeof(Unit) - 1);
    static constexpr unsigned kCount = sizeof(o_u8b) / sizeof(Unit);

    /// Not 0 exactly when a character is 0.
    static constexpr o_u8b Zero(o_u8b word) { return (word - kOnes) & ~word & kTops; }
    static constexpr o_u8b Equal(o_u8b word, o_u8b every) { return Zero(word ^ every); }
};

template <class Unit>
class WordSkip
{
    using L = Lanes<Unit>;

public:
    /// Stops at wildcards, and at all but ASCII where only that means the same in both texts.
    WordSkip(bool wildcards, bool asciiOnly, bool swapped)
        : m_foreign(asciiOnly ? L::kTops : 0), m_wildcards(wildcards)
    {
        if (sizeof(Unit) == 2 && swapped)
            for (o_u8b& wildcard : m_every)
                wildcard <<= 8U;
    }

    /// The next character from `i` on that has to be looked at: a difference, or the first of a
    /// word with a terminator or something else that stops. Nothing from `end` on is read.
    /// `again` is where skipping makes sense next.
    unsigned operator()(const char* left, const char* right, unsigned i, unsigned end,
                        unsigned& again) const
    {
        for (; i + L::kCount <= end; i += L::kCount) {
            const o_u8b x = KoWordAt(left + std::size_t{i} * sizeof(Unit));
            const o_u8b y = KoWordAt(right + std::size_t{i} * sizeof(Unit));
            o_u8b stops = L::Zero(y) | (y & m_foreign);
            if (m_wildcards)
                stops |=
                    L::Equal(y, m_every[0]) | L::Equal(y, m_every[1]) | L::Equal(y, m_every[2]);
            const o_u8b difference = x ^ y;
            if ((difference | stops) == 0)
                continue;
            again = i + L::kCount;
            if (stops == 0)
                i += KoFirstByteOf(difference) / static_cast<unsigned>(sizeof(Unit));
            return i;
        }
        again = end;
        return i;
    }

private:
    o_u8b m_every[3] = {L::kOnes * '*', L::kOnes * '?', L::kOnes * '\\'};
    o_u8b m_foreign;
    bool m_wildcards;
};

constexpr bool IsDefaultWildcard(unsigned character)
{
    return character == '*' || character == '?' || character == '\\';
}

/// Compares two texts that are equal so far; no wildcard is a character that is not a symbol.
template <class LeftUnit, class RightUnit>
bool Compare(const KoFastText<LeftUnit>& left, const KoFastText<RightUnit>& right, o_u4b strength,
             bool wildcards, bool cut, unsigned& from, KoTextOrder& result)
{
    constexpr bool kSameWidth = sizeof(LeftUnit) == sizeof(RightUnit);
    const bool same = kSameWidth && left.HasKeysOf(right);
    const bool skips = kSameWidth && left.IsSwapped() == right.IsSwapped();
    const o_u4b mask = strength & ~o_u4b{KoKEY_FLAGS};
    const unsigned end = std::min(left.Units(), right.Units());
    const WordSkip<LeftUnit> skip(wildcards, !same, left.IsSwapped());
    unsigned again = 0;
    result = {};
    for (unsigned i = 0;; ++i) {
        if (skips && i >= again)
            i = skip(left.Bytes(0), right.Bytes(0), i, end, again);
        from = i;
        if (i == end)
            break;
        const unsigned a = left[i];
        const unsigned b = right[i];
        if (same && a == b) {
            if (a == 0)
                return true;
            if (wildcards && IsDefaultWildcard(b))
                return false;
            continue;
        }
        const o_u4b x = left.Key(a);
        const o_u4b y = right.Key(b);
        if (((x | y) & kSkipped) != 0) {
            // The same space or symbol in two code sets makes no difference.
            if (x != y || same || (wildcards && IsDefaultWildcard(b)))
                return false;
            continue;
        }
        if (((x ^ y) & mask) != 0) {
            result.order = (x & mask) < (y & mask) ? -1 : 1;
            return true;
        }
        if (x == 0)
            return true;
        // Only now do the orders behind the first one count.
        if (((x | y) & KoKEY_EXPANDS) != 0)
            return false;
        again = std::max(again, i + Lanes<LeftUnit>::kCount);
    }
    if (cut)
        return false;
    if (left.Units() == right.Units())
        return true;
    const o_u4b rest = left.Units() > end ? left.Key(left[end]) : right.Key(right[end]);
    if ((rest & kSkipped) != 0)
        return false;
    if (rest != 0)
        result.order = left.Units() > end ? 1 : -1;
    return true;
}

} // namespace

const o_u4b* KoFastKeysOf(unsigned char codeSet)
{
    // Identifiers from 225 on all have 16-bit Unicode characters.
    static std::atomic<const o_u4b*> s_keys[226];
    const auto known = std::min<unsigned char>(codeSet, 225);
    if (known == KoCS_NONE) // which is the native one at the time
        return KoLanguageContext::QueryCodeSet(KoCS_NONE)->FastKeys();
    const o_u4b* keys = s_keys[known].load(std::memory_order_relaxed);
    if (keys == nullptr) {
        keys = KoLanguageContext::QueryCodeSet(known)->FastKeys();
        s_keys[known].store(keys, std::memory_order_relaxed);
    }
    return keys;
}

o_u4b KoWideFastKey(unsigned character)
{
    static const KoCodeSet& s_unicode = *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
    const o_u4b* page = s_unicode.FastKeys(static_cast<unsigned char>(character >> 8U));
    return page == nullptr ? KoFastKey(static_cast<o_u2b>(character)) : page[character & 0xFFU];
}

bool KoCompareFast(const KoText& left, const KoText& right, const KoCompareMode& mode,
                   unsigned& from, KoTextOrder& result)
{
    if (!KoHasFastKeys(left) || !KoHasFastKeys(right) ||
        (mode.wildcards && !KoWildcards::AreDefault()))
        return false;
    const bool cut = left.cut || right.cut;
    return KoWithFastTexts(left, right, [&](const auto& a, const auto& b) {
        return Compare(a, b, mode.mask, mode.wildcards, cut, from, result);
    });
}
