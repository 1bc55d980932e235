#include "kofasttext.h"
#include "kolanes.h"
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
            unsigned character = text[i];
            o_u4b key = text.Key(character);
            // An expanding character can be no wildcard: its first order is.
            if ((key & KoKEY_EXPANDS) != 0)
                return false;
            if (key == escape) {
                if (i + 1 < text.Units() && text[i + 1] != 0)
                    key = text.Key(character = text[++i]);
                if ((key & KoKEY_EXPANDS) != 0)
                    return false;
            } else if (key == run || key == one) {
                *to++ = key == run ? kRun : kOne;
                continue;
            }
            if ((key & leftOut) == 0) {
                m_characters[to - m_keys] = static_cast<o_u2b>(character);
                *to++ = key & mask;
            }
        }
        *to = 0;
        return true;
    }

    /// A place in the pattern.
    class Place
    {
    public:
        explicit Place(const Pattern& pattern) : m_pattern(&pattern), m_at(pattern.m_keys) {}
        o_u4b Key() const { return *m_at; }
        /// The character of a literal; the place must be one.
        unsigned Character() const { return m_pattern->m_characters[m_at - m_pattern->m_keys]; }
        KoPatternKind Kind() const
        {
            return *m_at > kRun    ? KoPatternKind::kLiteral
                   : *m_at == 0    ? KoPatternKind::kEnd
                   : *m_at == kOne ? KoPatternKind::kOne
                                   : KoPatternKind::kRun;
        }
        void Advance() { ++m_at; }

    private:
        const Pattern* m_pattern;
        const o_u4b* m_at;
    };

private:
    // Below every key of a character.
    static constexpr o_u4b kOne = 1;
    static constexpr o_u4b kRun = 2;
    static constexpr unsigned kLongest = 127;

    o_u4b m_keys[kLongest + 1];
    o_u2b m_characters[kLongest]; ///< of the literals
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
    /// Over ASCII characters that are not the pattern's literal, whose case may not count.
    void Seek(const Pattern::Place& pattern)
    {
        using Block = KoBlock<Unit>;
        const unsigned character = pattern.Character();
        if (sizeof(Unit) != 1 || m_stops != KoKEY_EXPANDS || character >= 0x80)
            return;
        const unsigned turned = character ^ 0x20U;
        const unsigned other = (m_text->Key(turned) & m_mask) == pattern.Key() ? turned : character;
        for (; m_at + Block::kCount <= m_text->Units(); m_at += Block::kCount) {
            const Block block = Block::At(m_text->Bytes(m_at));
            const auto stops =
                (block.Is(character) | block.Is(other) | block.Is(0) | block.IsNotAscii()).Bits();
            if (stops != 0) {
                m_at += Block::First(stops);
                return;
            }
        }
    }

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
