#include "kocmpwalk.h"
#include "kostringtext.h"

#include <algorithm>

// Plain comparison and hashing.

namespace
{

/// What a character counts as: its Unicode value; what has none stands behind all that have one.
unsigned KeyOf(const KoCodeSet& codeSet, unsigned character)
{
    o_u2b unicode = 0;
    return codeSet.ToUnicode(static_cast<o_u2b>(character), unicode) ? unicode
                                                                     : 0x10000U + character;
}

/// The first position from `i` on, below `end`, where the bytes of the characters differ.
unsigned FirstDifference(const KoText& left, const KoText& right, unsigned i, unsigned end)
{
    const std::size_t width = left.Width();
    const auto bytes = [i, width](const KoText& text) {
        return reinterpret_cast<const unsigned char*>(text.bytes) + i * width;
    };
    if (i >= end)
        return end;
    const std::size_t equal = KoEqualBytes(bytes(left), bytes(right), (end - i) * width);
    return i + static_cast<unsigned>(equal / width);
}

} // namespace

KoTextOrder KoPlainCompare(const KoText& left, const KoText& right)
{
    if (left.IsNull() || right.IsNull())
        return {KoOrder(left.IsNull() ? 0 : 1, right.IsNull() ? 0 : 1)};
    const KoCodeSet& leftSet = *KoLanguageContext::QueryCodeSet(left.codeSet);
    const KoCodeSet& rightSet = *KoLanguageContext::QueryCodeSet(right.codeSet);
    const bool plainBytes = left.codeSet == KoCS_NONE && right.codeSet == KoCS_NONE;
    const unsigned end = std::min(left.units, right.units);
    const unsigned width = left.Width();
    // Characters need no look at their meaning while both sides hold the same ones.
    const bool skip = left.codeSet == right.codeSet && left.format == right.format;
    for (unsigned i = 0;; ++i) {
        if (skip) {
            const unsigned from = i;
            i = FirstDifference(left, right, from, end);
            const unsigned zero =
                from + KoUnitsBeforeZero(left.bytes + std::size_t{from} * width, width, i - from);
            if (zero < i)
                return {0, zero, true};
        }
        // A text may end before its units do, at a zero.
        const unsigned a = i < left.units ? left.At(i) : 0;
        const unsigned b = i < right.units ? right.At(i) : 0;
        if (a == 0 || b == 0)
            return {KoOrder(a != 0 ? 1 : 0, b != 0 ? 1 : 0), i, true};
        const int order =
            plainBytes ? KoOrder(a, b) : KoOrder(KeyOf(leftSet, a), KeyOf(rightSet, b));
        if (order != 0)
            return {order, i};
    }
}

o_u4b KoPlainHash(const KoText& text)
{
    constexpr o_u4b kHashOfNullText = 0xFEFE7575U;
    if (text.IsNull())
        return kHashOfNullText;
    const KoCodeSet& codeSet = *KoLanguageContext::QueryCodeSet(text.codeSet);
    const unsigned end = KoUnitsBeforeZero(text.bytes, text.Width(), text.units);
    o_u4b hash = 0;
    for (unsigned i = 0; i < end; ++i)
        hash = hash * 9 + KeyOf(codeSet, text.At(i));
    return hash;
}

int KoString::operator!=(const KoString& other) const
{
    if (this == &other)
        return 0;
    return KoPlainCompare(KoStringAccess::Get(*this), KoStringAccess::Get(other)).order;
}
