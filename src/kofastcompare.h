#ifndef KOFASTCOMPARE_H
#define KOFASTCOMPARE_H

#include "kocmpwalk.h"
#include "kofasttext.h"

#include <algorithm>

/// Comparing texts by tables of keys. Most pairs of texts are decided here: equal characters are
/// skipped a word at a time, and where the texts differ a look into each table decides. All of it
/// is inlined where it is used: a call that hands a text over in memory takes longer than comparing
/// two words of a language does.

inline constexpr o_u4b kSkippedKeys = KoKEY_SYMBOL | KoKEY_SPACE;

/// Tests on all characters of a word at once.
template <class Unit>
struct KoLanes {
    static constexpr o_u8b kOnes = ~o_u8b{0} / static_cast<Unit>(~Unit{0});
    static constexpr o_u8b kTops = kOnes << (8 * sizeof(Unit) - 1);
    static constexpr unsigned kCount = sizeof(o_u8b) / sizeof(Unit);

    /// Not 0 exactly when a character is 0.
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
        return difference & ~((same >> (8 * sizeof(Unit) - 1)) * static_cast<Unit>(~Unit{0}));
    }
    /// Not 0 where a character is a default wildcard. `shift` is 8 for swapped ones.
    static constexpr o_u8b Wildcards(o_u8b word, unsigned shift = 0)
    {
        return Equal(word, kOnes * '*' << shift) | Equal(word, kOnes * '?' << shift) |
               Equal(word, kOnes * '\\' << shift);
    }
};

template <class Unit>
class KoWordSkip
{
    using L = KoLanes<Unit>;

public:
    /// Stops at wildcards, and at all but ASCII where only that means the same in both texts.
    KoWordSkip(bool wildcards, bool asciiOnly, bool swapped, bool ignoresCase)
        : m_foreign(asciiOnly ? L::kTops : 0), m_shift(sizeof(Unit) == 2 && swapped ? 8 : 0),
          m_wildcards(wildcards), m_ignoresCase(ignoresCase && m_shift == 0)
    {
    }

    /// The next character from `i` on that has to be looked at: a difference, or the first of a
    /// word with a terminator or something else that stops. Nothing from `end` on is read. `again`
    /// is where skipping makes sense next.
    [[gnu::always_inline]] unsigned operator()(const char* left, const char* right, unsigned i,
                                               unsigned end, unsigned& again) const
    {
        while (i < end) {
            unsigned at = i;
            if (i + L::kCount > end) {
                if (end < L::kCount)
                    break;
                at = end - L::kCount; // the last word overlaps what is known to be equal
            }
            const o_u8b x = KoWordAt(left + std::size_t{at} * sizeof(Unit));
            const o_u8b y = KoWordAt(right + std::size_t{at} * sizeof(Unit));
            o_u8b stops = L::Zero(y) | (y & m_foreign);
            if (m_wildcards)
                stops |= L::Wildcards(y, m_shift);
            o_u8b difference = x ^ y;
            if (m_ignoresCase && difference != 0)
                difference = L::WithoutCase(y, difference);
            if ((difference | stops) == 0) {
                i = at + L::kCount;
                continue;
            }
            again = at + L::kCount;
            return stops != 0
                       ? i
                       : at + KoFirstByteOf(difference) / static_cast<unsigned>(sizeof(Unit));
        }
        again = end;
        return i;
    }

private:
    o_u8b m_foreign;
    unsigned m_shift;
    bool m_wildcards;
    bool m_ignoresCase;
};

constexpr bool KoIsDefaultWildcard(unsigned character)
{
    return character == '*' || character == '?' || character == '\\';
}

/// Two texts from the character `i` on, up to which they are equal; see KoCompareFast.
template <class LeftUnit, class RightUnit>
[[gnu::always_inline]] inline int
KoCompareByKeys(const KoFastText<LeftUnit>& left, const KoFastText<RightUnit>& right,
                o_u4b strength, bool wildcards, bool cut, unsigned& from)
{
    constexpr bool kSameWidth = sizeof(LeftUnit) == sizeof(RightUnit);
    const bool same = kSameWidth && left.HasKeysOf(right);
    const bool skips = kSameWidth && left.IsSwapped() == right.IsSwapped();
    const o_u4b mask = strength & ~o_u4b{KoKEY_FLAGS};
    const unsigned end = std::min(left.Units(), right.Units());
    const KoWordSkip<LeftUnit> skip(wildcards, !same, left.IsSwapped(), (mask & 0x60U) == 0);
    unsigned again = 0;
    unsigned i = from;
    for (;;) {
        if (skips && i >= again)
            i = skip(left.Bytes(0), right.Bytes(0), i, end, again);
        // A table loop is quicker than skipping where differences follow each other that do not
        // count, like those of case.
        const unsigned stop = skips ? std::min(again, end) : end;
        o_u4b x = 0;
        o_u4b y = 0;
        for (; i < stop; ++i) {
            x = left.Key(left[i]);
            y = right.Key(right[i]);
            if ((((x ^ y) & mask) | ((x | y) & KoKEY_FLAGS)) != 0 || x == 0)
                break;
        }
        if (i == end)
            break;
        if (i == stop)
            continue;
        from = i;
        if (same && left[i] == right[i]) {
            if (x == 0)
                return 0;
            if (wildcards && KoIsDefaultWildcard(right[i]))
                return kUndecided;
        } else if (((x | y) & kSkippedKeys) != 0) {
            // The same space or symbol in two code sets makes no difference.
            if (x != y || same || (wildcards && KoIsDefaultWildcard(right[i])))
                return kUndecided;
        } else if (((x ^ y) & mask) != 0) {
            return (x & mask) < (y & mask) ? -1 : 1;
        } else {
            // Both end, or the orders behind the first one of an expansion decide.
            return x == 0 ? 0 : kUndecided;
        }
        ++i;
    }
    from = end;
    if (cut)
        return kUndecided;
    if (left.Units() == right.Units())
        return 0;
    const bool leftGoesOn = left.Units() > end;
    const o_u4b rest = leftGoesOn ? left.Key(left[end]) : right.Key(right[end]);
    if ((rest & kSkippedKeys) != 0)
        return kUndecided;
    return rest == 0 ? 0 : leftGoesOn ? 1 : -1;
}

/// The difference of two bytes; where a side has no text at all, the sign alone.
inline KoTextOrder KoByteDifference(const KoText& left, const KoText& right, unsigned a, unsigned b)
{
    if (left.bytes == nullptr || right.bytes == nullptr)
        return {KoOrder(a, b)};
    return {static_cast<int>(a) - static_cast<int>(b)};
}

/// Two texts without a code set, as plain bytes.
[[gnu::always_inline]] inline KoTextOrder KoCompareByBytes(const KoText& left, const KoText& right,
                                                           unsigned limit)
{
    const auto* a = reinterpret_cast<const unsigned char*>(left.bytes);
    const auto* b = reinterpret_cast<const unsigned char*>(right.bytes);
    const unsigned end = std::min({left.units, right.units, limit});
    const unsigned i = end == 0 ? 0 : static_cast<unsigned>(KoEqualBytes(a, b, end));
    const bool leftEnds = i == left.units;
    const bool rightEnds = i == right.units;
    const bool open = (leftEnds && left.cut) || (rightEnds && right.cut);
    if (i == limit || (leftEnds && rightEnds && !open))
        return {};
    // What stands behind a terminator is no text.
    if (i != 0 && KoUnitsBeforeZero(left.bytes, 1, i) < i)
        return {};
    if (open)
        return {0, true};
    return KoByteDifference(left, right, leftEnds ? 0 : a[i], rightEnds ? 0 : b[i]);
}

/// A word of characters in which the first one is lowest.
template <class Unit>
inline o_u8b KoLanesAt(const char* text)
{
    o_u8b word = KoWordAt(text);
    if constexpr (std::endian::native == std::endian::big) {
        if (sizeof(Unit) == 1)
            word = (word & 0x00FF00FF00FF00FFU) << 8U | (word >> 8U & 0x00FF00FF00FF00FFU);
        word = (word & 0x0000FFFF0000FFFFU) << 16U | (word >> 16U & 0x0000FFFF0000FFFFU);
        word = word << 32U | word >> 32U;
    }
    return word;
}

/// The same of fewer characters than a word has, at least one.
template <class Unit>
inline o_u8b KoFewLanesAt(const char* text, unsigned count)
{
    const auto lane = [text](unsigned index) {
        Unit unit;
        std::memcpy(&unit, text + index * sizeof(Unit), sizeof unit);
        return o_u8b{unit} << (index * 8 * sizeof(Unit));
    };
    o_u8b word = lane(0) | lane(count / 2) | lane(count - 1);
    if (sizeof(Unit) == 1 && count > 3)
        word |= lane(1) | lane(count - 2) | lane(count / 2 - 1);
    return word;
}

/// What decides where two texts differ first: keys, or the bytes themselves.
struct KoByKeys {
    const o_u4b *left, *right;
    o_u4b mask;

    template <class Unit>
    static o_u4b Key(const o_u4b* keys, unsigned character)
    {
        return sizeof(Unit) == 1 || character < 256 ? keys[character] : KoWideFastKey(character);
    }
    template <class Unit>
    int Decide(unsigned a, unsigned b) const
    {
        const o_u4b x = Key<Unit>(left, a);
        const o_u4b y = Key<Unit>(right, b);
        if (((x | y) & kSkippedKeys) != 0 || ((x ^ y) & mask) == 0)
            return kUndecided;
        // No branch: it could not be predicted.
        return static_cast<int>((o_8b{x & mask} - o_8b{y & mask}) >> 63U) | 1;
    }
    bool IsOneCodeSet() const { return left == right; }
    bool IgnoresCase() const { return (mask & 0x60U) == 0; }
};
struct KoByBytes {
    template <class Unit>
    static int Decide(unsigned a, unsigned b)
    {
        return static_cast<int>(a) - static_cast<int>(b);
    }
    static constexpr bool IsOneCodeSet() { return true; }
    static constexpr bool IgnoresCase() { return false; }
};

/// Two texts of one width up to their first difference. They hold `leftUnits` and `rightUnits`
/// characters with their terminators: whatever differs, differs before an end. Padded ones can be
/// read up to a whole word, with zeros: for short texts that spares branches that cannot be
/// predicted.
template <class Unit, bool kWild, bool kPadded, class Decision>
[[gnu::always_inline]] inline int KoCompareTerminated(const char* left, unsigned leftUnits,
                                                      const char* right, unsigned rightUnits,
                                                      Decision decision, unsigned& from)
{
    using L = KoLanes<Unit>;
    const unsigned end = std::min(leftUnits, rightUnits);
    const o_u8b foreign = decision.IsOneCodeSet() ? 0 : L::kTops;
    unsigned i = 0;
    o_u8b x, y, difference, zero, stops;
    const auto look = [&] {
        difference = x ^ y;
        if (decision.IgnoresCase() && difference != 0)
            difference = L::WithoutCase(y, difference);
        zero = L::Zero(y);
        stops = y & foreign;
        if constexpr (kWild)
            stops |= L::Wildcards(y);
    };
    const auto lookAt = [&] {
        x = KoLanesAt<Unit>(left + std::size_t{i} * sizeof(Unit));
        y = KoLanesAt<Unit>(right + std::size_t{i} * sizeof(Unit));
        look();
    };
    if (kPadded || end >= L::kCount) {
        lookAt();
    } else {
        x = KoFewLanesAt<Unit>(left, end);
        y = KoFewLanesAt<Unit>(right, end);
        look();
    }
    while ((difference | zero | stops) == 0) {
        if (i + L::kCount == end)
            return 0;
        // The last word overlaps what is known to be equal.
        i = std::min(i + L::kCount, end - L::kCount);
        lookAt();
    }
    const o_u8b before = ~difference & (difference - 1); // all, where nothing differs
    if ((stops & before) != 0) {
        from = i;
        return kUndecided;
    }
    if ((zero & before) != 0)
        return 0;
    constexpr unsigned kBits = 8 * sizeof(Unit);
    const unsigned lane = static_cast<unsigned>(std::countr_zero(difference)) & ~(kBits - 1);
    from = i + lane / kBits;
    return decision.template Decide<Unit>(static_cast<Unit>(x >> lane),
                                          static_cast<Unit>(y >> lane));
}

/// Of a text in memory that a terminator follows.
struct KoTerminated {
    const char* bytes;
    unsigned size; ///< bytes with the terminator; 0 for no text
    unsigned char codeSet, language;
};

/// The short way for two such texts. kUndecided for what it does not decide, else as KoCompareText.
template <bool kPadded>
[[gnu::always_inline]] inline int KoCompareHot(const KoTerminated& left, const KoTerminated& right,
                                               o_u2b cmpOp, unsigned& from)
{
    constexpr o_u4b kMasks[] = {0x1FFFFFFFU, 0x1FFFFF9FU, 0x1FFFFFE0U, 0x1FFFFF80U};
    from = 0;
    if (left.size == 0 || right.size == 0)
        return kUndecided;
    if ((left.language | right.language) != KoLANG_NONE &&
        (!KoKnown::IsPlain(left.language) || !KoKnown::IsPlain(right.language))) // or null
        return kUndecided;
    const unsigned width = KoCodeSetWidth(left.codeSet);
    if (width != KoCodeSetWidth(right.codeSet))
        return kUndecided;
    if (width == 2 && (left.codeSet == KoCS_NULL || right.codeSet == KoCS_NULL))
        return kUndecided; // null as well, where the language is none
    const bool wild = (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) == 0;
    if ((left.codeSet | right.codeSet) == KoCS_NONE)
        return wild ? kUndecided
                    : KoCompareTerminated<o_u1b, false, kPadded>(left.bytes, left.size, right.bytes,
                                                                 right.size, KoByBytes{}, from);
    const KoByKeys keys{KoKnown::Keys(left.codeSet), KoKnown::Keys(right.codeSet),
                        kMasks[cmpOp >> 5U & 3U]};
    if (!wild)
        return width == 1 ? KoCompareTerminated<o_u1b, false, kPadded>(
                                left.bytes, left.size, right.bytes, right.size, keys, from)
                          : KoCompareTerminated<o_u2b, false, kPadded>(
                                left.bytes, left.size / 2, right.bytes, right.size / 2, keys, from);
    if (!KoWildcards::AreDefault())
        return kUndecided;
    return width == 1
               ? KoCompareTerminated<o_u1b, true, kPadded>(left.bytes, left.size, right.bytes,
                                                           right.size, keys, from)
               : KoCompareTerminated<o_u2b, true, kPadded>(left.bytes, left.size / 2, right.bytes,
                                                           right.size / 2, keys, from);
}

#endif
