#include "support/texts.h"

#include <kostd.h>

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace
{

template <class T>
T Null()
{
    T value;
    KoTypeMgr().SetNullValue(ko::TypeIdOf<T>, &value);
    return value;
}

std::string Streamed(const auto& value)
{
    std::ostringstream out;
    out << std::setw(3) << std::setfill('.') << std::left << value;
    return out.str();
}

TEST(Standard, ValuesInStreams)
{
    KoCaseIString caseless("\xE9t\xE9");
    const struct {
        std::string text;
        const char* expected;
    } rows[] = {
        {Streamed(KoDate(2024, 2, 29)), "2024-02-29"}, // no day number
        {Streamed(KoTime(1, 2, 3)), "01:02:03"},
        {Streamed(KoDateTimeN(2024, 1, 2, 3, 4, 5, 6)), "2024-01-02T03:04:05.000000006"},
        {Streamed(KoTimeSpan(1, 2, 3, 4, 5)), "1.02:03:04.000000005"},
        {Streamed(d_Time::OfFields(1, 2, 3, 4, 5, 6)), "01:02:03.040+05:06"},
        {Streamed(KoInt64(-5)), "-5."},
        {Streamed(KoBoolean(1)), "TRUE"},
        {Streamed(KoNull_double{0.1, 0}), "0.1"},
        {Streamed(KoSeal(1, 2, 3)), "000100020003"},
        {Streamed(KoBlob("\1\xFF", 2)), "01FF"},
        {Streamed(KoClassId{1, 2}), "(1v2)"},
        {Streamed(KoLocalRef{1, 2, 3, 4, 5}), "(3-2#1,4)"},
        {Streamed(caseless), "\xC3\xA9t\xC3\xA9"},
        {Streamed(*ko::FromUtf8("\xE2\x82\xAC")), "\xE2\x82\xAC"},
        {Streamed(Null<KoString>()), "{NULL}"},
        {Streamed(Null<KoDate>()), "{NULL}"},
        {Streamed(Null<KoNull_int>()), "{NULL}"},
#if defined(__cpp_lib_format)
        {std::format("{:>12}|{}", KoDate(2024, 2, 29), KoNull_int{5, 0}), "  2024-02-29|5"},
#endif
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.text, row.expected);
    std::ostringstream out;
    out << (5 << 2) << 'c' << 1.5 << "text";
    EXPECT_EQ(out.str(), "20c1.5text") << "no number becomes a class";
    KoString text("=");
    text << KoDate(5) << 7;
    EXPECT_STREQ(text.StrGet(), "=57") << "in a string a date is what it was";
}

TEST(Standard, TextsInUtf8)
{
    using namespace std::string_view_literals;
    const struct {
        std::string_view utf8;
        int error;
        unsigned char codeSet;
        const char* why;
    } rows[] = {
        {"abc"sv, 0, KoCS_LATIN1, "plain"},
        {""sv, 0, KoCS_LATIN1, "empty, not null"},
        {"\xC3\xA9"sv, 0, KoCS_LATIN1, "in the default code set"},
        {"\xE2\x82\xAC \xF0\x9F\x98\x80"sv, 0, KoCS_UNICODE, "beyond it"},
        {"a\0b"sv, KoMBS_MALFORMED, 0, "a zero is not cut off"},
        {"\xC3"sv, KoMBS_MALFORMED, 0, "ends too early"},
    };
    for (const auto& row : rows) {
        int error = 1;
        const auto text = ko::FromUtf8(row.utf8, &error);
        EXPECT_EQ(error, row.error) << row.why;
        ASSERT_EQ(text.has_value(), error == 0) << row.why;
        if (text) {
            EXPECT_TRUE(ko::ToUtf8(*text) == row.utf8 && text->CodeSet() == row.codeSet &&
                        text->IsNullValue() == 0)
                << row.why;
        }
    }
    int error = 0;
    EXPECT_FALSE(ko::FromUtf8(std::string(70000, 'a'), &error));
    EXPECT_EQ(error, KoMBS_TOO_LONG);
}

TEST(Standard, BytesAndNumbers)
{
    const unsigned char bytes[] = {1, 0, 255};
    auto blob = ko::ToBlob(std::as_bytes(std::span(bytes)));
    ASSERT_TRUE(blob);
    ko::BytesOf(*blob)[1] = std::byte{7};
    EXPECT_EQ(*blob, KoBlob("\1\7\xFF", 3));
    EXPECT_TRUE(ko::BytesOf(Null<KoBlob>()).empty() && ko::BytesOf(*ko::ToBlob({})).empty());
    EXPECT_FALSE(ko::ToBlob({})->IsNullValue());
    static_assert(std::same_as<decltype(ko::ToInt64(KoInt64())), std::int64_t>);
    EXPECT_EQ(ko::ToInt64(KoInt64(std::int64_t{-5000000000})), -5000000000);
}

} // namespace
