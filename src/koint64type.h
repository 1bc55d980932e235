#ifndef KOINT64TYPE_H
#define KOINT64TYPE_H

#include "konumstring.h"
#include "koscalartype.h"

#include <koint64.h>

/// KoInt64 as the scalar templates see a type; its null-capable twin is built on it too.

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
        return {ko::ReadNumber<o_u4b>(at, swap), ko::ReadNumber<o_4b>(at + 4, swap)};
    }
    static int Order(const KoInt64& a, const KoInt64& b) noexcept
    {
        return KoOrder(a.Get8b(), b.Get8b());
    }
    static void AddHash(KoHasher& hasher, const KoInt64& n) noexcept
    {
        hasher.Add(KoHashWord(n.Get8b()));
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

inline KoString& KoAppendNumber(KoString& text, const KoInt64& value, const char* format)
{
    return KoAppendNumber(text, value.Get8b(), format);
}

inline bool KoScanNumber(KoInt64& value, const KoString& text, const char* format)
{
    o_8b n = value.Get8b();
    const bool read = KoScanNumber(n, text, format);
    value = n;
    return read;
}

inline int KoParseNumber(KoInt64& value, const KoString& text, const char* format,
                         unsigned& errorAt)
{
    o_8b n = value.Get8b();
    const int rc = KoParseNumber(n, text, format, errorAt);
    value = n;
    return rc;
}

#endif
