#include "failing_heap.h"
#include "kotext.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

std::string Utf8(const KoString& text)
{
    char* buffer = nullptr;
    int length = -1;
    EXPECT_EQ(KoString2MultiByteString(text, buffer, length), 0);
    std::string utf8(buffer, static_cast<std::size_t>(length));
    EXPECT_EQ(buffer[length], '\0');
    KoFree(buffer);
    return utf8;
}

/// That the bytes are refused as a text, at its beginning and later, and the target stays.
void ExpectMalformed(const std::string& bytes)
{
    for (const std::string& lead : {std::string(), std::string(20, 'x')}) {
        for (const unsigned char codeSet : {o_u1b{0}, o_u1b{1}, o_u1b{253}}) {
            KoString text = Text(u"keep", codeSet, 7);
            EXPECT_EQ(KoMBS2KoString((lead + bytes).c_str(), text, -1), -1);
            EXPECT_EQ(UnitsOf(text), u"keep");
        }
    }
}

TEST(Utf8Character, SixFormsAndNoOther)
{
    static const struct {
        std::string bytes;
        int used; // -1: malformed
        unsigned value;
        const char* what;
    } rows[] = {
        {std::string(1, '\0'), 1, 0, "zero"},
        {"\x7F", 1, 0x7F, "one byte"},
        {"\xC2\x80", 2, 0x80, "two"},
        {"\xE0\xA0\x80", 3, 0x800, "three"},
        {"\xED\xA0\x80", 3, 0xD800, "half a pair is a value"},
        {"\xEF\xBF\xBF", 3, 0xFFFF, "three"},
        {"\xF0\x90\x80\x80", 4, 0, "0x10000: low 16 bits"},
        {"\xF7\xBF\xBF\xBF", 4, 0xFFFF, "0x1FFFFF"},
        {"\xF8\x88\x80\x80\x81", 5, 1, "0x200001"},
        {"\xFC\x84\x80\x80\x80\x82", 6, 2, "0x4000002"},
        {"\xFD\xBF\xBF\xBF\xBF\xBF", 6, 0xFFFF, "0x7FFFFFFF"},
        {"", -1, 0, "nothing"},
        {"\x80", -1, 0, "a continuation byte"},
        {"\xC0\x80", -1, 0, "zero, longer than needed"},
        {"\xE0\x9F\xBF", -1, 0, "longer than needed"},
        {"\xF0\x8F\xBF\xBF", -1, 0, "longer than needed"},
        {"\xF8\x87\xBF\xBF\xBF", -1, 0, "longer than needed"},
        {"\xFC\x83\xBF\xBF\xBF\xBF", -1, 0, "longer than needed"},
        {"\xC3", -1, 0, "too short"},
        {"\xE2\x82\xC0", -1, 0, "no continuation"},
        {"\xFE\x80\x80\x80\x80\x80\x80", -1, 0, "no lead byte"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        unsigned short value = 0x5555;
        EXPECT_EQ(KoMultiByte2WChar(&value, row.bytes.data(), row.bytes.size()), row.used);
        EXPECT_EQ(value, row.used < 0 ? 0x5555U : row.value);
        EXPECT_EQ(KoMultiByte2WChar(nullptr, row.bytes.data(), row.bytes.size()), row.used);
        unsigned short units[2] = {};
        const auto size = static_cast<int>(row.bytes.size());
        EXPECT_EQ(KoMultiByteStr2WCharStr(units, 2, row.bytes.data(), size),
                  size == 0      ? 0
                  : row.used < 0 ? -1
                                 : size - row.used + 1);
        // A text has no form of five or six bytes, nor a pair in halves or more than 0x10FFFF.
        if (row.used > 4 || (row.used < 0 && size != 0))
            ExpectMalformed(row.bytes);
    }
    for (const char* bytes : {"\xF4\x90\x80\x80", "\xED\xA0\xBD\xED\xB8\x80"})
        ExpectMalformed(bytes);
    EXPECT_EQ(KoMultiByte2WChar(nullptr, nullptr, 0), 0);
    EXPECT_EQ(KoWChar2MultiByte(nullptr, L'x'), 0);
    EXPECT_EQ(KoMultiByteStr2WCharStr(nullptr, 0, "a\xC3\xA9", -1), 2);
    unsigned short one = 0;
    EXPECT_EQ(KoMultiByteStr2WCharStr(&one, 1, "\xC3\xA9xyz", 5), 4) << "decoded, not stored";
    EXPECT_EQ(one, 0xE9);
}

TEST(Utf8String, CodeSetsOfTheTargetDecide)
{
    static const struct {
        const char* what;
        unsigned char codeSet;
        std::string utf8;
        int rc;
        std::u16string units;
    } rows[] = {
        {"ASCII in 16 bits", 253, "abcdefghij", 0, u"abcdefghij"},
        {"nothing", 1, "", 0, u""},
        {"Latin-1", 1, "caf\xC3\xA9", 0, u"caf\u00E9"},
        {"Cyrillic in KOI8-R", 21, "\xD0\x96", 0, u"\u00F6"},
        {"the native code set", 0, "\xC3\xA9", 0, u"\u00E9"},
        {"a character that is lacking", 1, "\xE2\x82\xACx", -1, u"?x"},
        {"one question mark for a pair", 1, "\xF0\x9F\x98\x80x", -1, u"?x"},
        {"a pair", 253, "\xF0\x9F\x98\x80x", 0, u"\U0001F600x"},
        {"half a pair",
         253,
         "\xED\xB0\x80\xED\xA0\x80",
         0,
         {static_cast<char16_t>(0xDC00), static_cast<char16_t>(0xD800)}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        KoString text(row.codeSet, 7);
        EXPECT_EQ(KoMBS2KoString(row.utf8.c_str(), text, -1), row.rc);
        EXPECT_EQ(UnitsOf(text), row.units);
        EXPECT_TRUE(text.CodeSet() == row.codeSet && text.Language() == 7);
        EXPECT_EQ(KoMultiByteString2KoString(row.utf8.c_str(), text, 100), row.rc);
        EXPECT_EQ(UnitsOf(text), row.units);
        KoString bytes(row.utf8.c_str());
        EXPECT_EQ(KoMultiByteString2KoString(bytes, text), row.rc);
        EXPECT_EQ(UnitsOf(text), row.units);
        if (row.rc == 0) {
            EXPECT_EQ(Utf8(text), row.utf8);
        }
    }
    KoString text(KoCS_LATIN1, 0);
    EXPECT_EQ(KoMBS2KoString("abc", text, 2), 0);
    EXPECT_EQ(UnitsOf(text), u"ab");
    EXPECT_EQ(KoMBS2KoString("\xC3\xA9", text, 1), -1) << "a limit inside a character";
    EXPECT_EQ(KoMBS2KoString("abc", text, -2), -1);
    EXPECT_EQ(KoMultiByteString2KoString(Text(u"abc", 253), text), -1);
    EXPECT_EQ(UnitsOf(text), u"ab");
    EXPECT_EQ(KoMBS2KoString(text.StrGet() + 1, text, -1), 0) << "from its own buffer";
    EXPECT_EQ(UnitsOf(text), u"b");
    KoString bytes("\xC3\xA9");
    EXPECT_EQ(KoMultiByteString2KoString(bytes, bytes), 0);
    EXPECT_EQ(UnitsOf(bytes), u"\u00E9");
    text.SetNullValue();
    EXPECT_EQ(Utf8(text), "");
    EXPECT_EQ(KoMBS2KoString(nullptr, text, -1), 0);
    EXPECT_TRUE(text.IsEmpty() && !text.IsNullValue() && text.CodeSet() == KoCS_LATIN1);
    EXPECT_EQ(Utf8(Text(u"a\u0080", KoCS_ASCII)), "a?") << "an undefined byte";
    EXPECT_EQ(Utf8(Text({u'a', static_cast<char16_t>(0xD83D)}, 253)), "a\xED\xA0\xBD")
        << "half a pair at the end";
}

// What one code set can say goes to UTF-8 and comes back, and the same UTF-8 is written again.
TEST(Utf8String, EveryCodeSetComesBack)
{
    for (const unsigned char codeSet : kCodeSets) {
        const KoCodeSet& set = *KoLanguageContext::QueryCodeSet(codeSet);
        const unsigned end = KoCodeSetWidth(codeSet) == 1 ? 256 : 65536;
        std::u16string units;
        for (unsigned code = 1; code < end; ++code) {
            o_u2b unicode = 0;
            if (set.ToUnicode(static_cast<o_u2b>(code), unicode))
                units += static_cast<char16_t>(code);
            if (units.size() < 30000 && code + 1 < end)
                continue;
            const KoString text = Text(units, codeSet);
            KoString back(codeSet, 0);
            ASSERT_EQ(KoMBS2KoString(Utf8(text).c_str(), back, -1), 0);
            ASSERT_EQ(UnitsOf(back), units) << int{codeSet};
            ASSERT_EQ(Utf8(back), Utf8(text));
            units.clear();
        }
    }
}

TEST(Utf8String, ValidTextIsWrittenAsItWasRead)
{
    std::mt19937 random(36);
    for (int round = 0; round < 500; ++round) {
        std::string utf8;
        unsigned units = 0;
        for (auto n = random() % 400; n > 0; --n) {
            const unsigned range[] = {0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
            const auto value = static_cast<unsigned>(random() % range[random() % 4] + 1);
            if (value >= 0xD800 && value < 0xE000)
                continue;
            const unsigned more = value < 0x80 ? 0 : value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
            constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
            utf8 += static_cast<char>(kLead[more] | value >> (6 * more));
            for (unsigned i = more; i-- > 0;)
                utf8 += static_cast<char>(0x80 | (value >> (6 * i) & 0x3F));
            units += value > 0xFFFF ? 2 : 1;
        }
        KoString text(KoCS_UNICODE, 0);
        ASSERT_EQ(KoMBS2KoString(utf8.data(), text, static_cast<int>(utf8.size())), 0);
        ASSERT_EQ(text.Len(), units);
        ASSERT_EQ(Utf8(text), utf8);
        ASSERT_EQ(KoMBSLength(text, 65535), static_cast<int>(utf8.size()));
    }
}

TEST(Utf8String, BuffersTakeTheTextWithItsTerminator)
{
    const KoString text = Text(u"a\u00E9\u20AC\U0001F600", 253);
    const int size = KoString2KoMBS(text, nullptr, 0);
    ASSERT_EQ(size, 11);
    std::vector<char> buffer(12, '#');
    EXPECT_EQ(KoString2KoMBS(text, buffer.data(), size - 1), -1);
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), std::string(12, '#'));
    EXPECT_EQ(KoString2KoMBS(text, buffer.data(), size), size);
    EXPECT_EQ(buffer[11], '#');
    EXPECT_STREQ(buffer.data(), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    const int lengths[] = {0, 1, 3, 6, 9, 10, 10};
    for (unsigned n = 0; n < std::size(lengths); ++n)
        EXPECT_EQ(KoMBSLength(text, static_cast<unsigned short>(n)), lengths[n]);
    char none = '#';
    EXPECT_EQ(KoString2KoMBS(KoString(), &none, 1), 1);
    EXPECT_EQ(none, '\0');
    EXPECT_EQ(KoString2KoMBS(text, buffer.data(), -5), -1);
}

TEST(Utf8String, LongTextIsCutAndMemoryMayRunOut)
{
    KoString text(KoCS_UNICODE, 0);
    std::string utf8;
    for (int i = 0; i < 40000; ++i)
        utf8 += "\xC3\xA9";
    EXPECT_EQ(KoMBS2KoString(utf8.c_str(), text, -1), 0);
    EXPECT_EQ(text.ByteSize(), 65532);
    EXPECT_EQ(KoMBS2KoString((utf8 + "\xFF").c_str(), text, -1), -1) << "faulty where it is cut";
    EXPECT_EQ(KoMBS2KoString(std::string(70000, 'x').c_str(), text, -1), 0);
    EXPECT_EQ(text.Len(), 32765);
    for (int first = 0; first < 2; ++first) {
        const FailingHeap none(first);
        KoString keep(KoCS_UNICODE, 0);
        EXPECT_EQ(KoMBS2KoString(utf8.c_str(), keep, -1), -1);
        EXPECT_TRUE(keep.IsEmpty() && none.HandlerCalls() == 1);
    }
    const FailingHeap none(0);
    char* buffer = nullptr;
    int length = 77;
    EXPECT_EQ(KoString2MultiByteString(text, buffer, length), -1);
    EXPECT_TRUE(buffer == nullptr && length == 77 && none.HandlerCalls() == 1);
}

} // namespace
