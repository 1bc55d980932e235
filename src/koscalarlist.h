#ifndef KOSCALARLIST_H
#define KOSCALARLIST_H

#include "koscalartype.h"

/// The one list of the plain scalar types: descriptor, type, name of the compare and hash
/// functions, name of the text functions, and the operations that those are made of. A row of Y
/// shares the compare and hash functions of a row of X.
// clang-format off
#define KO_SCALAR_LIST(X, Y) \
    X(koCharDescriptor,     CharType,     Char,     Char,     CharTextOps) \
    X(koByteDescriptor,     ByteType,     Byte,     O_U1B,    ScalarOps<ByteType>) \
    X(koShortDescriptor,    ShortType,    Short,    Short,    ScalarOps<ShortType>) \
    X(koWordDescriptor,     WordType,     Word,     Word,     ScalarOps<WordType>) \
    X(koLongDescriptor,     LongType,     Long,     Long,     ScalarOps<LongType>) \
    X(koDwordDescriptor,    DwordType,    Dword,    Dword,    ScalarOps<DwordType>) \
    Y(koBlockIdDescriptor,  BlockIdType,  Dword,    BlockId,  ScalarOps<BlockIdType>) \
    X(koIntDescriptor,      IntType,      Int,      Int,      ScalarOps<IntType>) \
    Y(koEnumDescriptor,     EnumType,     Int,      Enum,     ScalarOps<EnumType>) \
    X(koUnsignedDescriptor, UnsignedType, Unsigned, Unsigned, ScalarOps<UnsignedType>) \
    X(ko8bDescriptor,       O_8BType,     O_8B,     O_8B,     ScalarOps<O_8BType>) \
    X(koU8bDescriptor,      O_U8BType,    O_U8B,    O_U8B,    ScalarOps<O_U8BType>) \
    X(koFloatDescriptor,    FloatType,    Float,    Float,    ScalarOps<FloatType>) \
    X(koDoubleDescriptor,   DoubleType,   Double,   Double,   ScalarOps<DoubleType>)
// clang-format on

/// What to pass for X or Y where nothing is made of those rows.
#define KO_SCALAR_NOTHING(descriptor, Type, Order, Text, TextOps)

#endif
