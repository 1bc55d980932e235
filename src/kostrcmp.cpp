#include "kotextelements.h"

#include <atomic>

// Comparing texts: the rules in full. kostrcmpfast.cpp and kowildfast.cpp have what
// they come to for most texts.

o_u2b KoOrderReader::NextPending()
{
    const o_u2b order = m_pending[0];
    m_pending[0] = m_pending[1];
    m_pending[1] = 0;
    --m_limit;
    return order;
}

o_u2b KoOrderReader::Expand(o_u2b character)
{
    o_u2b orders[3];
    m_codeSet->GetOrders(character, orders);
    m_pending[0] = orders[1];
    m_pending[1] = orders[2];
    return orders[0];
}

namespace
{

/// The rest of a pattern is asterisks only, and whole.
bool MatchesAll(KoPatternElements pattern)
{
    while (pattern.Kind() == KoPatternKind::kRun)
        pattern.Advance();
    return pattern.Kind() == KoPatternKind::kEnd && !pattern.IsOpenEnd();
}

/// Compares from the pattern's first wildcard on, where all before it is equal.
KoTextOrder Match(const KoTextElements& left, const KoPatternElements& right, bool cut)
{
    if (cut)
        return {0, !MatchesAll(right)};
    const KoMatch match = KoMatchWildcards(left, right);
    return {match.Order(), false, match.afterRun};
}

/// Compares element by element. Between two that are not skipped may stand skipped ones, a gap: the
/// gaps of both texts are compared like words, and the first that differ are kept as the
/// tie-breaker. Going by gaps notices where something was skipped, which makes the order a total
/// one: texts are equal exactly when all their elements are.
///
/// With `onlyEqual` any difference ends it: then runs of skipped elements take no time.
KoTextOrder CompareElements(KoTextElements left, KoPatternElements right, bool cut,
                            bool onlyEqual = false)
{
    int tie = 0;
    const auto differ = [&tie](int order) {
        if (tie == 0)
            tie = order;
    };
    for (;;) {
        if (right.IsWildcard())
            return tie != 0 ? KoTextOrder{tie} : Match(left, right, cut);
        if (left.IsOpenEnd() || right.IsOpenEnd()) {
            // More text can only make a side greater. That changes nothing where the other side has
            // ended and the cut one is greater already.
            const bool leftOver = left.Key() == 0 && !left.IsOpenEnd();
            const bool rightOver = right.Key() == 0 && !right.IsOpenEnd();
            return {tie, !((rightOver && tie > 0) || (leftOver && tie < 0))};
        }
        if (left.IsSkipped() || right.IsSkipped()) {
            if (left.IsSkipped() && right.IsSkipped())
                differ(KoOrder(left.Key(), right.Key()));
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
            return {KoOrder(left.Key(), right.Key())};
        }
        if (left.Key() == 0)
            return {tie};
        left.Advance();
        right.Advance();
    }
}

} // namespace

KoTextOrder KoCompareText(const KoText& left, const KoText& right, o_u2b cmpOp, unsigned limit,
                          unsigned from)
{
    const KoCompareMode mode(cmpOp);
    if (left.IsNull() || right.IsNull()) {
        if (!right.IsNull() && mode.wildcards) {
            KoText empty = left; // so that a null value matches a pattern for any text
            empty.units = 0;
            empty.language = KoLANG_NONE;
            if (left.codeSet == KoCS_NULL)
                empty.codeSet = KoCS_UNICODE;
            return KoCompareText(empty, right, cmpOp, limit);
        }
        return {KoOrder(left.IsNull() ? 0 : 1, right.IsNull() ? 0 : 1)};
    }
    if (limit == 0)
        return {};
    if (left.codeSet == KoCS_NONE && right.codeSet == KoCS_NONE)
        return KoCompareBytes(left, right, mode.wildcards, limit);
    if (limit == kNoLimit) {
        int order = KoCompareFast(left, right, mode, from);
        if (order == kUndecided && mode.wildcards)
            order = KoMatchFast(left, right, mode, from);
        if (order != kUndecided)
            return {order};
    }
    return CompareElements(KoTextElements(left, from, limit, mode),
                           KoPatternElements(right, from, limit, mode), left.cut || right.cut);
}

KoTextOrder KoCompareBeginning(const KoText& text, const KoText& pattern, const KoCompareMode& mode)
{
    if (text.codeSet == KoCS_NONE && pattern.codeSet == KoCS_NONE)
        return KoCompareBeginningBytes(text, pattern);
    return CompareElements(KoTextElements(text, 0, kNoLimit, mode),
                           KoPatternElements(pattern, 0, kNoLimit, mode, true), false, true);
}

// ---- wildcards

namespace
{

std::atomic<o_u2b> s_wildcards[3]; // 0 until it is needed

constexpr char kDefaultWildcards[] = {'*', '?', '\\'};

o_u2b DefaultWildcard(unsigned index)
{
    const auto character = static_cast<o_u2b>(kDefaultWildcards[index]);
    return KoLanguageContext::QueryCodeSet(KoCS_LATIN1)->GetOrder(character);
}

/// Two threads that meet here write the same.
o_u2b Wildcard(unsigned index)
{
    o_u2b order = s_wildcards[index].load(std::memory_order_relaxed);
    if (order == 0) {
        order = DefaultWildcard(index);
        s_wildcards[index].store(order, std::memory_order_relaxed);
    }
    return order;
}

} // namespace

std::atomic<bool> KoWildcards::s_replaced;

KoWildcards KoWildcards::Current()
{
    return {Wildcard(0), Wildcard(1), Wildcard(2)};
}

void KoWildcards::Replace(Which which, o_u2b order)
{
    s_wildcards[which].store(order, std::memory_order_relaxed);
    bool replaced = false;
    for (unsigned i = 0; i < 3; ++i)
        replaced = replaced || Wildcard(i) != DefaultWildcard(i);
    s_replaced.store(replaced, std::memory_order_relaxed);
}
