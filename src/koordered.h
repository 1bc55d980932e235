#ifndef KOORDERED_H
#define KOORDERED_H

#include "koscalartype.h"

/// Numbers and values read where they stand in stored data, which need not be aligned.

/// True when numbers in `format` stand most significant byte first.
constexpr bool IsBigEndian(unsigned char format) noexcept
{
    return (std::endian::native == std::endian::big) != KoNeedsSwap(format);
}

/// A number that stands at `at` in the given byte order.
template <class T>
T ReadOrdered(const unsigned char* at, bool big) noexcept
{
    return KoReadNumber<T>(at, big != (std::endian::native == std::endian::big));
}

/// An element in memory form; it need not be aligned.
template <class T>
T ReadValue(const unsigned char* at) noexcept
{
    alignas(T) unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, at, sizeof(T));
    return std::bit_cast<T>(bytes);
}

#endif
