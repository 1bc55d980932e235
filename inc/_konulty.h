#ifndef KONULTY_H
#define KONULTY_H

#include "kobasic.h"
#include "koint64.h"

#include <koservices.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <optional>
#include <type_traits>

/// What may be assigned to an element whose value is of a class.
template <class U, class T>
concept KoNumberOf = std::is_class_v<T> &&(std::same_as<U, T> || std::integral<U>);

/// A scalar that can be null: the memory form of the types KoNULL_1B_T to KoNULL_KOINT64_T,
/// KoNULL_8B_T and KoNULL_U8B_T.
///
/// A default-initialised element is not set up; `KoNull_int n{}` is 0 and not null.
///
///     KoNull_int n{5, 0};
///     n = 7;                        // not null any more, if it was
///     n = std::nullopt;             // null
///     std::optional<int> number = n; // empty
///     n = number;
///
/// Comparisons order as the type manager does: null before all values, two nulls equal, numbers by
/// value, and of floating ones a NaN below minus infinity and equal to another NaN, -0 equal to 0.
/// A value, an optional one or std::nullopt may stand on either side. The order is a strict weak
/// one, so that std::sort and std::map may use it; std::hash (kostd.h) agrees with it.
template <class T>
struct KoNull {
    T value;
    signed char null; ///< not 0: null

    static constexpr KoNull Of(const T& number) { return {number, 0}; }
    static constexpr KoNull Null() { return {T(0), 1}; }

    /// The value, not null.
    constexpr KoNull& operator=(T number) requires std::is_arithmetic_v<T>
    {
        return *this = Of(number);
    }
    /// The same of a class. It deduces its operand, so that `n = {}` still means an element.
    template <KoNumberOf<T> U>
    constexpr KoNull& operator=(const U& number)
    {
        return *this = Of(T(number));
    }
    /// Null, with a zero value.
    constexpr KoNull& operator=(std::nullopt_t) { return *this = Null(); }
    /// The value, or null for an empty one.
    template <std::same_as<T> U>
    constexpr KoNull& operator=(const std::optional<U>& number)
    {
        return *this = number ? Of(*number) : Null();
    }
    /// Empty for null.
    constexpr operator std::optional<T>() const
    {
        return null != 0 ? std::nullopt : std::optional<T>(value);
    }

    /// The indicator: not 0 when null.
    int IsNullValue() const { return null; }
    /// Makes the element null, with a zero value. Returns 0.
    int SetNullValue()
    {
        value = T(0);
        null = 1;
        return KoRC_OK;
    }

    friend constexpr std::weak_ordering operator<=>(const KoNull& a, const KoNull& b)
    {
        if (a.null != 0 || b.null != 0)
            return (b.null != 0) <=> (a.null != 0);
        if (a.value == b.value)
            return std::weak_ordering::equivalent;
        if constexpr (std::floating_point<T>) // of a NaN alone no order holds
            if (const bool nan = a.value != a.value; nan || b.value != b.value)
                return (b.value != b.value) <=> nan;
        return a.value < b.value ? std::weak_ordering::less : std::weak_ordering::greater;
    }
    friend constexpr std::weak_ordering operator<=>(const KoNull& a, const T& b)
    {
        return a <=> Of(b);
    }
    friend constexpr std::weak_ordering operator<=>(const KoNull& a, std::nullopt_t)
    {
        return a <=> Null();
    }
    /// Without these the standard's own would ask whether an optional number equals null.
    template <std::same_as<T> U>
    friend constexpr std::weak_ordering operator<=>(const KoNull& a, const std::optional<U>& b)
    {
        return a <=> (b ? Of(*b) : Null());
    }
    template <std::same_as<T> U>
    friend constexpr bool operator==(const KoNull& a, const std::optional<U>& b)
    {
        return std::is_eq(a <=> b);
    }
    friend constexpr bool operator==(const KoNull& a, const KoNull& b)
    {
        return std::is_eq(a <=> b);
    }
    friend constexpr bool operator==(const KoNull& a, const T& b) { return std::is_eq(a <=> b); }
    friend constexpr bool operator==(const KoNull& a, std::nullopt_t) { return a.null != 0; }
};

using KoNull_char = KoNull<o_char>;
using KoNull_uchar = KoNull<o_u1b>;
using KoNull_short = KoNull<o_2b>;
using KoNull_ushort = KoNull<o_u2b>;
using KoNull_int = KoNull<int>;
using KoNull_unsigned = KoNull<unsigned>;
using KoNull_long = KoNull<o_4b>;
using KoNull_ulong = KoNull<o_u4b>;
using KoNull_float = KoNull<o_float>;
using KoNull_double = KoNull<o_double>;
using KoNull_KoInt64 = KoNull<KoInt64>;
using KoNull_8b = KoNull<o_8b>;
using KoNull_u8b = KoNull<o_u8b>;

/// How two operands that may be null stand to each other.
enum KoNullRelation : int {
    KoNULL_NEITHER = 0, ///< the values decide
    KoNULL_FIRST = 1,   ///< the first operand alone is null
    KoNULL_SECOND = 2,  ///< the second operand alone is null
    KoNULL_UNKNOWN = 3, ///< must not occur
};

/// The order that a null relation gives: 0, -1 (the first operand is null and comes first) or 1; -2
/// for any other code. KoNULL_UNKNOWN is reported as an assertion as well.
inline int KoNullRelationOrder(int relation)
{
    switch (relation) {
    case KoNULL_NEITHER:
        return 0;
    case KoNULL_FIRST:
        return -1;
    case KoNULL_SECOND:
        return 1;
    case KoNULL_UNKNOWN:
        // Fixed text that programs look for; file and line are no place in these sources.
        KORA_assert("nr != unknown", "_konulty", 168);
        return -2;
    default:
        return -2;
    }
}

#endif
