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
    KoRC_NOT_SUPPORTED = -2999,  ///< the type has no such operation
    KoRC_OVERFLOW = 2091,        ///< a sequence step would overflow; the value is unchanged
    KoRC_TRUNCATED = 2101,       ///< an operand's byte bound ran out
    KoRC_NULL_MARK = 2114,       ///< compare: a stored string carries a null mark
    KoRC_NULL_MARK_RIGHT = 2115, ///< compare: the right stored string alone does
};

/// The capabilities that KoTypeMgr::SupportsCapability answers.
enum KoCapability : o_u2b {
    KoCAP_NULL = 1,      ///< has a null value
    KoCAP_INTEGRAL = 2,  ///< holds an integral number
    KoCAP_TIMESTAMP = 3, ///< can take a clock reading
};

#endif
