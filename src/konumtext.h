#ifndef KONUMTEXT_H
#define KONUMTEXT_H

#include <kobasic.h>

#include <cstddef>
#include <type_traits>

class KoString;

/// Numbers to text and back under a format of the application. Nothing here depends on the
/// locale, allocates (but for the KoString forms) or calls printf.
///
/// A format is literal text around one conversion, `%[flags][width][.precision][modifier]c`:
///
/// | part       | accepted                                                                      |
/// |------------|-------------------------------------------------------------------------------|
/// | flags      | `-` `+` space `0` `#`, with their meaning in C                                |
/// | width      | up to 65531, the longest text of a KoString; more counts as that              |
/// | precision  | as the width                                                                  |
/// | modifier   | `h` `hh` `l` `ll` `L` `j` `z` `t` `q` `I64` `I32`; accepted, means nothing    |
/// | conversion | `d i u o x X c e E f F g G a A`, and `S`: decimal, as the type's sign asks    |
/// | `%%`       | one percent sign, in the literal text                                         |
///
/// A foreign format (no conversion or more than one, `*`, `%s`, `%n`, `%p`, anything else) is not
/// used at all: the default format of the value's type takes its place, as it does for null. That
/// is `%c` for 8-bit integers, `%d` and `%u` for the wider ones, `%.17g` for floating numbers.
///
/// An integer under a floating conversion is converted to double. A floating number under an
/// integer conversion is cut to its integral part, held to the 64-bit limits (NaN gives 0).
/// `u o x X` show a negative integer modulo 2 to its own width; `d` and `i` show an unsigned
/// integer of 32 or 64 bits as the signed one of these bits. `c` shows the low 8 bits as a
/// character, 0 as no character. Infinity and NaN are "inf" and "nan" with their sign.

/// How the bits of an integer are read.
struct KoIntType {
    unsigned bits; ///< 8, 16, 32 or 64
    bool isSigned;
};

/// Writes `value`, sign-extended or zero-extended from `type`, without a terminator. Returns the
/// length of the whole text; at most `capacity` characters are written.
std::size_t KoPrintInteger(char* out, std::size_t capacity, const char* format, o_u8b value,
                           KoIntType type);
std::size_t KoPrintFloating(char* out, std::size_t capacity, const char* format, double value);

/// The text of a number for which no format was asked: the fewest digits that read back as the same
/// number of its type, 6.1 and not 6.0999999999999996, and of these the nearest ones. It has an
/// exponent below 1e-4 and from 1e17 on, as "%.17g" has, so that whole numbers are written out;
/// infinities and NaN are those of "%.17g". Returns the length, below that of the room.
inline constexpr std::size_t kRoomForShortest = 32;
std::size_t KoPrintShortest(char (&out)[kRoomForShortest], float value);
std::size_t KoPrintShortest(char (&out)[kRoomForShortest], double value);

/// Lenient reading, as scanf does it under the same format: literals must match, white space
/// before the number is skipped, a width bounds the characters of the number, what follows is not
/// looked at. `d u S` read decimal, `o` octal, `x X` hexadecimal, `i` by the prefix 0x or 0, `c`
/// one character. Returns false, the value unchanged, where there is no number.
///
/// Integers saturate at the limits of 32 bits (types of up to 32 bits) or of 64 bits, and are then
/// cut to their own width. Floating numbers beyond the range give an infinity or zero.
bool KoScanInteger(o_u8b& value, const char* text, std::size_t length, const char* format,
                   KoIntType type);
/// `single`: rounds to the nearest 32-bit number.
bool KoScanFloating(double& value, const char* text, std::size_t length, const char* format,
                    bool single);

/// Strict reading of a whole text. Returns 0, or -1 with the value unchanged and `errorAt` the
/// position of the first character that does not belong: the length of the text when it ends too
/// early, the start of the number when it is out of the range of its type.
///
/// | conversion      | accepted                                                                |
/// |-----------------|-------------------------------------------------------------------------|
/// | `d i u S`       | [+-] decimal digits                                                     |
/// | `o`             | [+-] octal digits                                                       |
/// | `x X`           | [+-] [0x] hexadecimal digits of either case                             |
/// | `c`             | one character, or none for 0                                            |
/// | `e f g` and `E` | [+-] digits [. digits] [e[+-]digits], [+-] inf, infinity, nan, in any   |
/// | `F G`           | case; for an integer the value must be integral                         |
/// | `a A`           | [+-] 0x hexadecimal digits [. digits] [p[+-]digits], inf, nan as above   |
///
/// The literal text of the format must stand as it is. Blanks are refused but where the format
/// itself pads with them. What a conversion prints for a value is read back to that value: the
/// range is that of the type, under `u o x X` also the unsigned one and under `d i` also the signed
/// one of its width.
int KoParseInteger(o_u8b& value, const char* text, std::size_t length, const char* format,
                   KoIntType type, unsigned& errorAt);
int KoParseFloating(double& value, const char* text, std::size_t length, const char* format,
                    bool single, unsigned& errorAt);

template <class T>
inline constexpr KoIntType koIntType = {sizeof(T) * 8, std::is_signed_v<T>};

/// The same for any scalar of the library: o_char to o_u8b, float, double.
template <class T>
std::size_t KoPrintNumber(char* out, std::size_t capacity, const char* format, T value)
{
    if constexpr (std::is_floating_point_v<T>)
        return KoPrintFloating(out, capacity, format, value);
    else
        return KoPrintInteger(out, capacity, format, static_cast<o_u8b>(value), koIntType<T>);
}

template <class T>
bool KoScanNumber(T& value, const char* text, std::size_t length, const char* format)
{
    using Wide = std::conditional_t<std::is_floating_point_v<T>, double, o_u8b>;
    Wide wide = static_cast<Wide>(value);
    bool read;
    if constexpr (std::is_floating_point_v<T>)
        read = KoScanFloating(wide, text, length, format, sizeof(T) == 4);
    else
        read = KoScanInteger(wide, text, length, format, koIntType<T>);
    if (read)
        value = static_cast<T>(wide);
    return read;
}

template <class T>
int KoParseNumber(T& value, const char* text, std::size_t length, const char* format,
                  unsigned& errorAt)
{
    using Wide = std::conditional_t<std::is_floating_point_v<T>, double, o_u8b>;
    Wide wide{};
    int rc;
    if constexpr (std::is_floating_point_v<T>)
        rc = KoParseFloating(wide, text, length, format, sizeof(T) == 4, errorAt);
    else
        rc = KoParseInteger(wide, text, length, format, koIntType<T>, errorAt);
    if (rc == 0)
        value = static_cast<T>(wide);
    return rc;
}

#endif
