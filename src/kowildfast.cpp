#include "kofasttext.h"
#include "kowildmatch.h"

// Matching wildcards by tables of keys.

namespace
{

/// A pattern as keys. It is short; a longer one is left to the rules in full.
class Pattern
{
public:
    /// From the character `from` on. False where a character expands or the pattern is too long.
    template <class Unit>
    bool Read(const KoFastText<Unit>& text, unsigned from, o_u4b mask, o_u4b leftOut)
    {
        const KoWildcards orders = KoWildcards::Current();
        const o_u4b run = KoFastKey(orders.asterisk);
        const o_u4b one = KoFastKey(orders.question);
        const o_u4b escape = KoFastKey(orders.escape);
        o_u4b* to = m_keys;
        for (unsigned i = from; i < text.Units() && text[i] != 0; ++i) {
            if (to == m_keys + kLongest)
                return false;
            o_u4b key = text.Key(text[i]);
            // An expanding character can be no wildcard: its first order is.
            if ((key & KoKEY_EXPANDS) != 0)
                return false;
            if (key == escape) {
                if (i + 1 < text.Units() && text[i + 1] != 0)
                    key = text.Key(text[++i]);
                if ((key & KoKEY_EXPANDS) != 0)
                    return false;
            } else if (key == run || key == one) {
                *to++ = key == run ? kRun : kOne;
                continue;
            }
            if ((key & leftOut) == 0)
                *to++ = key & mask;
        }
        *to = 0;
        return true;
    }

    /// A place in it.
    class Place
    {
    public:
        explicit Place(const Pattern& pattern) : m_at(pattern.m_keys) {}
        o_u4b Key() const { return *m_at; }
        KoPatternKind Kind() const
        {
            return *m_at > kRun    ? KoPatternKind::kLiteral
                   : *m_at == 0    ? KoPatternKind::kEnd
                   : *m_at == kOne ? KoPatternKind::kOne
                                   : KoPatternKind::kRun;
        }
        void Advance() { ++m_at; }

    private:
        const o_u4b* m_at;
    };

private:
    // Below every key of a character.
    static constexpr o_u4b kOne = 1;
    static constexpr o_u4b kRun = 2;
    static constexpr unsigned kLongest = 127;

    o_u4b m_keys[kLongest + 1];
};

/// A place in the text. At a character that tables cannot tell all about it ends, and `stuck` is
/// set.
template <class Unit>
class Place
{
public:
    Place(const KoFastText<Unit>& text, unsigned from, o_u4b mask, o_u4b stops, bool& stuck)
        : m_text(&text), m_at(from), m_mask(mask), m_stops(stops), m_stuck(&stuck)
    {
    }
    o_u4b Key() const
    {
        if (m_at == m_text->Units())
            return 0;
        const o_u4b key = m_text->Key((*m_text)[m_at]);
        if ((key & m_stops) != 0) {
            *m_stuck = true;
            return 0;
        }
        return key & m_mask;
    }
    void Advance() { ++m_at; }

private:
    const KoFastText<Unit>* m_text;
    unsigned m_at;
    o_u4b m_mask, m_stops;
    bool* m_stuck;
};

} // namespace

int KoMatchFast(const KoText& left, const KoText& right, const KoCompareMode& mode, unsigned from)
{
    if (left.cut || right.cut || !KoHasFastKeys(left) || !KoHasFastKeys(right))
        return kUndecided;
    const o_u4b leftOut = (mode.skipsSpaces ? o_u4b{KoKEY_SPACE} : 0U) |
                          (mode.skipsSymbols ? o_u4b{KoKEY_SYMBOL} : 0U);
    const o_u4b mask = mode.mask & ~o_u4b{KoKEY_FLAGS};
    return KoWithFastTexts(left, right, [&](const auto& text, const auto& patternText) {
        Pattern pattern;
        if (!pattern.Read(patternText, from, mask, leftOut))
            return kUndecided;
        const Pattern::Place start(pattern);
        if (start.Kind() != KoPatternKind::kRun && start.Kind() != KoPatternKind::kOne)
            return kUndecided;
        bool stuck = false;
        const KoMatch match =
            KoMatchWildcards(Place(text, from, mask, leftOut | KoKEY_EXPANDS, stuck), start);
        return stuck ? kUndecided : match.Order();
    });
}
