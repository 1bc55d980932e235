#include "kofastcompare.h"

#include <kostrcmp.h>

#include <algorithm>

// What compares texts and strings for applications.

namespace
{

/// The text that starts at `text`. No order takes less than one character, so `limit` orders need
/// no more than as many characters.
KoText TextAt(unsigned char codeSet, unsigned char language, const char* text, unsigned char format,
              unsigned limit)
{
    KoText found;
    found.bytes = text;
    found.codeSet = codeSet == KoCS_DEFAULT ? KoLanguageContext::GetDefault8CodeSet() : codeSet;
    found.language = language;
    found.format = KoTextFormat(format);
    if (text == nullptr || found.IsNull())
        return found;
    // Behind the terminator nothing need be there, not even the rest of a word.
    if (found.Width() == 2)
        while (found.units < limit && found.At(found.units) != 0)
            ++found.units;
    else if (limit == kNoLimit)
        found.units = static_cast<unsigned>(std::strlen(text));
    else
        found.units = KoUnitsBeforeZero(text, 1, limit);
    return found;
}

unsigned LimitOf(short len)
{
    return len < 0 ? kNoLimit : static_cast<unsigned>(len);
}

} // namespace

int KoStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
             unsigned char codeSet2, unsigned char language2, const char* text2,
             unsigned short cmpOp, short len, unsigned char format, int* secondary)
{
    const unsigned limit = LimitOf(len);
    const KoText left = TextAt(codeSet1, language1, text1, format, limit);
    const KoText right = TextAt(codeSet2, language2, text2, format, limit);
    const o_u2b asked = KoResolvedCmpOp(cmpOp);
    const int order = KoCompareText(left, right, asked, limit).order;
    constexpr o_u2b kLeavesOut = KoCMP_SKIP_SPACES | KoCMP_SKIP_SYMBOLS;
    if (secondary != nullptr)
        *secondary =
            order != 0 || (asked & kLeavesOut) == 0
                ? order
                : KoCompareText(left, right, asked & static_cast<o_u2b>(~kLeavesOut), limit).order;
    return order;
}

unsigned HashString(unsigned char codeSet, unsigned char language, char* text, short len,
                    unsigned char format)
{
    const unsigned limit = len == KoString::kRest ? kNoLimit : len < 0 ? 0U : LimitOf(len);
    return KoHashText(TextAt(codeSet, language, text, format, limit), limit);
}

// ---- members of strings

int KoString::Compare(const KoString& other, short len, unsigned short cmpOp) const
{
    const o_u2b asked = KoResolvedCmpOp(cmpOp);
    unsigned from = 0;
    if (len < 0) {
        const int order = KoCompareHot<true>(
            {m_buffer, m_size, m_codeSet, m_language},
            {other.m_buffer, other.m_size, other.m_codeSet, other.m_language}, asked, from);
        if (order != kUndecided)
            return order;
    }
    return KoCompareText(KoStringAccess::Get(*this), KoStringAccess::Get(other), asked,
                         LimitOf(len), from)
        .order;
}

int KoString::operator!=(const KoString& other) const
{
    return Compare(other);
}

bool KoString::operator==(const KoString& other) const
{
    return this == &other || Compare(other) == 0;
}

bool KoString::EqualsIgnoreLanguage(const KoString& other) const
{
    KoText left = KoStringAccess::Get(*this);
    KoText right = KoStringAccess::Get(other);
    if (left.language != right.language)
        left.language = right.language = KoLANG_NONE;
    return KoCompareText(left, right, KoCMP_NO_WILDCARDS).order == 0;
}
