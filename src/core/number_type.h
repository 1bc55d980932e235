#ifndef KO_CORE_NUMBER_TYPE_H
#define KO_CORE_NUMBER_TYPE_H

#include "core/bytes.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstring>
#include <type_traits>

// What it takes to turn the bytes of many numbers round at once. 64-bit Windows aligns its stack to
// 16 bytes only, and GCC there spills wide registers with aligned stores.
#if defined(__x86_64__) && defined(_WIN32) && !defined(__clang__)
#define KO_KEY_VECTORS "ssse3"
#elif defined(__x86_64__)
#define KO_KEY_VECTORS "avx2"
#endif

namespace ko
{

/// How an element that is one number is read, ordered and hashed, in memory and in every persistent
/// form: its size is the same in all of them.
template <class T>
struct NumberType {
    using Value = T;
    static constexpr unsigned kSize = sizeof(T);

    static T Read(const unsigned char* at, bool swap) noexcept { return ReadNumber<T>(at, swap); }

    /// -1, 0 or 1. A NaN is below everything else and equal to another NaN; -0 equals 0.
    static int Order(T a, T b) noexcept
    {
        if constexpr (std::floating_point<T>) {
            if (std::isnan(a) || std::isnan(b))
                return static_cast<int>(std::isnan(b)) - static_cast<int>(std::isnan(a));
        }
        return ThreeWay(a, b);
    }

    static void AddHash(Hasher& hasher, T n) noexcept { hasher.Add(HashWord(n)); }

    /// The number that stands for an element in sort keys, and the way back.
    using KeyWord = ko::KeyWord<T>;
    static KeyWord KeyBits(T n) noexcept { return ko::KeyBits(n); }
    static bool FromKeyBits(T& n, KeyWord bits) noexcept { return ko::FromKeyBits(n, bits); }
};

/// The keys of `count` elements of a type of numbers one after another.
template <class Type, bool swap>
[[gnu::always_inline]] inline void PutNumberKeysPlain(unsigned char* out, const unsigned char* at,
                                                      unsigned count)
{
    for (std::size_t i = 0; i < count; ++i)
        PutKeyWord(out + i * Type::kSize, Type::KeyBits(Type::Read(at + i * Type::kSize, swap)));
}

#if defined(KO_KEY_VECTORS)
/// The same loop, of which the compiler makes one over vectors.
template <class Type, bool swap>
__attribute__((target(KO_KEY_VECTORS))) void
PutNumberKeysVector(unsigned char* out, const unsigned char* at, unsigned count)
{
    PutNumberKeysPlain<Type, swap>(out, at, count);
}
#endif

template <class Type, bool swap>
void PutNumberKeys(unsigned char* out, const unsigned char* at, unsigned count)
{
#if defined(KO_KEY_VECTORS)
    constexpr unsigned kFew = 8;
    static const bool kHasVectors = __builtin_cpu_supports(KO_KEY_VECTORS) != 0;
    if (count > kFew && kHasVectors)
        return PutNumberKeysVector<Type, swap>(out, at, count);
#endif
    PutNumberKeysPlain<Type, swap>(out, at, count);
}

/// The sort key of an array of a type of numbers; see KoSortKeyFunc.
template <class Type>
unsigned NumbersSortKey(void* key, unsigned room, const void* value, unsigned char format,
                        unsigned count)
{
    const auto put = KoNeedsSwap(format) ? PutNumberKeys<Type, true> : PutNumberKeys<Type, false>;
    auto* const out = static_cast<unsigned char*>(key);
    const auto* const elements = static_cast<const unsigned char*>(value);
    const unsigned given = out != nullptr ? room : 0;
    const unsigned whole = std::min(count, given / Type::kSize);
    put(out, elements, whole);
    if (const unsigned left = given - whole * Type::kSize; whole < count && left > 0) {
        const std::size_t end = std::size_t{whole} * Type::kSize;
        unsigned char cut[Type::kSize];
        put(cut, elements + end, 1);
        std::memcpy(out + end, cut, left);
    }
    return KeyLength(o_u8b{count} * Type::kSize);
}

/// The element whose key stands at `at`: the bytes of its key, 0 where there is none.
template <class Type>
unsigned ReadNumberKey(typename Type::Value& element, const unsigned char* at, unsigned left)
{
    using Word = typename Type::KeyWord;
    const bool read = left >= Type::kSize && Type::FromKeyBits(element, GetKeyWord<Word>(at));
    return read ? Type::kSize : 0;
}

} // namespace ko

#endif
