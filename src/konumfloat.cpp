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

char Lower(char c)
{
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

void ToUpper(char* s, const char* end)
{
    for (; s < end; ++s)
        *s = static_cast<char>(*s >= 'a' && *s <= 'z' ? *s - 'a' + 'A' : *s);
}

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

/// Matches a word in any case at the cursor, which moves past it.
bool Word(KoNumCursor& cursor, const char* word)
{
    const char* p = cursor.pos;
    for (; *word != '\0'; ++word, ++p) {
        if (p == cursor.end || Lower(*p) != *word)
            return false;
    }
    cursor.pos = p;
    return true;
}

bool IsHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (Lower(c) >= 'a' && Lower(c) <= 'f');
}

/// The end of a hexadecimal number in `[p, end)`, `p` where it has no digit. from_chars alone would
/// take an exponent with two signs.
const char* HexEnd(const char* p, const char* end)
{
    const char* start = p;
    bool digits = false;
    for (bool point = false; p < end && (IsHexDigit(*p) || (*p == '.' && !point)); ++p) {
        point = point || *p == '.';
        digits = digits || *p != '.';
    }
    if (!digits)
        return start;
    if (p < end && Lower(*p) == 'p') {
        const char* exponent = p + 1;
        if (exponent < end && (*exponent == '+' || *exponent == '-'))
            ++exponent;
        if (exponent < end && *exponent >= '0' && *exponent <= '9') {
            for (p = exponent; p < end && *p >= '0' && *p <= '9'; ++p) {
            }
        }
    }
    return p;
}

/// True when a number that from_chars found out of range is too large, not too small: the power
/// of its first digit that is not 0, with its exponent, is positive.
bool IsTooLarge(const char* p, const char* end, bool hex)
{
    const char mark = hex ? 'p' : 'e';
    const o_8b step = hex ? 4 : 1;
    o_8b power = 0;
    bool point = false;
    bool found = false;
    for (; p < end && Lower(*p) != mark; ++p) {
        if (*p == '.') {
            point = true;
            continue;
        }
        found = found || *p != '0';
        if (found && !point)
            power += step;
        else if (!found && point)
            power -= step;
    }
    if (p == end)
        return power > 0;
    ++p;
    bool negative = false;
    if (p < end && (*p == '-' || *p == '+'))
        negative = *p++ == '-';
    // An exponent that no text could outweigh is held there.
    o_8b exponent = 0;
    for (; p < end && exponent < (1LL << 40); ++p)
        exponent = exponent * 10 + (*p - '0');
    return power + (negative ? -exponent : exponent) > 0;
}

template <class T>
bool ReadAs(KoNumCursor& cursor, bool hex, double& value, bool& overflow)
{
    T result{};
    const auto [end, error] = hex ? std::from_chars(cursor.pos, HexEnd(cursor.pos, cursor.end),
                                                    result, std::chars_format::hex)
                                  : std::from_chars(cursor.pos, cursor.end, result);
    if (error == std::errc::invalid_argument)
        return false;
    if (error == std::errc::result_out_of_range) {
        overflow = IsTooLarge(cursor.pos, end, hex);
        result = overflow ? std::numeric_limits<T>::infinity() : T{};
    }
    value = static_cast<double>(result);
    cursor.pos = end;
    return true;
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

} // namespace

std::size_t KoWriteFloating(char* out, std::size_t capacity, const KoNumFormat& format,
                            double value)
{
    if (!format.isFloating) {
        const bool isSigned = format.conversion == 'd' || format.conversion == 'i' ||
                              format.conversion == 'S' || value < 0;
        KoNumFormat integer = format;
        if (integer.conversion == 'S')
            integer.conversion = 'd';
        o_u8b bits = KoCutToInteger(value, isSigned);
        const bool negative =
            (integer.conversion == 'd' || integer.conversion == 'i') && (bits >> 63) != 0;
        return KoWriteInteger(out, capacity, integer, negative ? 0 - bits : bits, negative);
    }
    char text[kRoom];
    KoNumBody body;
    body.digits = text;
    body.AddSign(format, std::signbit(value));
    value = std::fabs(value);
    char conversion = Lower(format.conversion);
    char* end;
    if (!std::isfinite(value)) {
        end = std::to_chars(text, text + kRoom, value).ptr;
    } else if (conversion == 'a' && format.precision < 0) {
        end = std::to_chars(text, text + kRoom, value, std::chars_format::hex).ptr;
    } else {
        int precision = format.precision < 0 ? 6 : format.precision;
        auto form = std::chars_format::general;
        if (conversion == 'g' && precision == 0)
            precision = 1;
        if (conversion == 'g' && format.Has(kNumAlt)) {
            const GeneralForm choice = ChooseForm(value, precision);
            precision = choice.precision;
            conversion = choice.scientific ? 'e' : 'f';
        }
        if (conversion == 'e')
            form = std::chars_format::scientific;
        else if (conversion == 'f')
            form = std::chars_format::fixed;
        else if (conversion == 'a')
            form = std::chars_format::hex;
        const int most = conversion == 'a' ? 13 : kMaxFraction;
        if (precision > most) {
            body.trailZeros = conversion == 'g' ? 0 : static_cast<unsigned>(precision - most);
            precision = most;
        }
        end = std::to_chars(text, text + kRoom, value, form, precision).ptr;
    }
    char* mark = end;
    if (std::isfinite(value)) {
        if (conversion == 'a') {
            body.AddHead('0');
            body.AddHead(format.conversion == 'a' ? 'x' : 'X');
        }
        if (conversion != 'f') {
            const char sought = conversion == 'a' ? 'p' : 'e';
            mark =
                static_cast<char*>(std::memchr(text, sought, static_cast<std::size_t>(end - text)));
            mark = mark == nullptr ? end : mark;
        }
        body.zeroPadded = format.Has(kNumZero);
    }
    if (format.conversion < 'a')
        ToUpper(text, end);
    body.tail = mark;
    body.tailCount = static_cast<std::size_t>(end - mark);
    body.digitCount = static_cast<std::size_t>(mark - text);
    // The flag # asks for a point even with no digit behind it.
    char pointed[kRoom + 1];
    if (format.Has(kNumAlt) && std::isfinite(value) &&
        std::memchr(text, '.', body.digitCount) == nullptr) {
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

bool KoReadReal(KoNumCursor& cursor, KoFloatForm form, bool single, double& value, bool& overflow)
{
    overflow = false;
    if (Word(cursor, "infinity") || Word(cursor, "inf")) {
        value = std::numeric_limits<double>::infinity();
        return true;
    }
    if (Word(cursor, "nan")) {
        value = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    const bool hex = form != KoFloatForm::decimal && cursor.end - cursor.pos >= 3 &&
                     cursor.pos[0] == '0' && Lower(cursor.pos[1]) == 'x' &&
                     HexEnd(cursor.pos + 2, cursor.end) != cursor.pos + 2;
    if (form == KoFloatForm::hex && !hex)
        return false;
    // A second sign is none of the number's.
    if (!cursor.AtEnd() && *cursor.pos == '-')
        return false;
    if (hex)
        cursor.pos += 2;
    return single ? ReadAs<float>(cursor, hex, value, overflow)
                  : ReadAs<double>(cursor, hex, value, overflow);
}

namespace
{

/// The short way of reading: a decimal number at the very start of the text, under a format that
/// is just a conversion, in the range of the type. Null where it is not all that.
const char* ReadBareReal(double& value, const char* text, std::size_t length, const char* format,
                         bool single)
{
    int precision;
    const char bare = Lower(KoBareConversion(format, precision));
    const char* end = text + length;
    const char* digit = text + (length != 0 && *text == '-' ? 1 : 0);
    if ((bare != 'g' && bare != 'e' && bare != 'f') || digit == end || *digit < '0' || *digit > '9')
        return nullptr;
    std::from_chars_result read;
    if (single) {
        float n = 0;
        read = std::from_chars(text, end, n);
        value = read.ec == std::errc() ? static_cast<double>(n) : value;
    } else {
        read = std::from_chars(text, end, value);
    }
    // What stopped at an x is hexadecimal.
    if (read.ec != std::errc() || (read.ptr != end && Lower(*read.ptr) == 'x'))
        return nullptr;
    return read.ptr;
}

bool ScanAny(double& value, const char* text, std::size_t length, const char* format, bool single)
{
    const KoNumFormat parsed = KoParseNumFormat(format, kFloatingFormat);
    KoNumCursor cursor(text, length);
    if (!parsed.isFloating) {
        o_u8b bits = 0;
        const bool isSigned = parsed.conversion != 'u';
        if (!KoScanInteger(bits, text, length, format, {64, isSigned}))
            return false;
        value = isSigned ? static_cast<double>(static_cast<o_8b>(bits)) : static_cast<double>(bits);
        return true;
    }
    if (!cursor.Match(parsed.prefix, parsed.prefixEnd, false))
        return false;
    cursor.SkipSpace();
    if (parsed.width != 0 && cursor.end - cursor.pos > static_cast<std::ptrdiff_t>(parsed.width))
        cursor.end = cursor.pos + parsed.width;
    const bool negative = cursor.Sign();
    double real;
    bool overflow;
    if (!KoReadReal(cursor, KoFloatForm::either, single, real, overflow))
        return false;
    value = negative ? -real : real;
    return true;
}

int ParseAny(double& value, const char* text, std::size_t length, const char* format, bool single,
             unsigned& errorAt)
{
    const KoNumFormat parsed = KoParseNumFormat(format, kFloatingFormat);
    if (!parsed.isFloating) {
        o_u8b bits = 0;
        const bool isSigned = parsed.conversion != 'u';
        const int rc = KoParseInteger(bits, text, length, format, {64, isSigned}, errorAt);
        if (rc == 0)
            value =
                isSigned ? static_cast<double>(static_cast<o_8b>(bits)) : static_cast<double>(bits);
        return rc;
    }
    KoNumCursor cursor(text, length);
    const auto fail = [&](const char* at) {
        errorAt = static_cast<unsigned>(at - cursor.begin);
        return -1;
    };
    if (!cursor.Match(parsed.prefix, parsed.prefixEnd, true))
        return fail(cursor.pos);
    cursor.SkipPadding(parsed.PadsBefore());
    const char* start = cursor.pos;
    const bool negative = cursor.Sign();
    const bool hex = parsed.conversion == 'a' || parsed.conversion == 'A';
    double real;
    bool overflow;
    if (!KoReadReal(cursor, hex ? KoFloatForm::hex : KoFloatForm::decimal, single, real, overflow))
        return fail(cursor.pos);
    cursor.SkipPadding(parsed.PadsAfter());
    if (!cursor.Match(parsed.suffix, parsed.suffixEnd, true) || !cursor.AtEnd())
        return fail(cursor.pos);
    if (overflow)
        return fail(start);
    value = negative ? -real : real;
    return 0;
}

} // namespace

bool KoScanFloating(double& value, const char* text, std::size_t length, const char* format,
                    bool single)
{
    double read = 0;
    if (ReadBareReal(read, text, length, format, single) == nullptr)
        return ScanAny(value, text, length, format, single);
    value = read;
    return true;
}

int KoParseFloating(double& value, const char* text, std::size_t length, const char* format,
                    bool single, unsigned& errorAt)
{
    double read = 0;
    if (ReadBareReal(read, text, length, format, single) != text + length)
        return ParseAny(value, text, length, format, single, errorAt);
    value = read;
    return 0;
}
