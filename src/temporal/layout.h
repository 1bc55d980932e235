#ifndef KO_TEMPORAL_LAYOUT_H
#define KO_TEMPORAL_LAYOUT_H

#include "core/bytes.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"

#include <kotemporal.h>

/// Elements of the temporal types as bytes: their layout, the copy between memory and persistent
/// form, and order and hash straight from either form.

namespace ko
{

/// The fields of an element: a 16-bit year, fields of one byte, and nanoseconds in 32 bits. The
/// first two lie without a gap in every form; nanoseconds are aligned in memory and follow at once
/// in a persistent form. A type, not a value: values of classes as template parameters would become
/// symbols of the library.
template <bool hasYear, unsigned bytes, bool hasNanoseconds = false>
struct TemporalLayout {
    static constexpr bool kHasYear = hasYear;
    static constexpr unsigned kBytes = bytes;
    static constexpr bool kHasNanoseconds = hasNanoseconds;

    static constexpr unsigned kPacked = (hasYear ? 2 : 0) + bytes;
    static constexpr unsigned kNanosecondsInMemory = (kPacked + 3) / 4 * 4;
    static constexpr unsigned kStoredSize = kPacked + (hasNanoseconds ? 4 : 0);
    static constexpr unsigned kMemorySize = hasNanoseconds ? kNanosecondsInMemory + 4
                                            : hasYear      ? (kPacked + 1) / 2 * 2
                                                           : kPacked;
    static constexpr unsigned NanosecondsAt(bool memory)
    {
        return memory ? kNanosecondsInMemory : kPacked;
    }
    static constexpr unsigned Size(unsigned char format)
    {
        return (format & KoFMT_MEMORY) != 0 ? kMemorySize : kStoredSize;
    }
};

/// Copies `count` elements from memory to the form `format` names, or (`load`) back. Padding
/// becomes zero. Returns the bytes of that form.
template <class Layout>
unsigned CopyTemporal(void* destination, const void* source, unsigned char format, unsigned count,
                      bool load)
{
    const unsigned size = Layout::Size(format);
    const bool swap = KoNeedsSwap(format);
    if (!swap && Layout::kMemorySize == Layout::kStoredSize) {
        if (count > 0)
            std::memmove(destination, source, std::size_t{count} * size);
        return count * size;
    }
    constexpr unsigned year = Layout::kHasYear ? 2 : 0;
    const unsigned fromSize = load ? size : Layout::kMemorySize;
    const unsigned toSize = load ? Layout::kMemorySize : size;
    const unsigned fromNanoseconds = Layout::NanosecondsAt(fromSize == Layout::kMemorySize);
    const unsigned toNanoseconds = Layout::NanosecondsAt(toSize == Layout::kMemorySize);
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(destination);
    for (unsigned i = 0; i < count; ++i, from += fromSize, to += toSize) {
        if constexpr (Layout::kHasYear) {
            const auto number = ReadNumber<o_u2b>(from, swap);
            std::memcpy(to, &number, 2);
        }
        std::memcpy(to + year, from + year, Layout::kBytes);
        if constexpr (Layout::kHasNanoseconds) {
            const auto number = ReadNumber<o_u4b>(from + fromNanoseconds, swap);
            std::memset(to + Layout::kPacked, 0, toNanoseconds - Layout::kPacked);
            std::memcpy(to + toNanoseconds, &number, 4);
        } else {
            std::memset(to + Layout::kPacked, 0, toSize - Layout::kPacked);
        }
    }
    return count * size;
}

/// The year and the byte fields of an element as one number, the first field highest.
template <class Layout>
o_u8b PackedFields(const unsigned char* at, bool big) noexcept
{
    constexpr unsigned size = Layout::kPacked;
    static_assert(size == 3 || size == 4 || size == 7);
    if constexpr (size == 3) {
        return static_cast<o_u4b>(at[0] << 16 | at[1] << 8 | at[2]);
    } else {
        static_assert(Layout::kHasYear);
        if (!big) {
            const auto year = ReadOrdered<o_u2b>(at, false);
            if constexpr (size == 4)
                return o_u4b{year} << 16 | ReadOrdered<o_u2b>(at + 2, true);
            else
                return o_u8b{year} << 40 | o_u8b{at[2]} << 32 | ReadOrdered<o_u4b>(at + 3, true);
        }
        const auto date = ReadOrdered<o_u4b>(at, true);
        if constexpr (size == 4)
            return date;
        else
            return o_u8b{date} << 24 | (ReadOrdered<o_u4b>(at + 3, true) & 0xFFFFFFU);
    }
}

/// The sign bits of the fields in PackedFields: turned over, packed fields order as the fields do.
template <class Layout>
inline constexpr o_u8b kPackedSigns = (0x80808080808080ULL >> (56 - 8 * Layout::kPacked)) &
                                      (Layout::kHasYear ? ~(0xFFULL << (8 * (Layout::kPacked - 2)))
                                                        : ~0ULL);

/// True when a byte of packed fields is 0xFF: only then can a field be the wildcard.
constexpr bool MayHaveWildcard(o_u8b packed) noexcept
{
    const o_u8b turned = ~packed; // the unused bytes above become 0xFF, and so do not count
    return ((turned - 0x0101010101010101ULL) & packed & 0x8080808080808080ULL) != 0;
}

/// Order and hash of the elements of a layout, read where they stand.
template <class Layout>
struct PackedElements {
    using Fields = Layout;

    /// The order of two persistent elements: -1, 0 or 1. Where not `strict`, a field of -1 equals
    /// every other: month and day where they stand in `b`, the time and nanoseconds on either
    /// side, the year never. Stored queries know dates by this rule, although in memory either
    /// side's date may hold wildcards.
    template <bool strict>
    static int OrderStored(const unsigned char* a, const unsigned char* b, bool big) noexcept
    {
        const o_u8b fieldsA = PackedFields<Layout>(a, big);
        const o_u8b fieldsB = PackedFields<Layout>(b, big);
        if (fieldsA != fieldsB) {
            if (!strict && (MayHaveWildcard(fieldsA) || MayHaveWildcard(fieldsB))) {
                if (const int order = OrderWithWildcards(a, b, big); order != 0)
                    return order;
            } else {
                return ThreeWay(fieldsA ^ kPackedSigns<Layout>, fieldsB ^ kPackedSigns<Layout>);
            }
        }
        if constexpr (Layout::kHasNanoseconds) {
            const int order = ThreeWay(ReadOrdered<o_4b>(a + Layout::kPacked, big),
                                       ReadOrdered<o_4b>(b + Layout::kPacked, big));
            return strict || order == 0 || !HasWildNanoseconds(a, b, big) ? order : 0;
        }
        return 0;
    }

    /// The key of an element: its persistent form with the most significant byte first and the sign
    /// of every field turned over, so that it orders as the fields do.
    static constexpr unsigned kKeySize = Layout::kStoredSize;
    static void PutKey(unsigned char* out, const unsigned char* at, bool big, bool memory) noexcept
    {
        const o_u8b fields = PackedFields<Layout>(at, big) ^ kPackedSigns<Layout>;
        for (unsigned i = 0; i < Layout::kPacked; ++i)
            out[i] = static_cast<unsigned char>(fields >> (8 * (Layout::kPacked - 1 - i)));
        if constexpr (Layout::kHasNanoseconds)
            PutKeyWord(out + Layout::kPacked,
                       KeyBits(ReadOrdered<o_4b>(at + Layout::NanosecondsAt(memory), big)));
    }
    /// The persistent form, most significant byte first, of the element with this key.
    static void FromKey(unsigned char* stored, const unsigned char* key) noexcept
    {
        for (unsigned i = 0; i < Layout::kPacked; ++i) {
            const bool isSigned = !Layout::kHasYear || i != 1;
            stored[i] = static_cast<unsigned char>(key[i] ^ (isSigned ? 0x80 : 0));
        }
        if constexpr (Layout::kHasNanoseconds) {
            std::memcpy(stored + Layout::kPacked, key + Layout::kPacked, 4);
            stored[Layout::kPacked] ^= 0x80;
        }
    }

    /// The same words for every form of an element.
    static void AddHash(Hasher& hasher, const unsigned char* at, bool big, bool memory) noexcept
    {
        hasher.Add(PackedFields<Layout>(at, big));
        if constexpr (Layout::kHasNanoseconds)
            hasher.Add(ReadOrdered<o_u4b>(at + Layout::NanosecondsAt(memory), big));
    }

private:
    [[gnu::noinline]] static int OrderWithWildcards(const unsigned char* a, const unsigned char* b,
                                                    bool big) noexcept
    {
        if constexpr (Layout::kHasYear) {
            const int order = ThreeWay(ReadOrdered<o_2b>(a, big), ReadOrdered<o_2b>(b, big));
            if (order != 0)
                return order;
        }
        for (unsigned i = Layout::kHasYear ? 2 : 0; i < Layout::kPacked; ++i) {
            const auto fieldA = static_cast<o_1b>(a[i]);
            const auto fieldB = static_cast<o_1b>(b[i]);
            const bool ofDate = Layout::kHasYear && i < 4;
            if (fieldB != -1 && (ofDate || fieldA != -1) && fieldA != fieldB)
                return ThreeWay(fieldA, fieldB);
        }
        return 0;
    }

    static bool HasWildNanoseconds(const unsigned char* a, const unsigned char* b,
                                   bool big) noexcept
    {
        return ReadOrdered<o_4b>(a + Layout::kPacked, big) == -1 ||
               ReadOrdered<o_4b>(b + Layout::kPacked, big) == -1;
    }
};

} // namespace ko

#endif
