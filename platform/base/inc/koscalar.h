#ifndef KOSCALAR_H
#define KOSCALAR_H

/// Scalar names with the same width on every platform, and the export macro of
/// the base-services library. `long` never appears in a stored or exported type:
/// its width differs between the systems.

#if __cplusplus < 202002L && (!defined(_MSVC_LANG) || _MSVC_LANG < 202002L)
#error "The headers of kotms need C++20: compile with -std=c++20 or a later standard."
// What follows would be hundreds of errors more: a header that is not there ends the compilation.
#include "kotms-needs-c++20"
#endif

/// A program that uses names such as Monday, MemFile, overlaps, IntHash or StringCompare itself
/// defines KO_NO_GLOBAL_NAMES before it includes the headers (or with -D for all of its files).
/// Then, of the names that do not begin with a prefix of the library:
/// - the weekdays are ko::Monday to ko::Sunday, or KoDaysOfTheWeek::Monday;
/// - overlaps (koodmg.h) is ko::overlaps;
/// - the functions of single types (kotypcmp.h, kotyphash.h, kotypconv.h, koencode.h, those that
///   begin with String and HashString, BlobCompare, BooleanCompare, Int64Compare) are left out, as
///   KoTypeMgr does by the id of a type what they do;
/// - MemFile and the calls that take one, and DefaultConfig, are left out.
///
/// Objects and exported symbols are the same in both ways, so files of one program may differ. What
/// the macro cannot hide is the libraries' own symbols: a class of the program's that is named
/// MemFile or DefaultConfig too should have no member function with the name and the parameters of
/// one there.
#if defined(KO_NO_GLOBAL_NAMES)
/// Around declarations that move into the namespace, each with the symbol that it has outside.
#define KO_GLOBAL_NAMES_BEGIN                                                                      \
    namespace ko                                                                                   \
    {
#define KO_GLOBAL_NAMES_END }
#define KO_GLOBAL_SYMBOL(symbol) __asm__(symbol)
#else
#define KO_GLOBAL_NAMES_BEGIN
#define KO_GLOBAL_NAMES_END
#define KO_GLOBAL_SYMBOL(symbol)
#endif

#if defined(_WIN32)
#if defined(KOBASE_BUILD)
#define KOBASE_API __declspec(dllexport)
#elif defined(KO_STATIC)
#define KOBASE_API
#else
#define KOBASE_API __declspec(dllimport)
#endif
#else
#define KOBASE_API __attribute__((visibility("default")))
#endif

using o_char = signed char;       ///< 8 bits, signed
using o_1b = signed char;         ///< 8 bits, signed
using o_u1b = unsigned char;      ///< 8 bits, unsigned
using o_2b = short;               ///< 16 bits, signed
using o_u2b = unsigned short;     ///< 16 bits, unsigned
using o_4b = int;                 ///< 32 bits, signed
using o_u4b = unsigned int;       ///< 32 bits, unsigned
using o_8b = long long;           ///< 64 bits, signed
using o_u8b = unsigned long long; ///< 64 bits, unsigned
using o_float = float;            ///< IEEE 754 binary32
using o_double = double;          ///< IEEE 754 binary64

static_assert(sizeof(o_2b) == 2 && sizeof(o_4b) == 4 && sizeof(o_8b) == 8);
static_assert(sizeof(o_float) == 4 && sizeof(o_double) == 8);

/// True for an enumeration whose enumerators are bits to be joined. |, & and ^ of two of them, and
/// ~ of one, are of the enumeration again, which its underlying type takes without a warning.
template <class E>
inline constexpr bool koIsBits = false;

template <class E>
concept KoBits = koIsBits<E>;

template <KoBits E>
constexpr E operator|(E a, E b) noexcept
{
    return static_cast<E>(+a | +b);
}
template <KoBits E>
constexpr E operator&(E a, E b) noexcept
{
    return static_cast<E>(+a & +b);
}
template <KoBits E>
constexpr E operator^(E a, E b) noexcept
{
    return static_cast<E>(+a ^ +b);
}
template <KoBits E>
constexpr E operator~(E a) noexcept
{
    return static_cast<E>(~+a);
}
template <KoBits E>
constexpr E& operator|=(E& a, E b) noexcept
{
    return a = a | b;
}
template <KoBits E>
constexpr E& operator&=(E& a, E b) noexcept
{
    return a = a & b;
}

/// The format byte, passed to every function that reads or writes values.
enum KoFormat : unsigned char {
    KoFMT_LITTLE = 1,        ///< persistent, least significant byte first
    KoFMT_BIG = 2,           ///< persistent, most significant byte first
    KoFMT_MEMORY = 8,        ///< the form in which the running process holds the value
    KoFMT_IGNORE_CS = 0x20,  ///< strings: ignore the code set of a stored string
    KoFMT_NATIVE_CS = 0x40,  ///< strings: a stored string without code set is in the native one
    KoFMT_KEY = 0x80,        ///< strings: the key form used in indexes
    KoFMT_ORDER_MASK = 0x0F, ///< the bits that choose the byte order
};
template <>
inline constexpr bool koIsBits<KoFormat> = true;

#endif
