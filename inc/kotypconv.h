#ifndef KOTYPCONV_H
#define KOTYPCONV_H

#include "kotypes.h"

#include <type_traits>

/// The text functions of the plain scalar types.
///
/// `…ConvertToKoString` makes a record of `count` new texts, one for each element, which the caller
/// deletes. The record has no manager yet, and without one it leaves the texts behind when it is
/// deleted: set it first, as KoTypeMgr::ConvertTo does. The texts are a number in decimal (the
/// 32-bit unsigned ones as "%d" has it, so that 4294967295 is "-1"), a floating number in the
/// fewest digits that read back as it, 6.1, with an exponent below 1e-4 and from 1e17 on, a
/// one-byte type as the character itself (0 as the empty text), a BlockId as "#" and its number.
/// `…ConvertFromKoString` makes an array of `count` new elements from such a record, which the
/// caller releases as the type's `destroy` does; the record stays the caller's. Every value comes
/// back as it was (a NaN as a NaN). A missing, null or empty text gives 0; integers are read as
/// KoString reads them. Both return null when memory runs out.
///
/// Texts are made in the default code set. A one-byte value is a character of the default 8-bit
/// code set, and comes back as it was as long as neither of the two is changed in between. What is
/// read in another code set is mapped, where a character that is lacking becomes "?"; a text
/// without a code set is taken byte by byte.
///
/// `…PrintToKoString` appends the elements to the text under a print format, with a comma between
/// two; `…ScanFromKoString` reads them so, and leaves an element as it was where its text holds no
/// number. A null format is the type's own, and one that does not suit the type is replaced by the
/// default. Under "%c" the functions of o_char take the whole array for one text, in which a 0 ends
/// the text and fills up the array.
using KoTypeConvertTo = std::remove_pointer_t<KoConvertToFunc>;
using KoTypeConvertFrom = std::remove_pointer_t<KoConvertFromFunc>;
using KoTypePrint = std::remove_pointer_t<KoPrintFunc>;
using KoTypeScan = std::remove_pointer_t<KoScanFunc>;

#if !defined(KO_NO_GLOBAL_NAMES)
/// The names of the functions and the type of each family.
// clang-format off
#define KO_SCALAR_TEXT_LIST(X) \
    X(Char)     /* o_char */ \
    X(O_U1B)    /* o_u1b */ \
    X(Short)    /* o_2b */ \
    X(Word)     /* o_u2b */ \
    X(Int)      /* int */ \
    X(Enum)     /* enum */ \
    X(Unsigned) /* unsigned */ \
    X(Long)     /* o_4b */ \
    X(Dword)    /* o_u4b */ \
    X(BlockId)  /* BlockId */ \
    X(O_8B)     /* o_8b */ \
    X(O_U8B)    /* o_u8b */ \
    X(Float)    /* o_float */ \
    X(Double)   /* o_double */
// clang-format on

#define KO_SCALAR_TEXT_FUNCTIONS(Name)                                                             \
    KOTMS_API KoTypeConvertTo Name##ConvertToKoString;                                             \
    KOTMS_API KoTypeConvertFrom Name##ConvertFromKoString;                                         \
    KOTMS_API KoTypePrint Name##PrintToKoString;                                                   \
    KOTMS_API KoTypeScan Name##ScanFromKoString;
KO_SCALAR_TEXT_LIST(KO_SCALAR_TEXT_FUNCTIONS)
#undef KO_SCALAR_TEXT_FUNCTIONS
#endif

#endif
