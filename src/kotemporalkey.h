#ifndef KOTEMPORALKEY_H
#define KOTEMPORALKEY_H

#include "koscalartype.h"

#include <kotemporal.h>

/// Elements of the temporal types as bytes: their layout, the copy between memory and persistent
/// form, and order and hash straight from either form.

/// The fields of an element: a 16-bit year, fields of one byte, and nanoseconds in 32 bits. The
/// first two lie without a gap in every form; nanoseconds are aligned in memory and follow at once
/// in a persistent form.
struct TemporalLayout {
    bool hasYear = false;
    unsigned bytes = 0;
    bool hasNanoseconds = false;

    constexpr unsigned Packed() const { return (hasYear ? 2 : 0) + bytes; }
    constexpr unsigned NanosecondsAt(bool memory) const
    {
        return memory ? (Packed() + 3) / 4 * 4 : Packed();
    }
    constexpr unsigned StoredSize() const { return Packed() + (hasNanoseconds ? 4 : 0); }
    constexpr unsigned MemorySize() const
    {
        if (hasNanoseconds)
            return NanosecondsAt(true) + 4;
        return hasYear ? (Packed() + 1) / 2 * 2 : Packed();
    }
    constexpr unsigned Size(unsigned char format) const
    {
        return (format & KoFMT_MEMORY) != 0 ? MemorySize() : StoredSize();
    }
};

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

/// Copies `count` elements from memory to the form `format` names, or (`load`) back. Padding
/// becomes zero. Returns the bytes of that form.
template <TemporalLayout layout>
unsigned CopyTemporal(void* destination, const void* source, unsigned char format, unsigned count,
                      bool load)
{
    const unsigned size = layout.Size(format);
    const bool swap = KoNeedsSwap(format);
    if (!swap && layout.MemorySize() == layout.StoredSize()) {
        if (count > 0)
            std::memmove(destination, source, std::size_t{count} * size);
        return count * size;
    }
    constexpr unsigned year = layout.hasYear ? 2 : 0;
    const unsigned fromSize = load ? size : layout.MemorySize();
    const unsigned toSize = load ? layout.MemorySize() : size;
    const unsigned fromNanoseconds = layout.NanosecondsAt(fromSize == layout.MemorySize());
    const unsigned toNanoseconds = layout.NanosecondsAt(toSize == layout.MemorySize());
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(destination);
    for (unsigned i = 0; i < count; ++i, from += fromSize, to += toSize) {
        if constexpr (layout.hasYear) {
            const auto number = KoReadNumber<o_u2b>(from, swap);
            std::memcpy(to, &number, 2);
        }
        std::memcpy(to + year, from + year, layout.bytes);
        if constexpr (layout.hasNanoseconds) {
            const auto number = KoReadNumber<o_u4b>(from + fromNanoseconds, swap);
            std::memset(to + layout.Packed(), 0, toNanoseconds - layout.Packed());
            std::memcpy(to + toNanoseconds, &number, 4);
        } else {
            std::memset(to + layout.Packed(), 0, toSize - layout.Packed());
        }
    }
    return count * size;
}

/// The year and the byte fields of an element as one number, the first field highest.
template <TemporalLayout layout>
o_u8b PackedFields(const unsigned char* at, bool big) noexcept
{
    constexpr unsigned size = layout.Packed();
    static_assert(size == 3 || size == 4 || size == 7);
    if constexpr (size == 3) {
        return static_cast<o_u4b>(at[0] << 16 | at[1] << 8 | at[2]);
    } else {
        static_assert(layout.hasYear);
        auto date = ReadOrdered<o_u4b>(at, true);
        if (!big)
            date = (date << 8 & 0xFF000000U) | (date >> 8 & 0x00FF0000U) | (date & 0xFFFFU);
        if constexpr (size == 4)
            return date;
        else
            return o_u8b{date} << 24 | (ReadOrdered<o_u4b>(at + 3, true) & 0xFFFFFFU);
    }
}

/// The sign bits of the fields in PackedFields: turned over, packed fields order as the fields do.
template <TemporalLayout layout>
inline constexpr o_u8b kPackedSigns = (0x80808080808080ULL >> (56 - 8 * layout.Packed())) &
                                      (layout.hasYear ? ~(0xFFULL << (8 * (layout.Packed() - 2)))
                                                      : ~0ULL);

/// True when a byte of packed fields is 0xFF: only then can a field be the wildcard.
constexpr bool MayHaveWildcard(o_u8b packed) noexcept
{
    const o_u8b turned = ~packed; // the unused bytes above become 0xFF, and so do not count
    return ((turned - 0x0101010101010101ULL) & packed & 0x8080808080808080ULL) != 0;
}

/// The word that the fields of a temporal value give to a hash: the upper half of a 64-bit number
/// mixed as in SplitMix64 (Steele, Lea, Flood, 2014). `rest` is what does not fit in `fields`.
constexpr o_u4b TemporalHashBits(o_u8b fields, o_u4b rest) noexcept
{
    o_u8b z = fields + (o_u8b{rest} + 1) * 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return static_cast<o_u4b>((z ^ (z >> 31)) >> 32);
}

/// Order and hash of the elements of a layout, read where they stand.
template <TemporalLayout layout>
struct PackedElements {
    static constexpr TemporalLayout kLayout = layout;

    /// The order of two persistent elements: -1, 0 or 1. Where not `strict`, a field of -1 equals
    /// every other: month and day where they stand in `b`, the time and nanoseconds on either
    /// side, the year never. Stored queries know dates by this rule, although in memory either
    /// side's date may hold wildcards.
    template <bool strict>
    static int OrderStored(const unsigned char* a, const unsigned char* b, bool big) noexcept
    {
        const o_u8b fieldsA = PackedFields<layout>(a, big);
        const o_u8b fieldsB = PackedFields<layout>(b, big);
        if (fieldsA != fieldsB) {
            if (!strict && (MayHaveWildcard(fieldsA) || MayHaveWildcard(fieldsB))) {
                if (const int order = OrderWithWildcards(a, b, big); order != 0)
                    return order;
            } else {
                return KoOrder(fieldsA ^ kPackedSigns<layout>, fieldsB ^ kPackedSigns<layout>);
            }
        }
        if constexpr (layout.hasNanoseconds) {
            const int order = KoOrder(ReadOrdered<o_4b>(a + layout.Packed(), big),
                                      ReadOrdered<o_4b>(b + layout.Packed(), big));
            return strict || order == 0 || !HasWildNanoseconds(a, b, big) ? order : 0;
        }
        return 0;
    }

    /// The same bits for every form of an element.
    static o_u4b HashBits(const unsigned char* at, bool big, bool memory) noexcept
    {
        o_u4b nanoseconds = 0;
        if constexpr (layout.hasNanoseconds)
            nanoseconds = ReadOrdered<o_u4b>(at + layout.NanosecondsAt(memory), big);
        return TemporalHashBits(PackedFields<layout>(at, big), nanoseconds);
    }

private:
    static int OrderWithWildcards(const unsigned char* a, const unsigned char* b, bool big) noexcept
    {
        if constexpr (layout.hasYear) {
            const int order = KoOrder(ReadOrdered<o_2b>(a, big), ReadOrdered<o_2b>(b, big));
            if (order != 0)
                return order;
        }
        for (unsigned i = layout.hasYear ? 2 : 0; i < layout.Packed(); ++i) {
            const auto fieldA = static_cast<o_1b>(a[i]);
            const auto fieldB = static_cast<o_1b>(b[i]);
            const bool ofDate = layout.hasYear && i < 4;
            if (fieldB != -1 && (ofDate || fieldA != -1) && fieldA != fieldB)
                return KoOrder(fieldA, fieldB);
        }
        return 0;
    }

    static bool HasWildNanoseconds(const unsigned char* a, const unsigned char* b,
                                   bool big) noexcept
    {
        return ReadOrdered<o_4b>(a + layout.Packed(), big) == -1 ||
               ReadOrdered<o_4b>(b + layout.Packed(), big) == -1;
    }
};

#endif
