#ifndef KOFASTCOMPARE_H
#define KOFASTCOMPARE_H

#include "kocmpwalk.h"
#include "kofasttext.h"
#include "kolanes.h"

#include <algorithm>

/// Comparing texts by tables of keys. Most pairs of texts are decided here: equal characters are
/// skipped a word at a time, and where the texts differ a look into each table decides. All of it
/// is inlined where it is used: a call that hands a text over in memory takes longer than comparing
/// two words of a language does.

inline constexpr o_u4b kSkippedKeys = KoKEY_SYMBOL | KoKEY_SPACE;

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
            const o_u8b x = ko::ReadValue<o_u8b>(left + std::size_t{at} * sizeof(Unit));
            const o_u8b y = ko::ReadValue<o_u8b>(right + std::size_t{at} * sizeof(Unit));
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
                       : at + ko::FirstByteOf(difference) / static_cast<unsigned>(sizeof(Unit));
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
            // Both end, or the orders after the first one of an expansion decide.
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
    // What follows a terminator is no text.
    if (i != 0 && KoUnitsBeforeZero(left.bytes, 1, i) < i)
        return {};
    if (open)
        return {0, true};
    return KoByteDifference(left, right, leftEnds ? 0 : a[i], rightEnds ? 0 : b[i]);
}

#endif
