#ifndef KONUMFORMAT_H
#define KONUMFORMAT_H

#include "koascii.h"

#include <kobasic.h>

#include <array>
#include <cstddef>

/// The inside of number text: a format taken apart, and the pieces shared by integers and floating
/// numbers. The rules stand in konumtext.h.

/// The longest text that a KoString holds; widths and precisions are held to it.
inline constexpr unsigned kNumMaxField = 65531;

enum KoNumFlag : unsigned char {
    kNumLeft = 1,  ///< -
    kNumPlus = 2,  ///< +
    kNumSpace = 4, ///< blank
    kNumZero = 8,  ///< 0
    kNumAlt = 16,  ///< #
};

/// What else a character can be after the percent sign of a format.
enum KoNumCharacter : unsigned char {
    kNumModifier = 32,
    kNumInteger = 64,   ///< a conversion of integers
    kNumFloating = 128, ///< a conversion of floating numbers
};

/// The meaning of every character: KoNumFlag, KoNumCharacter or 0.
inline constexpr auto koNumCharacters = [] {
    std::array<unsigned char, 256> meanings{};
    const auto set = [&meanings](const char* characters, unsigned char meaning) {
        for (; *characters != '\0'; ++characters)
            meanings[static_cast<unsigned char>(*characters)] = meaning;
    };
    set("-", kNumLeft);
    set("+", kNumPlus);
    set(" ", kNumSpace);
    set("0", kNumZero);
    set("#", kNumAlt);
    set("hlLjztqI", kNumModifier);
    set("diuoxXcS", kNumInteger);
    set("eEfFgGaA", kNumFloating);
    return meanings;
}();

inline unsigned KoNumMeaning(char c)
{
    return koNumCharacters[static_cast<unsigned char>(c)];
}

/// The end of the length modifier that may stand at `s`.
inline const char* KoSkipNumModifier(const char* s)
{
    for (; KoNumMeaning(*s) == kNumModifier; ++s) {
        if (*s != 'I')
            continue;
        // "I" stands before a width in bits alone.
        if (!(s[1] == '6' && s[2] == '4') && !(s[1] == '3' && s[2] == '2'))
            return s;
        s += 2;
    }
    return s;
}

/// A format taken apart.
struct KoNumFormat {
    const char* prefix; ///< literal text before the conversion, percent signs still doubled
    const char* prefixEnd;
    const char* suffix; ///< literal text after it
    const char* suffixEnd;
    unsigned width;  ///< 0: none
    int precision;   ///< -1: none
    char conversion; ///< one of those known
    bool isFloating; ///< the conversion is one of eEfFgGaA
    unsigned flags;  ///< of KoNumFlag

    /// False: the format is foreign, and nothing is to be used of it. `conversions` are the ones
    /// that are known; null stands for those of numbers.
    bool Parse(const char* format, const char* conversions = nullptr);

    bool Has(unsigned flag) const { return (flags & flag) != 0; }
    /// The format pads with blanks before (after) the number.
    bool PadsBefore() const { return Has(kNumSpace) || (width != 0 && !Has(kNumLeft)); }
    bool PadsAfter() const { return width != 0 && Has(kNumLeft); }
};

/// The default format of an integer type and of a floating type.
const char* KoDefaultNumFormat(unsigned bits, bool isSigned);
inline constexpr const char* kFloatingFormat = "%.17g";

/// `format` taken apart, or `fallback` where it is null or foreign.
KoNumFormat KoParseNumFormat(const char* format, const char* fallback);

/// The conversion of a format that is nothing but a conversion, a modifier and a precision allowed;
/// '\0' for all others. Most formats are such, and the functions that print and read take a short
/// way under them which gives what the long one does.
inline char KoBareConversion(const char* format, int& precision)
{
    precision = -1;
    if (format == nullptr || format[0] != '%')
        return '\0';
    const char* s = format + 1;
    if (*s == '.') {
        precision = 0;
        for (++s; ko::IsDigit(*s); ++s)
            precision = precision < 1000 ? precision * 10 + (*s - '0') : precision;
    }
    s = KoSkipNumModifier(s);
    return KoNumMeaning(*s) >= kNumInteger && s[1] == '\0' ? *s : '\0';
}

/// A number as text, not yet padded: head, zeros, digits, zeros, tail.
struct KoNumBody {
    const char* digits;
    std::size_t digitCount;
    char head[3]; ///< sign and base prefix
    unsigned char headCount = 0;
    unsigned leadZeros = 0;  ///< before the digits
    unsigned trailZeros = 0; ///< after the digits, for a precision beyond the number's own
    const char* tail = nullptr;
    std::size_t tailCount = 0;
    bool zeroPadded = false; ///< the flag 0 applies

    void AddHead(char c) { head[headCount++] = c; }
    void AddSign(const KoNumFormat& format, bool negative);
};

/// Writes the body with the padding and the literal text of the format; the length of it all.
std::size_t KoWriteNumField(char* out, std::size_t capacity, const KoNumFormat& format,
                            const KoNumBody& body);

std::size_t KoWriteInteger(char* out, std::size_t capacity, const KoNumFormat& format,
                           o_u8b magnitude, bool negative);
std::size_t KoWriteFloating(char* out, std::size_t capacity, const KoNumFormat& format,
                            double value);

/// Writes a number of 0 and above as "%.17g" does, in at most kRoomFor17 - 1 characters, and
/// returns the end; null, with nothing of use written, for what the short way cannot decide.
char* KoPut17Digits(char* out, double magnitude);
inline constexpr std::size_t kRoomFor17 = 32;

/// A range of text that is being read.
struct KoNumCursor {
    const char* begin;
    const char* pos;
    const char* end;

    KoNumCursor(const char* text, std::size_t length) : begin(text), pos(text), end(text + length)
    {
    }
    bool AtEnd() const { return pos == end; }
    void SkipSpace()
    {
        while (pos < end && ko::IsSpace(*pos))
            ++pos;
    }
    /// Skips the blanks that a format pads with.
    void SkipPadding(bool padded)
    {
        while (padded && pos < end && *pos == ' ')
            ++pos;
    }
    /// Matches literal text of a format. `exact` false: a white space matches any run of it.
    bool Match(const char* literal, const char* literalEnd, bool exact)
    {
        return literal == literalEnd || MatchText(literal, literalEnd, exact);
    }
    /// Reads [+-]; true for minus.
    bool Sign() { return pos < end && ko::IsSign(*pos) && *pos++ == '-'; }
    unsigned Position() const { return static_cast<unsigned>(pos - begin); }

private:
    bool MatchText(const char* literal, const char* literalEnd, bool exact);
};

/// The digits of an integer at the cursor, which moves past them; false where there are none.
/// `base` 8, 10, 16, or 0 for "by the prefix". Base 16 takes the prefix 0x.
bool KoReadMagnitude(KoNumCursor& cursor, int base, o_u8b& magnitude, bool& overflow);

/// The number, without its sign, at the cursor, which moves past it; false where there is none.
/// A number that is too large gives infinity and sets `overflow`; a too small one gives 0.
/// `kHex`: hexadecimal only; `kEither`: both, by the prefix.
enum class KoFloatForm { kDecimal, kHex, kEither };
bool KoReadReal(KoNumCursor& cursor, KoFloatForm form, bool single, double& value, bool& overflow);

/// Cuts a floating number to an integer of 64 bits; NaN gives 0.
o_u8b KoCutToInteger(double value, bool isSigned);

#endif
