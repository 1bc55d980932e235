#ifndef KOTYPHASH_H
#define KOTYPHASH_H

#include "kotypes.h"

#include <type_traits>

/// The hash functions of the plain scalar types, in the signature of every hash function
/// (KoHashFunc).
///
/// Every element gives a word, the number itself or the bits of a floating one, with one bit
/// pattern for both zeros and one for all NaNs. The words are mixed with their places in the array,
/// so that the order of elements counts, and every bit of the hash depends on all of them: buckets
/// may be chosen by any bits of it. o_char alone keeps an older hash, the exclusive or of its
/// elements times 1103515245 modulo 2^32, which does not spread so. doc/formats.md says how both
/// are computed.
///
/// Hashes are the same on every machine and in every form of a value, and values that compare
/// equal hash equal. `length` bounds the value in bytes as it does in comparison; `status` becomes
/// 0, or KoRC_TRUNCATED with the hash of the elements inside the bound. The hash of no elements
/// is 0.
using KoTypeHash = std::remove_pointer_t<KoHashFunc>;

#if !defined(KO_NO_GLOBAL_NAMES)
KOTMS_API KoTypeHash CharHash;     ///< o_char
KOTMS_API KoTypeHash ByteHash;     ///< o_u1b
KOTMS_API KoTypeHash ShortHash;    ///< o_2b
KOTMS_API KoTypeHash WordHash;     ///< o_u2b
KOTMS_API KoTypeHash IntHash;      ///< int, enum
KOTMS_API KoTypeHash UnsignedHash; ///< unsigned
KOTMS_API KoTypeHash LongHash;     ///< o_4b
KOTMS_API KoTypeHash DwordHash;    ///< o_u4b, BlockId
KOTMS_API KoTypeHash O_8BHash;     ///< o_8b
KOTMS_API KoTypeHash O_U8BHash;    ///< o_u8b
KOTMS_API KoTypeHash FloatHash;    ///< o_float
KOTMS_API KoTypeHash DoubleHash;   ///< o_double
#endif

#endif
