#ifndef KOBYTES_H
#define KOBYTES_H

#include <koencode.h>
#include <koscalar.h>

#include <bit>
#include <cstddef>
#include <cstring>

/// Numbers and values read where they stand. Stored data and the text of a stored record are not
/// aligned, so everything is copied out byte by byte; the compiler makes one load of it.

namespace ko
{

/// The unsigned integer of a size, and the same with its bytes in the other order.
template <std::size_t size>
struct WordOf;
template <>
struct WordOf<1> {
    using Type = o_u1b;
    static Type Swapped(Type n) noexcept { return n; }
};
template <>
struct WordOf<2> {
    using Type = o_u2b;
    static Type Swapped(Type n) noexcept { return __builtin_bswap16(n); }
};
template <>
struct WordOf<4> {
    using Type = o_u4b;
    static Type Swapped(Type n) noexcept { return __builtin_bswap32(n); }
};
template <>
struct WordOf<8> {
    using Type = o_u8b;
    static Type Swapped(Type n) noexcept { return __builtin_bswap64(n); }
};

/// A value whose bytes stand at `at` as they lie in memory.
template <class T>
T ReadValue(const void* at) noexcept
{
    alignas(T) unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, at, sizeof(T));
    return std::bit_cast<T>(bytes);
}

/// The number whose bytes stand at `at`, in the machine's byte order or (`swap`) in the other one.
template <class T>
T ReadNumber(const void* at, bool swap) noexcept
{
    using Word = WordOf<sizeof(T)>;
    const auto bits = ReadValue<typename Word::Type>(at);
    return std::bit_cast<T>(swap ? Word::Swapped(bits) : bits);
}

/// The number whose bytes stand at `at`, the most significant one first (`big`) or last.
template <class T>
T ReadOrdered(const void* at, bool big) noexcept
{
    return ReadNumber<T>(at, big != (std::endian::native == std::endian::big));
}

/// True when numbers in `format` stand most significant byte first.
constexpr bool IsBigEndian(unsigned char format) noexcept
{
    return (std::endian::native == std::endian::big) != KoNeedsSwap(format);
}

/// The first byte in memory of a word of ReadValue that has a bit set; the word is not 0.
inline unsigned FirstByteOf(o_u8b word) noexcept
{
    const int zeros = std::endian::native == std::endian::little ? std::countr_zero(word)
                                                                 : std::countl_zero(word);
    return static_cast<unsigned>(zeros) / 8;
}

} // namespace ko

#endif
