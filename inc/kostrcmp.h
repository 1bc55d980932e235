#ifndef KOSTRCMP_H
#define KOSTRCMP_H

#include "kostring.h"

/// Order and hash of texts. doc/collation.md tells what compares equal to what under which bits of
/// the operator word (KoCmpOp).
///
/// Two texts without a code set compare as bytes; if only one has none, it is in the native code
/// set. All others compare by collation orders, whatever their code sets. 0xFFFF stands for the
/// default operator. A code set of 255 in KoStrCmp and HashString is the default 8-bit one, a
/// language of 255 the default one everywhere.

/// Negative, 0 or positive, as the first text comes before, equals or comes after the second. With
/// neither KoCMP_PLAIN nor KoCMP_NO_WILDCARDS in `cmpOp` the second one is a pattern, and 0 means
/// that it matches. In it "*" stands for any run of orders, "?" for one, and an escape makes the
/// next order literal; in texts without a code set "*" and "?" alone mean something. Matching takes
/// no more than the product of the two lengths.
///
/// The texts end at their terminator or after `len` orders (bytes, where neither has a code set),
/// and nothing after that is read; a negative `len` is no limit, 0 gives 0. A null pointer is an
/// empty text.
/// `format` is the byte order of 16-bit text: KoFMT_BIG, or that of the machine.
///
/// A null value comes before all else: language 254, or code set 254 without a language. Two are
/// equal. Only where wildcards are on, a null value on the left is matched as an empty text.
///
/// `secondary`, if not null, receives the result, or, where it is 0 only because KoCMP_SKIP_SPACES
/// and KoCMP_SKIP_SYMBOLS left something out, the order that the texts have without these bits.
KOTMS_API int KoStrCmp(unsigned char codeSet1, unsigned char language1, const char* text1,
                       unsigned char codeSet2, unsigned char language2, const char* text2,
                       unsigned short cmpOp, short len, unsigned char format, int* secondary);

#if !defined(KO_NO_GLOBAL_NAMES)
/// The order of `count` strings in memory or of stored ones of either layout (see KoTypeCmpFunc).
/// `status` is 0 or one of these:
/// - KoRC_TRUNCATED: a size ended before the texts differed; the result is what they give that far
/// - KoRC_NULL_MARK: a null mark, on the left or on both sides
/// - KoRC_NULL_MARK_RIGHT: a null mark on the right alone
/// - KoRC_NOT_SUPPORTED: a cut text of 254 bytes or more; the result is -1
///
/// A stored text of fewer bytes than its record tells is a cut key. With wildcards on, a
/// cut text is compared up to the first wildcard of the pattern, and is decided after it only by a
/// pattern that ends in "*" there. A null mark is code set 254 with bit 7 of the language set.
/// Allocates nothing.
KOTMS_API int StringCompare(unsigned char format, unsigned leftSize, void* left, unsigned rightSize,
                            void* right, unsigned short cmpOp, unsigned count, int& status);

/// The hash of a text: h = 9h + k modulo 2^32, k being the comparison key of each order, or each
/// byte of a text without a code set. A `len` of -1 is all up to the terminator. Otherwise exactly
/// `len` orders count, those that a shorter text lacks as zeros: `len` is part of the value. 0 and
/// any other negative `len` give 0. A null value has 0xFEFE7575.
///
/// Texts with code sets that are equal under KoCMP_PLAIN with all distinctions have the same hash.
/// Not so under an operator that ignores something, and not a text without a code set and the same
/// text in the native one: those are equal, but hash by bytes and by keys.
KOTMS_API unsigned HashString(unsigned char codeSet, unsigned char language, char* text, short len,
                              unsigned char format);
#endif

/// The hash of a string's characters as they stand: h = 9h + c up to the terminator. Characters of
/// code set 253 are 16-bit units, all others are taken as signed bytes, also those of other 16-bit
/// code sets. So equal texts in two code sets may differ, and a null string hashes as an empty one:
/// 0.
KOTMS_API unsigned HashKoString(const KoString& string);

/// The same of the low seven bits of each byte or unit.
KOTMS_API unsigned HashKoString7(const KoString& string);

#endif
