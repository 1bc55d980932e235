#include "kofastcompare.h"
#include "kowildmatch.h"

// Comparing texts without a code set: bytes.

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
    KoPatternKind Kind() const
    {
        switch (Key()) {
        case 0:
            return m_left == 0 && m_runAfter ? KoPatternKind::kRun : KoPatternKind::kEnd;
        case '*':
            return KoPatternKind::kRun;
        case '?':
            return KoPatternKind::kOne;
        default:
            return KoPatternKind::kLiteral;
        }
    }

private:
    const char* m_at;
    unsigned m_left;
    bool m_runAfter; ///< a pattern: an asterisk is added at the end
};

/// With a side cut the bytes before the first wildcard are compared, and after it nothing is
/// certain but a pattern that ends in "*".
KoTextOrder MatchCut(const KoText& left, const KoText& right, unsigned limit)
{
    Bytes pattern(right, limit);
    unsigned literal = 0;
    for (; pattern.Kind() == KoPatternKind::kLiteral; pattern.Advance())
        ++literal;
    if (pattern.Kind() == KoPatternKind::kEnd)
        return KoCompareByBytes(left, right, limit);
    const KoTextOrder found = KoCompareByBytes(left, right, literal);
    if (found.open || found.order != 0)
        return found;
    while (pattern.Kind() == KoPatternKind::kRun)
        pattern.Advance();
    return {0, right.cut || pattern.Kind() != KoPatternKind::kEnd};
}

} // namespace

KoTextOrder KoCompareBytes(const KoText& left, const KoText& right, bool wildcards, unsigned limit)
{
    if (!wildcards)
        return KoCompareByBytes(left, right, limit);
    if (left.cut || right.cut)
        return MatchCut(left, right, limit);
    const KoMatch match = KoMatchWildcards(Bytes(left, limit), Bytes(right, limit));
    return match.matched ? KoTextOrder{} : KoByteDifference(left, right, match.text, match.pattern);
}

KoTextOrder KoCompareBeginningBytes(const KoText& text, const KoText& pattern)
{
    const KoMatch match = KoMatchWildcards(Bytes(text, kNoLimit), Bytes(pattern, kNoLimit, true));
    return {match.Order(), false, match.afterRun};
}
