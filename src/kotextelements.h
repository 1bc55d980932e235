#ifndef KOTEXTELEMENTS_H
#define KOTEXTELEMENTS_H

#include "kocollator.h"
#include "kowildmatch.h"

/// A place in a text, from element to element: an element is an order that the operator word does
/// not leave out.
class KoElements
{
public:
    KoElements(const KoText& text, unsigned from, unsigned limit, const KoCompareMode& mode)
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

    KoOrderReader m_orders;

private:
    const KoCompareMode* m_mode;
    o_u4b m_key = 0;
    bool m_skipped = false;
    bool m_open = false;
};

class KoTextElements : public KoElements
{
public:
    KoTextElements(const KoText& text, unsigned from, unsigned limit, const KoCompareMode& mode)
        : KoElements(text, from, limit, mode)
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
class KoPatternElements : public KoElements
{
public:
    /// With `runAfter` an asterisk stands after the text.
    KoPatternElements(const KoText& text, unsigned from, unsigned limit, const KoCompareMode& mode,
                      bool runAfter = false)
        : KoElements(text, from, limit, mode),
          m_wildcards(mode.wildcards ? KoWildcards::Current() : KoWildcards{}), m_runAfter(runAfter)
    {
        Advance();
    }

    KoPatternKind Kind() const { return m_kind; }
    bool IsWildcard() const { return m_kind >= KoPatternKind::kOne; }

    void Advance()
    {
        for (;;) {
            o_u2b order = m_orders.Next();
            m_kind = order == 0 ? KoPatternKind::kEnd : KoPatternKind::kLiteral;
            if (order != 0) {
                if (order == m_wildcards.escape)
                    order = Escaped(order);
                else if (order == m_wildcards.asterisk)
                    m_kind = KoPatternKind::kRun;
                else if (order == m_wildcards.question)
                    m_kind = KoPatternKind::kOne;
            } else if (m_runAfter) {
                m_runAfter = false;
                m_kind = KoPatternKind::kRun;
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
        m_kind = KoPatternKind::kEnd;
        return 0;
    }

    KoWildcards m_wildcards; ///< zeros, which no order is, where wildcards are off
    KoPatternKind m_kind = KoPatternKind::kEnd;
    bool m_runAfter;
};

#endif
