#ifndef KO_COLLATION_ELEMENTS_H
#define KO_COLLATION_ELEMENTS_H

#include "collation/orders.h"
#include "collation/wildcards.h"

namespace ko
{

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

} // namespace ko

#endif
