#ifndef KOSWAPCOPY_H
#define KOSWAPCOPY_H

#include <cstddef>
#include <cstdint>
#include <cstring>

// The swapping copy within this library: no call through the table of exported functions.

inline std::uint16_t Swapped(std::uint16_t word)
{
    return __builtin_bswap16(word);
}
inline std::uint32_t Swapped(std::uint32_t word)
{
    return __builtin_bswap32(word);
}
inline std::uint64_t Swapped(std::uint64_t word)
{
    return __builtin_bswap64(word);
}

template <class Word>
void SwapOne(void* destination, const void* source)
{
    Word word;
    std::memcpy(&word, source, sizeof word);
    word = Swapped(word);
    std::memcpy(destination, &word, sizeof word);
}

/// `count` words; defined for the three of them.
template <class Word>
void SwapArray(void* destination, const void* source, std::size_t count);

extern template void SwapArray<std::uint16_t>(void*, const void*, std::size_t);
extern template void SwapArray<std::uint32_t>(void*, const void*, std::size_t);
extern template void SwapArray<std::uint64_t>(void*, const void*, std::size_t);

#endif
