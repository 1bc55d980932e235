#include "kohashwords.h"
#include "kopaddedcompare.h"
#include "kostringrecord.h"

#include <kostrcmp.h>

#include <algorithm>

// What compares and hashes texts and strings for applications: all of kostrcmp.h, and the members
// of KoString that compare.

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
    // After the terminator nothing need be there, not even the rest of a word.
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

template <KoByteValue value>
o_u4b HashOfString(const KoString& string)
{
    const KoText text = KoStringAccess::Get(string);
    if (text.units == 0)
        return 0;
    if (text.Width() == 1) {
        KoHashOfBytes<value> hashOf;
        return KoHashWords(text.bytes, text.units, true, hashOf);
    }
    // The bytes of other 16-bit code sets, in the order of the machines that values come from: the
    // low one first, and the first zero byte is the end.
    const bool units = text.codeSet == KoCS_UNICODE;
    constexpr bool kLow = value == KoByteValue::kLowSeven;
    o_u4b hash = 0;
    for (unsigned i = 0; i < text.units; ++i) {
        const unsigned unit = text.At(i);
        if (unit == 0)
            break;
        if (units) {
            hash = hash * 9 + (kLow ? unit & 0x7FU : unit);
            continue;
        }
        for (const unsigned byte : {unit & 0xFFU, unit >> 8U}) {
            if (byte == 0)
                return hash;
            hash = hash * 9 + (kLow ? byte & 0x7FU : byte - (byte & 0x80U) * 2);
        }
    }
    return hash;
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

int StringCompare(unsigned char format, unsigned leftSize, void* left, unsigned rightSize,
                  void* right, unsigned short cmpOp, unsigned count, int& status)
{
    return KoCompareTexts(format, leftSize, left, rightSize, right, cmpOp, count, status, false);
}

unsigned HashKoString(const KoString& string)
{
    return HashOfString<KoByteValue::kSigned>(string);
}

unsigned HashKoString7(const KoString& string)
{
    return HashOfString<KoByteValue::kLowSeven>(string);
}

// ---- members of strings

namespace
{

// Each function below calls the next one last of all and what it may need to ask is asked at the
// very end: then the common ways keep no register and take no stack.

/// 16-bit characters that differ, of which at least one is not in the tables of 8-bit ones.
[[gnu::noinline]] int CompareWideFrom(const KoString& left, const KoString& right, o_u2b cmpOp,
                                      unsigned from)
{
    const KoText x = KoStringAccess::Get(left);
    const KoText y = KoStringAccess::Get(right);
    const KoByKeys keys(KoKnown::Keys(x.codeSet), KoKnown::Keys(y.codeSet), cmpOp);
    const int order = keys.DecideWide(x.At(from), y.At(from));
    return order != kUndecided ? order : KoCompareFrom(left, right, cmpOp, kNoLimit, from);
}

template <class Walk>
[[gnu::always_inline]] inline int Decided(int order, const Walk& walk, const KoString& left,
                                          const KoString& right, o_u2b cmpOp)
{
    return order != kUndecided ? order
           : Walk::kIsWide     ? CompareWideFrom(left, right, cmpOp, walk.At())
                               : KoCompareFrom(left, right, cmpOp, kNoLimit, walk.At());
}

/// Compares long texts that begin alike: the equal beginning is skipped first.
template <class Walk, class Decision>
[[gnu::noinline]] int CompareLong(const KoString& left, const KoString& right, o_u2b cmpOp)
{
    const KoText x = KoStringAccess::Get(left);
    const KoText y = KoStringAccess::Get(right);
    Walk walk(x.bytes, y.bytes);
    walk.Start(KoSkipEqual(x.bytes, y.bytes, std::min(x.units, y.units)));
    return Decided(walk.Run(Decision::Of(x, y, cmpOp)), walk, left, right, cmpOp);
}

template <class LeftUnit, class RightUnit, bool kWild, class Decision>
[[gnu::always_inline]] inline int ComparePadded(const KoString& left, const KoString& right,
                                                o_u2b cmpOp, const Decision& decision)
{
    using Walk = KoPaddedWalk<LeftUnit, RightUnit, kWild>;
    Walk walk(KoStringAccess::Get(left).bytes, KoStringAccess::Get(right).bytes);
    const int order = walk.template Run<Walk::kLong>(decision);
    if constexpr (Walk::kLong != 0)
        if (order == Walk::kGoesOn)
            return CompareLong<Walk, Decision>(left, right, cmpOp);
    return Decided(order, walk, left, right, cmpOp);
}

/// What no short way takes, or not before the tables are known.
[[gnu::noinline]] int CompareOther(const KoString& left, const KoString& right, short len,
                                   o_u2b cmpOp)
{
    if (cmpOp == KoCMP_DEFAULT)
        return left.Compare(right, len, KoLanguageContext::GetDefaultCmpOp());
    bool learnt = false;
    for (const KoString* string : {&left, &right}) {
        const KoText text = KoStringAccess::Get(*string);
        learnt = KoKnown::Learn(text.codeSet, text.language) || learnt;
    }
    return learnt ? left.Compare(right, len, cmpOp)
                  : KoCompareFrom(left, right, cmpOp, LimitOf(len), 0);
}

template <class LeftUnit, class RightUnit, bool kWild>
[[gnu::noinline]] int CompareByKeys(const KoString& left, const KoString& right, o_u2b cmpOp,
                                    const o_u4b* leftKeys, const o_u4b* rightKeys)
{
    return ComparePadded<LeftUnit, RightUnit, kWild>(left, right, cmpOp,
                                                     KoByKeys(leftKeys, rightKeys, cmpOp));
}

template <bool kWild>
int CompareByWidth(const KoString& left, const KoString& right, o_u2b cmpOp, const o_u4b* leftKeys,
                   const o_u4b* rightKeys)
{
    const bool rightIsWide = KoStringAccess::Get(right).Width() == 2;
    const auto compare =
        KoStringAccess::Get(left).Width() == 2
            ? rightIsWide ? CompareByKeys<o_u2b, o_u2b, kWild> : CompareByKeys<o_u2b, o_u1b, kWild>
        : rightIsWide ? CompareByKeys<o_u1b, o_u2b, kWild>
                      : CompareByKeys<o_u1b, o_u1b, kWild>;
    return compare(left, right, cmpOp, leftKeys, rightKeys);
}

[[gnu::noinline]] int CompareAny(const KoString& left, const KoString& right, short len,
                                 o_u2b cmpOp)
{
    const KoText x = KoStringAccess::Get(left);
    const KoText y = KoStringAccess::Get(right);
    const o_u4b* const leftKeys = KoKnown::KeysOrNull(x.codeSet);
    const o_u4b* const rightKeys = KoKnown::KeysOrNull(y.codeSet);
    const bool wild = (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) == 0;
    if (len >= 0 || cmpOp == KoCMP_DEFAULT || leftKeys == nullptr || rightKeys == nullptr ||
        x.bytes == nullptr || y.bytes == nullptr || !KoKnown::IsKnownPlain(x.language) ||
        !KoKnown::IsKnownPlain(y.language) || (wild && !KoWildcards::AreDefault()))
        return CompareOther(left, right, len, cmpOp);
    return wild ? CompareByWidth<true>(left, right, cmpOp, leftKeys, rightKeys)
                : CompareByWidth<false>(left, right, cmpOp, leftKeys, rightKeys);
}

} // namespace

int KoString::Compare(const KoString& other, short len, unsigned short cmpOp) const
{
    // Nearly all pairs: two texts of one code set without a language. All other tests wait.
    if (len < 0 && (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) != 0 && cmpOp != KoCMP_DEFAULT &&
        m_codeSet == other.m_codeSet && (m_language | other.m_language) == KoLANG_NONE &&
        m_buffer != nullptr && other.m_buffer != nullptr) {
        if (m_codeSet == KoCS_NONE)
            return ComparePadded<o_u1b, o_u1b, false>(*this, other, cmpOp, KoByBytes{});
        const o_u4b* const keys = KoKnown::KeysOrNull(m_codeSet);
        if (keys == nullptr)
            return CompareAny(*this, other, len, cmpOp);
        if (Width() == 2)
            return CompareByKeys<o_u2b, o_u2b, false>(*this, other, cmpOp, keys, keys);
        using Walk = KoPaddedWalk<o_u1b, o_u1b, false>;
        const int order = Walk(m_buffer, other.m_buffer).RunFirst(KoByKeys(keys, keys, cmpOp));
        return order != Walk::kGoesOn
                   ? order
                   : CompareByKeys<o_u1b, o_u1b, false>(*this, other, cmpOp, keys, keys);
    }
    return CompareAny(*this, other, len, cmpOp);
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
