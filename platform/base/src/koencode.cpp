#include "koencode.h"

#include <cstdint>
#include <cstring>

namespace
{

inline std::uint16_t Swapped(std::uint16_t v)
{
    return __builtin_bswap16(v);
}
inline std::uint32_t Swapped(std::uint32_t v)
{
    return __builtin_bswap32(v);
}
inline std::uint64_t Swapped(std::uint64_t v)
{
    return __builtin_bswap64(v);
}

template <class Word>
void SwapCopy(unsigned char* to, const unsigned char* from, std::size_t count)
{
    for (; count > 0; --count, to += sizeof(Word), from += sizeof(Word)) {
        Word word;
        std::memcpy(&word, from, sizeof word);
        word = Swapped(word);
        std::memcpy(to, &word, sizeof word);
    }
}

template <unsigned Width>
unsigned Encode(void* destination, const void* source, unsigned char format, unsigned count)
{
    if (count == 0)
        return 0;
    if (Width > 1 && KoNeedsSwap(format))
        KoSwapCopy(destination, source, Width, count);
    else if (destination != source)
        std::memcpy(destination, source, std::size_t{count} * Width);
    return count * Width;
}

} // namespace

void KoSwapCopy(void* destination, const void* source, unsigned width, std::size_t count)
{
    auto* to = static_cast<unsigned char*>(destination);
    const auto* from = static_cast<const unsigned char*>(source);
    switch (width) {
    case 2:
        SwapCopy<std::uint16_t>(to, from, count);
        break;
    case 4:
        SwapCopy<std::uint32_t>(to, from, count);
        break;
    case 8:
        SwapCopy<std::uint64_t>(to, from, count);
        break;
    default:
        break;
    }
}

unsigned CharStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<1>(destination, source, format, count);
}

unsigned ShortStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<2>(destination, source, format, count);
}

unsigned LongStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned O_8BStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<8>(destination, source, format, count);
}

unsigned FloatStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned DoubleStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<8>(destination, source, format, count);
}

unsigned IntStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned UnsignedStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned IntLoad(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned UnsignedLoad(void* destination, const void* source, unsigned char format, unsigned count)
{
    return Encode<4>(destination, source, format, count);
}

unsigned CharStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<1>(destination, source, format, 1);
}

unsigned ShortStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<2>(destination, source, format, 1);
}

unsigned LongStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<4>(destination, source, format, 1);
}

unsigned O_8BStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<8>(destination, source, format, 1);
}

unsigned FloatStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<4>(destination, source, format, 1);
}

unsigned DoubleStoreOne(void* destination, const void* source, unsigned char format)
{
    return Encode<8>(destination, source, format, 1);
}

unsigned CharSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 1 * count;
}

unsigned ShortSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 2 * count;
}

unsigned LongSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 4 * count;
}

unsigned O_8BSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 8 * count;
}

unsigned IntSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 4 * count;
}

unsigned FloatSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 4 * count;
}

unsigned DoubleSizeGet(const void*, unsigned char, unsigned char, unsigned count)
{
    return 8 * count;
}

unsigned CharNullSizeGet(unsigned count)
{
    return 1 * count;
}

unsigned ShortNullSizeGet(unsigned count)
{
    return 2 * count;
}

unsigned LongNullSizeGet(unsigned count)
{
    return 4 * count;
}

unsigned O_8BNullSizeGet(unsigned count)
{
    return 8 * count;
}

unsigned IntNullSizeGet(unsigned count)
{
    return 4 * count;
}

unsigned FloatNullSizeGet(unsigned count)
{
    return 4 * count;
}

unsigned DoubleNullSizeGet(unsigned count)
{
    return 8 * count;
}
