#ifndef KOENCODE_H
#define KOENCODE_H

#include "koscalar.h"

#include <bit>

/// Scalar encoders: memory form to persistent form and back.
///
/// Persistent widths are 1 byte for char, 2 for short, 4 for long, int, unsigned
/// and float, 8 for o_8b and double, in every format; signed and unsigned numbers
/// share a function. Floating numbers are IEEE 754 and keep every bit, NaNs too.
///
/// Only the low nibble of `format` is read. 2 is most significant byte first; a
/// nibble with bit 3 set is the memory form and is copied in the byte order of the
/// machine; every other nibble is least significant byte first. Turning the order is
/// its own inverse, so one function stores and loads.
///
/// Neither operand needs to be aligned; they must not overlap unless they are the
/// same address. Every function returns the number of persistent bytes written or
/// read and does nothing for a count of 0. Sizes are 32 bits wide: `count` times the
/// width must stay below 2^32. No function fails.

/// True when elements in `format` stand in the other byte order than the machine's.
constexpr bool KoNeedsSwap(unsigned char format) noexcept
{
    if ((format & KoFMT_ORDER_MASK) == KoFMT_BIG)
        return std::endian::native == std::endian::little;
    return (format & KoFMT_MEMORY) == 0 && std::endian::native == std::endian::big;
}

#if !defined(KO_NO_GLOBAL_NAMES)
KOBASE_API unsigned CharStore(void* destination, const void* source, unsigned char format,
                              unsigned count);
KOBASE_API unsigned ShortStore(void* destination, const void* source, unsigned char format,
                               unsigned count);
KOBASE_API unsigned LongStore(void* destination, const void* source, unsigned char format,
                              unsigned count);
KOBASE_API unsigned O_8BStore(void* destination, const void* source, unsigned char format,
                              unsigned count);
KOBASE_API unsigned FloatStore(void* destination, const void* source, unsigned char format,
                               unsigned count);
KOBASE_API unsigned DoubleStore(void* destination, const void* source, unsigned char format,
                                unsigned count);
KOBASE_API unsigned IntStore(void* destination, const void* source, unsigned char format,
                             unsigned count);
KOBASE_API unsigned UnsignedStore(void* destination, const void* source, unsigned char format,
                                  unsigned count);
KOBASE_API unsigned IntLoad(void* destination, const void* source, unsigned char format,
                            unsigned count);
KOBASE_API unsigned UnsignedLoad(void* destination, const void* source, unsigned char format,
                                 unsigned count);

/// One element; the same as the functions above with a count of 1, and faster.
KOBASE_API unsigned CharStoreOne(void* destination, const void* source, unsigned char format);
KOBASE_API unsigned ShortStoreOne(void* destination, const void* source, unsigned char format);
KOBASE_API unsigned LongStoreOne(void* destination, const void* source, unsigned char format);
KOBASE_API unsigned O_8BStoreOne(void* destination, const void* source, unsigned char format);
KOBASE_API unsigned FloatStoreOne(void* destination, const void* source, unsigned char format);
KOBASE_API unsigned DoubleStoreOne(void* destination, const void* source, unsigned char format);

/// Persistent size of `count` elements. No size depends on the value or on a format,
/// so `value` may be null and is never read.
KOBASE_API unsigned CharSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                unsigned count);
KOBASE_API unsigned ShortSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                 unsigned count);
KOBASE_API unsigned LongSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                unsigned count);
KOBASE_API unsigned O_8BSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                unsigned count);
KOBASE_API unsigned IntSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                               unsigned count);
KOBASE_API unsigned FloatSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                 unsigned count);
KOBASE_API unsigned DoubleSizeGet(const void* value, unsigned char valueFormat,
                                  unsigned char format, unsigned count);

/// Persistent size of `count` elements when no value is at hand.
KOBASE_API unsigned CharNullSizeGet(unsigned count);
KOBASE_API unsigned ShortNullSizeGet(unsigned count);
KOBASE_API unsigned LongNullSizeGet(unsigned count);
KOBASE_API unsigned O_8BNullSizeGet(unsigned count);
KOBASE_API unsigned IntNullSizeGet(unsigned count);
KOBASE_API unsigned FloatNullSizeGet(unsigned count);
KOBASE_API unsigned DoubleNullSizeGet(unsigned count);
#endif

#endif
