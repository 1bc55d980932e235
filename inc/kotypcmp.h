#ifndef KOTYPCMP_H
#define KOTYPCMP_H

#include "kotypes.h"

#include <type_traits>

/// The compare functions of the plain scalar types, in the signature of every compare function
/// (KoTypeCmpFunc).
///
/// They compare `count` elements and return the order of the first pair that differs: exactly -1,
/// 0 or 1. (Functions of other types promise the sign only.) Only the byte order is read from
/// `format`; both operands are in it. Neither needs to be aligned. `cmpOp` is not read.
///
/// `length1` and `length2` bound the operands in bytes; 0 means `count` elements. The walk goes
/// from an element to the next one while both bounds leave that whole, and otherwise ends with
/// `status` KoRC_TRUNCATED: nothing behind a bound is read, and where not even the first elements
/// are whole the result is 0. This step is taken after the element that decides as well: go by the
/// result when it is not 0, whatever the status.
///
/// Floating numbers: a NaN is below minus infinity and equal to another NaN; -0 equals 0.
using KoTypeCmp = std::remove_pointer_t<KoTypeCmpFunc>;

#if !defined(KO_NO_GLOBAL_NAMES)
KOTMS_API KoTypeCmp CharCompare;     ///< o_char
KOTMS_API KoTypeCmp ByteCompare;     ///< o_u1b
KOTMS_API KoTypeCmp ShortCompare;    ///< o_2b
KOTMS_API KoTypeCmp WordCompare;     ///< o_u2b
KOTMS_API KoTypeCmp IntCompare;      ///< int, enum
KOTMS_API KoTypeCmp UnsignedCompare; ///< unsigned
KOTMS_API KoTypeCmp LongCompare;     ///< o_4b
KOTMS_API KoTypeCmp DwordCompare;    ///< o_u4b, BlockId
KOTMS_API KoTypeCmp O_8BCompare;     ///< o_8b
KOTMS_API KoTypeCmp O_U8BCompare;    ///< o_u8b
KOTMS_API KoTypeCmp FloatCompare;    ///< o_float, d_Interval
KOTMS_API KoTypeCmp DoubleCompare;   ///< o_double
#endif

#endif
