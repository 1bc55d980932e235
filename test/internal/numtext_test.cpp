#include "konumformat.h"
#include "konumstring.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace
{

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

template <class T>
std::string Print(const char* format, T value)
{
    std::string text(KoPrintNumber(static_cast<char*>(nullptr), 0, format, value), '\0');
    EXPECT_EQ(KoPrintNumber(text.data(), text.size(), format, value), text.size());
    return text;
}

/// What reading gives, as text: the value, or "-" where nothing was read.
template <class T>
std::string Scan(const char* format, std::string_view text)
{
    T value = 77;
    if (!KoScanNumber(value, text.data(), text.size(), format)) {
        EXPECT_EQ(value, T{77});
        return "-";
    }
    return Print(std::is_floating_point_v<T> ? "%.17g" : std::is_signed_v<T> ? "%d" : "%u", value);
}

/// The value, or "!" and the position of the error.
template <class T>
std::string Parse(const char* format, std::string_view text)
{
    T value = 77;
    unsigned errorAt = 99;
    if (KoParseNumber(value, text.data(), text.size(), format, errorAt) != 0) {
        EXPECT_EQ(value, T{77});
        return "!" + std::to_string(errorAt);
    }
    return Print(std::is_floating_point_v<T> ? "%.17g" : std::is_signed_v<T> ? "%d" : "%u", value);
}

struct Row {
    std::string result;
    const char* expected;
    const char* reason;
};

void Check(const std::vector<Row>& rows)
{
    for (const Row& row : rows)
        EXPECT_EQ(row.result, row.expected) << row.reason;
}

} // namespace

TEST(NumberText, WhatPrintfDoesNotDecide)
{
    Check({
        {Print("%s", 12), "12", "a foreign conversion: the type's default"},
        {Print("%*d", 12), "12", "a width from nowhere"},
        {Print("a%db%dc", 12), "12", "two conversions"},
        {Print("50%", 12), "12", "a percent sign at the end"},
        {Print<int>(nullptr, -3), "-3", "no format"},
        {Print("%s", o_u1b{65}), "A", "the default of 8 bits is a character"},
        {Print("%%%d%%", 3), "%3%", "doubled percent signs"},
        {Print("%c", o_char{0}), "", "the character 0"},
        {Print("%c", 0x141), "A", "the low 8 bits"},
        {Print("%x", o_2b{-1}), "ffff", "modulo 2 to the value's own width"},
        {Print("%d", 4294967295U), "-1", "32 unsigned bits as signed ones"},
        {Print("%d", o_u2b{65535}), "65535", "16 bits fit into an int"},
        {Print("%S", ~0ULL), "18446744073709551615", "decimal, as the type's sign asks"},
        {Print("%.2f", 7), "7.00", "an integer under a floating conversion"},
        {Print("%g", ~0ULL), "1.84467e+19", "an unsigned one"},
        {Print("%d", -2.9), "-2", "a floating number under an integer conversion"},
        {Print("%d", 1e300), "9223372036854775807", "held to 64 bits"},
        {Print("%u", 1.8e19), "18000000000000000000", "held to 64 bits without sign"},
        {Print("%d", kNan), "0", "no number"},
        {Print("%06.1f", -kInf), "  -inf", "no zeros before an infinity"},
        {Print("%G", kNan), "NAN", "in the case of the conversion"},
        {Print("%#.3g", 999999.5), "1.00e+06", "zeros are kept when rounding adds a digit"},
        {Print("%.17g", 0.1F), "0.10000000149011612", "a float is widened"},
        // Standard C decides these; C libraries differ.
        {Print("% u", 5U), "5", "a blank stands for the sign of a signed conversion alone"},
        {Print("%+x", 5U), "5", "so does a plus sign"},
        {Print("%#.0o", 0), "0", "the alternative octal form has a digit"},
        {Print("%-010a", 1.0), "0x1p+0    ", "no zeros in a field that is filled on the right"},
        {Print("%020.17g", 1e15), "00001000000000000000", "a field wider than the digits"},
    });
}

// The C library of GNU knows flags, widths and precisions best. Those of other systems print some
// formats against the C standard ("% u" with a blank, "%-010a" with zeros), so these are held to
// the checksum of what the one of GNU prints.
TEST(NumberText, FlagsWidthAndPrecisionAreThoseOfPrintf)
{
    std::mt19937_64 random(5);
    static const double awkward[] = {0,    -0.0, 0.5,      1.5,       9.5,    99.5,  0.00009999995,
                                     1e15, 1e17, 5e-324,   1.7e308,   kInf,   -kInf, kNan,
                                     1e22, 1e-5, 12345678, 0x1p-1074, 1234.5, 2.5};
    o_u8b checksum = 0xCBF29CE484222325; // Fowler, Noll, Vo: FNV-1a of 64 bits
    const auto check = [&checksum](const std::string& format, auto value) {
        const std::string printed = Print(format.c_str(), value);
        for (const char c : printed + '\n')
            checksum = (checksum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
#ifdef __GLIBC__
        char expected[2000];
        std::snprintf(expected, sizeof expected, format.c_str(), value);
        ASSERT_EQ(printed, expected) << format;
#endif
    };
    for (int i = 0; i < 30000; ++i) {
        std::string format = "a%%%";
        for (int k = 0; k < 3; ++k) {
            if (random() % 3 == 0)
                format += "-+ 0"[random() % 4];
        }
        if (random() % 2 == 0)
            format += std::to_string(random() % 40 + 1);
        if (random() % 2 == 0)
            format += "." + std::to_string(random() % (i % 50 == 0 ? 1200 : 25));
        const o_u8b bits = random();
        const o_u8b choice = random();
        if (i % 2 == 0) {
            const double any = std::ldexp(static_cast<double>(static_cast<o_8b>(bits)),
                                          static_cast<int>(choice / 8 % 200) - 150);
            check(format + "eEfFgGaA"[choice % 8],
                  i % 4 == 0 ? awkward[bits % std::size(awkward)] : any);
        } else {
            if (choice / 6 % 3 == 0)
                format.insert(4, "#");
            check(format + "ll" + "diuoxX"[choice % 6],
                  static_cast<o_8b>(bits) >> (choice / 18 % 64));
        }
        if (HasFatalFailure())
            return;
    }
    EXPECT_EQ(checksum, 0xCB3CF53913F1356FU);
}

TEST(NumberText, SeventeenDigitsAreExactAndReadBack)
{
    std::mt19937_64 random(17);
    const auto check = [](double value) {
        char expected[64];
        *std::to_chars(expected, expected + sizeof expected, value, std::chars_format::general, 17)
             .ptr = '\0';
        const std::string text = Print("%.17g", value);
        ASSERT_EQ(text, expected);
        double back = 1;
        unsigned errorAt;
        ASSERT_EQ(KoParseNumber(back, text.data(), text.size(), "%.17g", errorAt), 0) << text;
        ASSERT_TRUE(std::isnan(value) ? std::isnan(back)
                                      : std::bit_cast<o_u8b>(back) == std::bit_cast<o_u8b>(value))
            << text;
    };
    for (int i = 0; i < 50000; ++i) {
        check(std::bit_cast<double>(static_cast<o_u8b>(random())));
        // Short fractions have exact ties, which the short way leaves to the long one.
        check(static_cast<double>(random() >> (random() % 64)) /
              static_cast<double>(1U << (random() % 20)));
    }
    for (int power = -325; power <= 308; ++power) {
        const double ten = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        for (const double value : {ten, std::nextafter(ten, 0), std::nextafter(ten, kInf)})
            check(value);
    }
    for (int power = -1074; power < 1024; ++power)
        check(std::ldexp(1.0, power));
    float single = 0;
    ASSERT_TRUE(KoScanNumber(single, "0.10000000149011612", 19, "%.17g"));
    EXPECT_EQ(single, 0.1F);
}

TEST(NumberText, LenientReading)
{
    Check({
        {Scan<int>("%ld", " \t\n-12x"), "-12", "white space before, anything after"},
        {Scan<int>("%d", "x"), "-", "no number"},
        {Scan<int>("%d", "- 5"), "-", "a sign alone"},
        {Scan<int>("%d", "0x10"), "0", "d is decimal"},
        {Scan<int>("%i", "0x10"), "16", "i goes by the prefix"},
        {Scan<int>("%i", "010"), "8", "i goes by the prefix"},
        {Scan<int>("%i", "0xg"), "0", "a prefix without digits is a zero"},
        {Scan<int>("%x", "ffffffff"), "-1", "x shows the bits"},
        {Scan<int>("#%lu", "7"), "-", "a literal that is missing"},
        {Scan<int>("a b%%%d", "a   b %3"), "3", "white space matches any run of it"},
        {Scan<int>("%3d", "  12345"), "123", "the width counts behind the white space"},
        {Scan<int>("%s", "12"), "12", "a foreign format reads as the default one"},
        {Scan<int>("%d", "99999999999"), "2147483647", "saturated at 32 bits"},
        {Scan<o_2b>("%hd", "99999999999"), "-1", "saturated at 32 bits, then cut to 16"},
        {Scan<unsigned>("%u", "-1"), "4294967295", "wraps as strtoul does"},
        {Scan<o_8b>("%I64d", "9223372036854775808"), "9223372036854775807", "at 64 bits"},
        {Scan<o_8b>("%f", "-2.9e3x"), "-2900", "an integer under a floating conversion"},
        {Scan<o_char>("%c", " x"), "32", "a character is taken as it is"},
        {Scan<o_char>("%c", ""), "-", "no character"},
        {Scan<double>("%.17g", " 1.5e3z"), "1500", "white space before, anything after"},
        {Scan<double>("%.17g", "1e"), "1", "an exponent without digits does not belong"},
        {Scan<double>("%g", "-0x1.8p1"), "-3", "hexadecimal by its prefix"},
        {Scan<double>("%g", "0x1p+-5"), "1", "an exponent with two signs does not belong"},
        {Scan<double>("%g", "-INFINITY"), "-inf", "infinity in any case"},
        {Scan<double>("%g", "-1e400"), "-inf", "too large"},
        {Scan<double>("%g", "1000e306"), "inf", "too large by its digits"},
        {Scan<double>("%g", "1e-400"), "0", "too small"},
        {Scan<double>("%g", "0.0001e-321"), "0", "too small by its digits"},
        {Scan<double>("%g", "0x1p-2000"), "0", "too small in hexadecimal"},
        {Scan<double>("%d", "12.9"), "12", "a floating number under an integer conversion"},
        {Scan<float>("%g", "1e39"), "inf", "too large for 32 bits"},
    });
}

TEST(NumberText, StrictReading)
{
    Check({
        {Parse<int>("%ld", "-2147483648"), "-2147483648", "the smallest"},
        {Parse<int>("%ld", "12x"), "!2", "a character too many"},
        {Parse<int>("%ld", ""), "!0", "no number"},
        {Parse<int>("%ld", "-"), "!1", "the text ends too early"},
        {Parse<int>("%ld", " 5"), "!0", "a blank before"},
        {Parse<int>("%ld", "5 "), "!1", "a blank after"},
        {Parse<int>("%ld", "2147483648"), "!0", "out of range"},
        {Parse<int>("x%ld", "x2147483648"), "!1", "out of range, where the number starts"},
        {Parse<int>("%i", "010"), "10", "i prints decimal"},
        {Parse<int>("%8d", "      12"), "12", "the format pads before"},
        {Parse<int>("%-4d|", "12  |"), "12", "the format pads after"},
        {Parse<int>("%-4d|", "  12|"), "!0", "the format does not pad before"},
        {Parse<int>("% d", " 12"), "12", "the blank flag"},
        {Parse<int>("%x", "ffffffff"), "-1", "what x prints for -1"},
        {Parse<int>("%#X", "0XFF"), "255", "with its prefix"},
        {Parse<int>("%x", "100000000"), "!0", "more than 32 bits"},
        {Parse<int>("#%lu", "7"), "!0", "a literal that is missing"},
        {Parse<int>("%d%%", "7"), "!1", "a literal that is missing"},
        {Parse<int>("%.2f", "7.00"), "7", "an integral number"},
        {Parse<int>("%.2f", "7.50"), "!0", "not an integral number"},
        {Parse<o_u8b>("%f", "18446744073709551616"), "!0", "2^64"},
        {Parse<unsigned>("%lu", "-1"), "!0", "below 0"},
        {Parse<unsigned>("%d", "-1"), "4294967295", "what d prints for it"},
        {Parse<o_char>("%d", "128"), "!0", "out of range"},
        {Parse<o_char>("%c", ""), "0", "none stands for 0"},
        {Parse<o_char>("%c", "xy"), "!1", "a character too many"},
        {Parse<o_char>("[%3c]", "[  x]"), "120", "the format pads"},
        {Parse<o_8b>("%I64d", "-9223372036854775809"), "!0", "out of range"},
        {Parse<double>("%.17g", "-.5e1"), "-5", "no digit before the point"},
        {Parse<double>("%.17g", "1e"), "!1", "an exponent without digits"},
        {Parse<double>("%.17g", "0x10"), "!1", "hexadecimal only under a"},
        {Parse<double>("%a", "0x1.8p1"), "3", "hexadecimal under a"},
        {Parse<double>("%a", "0x1p+-5"), "!3", "an exponent with two signs"},
        {Parse<double>("%a", "1.5"), "!0", "a prints the prefix"},
        {Parse<double>("%.17g", "nano"), "!3", "a character too many"},
        {Parse<double>("%.17g", "1e309"), "!0", "too large"},
        {Parse<double>("%.17g", "1e-999"), "0", "too small rounds to 0"},
        {Parse<float>("%.17g", "3.5e38"), "!0", "too large for 32 bits"},
        {Parse<double>("%d", "12.0"), "!2", "an integer conversion"},
    });
}

// Every value that a type prints under its default format comes back through both readers.
TEST(NumberText, DefaultFormatsAreReadBack)
{
    const auto check = [](auto value, const char* format) {
        const std::string text = Print(format, value);
        auto back = static_cast<decltype(value)>(value + 1);
        unsigned errorAt;
        ASSERT_EQ(KoParseNumber(back, text.data(), text.size(), format, errorAt), 0) << text;
        ASSERT_EQ(back, value) << text;
    };
    for (int i = -32768; i < 65536; ++i) {
        check(static_cast<o_char>(i), "%c");
        check(static_cast<o_u1b>(i), "%c");
        check(static_cast<o_2b>(i), "%hd");
        check(static_cast<o_u2b>(i), "%hu");
    }
    std::mt19937_64 random(3);
    for (int i = 0; i < 20000; ++i) {
        const o_u8b bits = random() >> (random() % 64);
        check(static_cast<o_4b>(bits), "%ld");
        check(static_cast<o_u4b>(bits), "#%lu");
        check(static_cast<o_u4b>(bits), "%d");
        check(static_cast<o_4b>(bits), "%08X");
        check(static_cast<o_8b>(0 - bits), "%I64d");
        check(bits, "%I64u");
        check(static_cast<float>(bits), "%.17g");
    }
}

TEST(NumberText, LongFieldsAreHeldToTheLengthOfAString)
{
    KoString text;
    KoAppendNumber(text, 7, "%99999999999d");
    EXPECT_EQ(text.Len(), 65531);
    EXPECT_EQ(text.StrGet()[65530], '7');
    text = "";
    KoAppendNumber(text, 1.0, "%.300f");
    EXPECT_EQ(text.Len(), 302);
    char room[8] = "abcdefg";
    EXPECT_EQ(KoPrintNumber(room, 3, "%d", 123456), 6U);
    EXPECT_STREQ(room, "123defg");
}

TEST(NumberText, TextOf16BitCharactersIsRead)
{
    static const unsigned short digits[] = {'-', '4', '2', 0x0661, 0};
    const KoString text(digits);
    int value = 0;
    EXPECT_TRUE(KoScanNumber(value, text, "%d"));
    EXPECT_EQ(value, -42);
    unsigned errorAt = 0;
    EXPECT_EQ(KoParseNumber(value, text, "%d", errorAt), -1);
    EXPECT_EQ(errorAt, 3U);
}
