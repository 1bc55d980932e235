#ifndef KO_SCALAR_INT64_H
#define KO_SCALAR_INT64_H

#include "scalar/type.h"

#include <koint64.h>

/// KoInt64 as the scalar templates see a type; its null-capable twin is built on it too.

namespace ko
{

/// Two halves, the low one first, each in the byte order of the format: a big-endian element is
/// not a big-endian 64-bit number.
struct Int64Encoder {
    static unsigned Store(void* to, const void* from, unsigned char format, unsigned count)
    {
        return LongStore(to, from, format, count * 2);
    }
    static unsigned Load(void* to, const void* from, unsigned char format, unsigned count)
    {
        return LongStore(to, from, format, count * 2);
    }
    static unsigned NullSizeGet(unsigned count) { return count * 8; }
    static unsigned SizeGet(const void*, unsigned char, unsigned char, unsigned count)
    {
        return count * 8;
    }
};

struct Int64Type {
    using Value = KoInt64;
    using Encoder = Int64Encoder;
    static constexpr KoTypeId kId = KoINT64_T;
    static constexpr unsigned kSize = 8;
    static constexpr bool kIsIntegral = true;
    static constexpr bool kSteps = false; ///< by operations of its own

    static KoInt64 Read(const unsigned char* at, bool swap) noexcept
    {
        return {ReadNumber<o_u4b>(at, swap), ReadNumber<o_4b>(at + 4, swap)};
    }
    static int Order(const KoInt64& a, const KoInt64& b) noexcept
    {
        return ThreeWay(a.Get8b(), b.Get8b());
    }
    static void AddHash(Hasher& hasher, const KoInt64& n) noexcept
    {
        hasher.Add(HashWord(n.Get8b()));
    }

    using KeyWord = o_u8b;
    static KeyWord KeyBits(const KoInt64& n) noexcept { return ko::KeyBits(n.Get8b()); }
    static bool FromKeyBits(KoInt64& n, KeyWord bits) noexcept
    {
        o_8b number = 0;
        const bool read = ko::FromKeyBits(number, bits);
        n = number;
        return read;
    }
};

} // namespace ko

#endif
