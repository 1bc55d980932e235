#include "datafile.h"
#include "failing_heap.h"

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
    data::ForEachRow("utf8/sequences.txt", 4, [](const auto&, const data::Row& row) {
        const data::Bytes parsed = data::ParseBytes(row[0]);
        const std::string bytes(parsed.begin(), parsed.end());
        const int used = std::stoi(row[1]);
        unsigned short value = 0x5555;
        EXPECT_EQ(KoMultiByte2WChar(&value, bytes.data(), bytes.size()), used);
        EXPECT_EQ(value, used < 0 ? 0x5555U : data::Hex(row[2]));
        EXPECT_EQ(KoMultiByte2WChar(nullptr, bytes.data(), bytes.size()), used);
        unsigned short units[2] = {};
        const auto size = static_cast<int>(bytes.size());
        EXPECT_EQ(KoMultiByteStr2WCharStr(units, 2, bytes.data(), size), size == 0 ? 0
                                                                         : used < 0
                                                                             ? -1
                                                                             : size - used + 1);
        // A text has no form of five or six bytes, nor a pair in halves or more than 0x10FFFF.
        if (used > 4 || (used < 0 && size != 0))
            ExpectMalformed(bytes);
    });
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
    data::ForEachRow("utf8/texts.txt", 5, [](const auto&, const data::Row& row) {
        const auto codeSet = static_cast<unsigned char>(std::stoi(row[0]));
        const KoString utf8 = data::ParseText(row[1]);
        const int rc = std::stoi(row[2]);
        const std::u16string units = data::ParseUnits(row[3]);
        KoString text(codeSet, 7);
        EXPECT_EQ(KoMBS2KoString(utf8.StrGet(), text, -1), rc);
        EXPECT_EQ(UnitsOf(text), units);
        EXPECT_TRUE(text.CodeSet() == codeSet && text.Language() == 7);
        EXPECT_EQ(KoMultiByteString2KoString(utf8.StrGet(), text, 100), rc);
        EXPECT_EQ(UnitsOf(text), units);
        EXPECT_EQ(KoMultiByteString2KoString(utf8, text), rc);
        EXPECT_EQ(UnitsOf(text), units);
        if (rc == 0) {
            EXPECT_EQ(Utf8(text), utf8.StrGet());
        }
    });
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

TEST(Utf8String, LongTextIsRefusedAndMemoryMayRunOut)
{
    const struct {
        unsigned char codeSet;
        const char* piece;
        int count;
        const char* end;
        int result;
        const char* why;
    } rows[] = {
        {KoCS_UNICODE, "\xC3\xA9", 32765, "", 0, "just fits"},
        {KoCS_UNICODE, "\xC3\xA9", 32765, "x", KoMBS_TOO_LONG, "one more"},
        {KoCS_UNICODE, "\xF0\x9F\x98\x80", 16383, "", KoMBS_TOO_LONG, "pairs are two each"},
        {KoCS_UNICODE, "\xF0\x9F\x98\x80", 16382, "x", 0, "and fit with one more"},
        {KoCS_UNICODE, "x", 32766, "", KoMBS_TOO_LONG, "ASCII"},
        {KoCS_UNICODE, "\xC3\xA9", 40000, "\xFF", KoMBS_MALFORMED, "faulty after the longest"},
        {KoCS_LATIN1, "\xC3\xA9", 65531, "", 0, "8 bits hold more"},
        {KoCS_LATIN1, "x", 65531, "", 0, "of ASCII, too"},
        {KoCS_LATIN1, "\xC3\xA9", 65531, "x", KoMBS_TOO_LONG, "one more"},
        {KoCS_LATIN1, "\xE2\x82\xAC", 65532, "", KoMBS_TOO_LONG, "lacking ones count as well"},
        {KoCS_NONE, "x", 65532, "", KoMBS_TOO_LONG, "no code set"},
    };
    for (const auto& row : rows) {
        std::string utf8;
        for (int i = 0; i < row.count; ++i)
            utf8 += row.piece;
        utf8 += row.end;
        KoString read = Text(u"keep", row.codeSet, 7);
        EXPECT_EQ(KoMBS2KoString(utf8.c_str(), read, -1), row.result) << row.why;
        EXPECT_EQ(row.result == 0 ? Utf8(read) : "keep", row.result == 0 ? utf8 : Utf8(read));
    }
    const std::string utf8 = "\xC3\xA9" + std::string(1000, 'x');
    KoString text("some");
    for (int first = 0; first < 2; ++first) {
        const FailingHeap none(first);
        KoString keep(KoCS_UNICODE, 0);
        EXPECT_EQ(KoMBS2KoString(utf8.c_str(), keep, -1), KoMBS_NO_MEMORY);
        EXPECT_TRUE(keep.IsEmpty() && none.HandlerCalls() == 1);
    }
    const FailingHeap none(0);
    char* buffer = nullptr;
    int length = 77;
    EXPECT_EQ(KoString2MultiByteString(text, buffer, length), -1);
    EXPECT_TRUE(buffer == nullptr && length == 77 && none.HandlerCalls() == 1);
}

} // namespace
