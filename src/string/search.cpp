#include "string/search.h"

#include "collation/wildcards.h"

#include <algorithm>

// Finding a pattern in a long text, in a time in proportion to it where the pattern has no
// question marks.

namespace ko
{

namespace
{

/// The orders of a text, with what the operator word leaves out.
class Orders : public Elements
{
public:
    Orders(const KoText& text, unsigned from, const CompareMode& mode)
        : Elements(text, from, kNoLimit, mode)
    {
    }
    bool IsBetweenCharacters() const { return m_orders.IsBetweenCharacters(); }
    /// False at the end.
    bool Advance(bool& isElement)
    {
        const o_u2b order = m_orders.Next();
        isElement = order != 0 && Take(order);
        return order != 0;
    }
};

class Search
{
public:
    Search(const KoText& text, const KoText& pattern, unsigned start, const CompareMode& mode)
        : m_text(text), m_pattern(pattern), m_mode(mode), m_start(start),
          m_bytes(text.codeSet == KoCS_NONE && pattern.codeSet == KoCS_NONE)
    {
    }

    int Run()
    {
        if (m_start + m_pattern.units > m_text.units)
            return -1;
        if (!(m_bytes ? ReadBytes() : ReadText() && ReadPattern()))
            return kUndecided;
        Places starts;
        WildSearch search(m_keys, m_patternKeys);
        if (!starts.Make(m_keys.Count()) || !search.Prepare())
            return kUndecided;
        const unsigned end = m_text.units - m_pattern.units - m_start + 1;
        for (unsigned i = 0; i < end; ++i)
            if (IsWindow(i))
                starts.Add(m_elementOf[i]);
        unsigned first = end;
        if (m_firstPiece == 0) { // all places that may begin one do
            first = 0;
            while (first < end && !IsWindow(first))
                ++first;
            if (first < end && !search.Match().matched)
                first = end;
        } else if (const auto found = search.Match(&starts); found.matched) {
            const o_u4b* const elements = m_elementOf.Get();
            first = static_cast<unsigned>(std::lower_bound(elements, elements + end, found.first) -
                                          elements);
            while (!IsWindow(first))
                ++first;
        }
        return first < end ? static_cast<int>(m_start + first) : -1;
    }

private:
    bool ReadBytes()
    {
        bool done = true;
        for (unsigned i = m_start; i < m_text.units; ++i)
            done = done && m_keys.Append(m_text.At(i)) && AppendPlace(i - m_start, i - m_start) &&
                   m_orderOf.Append(i - m_start);
        for (unsigned i = 0; i < m_pattern.units; ++i) {
            const unsigned byte = m_pattern.At(i);
            done = done && m_patternKeys.Append(m_mode.wildcards && byte == '*'   ? kKeyOfRun
                                                : m_mode.wildcards && byte == '?' ? kKeyOfOne
                                                                                  : byte);
        }
        m_orderCount = m_text.units - m_start;
        return done && EndPattern(true);
    }

    bool ReadText()
    {
        Orders orders(m_text, m_start, m_mode);
        for (;; ++m_orderCount) {
            const bool begins = orders.IsBetweenCharacters();
            const unsigned before = m_keys.Count();
            bool isElement;
            if (!orders.Advance(isElement))
                return true;
            if (begins && !AppendPlace(before, m_orderCount))
                return false;
            if (isElement && !(m_keys.Append(orders.Key()) && m_orderOf.Append(m_orderCount)))
                return false;
        }
    }

    bool ReadPattern()
    {
        const unsigned limit = m_mode.wildcards ? kNoLimit : m_pattern.units;
        PatternElements place(m_pattern, 0, limit, m_mode, m_mode.wildcards);
        for (; place.Kind() != PatternKind::kEnd; place.Advance())
            if (!m_patternKeys.Append(SearchKey(place)))
                return false;
        return EndPattern(!m_mode.wildcards); // the run that a pattern has may be an escaped one
    }

    /// With `runAfter` any text may stand after the pattern.
    bool EndPattern(bool runAfter)
    {
        if (runAfter && !m_patternKeys.Append(kKeyOfRun))
            return false;
        while (m_firstPiece < m_patternKeys.Count() && m_patternKeys[m_firstPiece] != kKeyOfRun)
            ++m_firstPiece;
        return true;
    }

    bool AppendPlace(unsigned element, unsigned order)
    {
        return m_elementOf.Append(element) && m_firstOrderOf.Append(order);
    }

    /// Without wildcards as many orders are compared as the pattern has characters: as many
    /// elements as the pattern's must be among those that begin with character `i`.
    bool IsWindow(unsigned i) const
    {
        if (m_mode.wildcards) // a pattern without any element has no run either
            return m_patternKeys.Count() != 0 || m_elementOf[i] == m_keys.Count();
        const unsigned end = m_firstOrderOf[i] + m_pattern.units;
        const unsigned next = m_elementOf[i] + m_firstPiece;
        if (next > m_orderOf.Count() || (m_firstPiece != 0 && m_orderOf[next - 1] >= end))
            return false;
        return (next == m_orderOf.Count() ? m_orderCount : m_orderOf[next]) >= end;
    }

    const KoText& m_text;
    const KoText& m_pattern;
    const CompareMode& m_mode;
    unsigned m_start;
    bool m_bytes;
    unsigned m_orderCount = 0; ///< of the text
    unsigned m_firstPiece = 0; ///< the elements of the pattern before its first run
    KeyList m_patternKeys;
    // For each element of the text.
    KeyList m_keys;
    KeyList m_orderOf;
    // For each character of the text: the first element or order that belongs to it or comes after
    // it.
    KeyList m_elementOf;
    KeyList m_firstOrderOf;
};

} // namespace

int SearchString(const KoText& text, const KoText& pattern, unsigned start, const CompareMode& mode)
{
    return Search(text, pattern, start, mode).Run();
}

} // namespace ko
