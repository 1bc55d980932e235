#include "collation/keyed_text.h"
#include "collation/lanes.h"
#include "collation/wildcards.h"

#include <algorithm>

// Comparing two texts: by tables of keys as far as these decide, and by the rules in full from
// there. src/collation/keyed_wildcards.cpp has what the rules come to for most patterns.

namespace ko
{

namespace
{

// ---- by tables: most pairs are decided here. Equal characters are skipped a word at a time, and
// where the texts differ a look into each table decides. All of it is inlined: a call that hands a
// text over in memory takes longer than comparing two words of a language does.

constexpr o_u4b kSkippedKeys = KoKEY_SYMBOL | KoKEY_SPACE;

template <class Unit>
class WordSkip
{
    using L = Lanes<Unit>;

public:
    /// Stops at wildcards, and at all but ASCII where only that means the same in both texts.
    WordSkip(bool wildcards, bool asciiOnly, bool swapped, bool ignoresCase)
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
            const o_u8b x = ReadValue<o_u8b>(left + std::size_t{at} * sizeof(Unit));
            const o_u8b y = ReadValue<o_u8b>(right + std::size_t{at} * sizeof(Unit));
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
            return stops != 0 ? i
                              : at + FirstByteOf(difference) / static_cast<unsigned>(sizeof(Unit));
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

constexpr bool IsDefaultWildcard(unsigned character)
{
    return character == '*' || character == '?' || character == '\\';
}

/// Two texts from the character `i` on, up to which they are equal; see CompareFast.
template <class LeftUnit, class RightUnit>
[[gnu::always_inline]] inline int
CompareByOrderKeys(const FastText<LeftUnit>& left, const FastText<RightUnit>& right, o_u4b strength,
                   bool wildcards, bool cut, unsigned& from)
{
    constexpr bool kSameWidth = sizeof(LeftUnit) == sizeof(RightUnit);
    const bool same = kSameWidth && left.HasKeysOf(right);
    const bool skips = kSameWidth && left.IsSwapped() == right.IsSwapped();
    const o_u4b mask = strength & ~o_u4b{KoKEY_FLAGS};
    const unsigned end = std::min(left.Units(), right.Units());
    const WordSkip<LeftUnit> skip(wildcards, !same, left.IsSwapped(), (mask & 0x60U) == 0);
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
            if (wildcards && IsDefaultWildcard(right[i]))
                return kUndecided;
        } else if (((x | y) & kSkippedKeys) != 0) {
            // The same space or symbol in two code sets makes no difference.
            if (x != y || same || (wildcards && IsDefaultWildcard(right[i])))
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

/// Runs along two texts that have a code set by tables, as long as those decide as the whole rules
/// would. -1, 0 or 1, or kUndecided with the character in `from` at which the rules have to take
/// over: the two texts are equal up to there, and no wildcard has come.
[[gnu::noinline]] int CompareFast(const KoText& left, const KoText& right, const CompareMode& mode,
                                  unsigned& from)
{
    if (!HasFastKeys(left) || !HasFastKeys(right) || (mode.wildcards && !WildcardSet::AreDefault()))
        return kUndecided;
    const auto compare = [&](auto a, auto b) {
        return CompareByOrderKeys(a, b, mode.mask, mode.wildcards, left.cut || right.cut, from);
    };
    return WithFastTexts(left, right, compare);
}

// ---- by the rules

/// The rest of a pattern is asterisks only, and whole.
bool MatchesAll(PatternElements pattern)
{
    while (pattern.Kind() == PatternKind::kRun)
        pattern.Advance();
    return pattern.Kind() == PatternKind::kEnd && !pattern.IsOpenEnd();
}

/// Compares from the pattern's first wildcard on, where all before it is equal.
TextOrder Match(const TextElements& left, const PatternElements& right, bool cut)
{
    if (cut)
        return {0, !MatchesAll(right)};
    const MatchResult match = MatchWildcards(left, right);
    return {match.Order(), false, match.afterRun};
}

/// Compares element by element. Between two that are not skipped may stand skipped ones, a gap: the
/// gaps of both texts are compared like words, and the first that differ are kept as the
/// tie-breaker. Going by gaps notices where something was skipped, which makes the order a total
/// one: texts are equal exactly when all their elements are.
///
/// With `onlyEqual` any difference ends it: then runs of skipped elements take no time.
TextOrder CompareElements(TextElements left, PatternElements right, bool cut,
                          bool onlyEqual = false)
{
    int tie = 0;
    const auto differ = [&tie](int order) {
        if (tie == 0)
            tie = order;
    };
    for (;;) {
        if (right.IsWildcard())
            return tie != 0 ? TextOrder{tie} : Match(left, right, cut);
        if (left.IsOpenEnd() || right.IsOpenEnd()) {
            // More text can only make a side greater. That changes nothing where the other side has
            // ended and the cut one is greater already.
            const bool leftOver = left.Key() == 0 && !left.IsOpenEnd();
            const bool rightOver = right.Key() == 0 && !right.IsOpenEnd();
            return {tie, !((rightOver && tie > 0) || (leftOver && tie < 0))};
        }
        if (left.IsSkipped() || right.IsSkipped()) {
            if (left.IsSkipped() && right.IsSkipped())
                differ(ThreeWay(left.Key(), right.Key()));
            else
                differ(left.IsSkipped() ? 1 : -1);
            if (onlyEqual && tie != 0)
                return {tie};
            const bool both = left.IsSkipped() == right.IsSkipped();
            if (both || left.IsSkipped())
                left.Advance();
            if (both || right.IsSkipped())
                right.Advance();
            continue;
        }
        if (left.Key() != right.Key()) {
            // A cut side that has more than a whole one is greater, whatever comes.
            return {ThreeWay(left.Key(), right.Key())};
        }
        if (left.Key() == 0)
            return {tie};
        left.Advance();
        right.Advance();
    }
}

} // namespace

TextOrder CompareText(const KoText& left, const KoText& right, o_u2b cmpOp, unsigned limit,
                      unsigned from)
{
    const CompareMode mode(cmpOp);
    if (left.IsNull() || right.IsNull()) {
        if (!right.IsNull() && mode.wildcards) {
            KoText empty = left; // so that a null value matches a pattern for any text
            empty.units = 0;
            empty.language = KoLANG_NONE;
            if (left.codeSet == KoCS_NULL)
                empty.codeSet = KoCS_UNICODE;
            return CompareText(empty, right, cmpOp, limit);
        }
        return {ThreeWay(left.IsNull() ? 0 : 1, right.IsNull() ? 0 : 1)};
    }
    if (limit == 0)
        return {};
    if (left.codeSet == KoCS_NONE && right.codeSet == KoCS_NONE)
        return CompareBytes(left, right, mode.wildcards, limit);
    if (limit == kNoLimit) {
        int order = CompareFast(left, right, mode, from);
        if (order == kUndecided && mode.wildcards)
            order = MatchFast(left, right, mode, from);
        if (order != kUndecided)
            return {order};
    }
    return CompareElements(TextElements(left, from, limit, mode),
                           PatternElements(right, from, limit, mode), left.cut || right.cut);
}

TextOrder CompareBeginning(const KoText& text, const KoText& pattern, const CompareMode& mode)
{
    if (text.codeSet == KoCS_NONE && pattern.codeSet == KoCS_NONE)
        return CompareBeginningBytes(text, pattern);
    return CompareElements(TextElements(text, 0, kNoLimit, mode),
                           PatternElements(pattern, 0, kNoLimit, mode, true), false, true);
}

} // namespace ko
