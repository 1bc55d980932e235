#include "konullops.h"

#include "koint64type.h"

// clang-format off
#define KO_NULL_TYPE_LIST(X)                                 \
    X(koNullCharDescriptor,     CharType,     KoNULL_1B_T)       \
    X(koNullUCharDescriptor,    ByteType,     KoNULL_U1B_T)      \
    X(koNullShortDescriptor,    ShortType,    KoNULL_2B_T)       \
    X(koNullUShortDescriptor,   WordType,     KoNULL_U2B_T)      \
    X(koNullIntDescriptor,      IntType,      KoNULL_INT_T)      \
    X(koNullUnsignedDescriptor, UnsignedType, KoNULL_UNSIGNED_T) \
    X(koNullLongDescriptor,     LongType,     KoNULL_4B_T)       \
    X(koNullULongDescriptor,    DwordType,    KoNULL_U4B_T)      \
    X(koNullFloatDescriptor,    FloatType,    KoNULL_FLOAT_T)    \
    X(koNullDoubleDescriptor,   DoubleType,   KoNULL_DOUBLE_T)   \
    X(koNullInt64Descriptor,    Int64Type,    KoNULL_KOINT64_T)  \
    X(koNull8bDescriptor,       O_8BType,     KoNULL_8B_T)       \
    X(koNullU8bDescriptor,      O_U8BType,    KoNULL_U8B_T)
// clang-format on

#define KO_NULL_TYPE(descriptor, Base, id)                                                         \
    using descriptor##Ops = NullOps<Base, id>;                                                     \
    KO_DEFINE_TYPE(descriptor, descriptor##Ops, id)
KO_NULL_TYPE_LIST(KO_NULL_TYPE)
