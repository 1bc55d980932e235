#ifndef KO_COLLATION_SORT_KEY_CODE_H
#define KO_COLLATION_SORT_KEY_CODE_H

#include <kobasic.h>
#include <kocollate.h>
#include <koscalar.h>

namespace ko
{

/// The bytes of sort keys: how one order is written. doc/formats.md tells why they sort as they do.
namespace sortkey
{

inline constexpr unsigned char kNull = 0x00;
// What ends the codes of a key: below every code.
inline constexpr unsigned char kNoGaps = 0x00;
inline constexpr unsigned char kGaps = 0x01;
/// In front of the codes of a text with the ideographic variant: above every code. Twice: plain
/// bytes.
inline constexpr unsigned char kIdeographic = 0xFF;
// What ends a gap: below every element.
inline constexpr unsigned char kLast = 0x00;
inline constexpr unsigned char kMore = 0x01;

inline constexpr o_u2b kBlank = 32;   ///< the order of the blank
inline constexpr o_u2b kHyphen = 116; ///< that of the hyphen

/// What of a text's orders counts, as far as the codes depend on it: the strength under the variant
/// 0, numbered by the bits KoCMP_IGNORE_CASE and KoCMP_IGNORE_ACCENTS, or the ideographic variant.
inline constexpr unsigned kIdeographicForm = 4;
inline constexpr unsigned kForms = 5;
constexpr unsigned FormOf(o_u2b cmpOp, unsigned char variant)
{
    return variant != 0 ? kIdeographicForm : (cmpOp >> 5U) & 3U;
}

/// One to three bytes, the first in bits 8 to 15, and so on; their number in bits 0 to 3; in bits 4
/// to 7 how many orders they stand for.
using Code = o_u4b;
constexpr unsigned BytesOf(Code code)
{
    return code & 0xFU;
}
constexpr unsigned OrdersOf(Code code)
{
    return (code >> 4U) & 0xFU;
}
constexpr Code Code1(unsigned a)
{
    return 0x11U | a << 8U;
}
constexpr Code Code2(unsigned a, unsigned b)
{
    return 0x12U | a << 8U | b << 16U;
}
constexpr Code Code3(unsigned a, unsigned b, unsigned c)
{
    return 0x13U | a << 8U | b << 16U | c << 24U;
}
constexpr Code CodeOfWord(unsigned lead, unsigned word)
{
    return Code3(lead, word >> 8U, word & 0xFFU);
}

inline constexpr unsigned kDigits = KoORDER_DIGIT;
inline constexpr unsigned kBehindDigits = kDigits + 10 * 9 + 1;
inline constexpr unsigned kLetters = KoORDER_LETTER;

/// Digits and their variants, in either variant.
constexpr Code CodeOfDigit(unsigned order)
{
    const unsigned digit = (order - kDigits) / 10;
    const unsigned behind = (order - kDigits) % 10;
    return behind == 0 ? Code1(0x02 + 2 * digit) : Code2(0x03 + 2 * digit, behind);
}

/// The first letter, A, in the bits of base letter and extension.
inline constexpr unsigned kFirstBase = 12;
inline constexpr unsigned kBehindBases = kFirstBase + 26 * 4;
/// What the form leaves of case (bits 5 and 6) and accent.
inline constexpr unsigned kMarks[] = {0x7F, 0x1F, 0x60, 0x00};

constexpr Code CodeOfLetter(unsigned order, unsigned form)
{
    const unsigned marks = (order >> 7U) & kMarks[form];
    const unsigned base = order & 0x7FU;
    if (base < kFirstBase)
        return CodeOfWord(0x15, kLetters - kBehindDigits + 128 * base + marks);
    if (base >= kBehindBases)
        return CodeOfWord(0x7E, 128 * (base - kBehindBases) + marks);
    const unsigned lead = 0x16 + (base - kFirstBase) / 4 * 4;
    const unsigned rank = (base - kFirstBase) % 4 * 128 + marks;
    return rank == 0    ? Code1(lead)
           : rank < 32  ? Code2(lead + 1, rank)
           : rank == 32 ? Code1(lead + 2)
           : rank < 64  ? Code2(lead + 3, rank - 32)
                        : CodeOfWord(lead + 3, 0x2000 + rank - 64);
}

// Under the ideographic variant orders are plain numbers, and Latin letters stand among the
// ideographs. Letters without accents have one byte here, too.
inline constexpr unsigned kCapitals = kLetters + kFirstBase;
inline constexpr unsigned kSmalls = kCapitals + 0x1000;
inline constexpr unsigned kLastLetter = 25 * 4;

constexpr Code CodeOfPlainLetter(unsigned lead, unsigned offset)
{
    const unsigned behind = offset % 4;
    return behind == 0 ? Code1(lead + offset / 2) : Code2(lead + 1 + offset / 4 * 2, behind);
}

constexpr Code CodeOfIdeographic(unsigned order)
{
    const unsigned high = order >> 8U;
    const unsigned low = order & 0xFFU;
    if (order < kCapitals)
        return order < kBehindDigits ? CodeOfDigit(order) : Code2(0x15, order - kBehindDigits);
    if (order <= kCapitals + kLastLetter)
        return CodeOfPlainLetter(0x16, order - kCapitals);
    if (order < 0x5000)
        return order < 0x4E00 ? CodeOfWord(0x49, order) : Code2(0x4A + high - 0x4E, low);
    if (order < kSmalls)
        return Code2(0x4C, low);
    if (order <= kSmalls + kLastLetter)
        return CodeOfPlainLetter(0x4D, order - kSmalls);
    if (order < 0xAC00)
        return order < 0xA000 ? Code2(0x80 + high - 0x50, low) : CodeOfWord(0xD0, order);
    if (order < 0xD800)
        return Code2(0xD1 + high - 0xAC, low);
    return order < 0xFF00 ? CodeOfWord(0xFD, order) : Code2(0xFE, low);
}

/// The code of an order that is not skipped: from KoORDER_DIGIT on.
constexpr Code CodeOf(o_u2b order, unsigned form)
{
    if (form == kIdeographicForm)
        return CodeOfIdeographic(order);
    if (order < kLetters)
        return order < kBehindDigits ? CodeOfDigit(order) : CodeOfWord(0x15, order - kBehindDigits);
    if (order < KoORDER_IDEOGRAPH)
        return CodeOfLetter(order, form);
    return Code2(0x7F + (order >> 8U) - 0x80, order & 0xFFU);
}

// ---- gaps

/// More empty gaps than this in a row take three bytes.
inline constexpr unsigned kMostEmpty = 35;
inline constexpr unsigned kManyEmpty = 0xFFFFFF;
/// The lead of a gap in a text without codes, but with the ideographic variant.
inline constexpr unsigned char kAlone = 0xFF;
/// The lead of a gap after many empty ones.
inline constexpr unsigned char kAfterMany = 0x00;
inline constexpr unsigned kKinds = 7;

/// Where a gap that begins with an order stands among those after as many empty ones; a gap that is
/// one blank or one hyphen stands before.
constexpr unsigned KindOf(unsigned first)
{
    return first < kBlank ? 0 : first < kHyphen ? 3 : 6;
}
/// The kind of a gap that is one blank or one hyphen: the lead says it all, and the next number
/// that more gaps follow. They come just before the kind of those that begin alike.
constexpr unsigned KindOfSingle(unsigned order)
{
    return KindOf(order) - 2;
}
constexpr bool IsShortAlone(unsigned order)
{
    return order == kBlank || order == kHyphen;
}
constexpr unsigned char LeadOf(unsigned empty, unsigned kind)
{
    return static_cast<unsigned char>(1 + kKinds * (kMostEmpty - empty) + kind);
}

/// From this order on an element of a gap takes two bytes.
inline constexpr unsigned kLongElements = 191;
inline constexpr unsigned char kLongElement = 0xC0;

/// The code of an order in a gap: below KoORDER_DIGIT.
constexpr Code CodeOfElement(o_u2b order)
{
    const unsigned offset = order - kLongElements;
    return order < kLongElements ? Code1(order + 1U)
                                 : Code2(kLongElement + (offset >> 8U), offset & 0xFFU);
}

} // namespace sortkey

} // namespace ko

#endif
