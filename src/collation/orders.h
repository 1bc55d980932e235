#ifndef KO_COLLATION_ORDERS_H
#define KO_COLLATION_ORDERS_H

#include "collation/text.h"

#include <atomic>

/// Comparing and hashing texts by their collation orders (doc/collation.md).

namespace ko
{

/// No limit on the number of orders.
inline constexpr unsigned kNoLimit = 0xFFFFFFFFU;

/// The limit that a length of an exported function means: none where it is negative.
constexpr unsigned LimitOf(short len)
{
    return len < 0 ? kNoLimit : static_cast<unsigned>(len);
}

/// The code set that the characters of a text are read by. Identifier 255 has 16-bit characters,
/// whatever the default code set is.
inline const KoCodeSet& CodeSetOf(unsigned char codeSet)
{
    return *KoLanguageContext::QueryCodeSet(
        codeSet == KoCS_DEFAULT ? static_cast<unsigned char>(KoCS_UNICODE) : codeSet);
}
inline const KoCodeSet& CodeSetOf(const KoText& text)
{
    return CodeSetOf(text.codeSet);
}

/// The collation variant of a text's language.
inline unsigned char VariantOf(const KoCodeSet& codeSet, unsigned char language)
{
    return language == KoLANG_NONE ? 0 : codeSet.GetVariant(language);
}

/// The byte order of a text whose order the caller names: 2 is most significant byte first,
/// anything else the machine's.
constexpr unsigned char TextFormat(unsigned char format) noexcept
{
    return (format & KoFMT_ORDER_MASK) == KoFMT_BIG ? KoFMT_BIG : KoFMT_MEMORY;
}

/// The orders of a text, one after another.
class OrderReader
{
public:
    /// Reads from character `from` on, at most `limit` orders.
    explicit OrderReader(const KoText& text, unsigned from = 0, unsigned limit = kNoLimit)
        : m_codeSet(&CodeSetOf(text)), m_limit(limit), m_width(text.Width()),
          m_swapped(text.IsSwapped()), m_cut(text.cut),
          m_variant(VariantOf(*m_codeSet, text.language))
    {
        if (text.units != 0) {
            m_at = text.bytes + std::size_t{from} * m_width;
            m_end = text.bytes + std::size_t{text.units} * m_width;
        }
        Turn(0);
    }

    /// The next order; 0 at the end, as often as it is asked for.
    o_u2b Next()
    {
        if (m_limit == 0)
            return 0;
        if (m_pending[0] != 0)
            return NextPending();
        const o_u2b character = m_at == m_end ? o_u2b{} : Character();
        if (character == 0)
            return End();
        m_at += m_width;
        --m_limit;
        if (character >> 8U != m_page)
            Turn(static_cast<unsigned char>(character >> 8U));
        if (m_orders == nullptr)
            return character;
        const unsigned low = character & 0xFFU;
        return (m_keys[low] & KoKEY_EXPANDS) != 0 ? Expand(character) : m_orders[low];
    }

    unsigned char Variant() const { return m_variant; }
    /// The next order is the first of a character.
    bool IsBetweenCharacters() const { return m_pending[0] == 0; }
    /// After Next() gave 0: the text goes on, in a way that is not known.
    bool EndsOpen() const { return m_cut && m_limit != 0; }

private:
    o_u2b Character() const
    {
        if (m_width == 1)
            return static_cast<unsigned char>(*m_at);
        return ReadNumber<o_u2b>(m_at, m_swapped);
    }
    /// A terminator inside ends the text for certain.
    o_u2b End()
    {
        if (m_at != m_end)
            m_cut = false;
        return 0;
    }
    void Turn(unsigned char page)
    {
        m_page = page;
        m_orders = m_codeSet->Orders(page);
        m_keys = m_codeSet->FastKeys(page);
    }
    o_u2b NextPending();
    o_u2b Expand(o_u2b character);

    const char* m_at = nullptr;
    const char* m_end = nullptr;
    const KoCodeSet* m_codeSet;
    const o_u2b* m_orders = nullptr; ///< of the characters with the high byte m_page
    const o_u4b* m_keys = nullptr;
    unsigned m_limit;
    unsigned m_width;
    o_u2b m_pending[2] = {}; ///< of a character that expands
    unsigned char m_page = 0;
    bool m_swapped;
    bool m_cut;
    unsigned char m_variant;
};

/// The orders that are wildcards in a pattern. None is 0.
struct WildcardSet {
    enum Which { kAsterisk, kQuestion, kEscape };

    o_u2b asterisk, question, escape;

    /// The wildcards that the process uses now.
    static WildcardSet Current();
    /// True while they are the orders of "*", "?" and "\\".
    static bool AreDefault() { return !s_replaced.load(std::memory_order_relaxed); }
    /// 0 restores the default one. Not synchronised, like all settings of the process.
    static void Replace(Which which, o_u2b order);

private:
    static std::atomic<bool> s_replaced;
};

/// What an operator word asks for.
struct CompareMode {
    explicit CompareMode(o_u2b cmpOp)
        : mask(((cmpOp & KoCMP_IGNORE_CASE) != 0 ? 0xFFFFFF9FU : 0xFFFFFFFFU) &
               ((cmpOp & KoCMP_IGNORE_ACCENTS) != 0 ? 0xFFFFFFE0U : 0xFFFFFFFFU)),
          wildcards((cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) == 0),
          skipsSpaces((cmpOp & KoCMP_SKIP_SPACES) != 0),
          skipsSymbols((cmpOp & KoCMP_SKIP_SYMBOLS) != 0)
    {
    }

    o_u4b mask; ///< what of a key counts
    bool wildcards;
    bool skipsSpaces, skipsSymbols; ///< as if they were not there
};

/// What stands at a place of a pattern: a run is an asterisk, one any one character.
enum class PatternKind : unsigned char { kEnd, kLiteral, kOne, kRun };

/// A place in a text, from element to element: an element is an order that the operator word does
/// not leave out.
class Elements
{
public:
    Elements(const KoText& text, unsigned from, unsigned limit, const CompareMode& mode)
        : m_orders(text, from, limit), m_mode(&mode)
    {
    }

    o_u4b Key() const { return m_key; }
    /// A space or symbol: passed over at first, it decides where nothing else does.
    bool IsSkipped() const { return m_skipped; }
    bool IsOpenEnd() const { return m_key == 0 && m_open; }

protected:
    /// Takes an order; false where the operator word leaves it out.
    bool Take(o_u2b order)
    {
        const KoOrderClass orderClass = KoClassOfOrder(order);
        m_skipped = orderClass == KoORDER_SPACE || orderClass == KoORDER_SYMBOL;
        if (m_skipped && (orderClass == KoORDER_SPACE ? m_mode->skipsSpaces : m_mode->skipsSymbols))
            return false;
        m_key = KoCollationKey(order, m_orders.Variant()) & m_mode->mask;
        m_open = order == 0 && m_orders.EndsOpen();
        return true;
    }

    OrderReader m_orders;

private:
    const CompareMode* m_mode;
    o_u4b m_key = 0;
    bool m_skipped = false;
    bool m_open = false;
};

class TextElements : public Elements
{
public:
    TextElements(const KoText& text, unsigned from, unsigned limit, const CompareMode& mode)
        : Elements(text, from, limit, mode)
    {
        Advance();
    }
    void Advance()
    {
        while (!Take(m_orders.Next())) {
        }
    }
};

/// The elements of the right text, which is a pattern where wildcards are on.
class PatternElements : public Elements
{
public:
    /// With `runAfter` an asterisk stands after the text.
    PatternElements(const KoText& text, unsigned from, unsigned limit, const CompareMode& mode,
                    bool runAfter = false)
        : Elements(text, from, limit, mode),
          m_wildcards(mode.wildcards ? WildcardSet::Current() : WildcardSet{}), m_runAfter(runAfter)
    {
        Advance();
    }

    PatternKind Kind() const { return m_kind; }
    bool IsWildcard() const { return m_kind >= PatternKind::kOne; }

    void Advance()
    {
        for (;;) {
            o_u2b order = m_orders.Next();
            m_kind = order == 0 ? PatternKind::kEnd : PatternKind::kLiteral;
            if (order != 0) {
                if (order == m_wildcards.escape)
                    order = Escaped(order);
                else if (order == m_wildcards.asterisk)
                    m_kind = PatternKind::kRun;
                else if (order == m_wildcards.question)
                    m_kind = PatternKind::kOne;
            } else if (m_runAfter) {
                m_runAfter = false;
                m_kind = PatternKind::kRun;
            }
            if (Take(order) || IsWildcard())
                return;
        }
    }

private:
    /// At the very end the escape stands for itself, or makes the asterisk that stands after the
    /// text literal.
    o_u2b Escaped(o_u2b escape)
    {
        const o_u2b order = m_orders.Next();
        if (order != 0)
            return order;
        if (m_runAfter) {
            m_runAfter = false;
            return m_wildcards.asterisk;
        }
        if (!m_orders.EndsOpen())
            return escape;
        m_kind = PatternKind::kEnd;
        return 0;
    }

    WildcardSet m_wildcards; ///< zeros, which no order is, where wildcards are off
    PatternKind m_kind = PatternKind::kEnd;
    bool m_runAfter;
};

/// The operator word itself, or the default one that 0xFFFF stands for.
inline o_u2b ResolvedCmpOp(o_u2b cmpOp)
{
    return cmpOp == KoCMP_DEFAULT ? KoLanguageContext::GetDefaultCmpOp() : cmpOp;
}

/// How two texts compare.
struct TextOrder {
    int order = 0;         ///< negative, 0 or positive
    bool open = false;     ///< what was cut off decides; `order` is what the rest gives
    bool afterRun = false; ///< what comes after an asterisk of the pattern is nowhere in the rest
};

/// Order of two texts under an operator word (not 0xFFFF), `right` being the pattern where
/// wildcards are on; at most `limit` orders of each count. Without a limit, `from` may be a
/// character up to which the texts are known to be equal, none of them a wildcard.
TextOrder CompareText(const KoText& left, const KoText& right, o_u2b cmpOp,
                      unsigned limit = kNoLimit, unsigned from = 0);

/// Compares as with a pattern that has an asterisk after it; neither text may be null.
TextOrder CompareBeginning(const KoText& text, const KoText& pattern, const CompareMode& mode);

/// The same for two texts without a code set: plain bytes.
TextOrder CompareBeginningBytes(const KoText& text, const KoText& pattern);

/// CompareText for two texts without a code set: plain bytes.
TextOrder CompareBytes(const KoText& left, const KoText& right, bool wildcards, unsigned limit);

/// What the fast ways return where they cannot decide; no order has this value.
inline constexpr int kUndecided = 0x1000;

/// From the character `from` on of both texts, where the pattern has a wildcard. kUndecided when
/// there is no wildcard or the tables cannot decide.
int MatchFast(const KoText& left, const KoText& right, const CompareMode& mode, unsigned from);

/// Hash of `limit` orders of a text, or of all; see HashString.
o_u4b HashText(const KoText& text, unsigned limit = kNoLimit);

} // namespace ko

#endif
