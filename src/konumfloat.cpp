#include "konumformat.h"
#include "konumtext.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{

/// Digits after the point beyond which every double has only zeros.
constexpr int kMaxFraction = 1074;
/// Room for 309 digits, the point and kMaxFraction digits, or the same with an exponent.
constexpr std::size_t kRoom = 1500;

/// The number of digits that %g asks for, and whether it takes the form with an exponent.
struct GeneralForm {
    int precision;
    bool scientific;
};

/// What %#g does: the choice of %g by the exponent of the rounded number, zeros kept.
GeneralForm ChooseForm(double value, int precision)
{
    char text[kRoom];
    const int digits = precision < kMaxFraction ? precision : kMaxFraction;
    const char* end =
        std::to_chars(text, text + kRoom, value, std::chars_format::scientific, digits - 1).ptr;
    const char* p = end;
    while (*--p != 'e') {
    }
    int exponent = 0;
    std::from_chars(p + 2, end, exponent);
    if (p[1] == '-')
        exponent = -exponent;
    if (exponent < -4 || exponent >= precision)
        return {precision - 1, true};
    return {precision - 1 - exponent, false};
}

template <class T>
std::size_t PrintShortest(char (&out)[kRoomForShortest], T value)
{
    if (!std::isfinite(value))
        return KoPrintFloating(out, sizeof out, kFloatingFormat, double{value});
    char* const limit = out + sizeof out;
    char* end = std::to_chars(out, limit, value, std::chars_format::scientific).ptr;
    const char* exponent = std::find(out, end, 'e') + 1;
    int power = 0;
    std::from_chars(exponent + (*exponent == '+'), end, power);
    if (power >= -4 && power < 17)
        end = std::to_chars(out, limit, value, std::chars_format::fixed).ptr;
    return static_cast<std::size_t>(end - out);
}

/// What an integer conversion makes of a floating number.
std::size_t WriteAsInteger(char* out, std::size_t capacity, KoNumFormat format, double value)
{
    const bool isSigned = format.conversion == 'd' || format.conversion == 'i' ||
                          format.conversion == 'S' || value < 0;
    if (format.conversion == 'S')
        format.conversion = 'd';
    const o_u8b bits = KoCutToInteger(value, isSigned);
    const bool negative =
        (format.conversion == 'd' || format.conversion == 'i') && (bits >> 63) != 0;
    return KoWriteInteger(out, capacity, format, negative ? 0 - bits : bits, negative);
}

/// A floating number in the digits of a format.
struct Digits {
    char* end;
    char conversion;         ///< in lower case; 'e' or 'f' where "%#g" has chosen
    unsigned trailZeros = 0; ///< that the precision asks for beyond the digits
};

/// Writes a number of 0 and above, or one that is none, without its sign.
Digits WriteDigits(char (&text)[kRoom], const KoNumFormat& format, double value)
{
    char conversion = ko::ToLower(format.conversion);
    if (!std::isfinite(value))
        return {std::to_chars(text, text + kRoom, value).ptr, conversion};
    if (conversion == 'a' && format.precision < 0)
        return {std::to_chars(text, text + kRoom, value, std::chars_format::hex).ptr, conversion};
    int precision = format.precision < 0 ? 6 : format.precision;
    if (conversion == 'g' && precision == 0)
        precision = 1;
    if (conversion == 'g' && format.Has(kNumAlt)) {
        const GeneralForm choice = ChooseForm(value, precision);
        precision = choice.precision;
        conversion = choice.scientific ? 'e' : 'f';
    }
    const auto form = conversion == 'e'   ? std::chars_format::scientific
                      : conversion == 'f' ? std::chars_format::fixed
                      : conversion == 'a' ? std::chars_format::hex
                                          : std::chars_format::general;
    Digits digits{nullptr, conversion};
    const int most = conversion == 'a' ? 13 : kMaxFraction;
    if (precision > most) {
        digits.trailZeros = conversion == 'g' ? 0 : static_cast<unsigned>(precision - most);
        precision = most;
    }
    digits.end = std::to_chars(text, text + kRoom, value, form, precision).ptr;
    return digits;
}

} // namespace

std::size_t KoWriteFloating(char* out, std::size_t capacity, const KoNumFormat& format,
                            double value)
{
    if (!format.isFloating)
        return WriteAsInteger(out, capacity, format, value);
    char text[kRoom];
    KoNumBody body;
    body.digits = text;
    body.AddSign(format, std::signbit(value));
    value = std::fabs(value);
    const bool isNumber = std::isfinite(value);
    const auto [end, conversion, trailZeros] = WriteDigits(text, format, value);
    body.trailZeros = trailZeros;
    const char* mark = end;
    if (isNumber) {
        if (conversion == 'a') {
            body.AddHead('0');
            body.AddHead(format.conversion == 'a' ? 'x' : 'X');
        }
        if (conversion != 'f')
            mark = std::find(text, end, conversion == 'a' ? 'p' : 'e');
        body.zeroPadded = format.Has(kNumZero);
    }
    if (format.conversion < 'a')
        std::transform(text, end, text, ko::ToUpper);
    body.tail = mark;
    body.tailCount = static_cast<std::size_t>(end - mark);
    body.digitCount = static_cast<std::size_t>(mark - text);
    // The flag # asks for a point even with no digit after it.
    char pointed[kRoom + 1];
    if (format.Has(kNumAlt) && isNumber && std::memchr(text, '.', body.digitCount) == nullptr) {
        std::memcpy(pointed, text, body.digitCount);
        pointed[body.digitCount++] = '.';
        body.digits = pointed;
    }
    return KoWriteNumField(out, capacity, format, body);
}

std::size_t KoPrintFloating(char* out, std::size_t capacity, const char* format, double value)
{
    int precision;
    const char bare = KoBareConversion(format, precision);
    if (bare == 'g' && precision == 17 && capacity >= kRoomFor17) {
        char* p = out;
        if (std::signbit(value))
            *p++ = '-';
        if (char* end = KoPut17Digits(p, std::fabs(value)); end != nullptr)
            return static_cast<std::size_t>(end - out);
    }
    return KoWriteFloating(out, capacity, KoParseNumFormat(format, kFloatingFormat), value);
}

std::size_t KoPrintShortest(char (&out)[kRoomForShortest], float value)
{
    return PrintShortest(out, value);
}

std::size_t KoPrintShortest(char (&out)[kRoomForShortest], double value)
{
    return PrintShortest(out, value);
}

o_u8b KoCutToInteger(double value, bool isSigned)
{
    constexpr double kTwo63 = 9223372036854775808.0;
    constexpr o_u8b kMax = ~0ULL;
    if (std::isnan(value))
        return 0;
    if (isSigned) {
        if (value >= kTwo63)
            return kMax >> 1;
        if (value < -kTwo63)
            return 1ULL << 63;
        return static_cast<o_u8b>(static_cast<o_8b>(value));
    }
    if (value >= 2 * kTwo63)
        return kMax;
    return value <= 0 ? 0 : static_cast<o_u8b>(value);
}
