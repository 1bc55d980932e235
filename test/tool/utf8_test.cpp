#include <utf8.h>

#include <kostring.h>

#include <gtest/gtest.h>

using namespace kotm;

namespace
{

TEST(Utf8, TextsThereAndBack)
{
    const struct {
        const char* reason;
        std::string text;
        unsigned char given;
        unsigned char codeSet; ///< 0: refused, at `offset`
        std::size_t offset;
    } kCases[] = {
        {"ASCII", "abc", 0, 1, 0},
        {"fits Latin-1", "caf\xC3\xA9 \xC3\xBF", 0, 1, 0},
        {"one character does not fit", "\xC3\xA9\xCE\xA9", 0, 253, 0},
        {"beyond 16 bits", "a\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF", 0, 253, 0},
        {"a code set by name", "\xC5\x91", 2, 2, 0},
        {"not in that code set", "ab\xCE\xA9", 2, 0, 2},
        {"no surrogates but in Unicode", "\xF0\x9F\x98\x80", 2, 0, 0},
        {"longest 8-bit text", std::string(65531, 'x'), 0, 1, 0},
        {"one more is not cut", std::string(65532, 'x'), 0, 0, 65532},
        {"one more than the longest 16-bit text", "\xCE\xA9" + std::string(32765, 'x'), 0, 0,
         32767},
        {"NUL", std::string("a\0", 2), 0, 0, 1},
        {"stray continuation", "ab\x80", 0, 0, 2},
        {"cut short", "ab\xE2\x82", 0, 0, 2},
        {"longer than needed", "\xC0\xAF", 0, 0, 0},
        {"longer than needed, three bytes", "\xE0\x80\xAF", 0, 0, 0},
        {"surrogate", "\xED\xA0\x80", 0, 0, 0},
        {"above the last character", "\xF4\x90\x80\x80", 0, 0, 0},
    };
    for (const auto& c : kCases) {
        KoString text;
        TextFault fault;
        const bool taken = ToKoString(c.text, c.given, text, fault);
        EXPECT_EQ(taken, c.codeSet != 0) << c.reason;
        if (!taken) {
            EXPECT_EQ(fault.offset, c.offset) << c.reason;
            continue;
        }
        std::string back;
        AppendUtf8(back, text);
        EXPECT_EQ(back, c.text) << c.reason;
        EXPECT_EQ(text.CodeSet(), c.codeSet) << c.reason;
    }
}

} // namespace
