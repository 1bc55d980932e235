#include "collation/wildcards.h"
#include "core/compare_walk.h"

#include <algorithm>

// Comparing texts without a code set: bytes.

namespace ko
{

namespace
{

/// A place in a text or pattern of bytes.
class Bytes
{
public:
    Bytes(const KoText& text, unsigned limit, bool runAfter = false)
        : m_at(text.bytes), m_left(std::min(text.units, limit)), m_runAfter(runAfter)
    {
    }
    o_u4b Key() const { return m_left == 0 ? 0 : static_cast<unsigned char>(*m_at); }
    void Advance()
    {
        if (m_left == 0) {
            m_runAfter = false;
            return;
        }
        ++m_at;
        --m_left;
    }
    PatternKind Kind() const
    {
        switch (Key()) {
        case 0:
            return m_left == 0 && m_runAfter ? PatternKind::kRun : PatternKind::kEnd;
        case '*':
            return PatternKind::kRun;
        case '?':
            return PatternKind::kOne;
        default:
            return PatternKind::kLiteral;
        }
    }

private:
    const char* m_at;
    unsigned m_left;
    bool m_runAfter; ///< a pattern: an asterisk is added at the end
};

/// The difference of two bytes; where a side has no text at all, the sign alone.
TextOrder ByteDifference(const KoText& left, const KoText& right, unsigned a, unsigned b)
{
    if (left.bytes == nullptr || right.bytes == nullptr)
        return {ThreeWay(a, b)};
    return {static_cast<int>(a) - static_cast<int>(b)};
}

/// Two texts without a code set, as plain bytes.
TextOrder CompareByBytes(const KoText& left, const KoText& right, unsigned limit)
{
    const auto* a = reinterpret_cast<const unsigned char*>(left.bytes);
    const auto* b = reinterpret_cast<const unsigned char*>(right.bytes);
    const unsigned end = std::min({left.units, right.units, limit});
    const unsigned i = end == 0 ? 0 : static_cast<unsigned>(EqualBytes(a, b, end));
    const bool leftEnds = i == left.units;
    const bool rightEnds = i == right.units;
    const bool open = (leftEnds && left.cut) || (rightEnds && right.cut);
    if (i == limit || (leftEnds && rightEnds && !open))
        return {};
    // What follows a terminator is no text.
    if (i != 0 && UnitsBeforeZero(left.bytes, 1, i) < i)
        return {};
    if (open)
        return {0, true};
    return ByteDifference(left, right, leftEnds ? 0 : a[i], rightEnds ? 0 : b[i]);
}

/// With a side cut the bytes before the first wildcard are compared, and after it nothing is
/// certain but a pattern that ends in "*".
TextOrder MatchCut(const KoText& left, const KoText& right, unsigned limit)
{
    Bytes pattern(right, limit);
    unsigned literal = 0;
    for (; pattern.Kind() == PatternKind::kLiteral; pattern.Advance())
        ++literal;
    if (pattern.Kind() == PatternKind::kEnd)
        return CompareByBytes(left, right, limit);
    const TextOrder found = CompareByBytes(left, right, literal);
    if (found.open || found.order != 0)
        return found;
    while (pattern.Kind() == PatternKind::kRun)
        pattern.Advance();
    return {0, right.cut || pattern.Kind() != PatternKind::kEnd};
}

} // namespace

TextOrder CompareBytes(const KoText& left, const KoText& right, bool wildcards, unsigned limit)
{
    if (!wildcards)
        return CompareByBytes(left, right, limit);
    if (left.cut || right.cut)
        return MatchCut(left, right, limit);
    const MatchResult match = MatchWildcards(Bytes(left, limit), Bytes(right, limit));
    return match.matched ? TextOrder{} : ByteDifference(left, right, match.text, match.pattern);
}

TextOrder CompareBeginningBytes(const KoText& text, const KoText& pattern)
{
    const MatchResult match = MatchWildcards(Bytes(text, kNoLimit), Bytes(pattern, kNoLimit, true));
    return {match.Order(), false, match.afterRun};
}

} // namespace ko
