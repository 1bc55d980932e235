#include "kostringtext.h"

#include <algorithm>

// Plain comparison.

namespace
{

/// What a character counts as: its Unicode value; what has none stands behind all that have one.
unsigned KeyOf(const KoCodeSet& codeSet, unsigned character)
{
    o_u2b unicode = 0;
    return codeSet.ToUnicode(static_cast<o_u2b>(character), unicode) ? unicode
                                                                     : 0x10000U + character;
}

int Sign(unsigned left, unsigned right)
{
    return left < right ? -1 : left > right ? 1 : 0;
}

/// The first position from `i` on, below `end`, where the characters themselves differ.
unsigned FirstDifference(const KoText& left, const KoText& right, unsigned i, unsigned end)
{
    if (left.Width() == 1) {
        const char* at = left.bytes + i;
        return i + static_cast<unsigned>(
                       std::mismatch(at, left.bytes + end, right.bytes + i).first - at);
    }
    while (i < end && left.At(i) == right.At(i))
        ++i;
    return i;
}

} // namespace

int KoPlainCompare(const KoText& left, const KoText& right, unsigned& shared)
{
    shared = 0;
    if (left.IsNull() || right.IsNull())
        return Sign(left.IsNull() ? 0 : 1, right.IsNull() ? 0 : 1);
    const unsigned leftEnd = KoUnitsBeforeZero(left.bytes, left.Width(), left.units);
    const unsigned rightEnd = KoUnitsBeforeZero(right.bytes, right.Width(), right.units);
    const unsigned end = std::min(leftEnd, rightEnd);
    const KoCodeSet& leftSet = *KoLanguageContext::QueryCodeSet(left.codeSet);
    const KoCodeSet& rightSet = *KoLanguageContext::QueryCodeSet(right.codeSet);
    const bool sameSet = left.codeSet == right.codeSet;
    unsigned i = 0;
    for (;; ++i) {
        // Equal characters need no key as long as both sides mean the same by them.
        if (sameSet)
            i = FirstDifference(left, right, i, end);
        if (i >= end)
            break;
        const unsigned a = left.At(i);
        const unsigned b = right.At(i);
        const int order = left.codeSet == KoCS_NONE && sameSet
                              ? Sign(a, b)
                              : Sign(KeyOf(leftSet, a), KeyOf(rightSet, b));
        if (order != 0) {
            shared = i;
            return order;
        }
    }
    shared = end;
    return Sign(leftEnd, rightEnd);
}

int KoString::operator!=(const KoString& other) const
{
    if (this == &other)
        return 0;
    unsigned shared;
    return KoPlainCompare(KoStringAccess::Get(*this), KoStringAccess::Get(other), shared);
}
