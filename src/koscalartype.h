#ifndef KOSCALARTYPE_H
#define KOSCALARTYPE_H

#include "konumbertype.h"

#include <kotypeid.h>

#include <koencode.h>

#include <concepts>

/// What the operations of the scalar types need to know of each: its C++ type, its id, and the
/// base library's encoder.

/// The encoders of the base library: name, store, load, size functions. Each goes through a
/// function of our own, since the address of another library's function is no constant everywhere.
#define KO_ENCODER_LIST(X)                                                                         \
    X(CharEncoder, CharStore, CharStore, CharNullSizeGet, CharSizeGet)                             \
    X(ShortEncoder, ShortStore, ShortStore, ShortNullSizeGet, ShortSizeGet)                        \
    X(LongEncoder, LongStore, LongStore, LongNullSizeGet, LongSizeGet)                             \
    X(O_8BEncoder, O_8BStore, O_8BStore, O_8BNullSizeGet, O_8BSizeGet)                             \
    X(FloatEncoder, FloatStore, FloatStore, FloatNullSizeGet, FloatSizeGet)                        \
    X(DoubleEncoder, DoubleStore, DoubleStore, DoubleNullSizeGet, DoubleSizeGet)                   \
    X(IntEncoder, IntStore, IntLoad, IntNullSizeGet, IntSizeGet)                                   \
    X(UnsignedEncoder, UnsignedStore, UnsignedLoad, IntNullSizeGet, IntSizeGet)

#define KO_ENCODER(Name, storeFunc, loadFunc, nullSizeFunc, sizeFunc)                              \
    struct Name {                                                                                  \
        static unsigned Store(void* to, const void* from, unsigned char format, unsigned count)    \
        {                                                                                          \
            return storeFunc(to, from, format, count);                                             \
        }                                                                                          \
        static unsigned Load(void* to, const void* from, unsigned char format, unsigned count)     \
        {                                                                                          \
            return loadFunc(to, from, format, count);                                              \
        }                                                                                          \
        static unsigned NullSizeGet(unsigned count) { return nullSizeFunc(count); }                \
        static unsigned SizeGet(const void* value, unsigned char valueFormat,                      \
                                unsigned char format, unsigned count)                              \
        {                                                                                          \
            return sizeFunc(value, valueFormat, format, count);                                    \
        }                                                                                          \
    };
KO_ENCODER_LIST(KO_ENCODER)
#undef KO_ENCODER
#undef KO_ENCODER_LIST

/// A plain scalar type. Its elements have the same size in memory and in every persistent form.
template <class T, class BaseEncoder, KoTypeId id>
struct ScalarType : ko::NumberType<T> {
    using Encoder = BaseEncoder;
    static constexpr KoTypeId kId = id;
    static constexpr bool kIsIntegral = std::integral<T> && id != KoBLOCKID_T;
    /// Can be stepped through a sequence. An enum cannot, although it holds an integral number.
    static constexpr bool kSteps = kIsIntegral && id != KoENUM_T;
};

using CharType = ScalarType<o_char, CharEncoder, Ko1B_T>;
using ByteType = ScalarType<o_u1b, CharEncoder, KoU1B_T>;
using ShortType = ScalarType<o_2b, ShortEncoder, Ko2B_T>;
using WordType = ScalarType<o_u2b, ShortEncoder, KoU2B_T>;
using LongType = ScalarType<o_4b, LongEncoder, Ko4B_T>;
using DwordType = ScalarType<o_u4b, LongEncoder, KoU4B_T>;
using IntType = ScalarType<int, IntEncoder, KoINT_T>;
using EnumType = ScalarType<int, IntEncoder, KoENUM_T>;
using UnsignedType = ScalarType<unsigned, UnsignedEncoder, KoUNSIGNED_T>;
using BlockIdType = ScalarType<o_u4b, LongEncoder, KoBLOCKID_T>;
using O_8BType = ScalarType<o_8b, O_8BEncoder, Ko8B_T>;
using O_U8BType = ScalarType<o_u8b, O_8BEncoder, KoU8B_T>;
using FloatType = ScalarType<o_float, FloatEncoder, KoFLOAT_T>;
using DoubleType = ScalarType<o_double, DoubleEncoder, KoDOUBLE_T>;

/// Compares arrays of a scalar type; see KoCompareWalk.
template <class Type>
int CompareScalars(unsigned char format, unsigned length1, const void* value1, unsigned length2,
                   const void* value2, unsigned count, int& status)
{
    const auto walk = [&](auto swap) {
        return KoCompareWalk(length1, value1, length2, value2, Type::kSize, count, status,
                             [swap](const unsigned char* a, const unsigned char* b) {
                                 return Type::Order(Type::Read(a, swap.value),
                                                    Type::Read(b, swap.value));
                             });
    };
    return KoNeedsSwap(format) ? walk(std::true_type()) : walk(std::false_type());
}

/// Hash of an array of a scalar type; see KoHashWalk.
template <class Type>
o_u4b HashScalars(unsigned char format, unsigned length, const void* value, unsigned count,
                  int& status)
{
    const auto walk = [&](auto swap) {
        return KoHashWalk(length, value, Type::kSize, count, status,
                          [swap](KoHasher& hasher, const unsigned char* element) {
                              Type::AddHash(hasher, Type::Read(element, swap.value));
                          });
    };
    return KoNeedsSwap(format) ? walk(std::true_type()) : walk(std::false_type());
}

#endif
