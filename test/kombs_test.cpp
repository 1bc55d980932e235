#include "datafile.h"
#include "failing_heap.h"

#include <gtest/gtest.h>

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

TEST(Utf8String, LongTextIsRefusedAndMemoryMayRunOut)
{
    data::ForEachRow("utf8/long.txt", 4, [](const auto&, const data::Row& row) {
        const int result = row[2] == "long"        ? KoMBS_TOO_LONG
                           : row[2] == "malformed" ? KoMBS_MALFORMED
                                                   : 0;
        const std::string utf8 = data::ParseString(row[1]);
        KoString read = Text(u"keep", static_cast<unsigned char>(std::stoi(row[0])), 7);
        EXPECT_EQ(KoMBS2KoString(utf8.c_str(), read, -1), result);
        EXPECT_EQ(Utf8(read), result == 0 ? utf8 : "keep");
    });
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
