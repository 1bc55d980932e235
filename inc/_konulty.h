#ifndef KONULTY_H
#define KONULTY_H

#include "kobasic.h"
#include "koint64.h"

#include <koservices.h>

#include <cstddef>

/// A scalar that can be null: the memory form of the types KoNULL_1B_T to KoNULL_KOINT64_T,
/// KoNULL_8B_T and KoNULL_U8B_T.
///
/// A default-initialised element is not set up; `KoNull_int n{}` is 0 and not null.
template <class T>
struct KoNull {
    T value;
    signed char null; ///< not 0: null

    /// The indicator: not 0 when null.
    int IsNullValue() const { return null; }
    /// Makes the element null, with a zero value. Returns 0.
    int SetNullValue()
    {
        value = T(0);
        null = 1;
        return KoRC_OK;
    }
};

using KoNull_char = KoNull<o_char>;
using KoNull_uchar = KoNull<o_u1b>;
using KoNull_short = KoNull<o_2b>;
using KoNull_ushort = KoNull<o_u2b>;
using KoNull_int = KoNull<int>;
using KoNull_unsigned = KoNull<unsigned>;
using KoNull_long = KoNull<o_4b>;
using KoNull_ulong = KoNull<o_u4b>;
using KoNull_float = KoNull<o_float>;
using KoNull_double = KoNull<o_double>;
using KoNull_KoInt64 = KoNull<KoInt64>;
using KoNull_8b = KoNull<o_8b>;
using KoNull_u8b = KoNull<o_u8b>;

/// How two operands that may be null stand to each other.
enum KoNullRelation : int {
    KoNULL_NEITHER = 0, ///< the values decide
    KoNULL_FIRST = 1,   ///< the first operand alone is null
    KoNULL_SECOND = 2,  ///< the second operand alone is null
    KoNULL_UNKNOWN = 3, ///< must not occur
};

/// The order that a null relation gives: 0, -1 (the first operand is null and comes first) or 1; -2
/// for any other code. KoNULL_UNKNOWN is reported as an assertion as well.
inline int KoNullRelationOrder(int relation)
{
    switch (relation) {
    case KoNULL_NEITHER:
        return 0;
    case KoNULL_FIRST:
        return -1;
    case KoNULL_SECOND:
        return 1;
    case KoNULL_UNKNOWN:
        // Fixed text that programs look for; file and line are no place in these sources.
        KORA_assert("nr != unknown", "_konulty", 168);
        return -2;
    default:
        return -2;
    }
}

#endif
