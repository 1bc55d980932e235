#include "collation/hash_words.h"
#include "collation/orders.h"
#include "string/record.h"

#include <kostrcmp.h>

// The exported functions that compare and hash texts: all of kostrcmp.h.

namespace ko
{

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
    found.format = TextFormat(format);
    if (text == nullptr || found.IsNull())
        return found;
    // After the terminator nothing need be there, not even the rest of a word.
    if (found.Width() == 2)
        while (found.units < limit && found.At(found.units) != 0)
            ++found.units;
    else if (limit == kNoLimit)
        found.units = static_cast<unsigned>(std::strlen(text));
    else
        found.units = UnitsBeforeZero(text, 1, limit);
    return found;
}

template <ByteValue value>
o_u4b HashOfString(const KoString& string)
{
    const KoText text = StringAccess::Get(string);
    if (text.units == 0)
        return 0;
    if (text.Width() == 1) {
        HashOfBytes<value> hashOf;
        return HashWords(text.bytes, text.units, true, hashOf);
    }
    // The bytes of other 16-bit code sets, in the order of the machines that values come from: the
    // low one first, and the first zero byte is the end.
    const bool units = text.codeSet == KoCS_UNICODE;
    constexpr bool kLow = value == ByteValue::kLowSeven;
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

} // namespace ko

using namespace ko;

int KoStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
             unsigned char codeSet2, unsigned char language2, const char* text2,
             unsigned short cmpOp, short len, unsigned char format, int* secondary)
{
    const unsigned limit = LimitOf(len);
    const KoText left = TextAt(codeSet1, language1, text1, format, limit);
    const KoText right = TextAt(codeSet2, language2, text2, format, limit);
    const o_u2b asked = ResolvedCmpOp(cmpOp);
    const int order = CompareText(left, right, asked, limit).order;
    constexpr o_u2b kLeavesOut = KoCMP_SKIP_SPACES | KoCMP_SKIP_SYMBOLS;
    if (secondary != nullptr)
        *secondary =
            order != 0 || (asked & kLeavesOut) == 0
                ? order
                : CompareText(left, right, asked & static_cast<o_u2b>(~kLeavesOut), limit).order;
    return order;
}

unsigned HashString(unsigned char codeSet, unsigned char language, char* text, short len,
                    unsigned char format)
{
    const unsigned limit = len == KoString::kRest ? kNoLimit : len < 0 ? 0U : LimitOf(len);
    return HashText(TextAt(codeSet, language, text, format, limit), limit);
}

int StringCompare(unsigned char format, unsigned leftSize, void* left, unsigned rightSize,
                  void* right, unsigned short cmpOp, unsigned count, int& status)
{
    return CompareTexts(format, leftSize, left, rightSize, right, cmpOp, count, status, false);
}

unsigned HashKoString(const KoString& string)
{
    return HashOfString<ByteValue::kSigned>(string);
}

unsigned HashKoString7(const KoString& string)
{
    return HashOfString<ByteValue::kLowSeven>(string);
}
