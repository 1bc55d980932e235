#ifndef KO_CORE_NUMBER_TYPE_H
#define KO_CORE_NUMBER_TYPE_H

#include "core/bytes.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"

#include <cmath>
#include <concepts>
#include <type_traits>

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

/// The sort key of an array of a type of numbers; see KoSortKeyFunc.
template <class Type>
unsigned NumbersSortKey(void* key, unsigned room, const void* value, unsigned char format,
                        unsigned count)
{
    const auto keys = [&](auto swap) {
        return WriteElementKeys<Type::kSize>(
            key, room, value, Type::kSize, count,
            [swap](unsigned char* out, const unsigned char* at) {
                PutKeyWord(out, Type::KeyBits(Type::Read(at, swap.value)));
                return Type::kSize;
            });
    };
    return KoNeedsSwap(format) ? keys(std::true_type()) : keys(std::false_type());
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
