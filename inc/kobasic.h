#ifndef KOBASIC_H
#define KOBASIC_H

#include <koscalar.h>

#if defined(_WIN32)
#if defined(KOTMS_BUILD)
#define KOTMS_API __declspec(dllexport)
#elif defined(KO_STATIC)
#define KOTMS_API
#else
#define KOTMS_API __declspec(dllimport)
#endif
#else
#define KOTMS_API __attribute__((visibility("default")))
#endif

/// Result codes shared by the whole library. They are values, never thrown.
enum KoResult : int {
    KoRC_OK = 0,                 ///< done
    KoRC_REFUSED = -2002,        ///< an operation that the value's code set or class rules out
    KoRC_END_OF_LIST = -2005,    ///< nothing is left to split off
    KoRC_NO_MEMORY = -2007,      ///< memory ran out; the memory handler was called
    KoRC_DAMAGED = -2006,        ///< bytes that the type does not write
    KoRC_NOT_SUPPORTED = -2999,  ///< the type has no such operation
    KoRC_OVERFLOW = 2091,        ///< a sequence step would overflow; the value is unchanged
    KoRC_TRUNCATED = 2101,       ///< an operand's byte bound ran out
    KoRC_NULL_MARK = 2114,       ///< compare: a stored string carries a null mark
    KoRC_NULL_MARK_RIGHT = 2115, ///< compare: the right stored string alone does
};

/// What strict reading may give besides 0, KoRC_NOT_SUPPORTED and KoRC_NO_MEMORY.
enum KoReadResult : int {
    KoREAD_NOT_A_VALUE = -1,  ///< a character does not belong, or the text ends too early
    KoREAD_OUT_OF_RANGE = -2, ///< a number, or the date that it completes, is none of the type
    KoREAD_TRAILING = -3,     ///< the text before the position is a value, and more follows
    KoREAD_NOT_UTF8 = -4,     ///< a zero byte, or bytes that are no UTF-8 in the sense of kombs.h
    KoREAD_TOO_LONG = -5,     ///< more than a KoString holds
    KoREAD_NO_CHARACTER = -6, ///< the code set that the type is stored in lacks a character
};

/// The comparison operator word: bits that may be joined. Types read those that mean something to
/// them; 0 matches wildcards and makes all distinctions.
enum KoCmpOp : o_u2b {
    KoCMP_PLAIN = 0x0010,          ///< values as they are: no wildcards, null before all else
    KoCMP_IGNORE_CASE = 0x0020,    ///< texts
    KoCMP_IGNORE_ACCENTS = 0x0040, ///< texts
    KoCMP_SKIP_SPACES = 0x0080,    ///< texts: as if control and space characters were not there
    KoCMP_NO_WILDCARDS = 0x0100,   ///< texts: as KoCMP_PLAIN
    KoCMP_SKIP_SYMBOLS = 0x0200,   ///< texts: as if symbols were not there
    KoCMP_DEFAULT = 0xFFFF,        ///< stands for KoLanguageContext::GetDefaultCmpOp()
};
template <>
inline constexpr bool koIsBits<KoCmpOp> = true;

/// The capabilities that KoTypeMgr::SupportsCapability answers.
enum KoCapability : o_u2b {
    KoCAP_NULL = 1,      ///< has a null value
    KoCAP_INTEGRAL = 2,  ///< holds an integral number
    KoCAP_TIMESTAMP = 3, ///< can take a clock reading
};

#endif
