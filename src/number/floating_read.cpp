#include "number/format.h"
#include "number/number_text.h"

#include <charconv>
#include <limits>

// Reading floating numbers; printing them is in src/number/floating.cpp.

namespace ko
{

namespace
{

/// Matches a word in any case at the cursor, which moves past it.
bool Word(NumCursor& cursor, const char* word)
{
    const char* p = cursor.pos;
    for (; *word != '\0'; ++word, ++p) {
        if (p == cursor.end || ToLower(*p) != *word)
            return false;
    }
    cursor.pos = p;
    return true;
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
    if (p < end && ToLower(*p) == 'p') {
        const char* exponent = p + 1;
        if (exponent < end && IsSign(*exponent))
            ++exponent;
        if (exponent < end && IsDigit(*exponent)) {
            for (p = exponent; p < end && IsDigit(*p); ++p) {
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
    for (; p < end && ToLower(*p) != mark; ++p) {
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
    if (p < end && IsSign(*p))
        negative = *p++ == '-';
    // An exponent that no text could outweigh is held there.
    o_8b exponent = 0;
    for (; p < end && exponent < (1LL << 40); ++p)
        exponent = exponent * 10 + (*p - '0');
    return power + (negative ? -exponent : exponent) > 0;
}

template <class T>
bool ReadAs(NumCursor& cursor, bool hex, double& value, bool& overflow)
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

} // namespace

bool ReadReal(NumCursor& cursor, FloatForm form, bool single, double& value, bool& overflow)
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
    const bool hex = form != FloatForm::kDecimal && cursor.end - cursor.pos >= 3 &&
                     cursor.pos[0] == '0' && ToLower(cursor.pos[1]) == 'x' &&
                     HexEnd(cursor.pos + 2, cursor.end) != cursor.pos + 2;
    if (form == FloatForm::kHex && !hex)
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
    const char bare = ToLower(BareConversion(format, precision));
    const char* end = text + length;
    const char* digit = text + (length != 0 && *text == '-' ? 1 : 0);
    if ((bare != 'g' && bare != 'e' && bare != 'f') || digit == end || !IsDigit(*digit))
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
    if (read.ec != std::errc() || (read.ptr != end && ToLower(*read.ptr) == 'x'))
        return nullptr;
    return read.ptr;
}

bool ScanAny(double& value, const char* text, std::size_t length, const char* format, bool single)
{
    const NumFormat parsed = ParseNumFormat(format, kFloatingFormat);
    NumCursor cursor(text, length);
    if (!parsed.isFloating) {
        o_u8b bits = 0;
        const bool isSigned = parsed.conversion != 'u';
        if (!ScanInteger(bits, text, length, format, {64, isSigned}))
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
    if (!ReadReal(cursor, FloatForm::kEither, single, real, overflow))
        return false;
    value = negative ? -real : real;
    return true;
}

int ParseAny(double& value, const char* text, std::size_t length, const char* format, bool single,
             unsigned& errorAt)
{
    const NumFormat parsed = ParseNumFormat(format, kFloatingFormat);
    if (!parsed.isFloating) {
        o_u8b bits = 0;
        const bool isSigned = parsed.conversion != 'u';
        const int rc = ParseInteger(bits, text, length, format, {64, isSigned}, errorAt);
        if (rc == 0)
            value =
                isSigned ? static_cast<double>(static_cast<o_8b>(bits)) : static_cast<double>(bits);
        return rc;
    }
    NumCursor cursor(text, length);
    const auto fail = [&](const char* at) {
        errorAt = static_cast<unsigned>(at - cursor.begin);
        return KoREAD_NOT_A_VALUE;
    };
    if (!cursor.Match(parsed.prefix, parsed.prefixEnd, true))
        return fail(cursor.pos);
    cursor.SkipPadding(parsed.PadsBefore());
    const char* start = cursor.pos;
    const bool negative = cursor.Sign();
    const bool hex = parsed.conversion == 'a' || parsed.conversion == 'A';
    double real;
    bool overflow;
    if (!ReadReal(cursor, hex ? FloatForm::kHex : FloatForm::kDecimal, single, real, overflow))
        return fail(cursor.pos);
    cursor.SkipPadding(parsed.PadsAfter());
    if (!cursor.Match(parsed.suffix, parsed.suffixEnd, true) || !cursor.AtEnd())
        return fail(cursor.pos);
    if (overflow) {
        fail(start);
        return KoREAD_OUT_OF_RANGE;
    }
    value = negative ? -real : real;
    return 0;
}

} // namespace

bool ScanFloating(double& value, const char* text, std::size_t length, const char* format,
                  bool single)
{
    double read = 0;
    if (ReadBareReal(read, text, length, format, single) == nullptr)
        return ScanAny(value, text, length, format, single);
    value = read;
    return true;
}

int ParseFloating(double& value, const char* text, std::size_t length, const char* format,
                  bool single, unsigned& errorAt)
{
    double read = 0;
    if (ReadBareReal(read, text, length, format, single) != text + length)
        return ParseAny(value, text, length, format, single, errorAt);
    value = read;
    return 0;
}

} // namespace ko
