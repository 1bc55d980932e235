#include "konumformat.h"
#include "konumstring.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <string_view>

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

} // namespace

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

/// The shortest text of a number reads back as it, and no text of a digit less does.
template <class T>
void ExpectShortest(T value)
{
    char room[kRoomForShortest];
    const std::string text(room, KoPrintShortest(room, value));
    const auto reads = [value](const std::string& digits) {
        T back = 1;
        unsigned errorAt;
        EXPECT_EQ(KoParseNumber(back, digits.data(), digits.size(), nullptr, errorAt), 0) << digits;
        return back == value && std::signbit(back) == std::signbit(value);
    };
    ASSERT_TRUE(reads(text)) << text;
    const std::string digits = text.substr(0, text.find('e'));
    const auto first =
        std::find_if(digits.begin(), digits.end(), [](char c) { return c >= '1' && c <= '9'; });
    const auto count = std::count_if(first, digits.end(), [](char c) { return c >= '0'; });
    // Zeros at the end of a whole number are places, and the number is exact.
    if (digits == text && digits.find('.') == std::string::npos) {
        ASSERT_EQ(text, Print("%.17g", value));
    } else if (count > 1) {
        ASSERT_FALSE(reads(Print(("%." + std::to_string(count - 2) + "e").c_str(), value))) << text;
    }
}

TEST(NumberText, ShortestTextsReadBack)
{
    const struct {
        double value;
        const char* text;
        const char* reason;
    } rows[] = {
        {6.1, "6.1", "17 digits are 6.0999999999999996"},
        {-0.0, "-0", "the sign of zero"},
        {0.00001, "1e-05", "the largest with one"},
        {1e17, "1e+17", "18 digits"},
        {72057594037927936.0, "72057594037927936", "a whole number, exactly"},
        {5e-324, "5e-324", "the smallest"},
        {kNan, "nan", "no number"},
    };
    char room[kRoomForShortest];
    for (const auto& row : rows)
        EXPECT_EQ(std::string(room, KoPrintShortest(room, row.value)), row.text) << row.reason;
    EXPECT_EQ(std::string(room, KoPrintShortest(room, 0.1F)), "0.1") << "of single precision";
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i) {
        const o_u8b bits = random();
        if (const auto value = std::bit_cast<double>(bits); std::isfinite(value))
            ExpectShortest(value);
        if (const auto value = std::bit_cast<float>(static_cast<o_u4b>(bits)); std::isfinite(value))
            ExpectShortest(value);
        ExpectShortest(static_cast<double>(bits >> bits % 64) / 1000);
        ExpectShortest(static_cast<float>(bits >> bits % 64) / 1000);
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
