#include "number/digits.h"
#include "number/format.h"
#include "number/number_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace ko
{

namespace
{

constexpr o_u8b kSign64 = 1ULL << 63;

/// The largest unsigned number of a width.
constexpr o_u8b MaxUnsigned(unsigned bits)
{
    return ~0ULL >> (64 - bits);
}

constexpr o_u8b Negate(o_u8b value)
{
    return 0 - value;
}

int BaseOf(char conversion)
{
    switch (conversion) {
    case 'o':
        return 8;
    case 'x':
    case 'X':
        return 16;
    case 'i':
        return 0;
    default:
        return 10;
    }
}

/// True for the conversions that show the bits of a value as an unsigned number.
bool ShowsBits(char conversion)
{
    return conversion == 'u' || conversion == 'o' || conversion == 'x' || conversion == 'X';
}

/// Cuts to the width and extends to 64 bits again.
o_u8b Narrow(o_u8b value, IntegerForm type)
{
    value &= MaxUnsigned(type.bits);
    const o_u8b sign = 1ULL << (type.bits - 1);
    return type.isSigned && (value & sign) != 0 ? value | ~MaxUnsigned(type.bits) : value;
}

/// The value, saturated as reading does: 32 bits for types of up to 32, else 64.
o_u8b Saturate(o_u8b magnitude, bool negative, bool overflow, IntegerForm type, char conversion)
{
    const unsigned bits = type.bits <= 32 ? 32 : 64;
    if (!type.isSigned || ShowsBits(conversion)) {
        if (overflow || magnitude > MaxUnsigned(bits))
            return MaxUnsigned(bits);
        return negative ? Negate(magnitude) : magnitude;
    }
    const o_u8b limit = MaxUnsigned(bits) / 2 + (negative ? 1 : 0);
    if (overflow || magnitude > limit)
        magnitude = limit;
    return negative ? Negate(magnitude) : magnitude;
}

/// Whether a number is a value of the type, or what the conversion prints for one.
bool InRange(o_u8b magnitude, bool negative, IntegerForm type, char conversion)
{
    const o_u8b all = MaxUnsigned(type.bits);
    if (negative) {
        const bool wraps = type.bits >= 32 && (conversion == 'd' || conversion == 'i');
        return (type.isSigned || wraps) ? magnitude <= all / 2 + 1 : magnitude == 0;
    }
    return magnitude <= (type.isSigned && !ShowsBits(conversion) ? all / 2 : all);
}

/// Strict reading under %c: one character, or none for 0, with the padding of the format.
int ParseCharacter(o_u8b& value, NumCursor cursor, const NumFormat& format, IntegerForm type,
                   unsigned& errorAt)
{
    std::size_t suffixLength = 0;
    for (const char* s = format.suffix; s < format.suffixEnd; s += *s == '%' ? 2 : 1)
        ++suffixLength;
    const auto left = static_cast<std::size_t>(cursor.end - cursor.pos);
    const std::size_t field = left > suffixLength ? left - suffixLength : 0;
    char c = '\0';
    if (field == 1) {
        c = *cursor.pos++;
    } else if (field > 1 && field == format.width) {
        const char* blanks = format.Has(kNumLeft) ? cursor.pos + 1 : cursor.pos;
        c = format.Has(kNumLeft) ? cursor.pos[0] : cursor.pos[field - 1];
        for (std::size_t i = 0; i < field - 1; ++i) {
            if (blanks[i] != ' ') {
                errorAt = static_cast<unsigned>(blanks + i - cursor.begin);
                return -1;
            }
        }
        cursor.pos += field;
    } else if (field > 1) {
        ++cursor.pos;
    }
    if (!cursor.Match(format.suffix, format.suffixEnd, true) || !cursor.AtEnd()) {
        errorAt = cursor.Position();
        return -1;
    }
    value = Narrow(static_cast<unsigned char>(c), type);
    return 0;
}

} // namespace

std::size_t WriteInteger(char* out, std::size_t capacity, const NumFormat& format, o_u8b magnitude,
                         bool negative)
{
    char digits[24];
    NumBody body;
    body.digits = digits;
    char* end = digits;
    if (format.conversion == 'c') {
        digits[0] = static_cast<char>(static_cast<unsigned char>(magnitude));
        end += digits[0] != '\0' ? 1 : 0;
    } else {
        const int base = BaseOf(format.conversion);
        if (magnitude != 0 || format.precision != 0)
            end =
                std::to_chars(digits, digits + sizeof digits, magnitude, base == 0 ? 10 : base).ptr;
        if (format.conversion == 'X') {
            std::transform(digits, end, digits, ToUpper);
        }
        const auto count = static_cast<unsigned>(end - digits);
        if (format.precision > static_cast<int>(count))
            body.leadZeros = static_cast<unsigned>(format.precision) - count;
        if (!ShowsBits(format.conversion))
            body.AddSign(format, negative);
        if (format.Has(kNumAlt) && base == 16 && magnitude != 0) {
            body.AddHead('0');
            body.AddHead(format.conversion);
        }
        if (format.Has(kNumAlt) && base == 8 && body.leadZeros == 0 &&
            (count == 0 || digits[0] != '0'))
            body.leadZeros = 1;
        body.zeroPadded = format.Has(kNumZero) && format.precision < 0;
    }
    body.digitCount = static_cast<std::size_t>(end - digits);
    return WriteNumField(out, capacity, format, body);
}

namespace
{

std::size_t PrintAny(char* out, std::size_t capacity, const char* format, o_u8b value,
                     IntegerForm type)
{
    NumFormat parsed = ParseNumFormat(format, DefaultNumFormat(type.bits, type.isSigned));
    if (parsed.isFloating) {
        const double real = type.isSigned ? static_cast<double>(static_cast<o_8b>(value))
                                          : static_cast<double>(value);
        return WriteFloating(out, capacity, parsed, real);
    }
    if (parsed.conversion == 'S')
        parsed.conversion = type.isSigned ? 'd' : 'u';
    if (parsed.conversion == 'c')
        return WriteInteger(out, capacity, parsed, value, false);
    if (ShowsBits(parsed.conversion))
        return WriteInteger(out, capacity, parsed, value & MaxUnsigned(type.bits), false);
    // Unsigned numbers of 8 and 16 bits stay positive, as under the default argument promotions.
    if (!type.isSigned && type.bits >= 32)
        value = Narrow(value, {type.bits, true});
    const bool negative = (value & kSign64) != 0;
    return WriteInteger(out, capacity, parsed, negative ? Negate(value) : value, negative);
}

} // namespace

std::size_t PrintInteger(char* out, std::size_t capacity, const char* format, o_u8b value,
                         IntegerForm type)
{
    constexpr std::size_t kMostDigits = 20;
    int precision;
    const char bare = BareConversion(format, precision);
    if (bare == (type.isSigned ? 'd' : 'u') && precision < 0 && capacity >= kMostDigits) {
        char* p = out;
        if (type.isSigned && (value & kSign64) != 0) {
            *p++ = '-';
            value = Negate(value);
        }
        return static_cast<std::size_t>(PutDecimal(p, value) - out);
    }
    return PrintAny(out, capacity, format, value, type);
}

bool ReadMagnitude(NumCursor& cursor, int base, o_u8b& magnitude, bool& overflow)
{
    const char* p = cursor.pos;
    if (base == 16 || base == 0) {
        const bool prefixed =
            cursor.end - p >= 3 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && IsHexDigit(p[2]);
        if (prefixed) {
            base = 16;
            p += 2;
        } else if (base == 0) {
            base = p < cursor.end && *p == '0' ? 8 : 10;
        }
    }
    const auto [end, error] = std::from_chars(p, cursor.end, magnitude, base);
    if (error == std::errc::invalid_argument)
        return false;
    overflow = error == std::errc::result_out_of_range;
    cursor.pos = end;
    return true;
}

namespace
{

/// The short way of reading: a decimal number at the very start of the text, under a format that
/// is just a decimal conversion, in the range of the type. Null where it is not all that.
const char* ReadBareDecimal(o_u8b& value, const char* text, std::size_t length, const char* format,
                            IntegerForm type)
{
    int precision;
    const char bare = BareConversion(format, precision);
    if (bare != 'd' && bare != 'u')
        return nullptr;
    o_8b n = 0;
    const auto [end, error] = std::from_chars(text, text + length, n);
    const bool inRange = type.isSigned ? static_cast<o_8b>(Narrow(static_cast<o_u8b>(n), type)) == n
                                       : n >= 0 && static_cast<o_u8b>(n) <= MaxUnsigned(type.bits);
    if (error != std::errc() || !inRange)
        return nullptr;
    value = static_cast<o_u8b>(n);
    return end;
}

bool ScanAny(o_u8b& value, const char* text, std::size_t length, const char* format,
             IntegerForm type)
{
    const NumFormat parsed = ParseNumFormat(format, DefaultNumFormat(type.bits, type.isSigned));
    NumCursor cursor(text, length);
    if (!cursor.Match(parsed.prefix, parsed.prefixEnd, false))
        return false;
    if (parsed.conversion == 'c') {
        if (cursor.AtEnd())
            return false;
        value = Narrow(static_cast<unsigned char>(*cursor.pos), type);
        return true;
    }
    cursor.SkipSpace();
    if (parsed.width != 0 && cursor.end - cursor.pos > static_cast<std::ptrdiff_t>(parsed.width))
        cursor.end = cursor.pos + parsed.width;
    const bool negative = cursor.Sign();
    o_u8b magnitude;
    bool overflow;
    if (parsed.isFloating) {
        double real;
        if (!ReadReal(cursor, FloatForm::kEither, false, real, overflow))
            return false;
        magnitude = CutToInteger(real, false);
    } else if (!ReadMagnitude(cursor, BaseOf(parsed.conversion), magnitude, overflow)) {
        return false;
    }
    value = Narrow(Saturate(magnitude, negative, overflow, type, parsed.conversion), type);
    return true;
}

int ParseAny(o_u8b& value, const char* text, std::size_t length, const char* format,
             IntegerForm type, unsigned& errorAt)
{
    const NumFormat parsed = ParseNumFormat(format, DefaultNumFormat(type.bits, type.isSigned));
    NumCursor cursor(text, length);
    const char* start = nullptr;
    const auto fail = [&](const char* at) {
        errorAt = static_cast<unsigned>(at - cursor.begin);
        return KoREAD_NOT_A_VALUE;
    };
    if (!cursor.Match(parsed.prefix, parsed.prefixEnd, true))
        return fail(cursor.pos);
    if (parsed.conversion == 'c')
        return ParseCharacter(value, cursor, parsed, type, errorAt);
    cursor.SkipPadding(parsed.PadsBefore());
    start = cursor.pos;
    const bool negative = cursor.Sign();
    o_u8b magnitude;
    bool overflow = false;
    if (parsed.isFloating) {
        const bool hex = parsed.conversion == 'a' || parsed.conversion == 'A';
        double real;
        if (!ReadReal(cursor, hex ? FloatForm::kHex : FloatForm::kDecimal, false, real, overflow))
            return fail(cursor.pos);
        magnitude = CutToInteger(real, false);
        overflow = overflow || !(real < 0x1p64) || static_cast<double>(magnitude) != real;
    } else {
        const int base = BaseOf(parsed.conversion);
        if (!ReadMagnitude(cursor, base == 0 ? 10 : base, magnitude, overflow))
            return fail(cursor.pos);
    }
    cursor.SkipPadding(parsed.PadsAfter());
    if (!cursor.Match(parsed.suffix, parsed.suffixEnd, true) || !cursor.AtEnd())
        return fail(cursor.pos);
    if (overflow || !InRange(magnitude, negative, type, parsed.conversion)) {
        fail(start);
        return KoREAD_OUT_OF_RANGE;
    }
    value = Narrow(negative ? Negate(magnitude) : magnitude, type);
    return 0;
}

} // namespace

bool ScanInteger(o_u8b& value, const char* text, std::size_t length, const char* format,
                 IntegerForm type)
{
    return ReadBareDecimal(value, text, length, format, type) != nullptr ||
           ScanAny(value, text, length, format, type);
}

int ParseInteger(o_u8b& value, const char* text, std::size_t length, const char* format,
                 IntegerForm type, unsigned& errorAt)
{
    o_u8b read;
    if (ReadBareDecimal(read, text, length, format, type) != text + length)
        return ParseAny(value, text, length, format, type, errorAt);
    value = read;
    return 0;
}

} // namespace ko
