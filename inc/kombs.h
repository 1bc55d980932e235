#ifndef KOMBS_H
#define KOMBS_H

#include "kobasic.h"

#include <cstddef>

class KoString;

// Text in UTF-8: single characters, runs of 16-bit units, and strings.

// ---- characters, in the early form of UTF-8 with sequences of up to six bytes for values of up to
// 31 bits. A malformed sequence is one that begins with a continuation byte, 0xFE or 0xFF, ends too
// early, or is longer than its value needs. The halves of surrogate pairs are values like any
// other.

/// Decodes the character at `src`, which has `n` bytes. Returns the number of bytes used, 0 where
/// `src` is null, or -1 with `dest` unchanged: for an `n` of 0 and a malformed sequence. Of a value
/// above 0xFFFF only the low 16 bits are stored. `dest` may be null.
KOTMS_API int KoMultiByte2WChar(unsigned short* dest, const char* src, o_u8b n);

/// Encodes a character and returns the number of bytes written: 1 to 3 for 16 bits, up to 6 where
/// wchar_t is wider. 0 where `dest` is null, -1 for a negative value.
KOTMS_API int KoWChar2MultiByte(char* dest, wchar_t c);

/// Decodes `srcBytes` bytes (-1: up to the terminator) character by character and stores the first
/// `destCount` of them, without a terminator; `dest` may be null. Returns the number of characters
/// that there are, which may be more than were stored; -1 at the first malformed sequence, what
/// comes before it being stored.
KOTMS_API int KoMultiByteStr2WCharStr(unsigned short* dest, int destCount, const char* src,
                                      int srcBytes);

// ---- strings. UTF-8 here is what Unicode defines: at most 0x10FFFF, in four bytes. A 16-bit
// string holds a character above 0xFFFF as a surrogate pair. Half a pair, which is no character, is
// written like one and read back, but a pair written as its halves is malformed: so each text has
// one form, and what is read is written as it was. A byte that its 8-bit code set leaves undefined
// is written as "?". Text without a code set is in the native one.
//
// A null string is written as no text. A string that is read into keeps its code set and its
// language, a null one takes the defaults.

/// What reading a string may give besides 0.
enum KoMbsResult : int {
    KoMBS_MALFORMED = -1, ///< no UTF-8, or arguments that are refused; the target is as it was
    KoMBS_REPLACED = -2,  ///< done, but "?" stands for what the target's code set lacks
    KoMBS_TOO_LONG = -3,  ///< more than the target can hold; it is as it was
    KoMBS_NO_MEMORY = -4, ///< memory ran out; the target is as it was
};

/// `text` becomes what `mbs` says: `n` bytes of it, or all up to the terminator, which also ends
/// counted text; -1 is no limit. Null is no text. Returns 0 or one of:
/// - KoMBS_MALFORMED: `mbs` is malformed as far as `n`, or `n` is below -1;
/// - KoMBS_TOO_LONG: it is well formed, but has more than the 65,531 characters of an 8-bit code
///   set or the 32,765 units of a 16-bit one, where a pair is two. Nothing is cut off here;
/// - KoMBS_NO_MEMORY;
/// - KoMBS_REPLACED: the code set of `text` lacks a character, and "?" stands in its place.
KOTMS_API int KoMBS2KoString(const char* mbs, KoString& text, int n);

/// The same.
KOTMS_API int KoMultiByteString2KoString(const char* mbs, KoString& text, int n);
/// The same for UTF-8 that stands in a string, as 8-bit text of any code set: its bytes count as
/// they are. 16-bit text is refused with KoMBS_MALFORMED. The two may be the same string.
KOTMS_API int KoMultiByteString2KoString(const KoString& mbs, KoString& text);

/// `text` becomes the `length` bytes of `utf8` in the code set, strictly, and of the default
/// language; for 0 in the default code set, or, where that lacks a character, in the default one of
/// 16 bits. Nothing is replaced, and half a pair is malformed, as is a zero byte. Returns 0 or a
/// KoMbsResult, with `text` as it was and `errorAt` the offset of the first byte that does not
/// belong: KoMBS_REPLACED where the code set lacks the character that begins there.
KOTMS_API int KoReadMBS(const char* utf8, std::size_t length, unsigned char codeSet, KoString& text,
                        std::size_t& errorAt);

/// Writes `text` with a terminator into a buffer of `size` bytes. Returns the number of bytes
/// written, terminator included, or -1 with the buffer unchanged where it is too small. With a null
/// buffer, the size needed.
KOTMS_API int KoString2KoMBS(const KoString& text, char* buffer, int size);

/// The bytes that the first `n` characters of `text` (65535: all) take in UTF-8, without
/// terminator. A pair is one character in UTF-8 and counts two here; a limit that parts it counts
/// its half.
KOTMS_API int KoMBSLength(const KoString& text, unsigned short n);

/// Writes `text` with a terminator into a new buffer, which the caller releases with KoFree;
/// `length` is its bytes without terminator. Returns 0, or -1 with both unchanged when memory runs
/// out.
KOTMS_API int KoString2MultiByteString(const KoString& text, char*& buffer, int& length);

#endif
