#ifndef KO_STORE_BASE_BYTES_H
#define KO_STORE_BASE_BYTES_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace ko::store::inner
{

// Numbers as they stand in the bytes of a store, the same on every machine: in values the least
// significant byte first, in keys the most significant one, so that keys order as their numbers.

namespace detail
{

template <class Number>
Number Turned(Number number)
{
    Number turned = 0;
    for (std::size_t i = 0; i < sizeof number; ++i)
        turned = static_cast<Number>(turned << 8 | (number >> 8 * i & 0xFF));
    return turned;
}

template <class Number, std::endian Order>
Number Get(const char* bytes)
{
    static_assert(std::is_unsigned_v<Number>);
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return std::endian::native == Order ? number : Turned(number);
}

template <class Number, std::endian Order>
void Put(char* bytes, Number number)
{
    static_assert(std::is_unsigned_v<Number>);
    if (std::endian::native != Order)
        number = Turned(number);
    std::memcpy(bytes, &number, sizeof number);
}

} // namespace detail

template <class Number>
Number GetLittle(const char* bytes)
{
    return detail::Get<Number, std::endian::little>(bytes);
}
template <class Number>
void PutLittle(char* bytes, Number number)
{
    detail::Put<Number, std::endian::little>(bytes, number);
}
template <class Number>
void AppendLittle(std::string& bytes, Number number)
{
    char room[sizeof number];
    PutLittle(room, number);
    bytes.append(room, sizeof room);
}

template <class Number>
Number GetBig(const char* bytes)
{
    return detail::Get<Number, std::endian::big>(bytes);
}
template <class Number>
void PutBig(char* bytes, Number number)
{
    detail::Put<Number, std::endian::big>(bytes, number);
}
template <class Number>
void AppendBig(std::string& bytes, Number number)
{
    char room[sizeof number];
    PutBig(room, number);
    bytes.append(room, sizeof room);
}

/// Numbers of objects, and of blocks of objects, in keys: 6 bytes, the most significant one first.
inline constexpr std::size_t kNumberBytes = 6;

inline void AppendNumber(std::string& key, std::uint64_t number)
{
    char room[sizeof number];
    PutBig(room, number);
    key.append(room + sizeof number - kNumberBytes, kNumberBytes);
}
inline std::uint64_t GetNumber(const char* bytes)
{
    return std::uint64_t{GetBig<std::uint16_t>(bytes)} << 32 | GetBig<std::uint32_t>(bytes + 2);
}

} // namespace ko::store::inner

#endif
