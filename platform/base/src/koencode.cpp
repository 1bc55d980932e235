#include "koencode.h"

#include "swapcopy.h"

namespace
{

// One byte has no order; a copy onto itself is left out, because memcpy may not overlap.

template <class Word>
unsigned Encode(void* destination, const void* source, unsigned char format, unsigned count)
{
    if (count == 0)
        return 0;
    const std::size_t size = std::size_t{count} * sizeof(Word);
    if constexpr (sizeof(Word) > 1) {
        if (KoNeedsSwap(format)) {
            SwapArray<Word>(destination, source, count);
            return static_cast<unsigned>(size);
        }
    }
    if (destination != source)
        std::memcpy(destination, source, size);
    return static_cast<unsigned>(size);
}

template <class Word>
unsigned EncodeOne(void* destination, const void* source, unsigned char format)
{
    if constexpr (sizeof(Word) > 1) {
        if (KoNeedsSwap(format)) {
            SwapOne<Word>(destination, source);
            return sizeof(Word);
        }
    }
    if (destination != source)
        std::memcpy(destination, source, sizeof(Word));
    return sizeof(Word);
}

template <class Word>
constexpr unsigned SizeOf(unsigned count)
{
    return static_cast<unsigned>(sizeof(Word)) * count;
}

} // namespace

// Names, and the word whose bytes a stored element is. Floating numbers are copied as words, so a
// signalling NaN comes back as it went.

// clang-format off
#define KO_ARRAY_CODERS(X) \
    X(CharStore, std::uint8_t) \
    X(ShortStore, std::uint16_t) \
    X(LongStore, std::uint32_t) \
    X(O_8BStore, std::uint64_t) \
    X(FloatStore, std::uint32_t) \
    X(DoubleStore, std::uint64_t) \
    X(IntStore, std::uint32_t) \
    X(IntLoad, std::uint32_t) \
    X(UnsignedStore, std::uint32_t) \
    X(UnsignedLoad, std::uint32_t)

#define KO_ELEMENT_CODERS(X) \
    X(CharStoreOne, std::uint8_t) \
    X(ShortStoreOne, std::uint16_t) \
    X(LongStoreOne, std::uint32_t) \
    X(O_8BStoreOne, std::uint64_t) \
    X(FloatStoreOne, std::uint32_t) \
    X(DoubleStoreOne, std::uint64_t)

#define KO_SIZES(X) \
    X(CharSizeGet, CharNullSizeGet, std::uint8_t) \
    X(ShortSizeGet, ShortNullSizeGet, std::uint16_t) \
    X(LongSizeGet, LongNullSizeGet, std::uint32_t) \
    X(O_8BSizeGet, O_8BNullSizeGet, std::uint64_t) \
    X(IntSizeGet, IntNullSizeGet, std::uint32_t) \
    X(FloatSizeGet, FloatNullSizeGet, std::uint32_t) \
    X(DoubleSizeGet, DoubleNullSizeGet, std::uint64_t)
// clang-format on

#define X(name, Word)                                                                              \
    unsigned name(void* destination, const void* source, unsigned char format, unsigned count)     \
    {                                                                                              \
        return Encode<Word>(destination, source, format, count);                                   \
    }
KO_ARRAY_CODERS(X)
#undef X

#define X(name, Word)                                                                              \
    unsigned name(void* destination, const void* source, unsigned char format)                     \
    {                                                                                              \
        return EncodeOne<Word>(destination, source, format);                                       \
    }
KO_ELEMENT_CODERS(X)
#undef X

#define X(name, nullName, Word)                                                                    \
    unsigned name(const void*, unsigned char, unsigned char, unsigned count)                       \
    {                                                                                              \
        return SizeOf<Word>(count);                                                                \
    }                                                                                              \
    unsigned nullName(unsigned count)                                                              \
    {                                                                                              \
        return SizeOf<Word>(count);                                                                \
    }
KO_SIZES(X)
#undef X
