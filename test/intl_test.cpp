#include <gtest/gtest.h>
#include <kointl.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

class Intl : public testing::Test
{
protected:
    void SetUp() override { ___KoI18NContext(1); }
    void TearDown() override { ___KoI18NContext(1); }
};

// Text of either width, as the conversion takes it.
using Bytes = std::vector<unsigned char>;

Bytes Units(const std::u16string& text)
{
    Bytes bytes(text.size() * 2);
    std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

const KoCodeSet& CodeSet(unsigned char id)
{
    return *KoLanguageContext::QueryCodeSet(id);
}

// The identifiers that have a table of their own.
std::vector<unsigned char> TableIds()
{
    std::vector<unsigned char> ids;
    for (unsigned id = 1; id < 225; ++id)
        if (CodeSet(static_cast<unsigned char>(id)).Id() == id)
            ids.push_back(static_cast<unsigned char>(id));
    return ids;
}

} // namespace

// Stored text reads the same for ever: a change of these two literals is a change of disk format.
TEST_F(Intl, TablesAreTheOnesOnDisk)
{
    EXPECT_EQ(KoCodeSetTablesVersion(), 1U);
    EXPECT_EQ(KoCodeSetTablesChecksum(), 0x67F160561252D887U);

    o_u8b sum = 0xCBF29CE484222325;
    const auto add = [&sum](unsigned byte) { sum = (sum ^ byte) * 0x100000001B3; };
    for (const unsigned char id : TableIds()) {
        add(id);
        for (unsigned byte = 0; byte < 256; ++byte) {
            const o_u2b unicode = CodeSet(id).UnicodeTable()[byte];
            add(unicode >> 8);
            add(unicode & 0xFF);
        }
    }
    EXPECT_EQ(sum, KoCodeSetTablesChecksum());
}

// Characters checked against the published charts, and the holes the codecs leave.
TEST_F(Intl, KnownCharacters)
{
    constexpr int none = -1;
    const struct {
        unsigned char id;
        o_u2b character;
        int unicode;
        const char* what;
    } rows[] = {
        {1, 0xE9, 0x00E9, "Latin-1: e acute"},
        {1, 0x85, 0x0085, "C1 controls are characters of ISO 8859"},
        {1, 0x1E9, none, "no 8-bit character above 255"},
        {7, 0xFF, none, "hole of ISO 8859-7"},
        {15, 0xA4, 0x20AC, "the euro sign took the currency sign's place"},
        {20, 0x80, none, "ASCII has no upper half"},
        {32, 0x80, 0x20AC, "Windows-1252: euro sign"},
        {32, 0x81, none, "hole of Windows-1252"},
        {45, 0xD5, 0x20AC, "IBM 858: euro sign in its place"},
        {12, 0xE9, 0x00E9, "ISO 8859-12 does not exist: as Latin-1"},
        {200, 0xE9, 0x00E9, "8-bit without a table: as Latin-1"},
        {225, 0x20AC, 0x20AC, "16-bit without a table: as Unicode"},
        {253, 0xFFFF, 0xFFFF, "every unit is itself, noncharacters too"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        o_u2b unicode = 0xABCD;
        EXPECT_EQ(CodeSet(row.id).ToUnicode(row.character, unicode), row.unicode != none);
        EXPECT_EQ(unicode, row.unicode == none ? 0xABCD : row.unicode);
    }
}

// The way back finds exactly the characters of the way there, over the whole range.
TEST_F(Intl, FromUnicodeInvertsToUnicode)
{
    const std::vector<unsigned char> ids = TableIds();
    ASSERT_EQ(ids.size(), 34U);
    for (const unsigned char id : ids) {
        std::vector<int> expected(0x10000, -1);
        for (o_u2b byte = 0, unicode = 0; byte < 256; ++byte)
            if (CodeSet(id).ToUnicode(byte, unicode))
                expected[unicode] = byte;
        for (unsigned unicode = 0; unicode < 0x10000; ++unicode) {
            o_u2b character = 0xABCD;
            const bool found = CodeSet(id).FromUnicode(static_cast<o_u2b>(unicode), character);
            ASSERT_EQ(found ? character : -1, expected[unicode])
                << "code set " << unsigned{id} << ", U+" << std::hex << unicode;
        }
    }
}

TEST_F(Intl, ConvertText)
{
    const struct {
        unsigned char from;
        Bytes source;
        unsigned char to;
        Bytes target;
        std::size_t replaced;
        const char* what;
    } rows[] = {
        {1, Text("caf\xE9"), 41, Text("caf\x82"), 0, "8 to 8"},
        {5, Text("a\xD6z"), 1, Text("a?z"), 1, "8 to 8, lacking"},
        {32, Text("\x81\x80"), 30, Text("?\x80"), 1, "a hole in the source"},
        {32, Text("\x81\x80"), 32, Text("\x81\x80"), 0, "the same set: holes are kept"},
        {200, Text("\xE9"), 1, Text("\xE9"), 0, "alike: both Latin-1"},
        {20, Text("a\xE9"), 200, Text("a?"), 1, "ASCII is no part of a copy"},
        {1, Text(std::string("a\0?", 3)), 5, Text(std::string("a\0?", 3)), 0, "zero, own '?'"},
        {5, Text("a\xD6"), 253, Units(u"a\u0436"), 0, "8 to 16"},
        {20, Text("a\xD6"), 253, Units(u"a?"), 1, "8 to 16, a hole"},
        {253, Units(u"a\u0436\u20AC"), 34, Text("a?\x80"), 1, "16 to 8, lacking"},
        {253, Units(u"\U0001F600x"), 1, Text("??x"), 2, "a surrogate pair is two characters"},
        {253, Units(u"\uFFFF\u2600\u25FF"), 40, Text("???"), 3, "past the last block, and in it"},
        {253, Units(std::u16string(u"\0\u0100\xFF", 3)), 1, Text(std::string("\0?\xFF", 3)), 1,
         "zero and the edge of Latin-1"},
        {240, Units(u"\xD800"), 253, Units(u"\xD800"), 0, "16 to 16 is a copy"},
        {0, Text("\xE9"), 253, Units(u"\u00E9"), 0, "no code set: the native one"},
        {253, Units(u"\u00E9"), 0, Text("\xE9"), 0, "into the native one"},
        {255, Units(u"\u0436"), 254, Units(u"\u0436"), 0, "255 and 254 are 16-bit"},
        {253, {}, 1, {}, 0, "nothing"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const std::size_t count = row.source.size() / KoCodeSetWidth(row.from);
        const std::size_t size = count * KoCodeSetWidth(row.to);
        Bytes target(size + 2, 0xEE);
        EXPECT_EQ(KoConvertText(target.data(), row.to, row.source.data(), row.from, count),
                  row.replaced);
        EXPECT_EQ(Bytes(target.begin() + static_cast<std::ptrdiff_t>(size), target.end()),
                  Bytes(2, 0xEE));
        target.resize(size);
        EXPECT_EQ(target, row.target);
        if (KoCodeSetWidth(row.from) == 1)
            continue;

        // The same from the other byte order, at an odd address.
        Bytes swapped(1);
        for (std::size_t i = 0; i < count; ++i)
            swapped.insert(swapped.end(), {row.source[2 * i + 1], row.source[2 * i]});
        target.assign(size, 0xEE);
        EXPECT_EQ(KoConvertText(target.data(), row.to, swapped.data() + 1, row.from, count, true),
                  row.replaced);
        EXPECT_EQ(target, row.target);
    }
}

TEST_F(Intl, NativeAndDefaultStandIn)
{
    EXPECT_EQ(&CodeSet(0), &CodeSet(1));
    EXPECT_EQ(&CodeSet(255), &CodeSet(1));
    ASSERT_EQ(KoLanguageContext::SetNativeCodeSet(5), 0);
    ASSERT_EQ(KoLanguageContext::SetDefaultCodeSet(253), 0);
    EXPECT_EQ(&CodeSet(0), &CodeSet(5));
    EXPECT_EQ(&CodeSet(255), &CodeSet(253));

    o_u2b unit = 0;
    EXPECT_EQ(KoConvertText(&unit, 253, "\xD6", 0, 1), 0U);
    EXPECT_EQ(unit, 0x0436);
}

TEST_F(Intl, SettersAcceptAndRefuse)
{
    using Context = KoLanguageContext;
    using Ids = std::vector<unsigned char>;
    const Ids eight = {32, 224};
    const Ids notEight = {0, 225, 253, 254, 255};
    const struct {
        int (*set)(unsigned char);
        unsigned char (*get)();
        unsigned char first;
        Ids accepted, refused;
    } rows[] = {
        {&Context::SetDefaultCodeSet, &Context::GetDefaultCodeSet, 1, Ids({1, 224, 225, 253}),
         Ids({0, 254, 255})},
        {&Context::SetDefault8CodeSet, &Context::GetDefault8CodeSet, 1, eight, notEight},
        {&Context::SetDefault16CodeSet, &Context::GetDefault16CodeSet, 253, Ids({225, 253}),
         Ids({0, 1, 224, 254, 255})},
        {&Context::SetNativeCodeSet, &Context::GetNativeCodeSet, 1, eight, notEight},
        {&Context::SetDefaultLanguage, &Context::GetDefaultLanguage, 0, Ids({0, 2, 253}),
         Ids({254, 255})},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(row.get(), row.first);
        for (const unsigned char value : row.accepted) {
            EXPECT_EQ(row.set(value), 0);
            EXPECT_EQ(row.get(), value);
        }
        for (const unsigned char value : row.refused) {
            EXPECT_EQ(row.set(value), -2002);
            EXPECT_EQ(row.get(), row.accepted.back());
        }
    }
    EXPECT_EQ(Context::SetDefaultCmpOp(0x110), 0);
    EXPECT_EQ(Context::SetDefaultCmpOp(0xFFFF), -2002);
    EXPECT_EQ(Context::GetDefaultCmpOp(), 0x110);

    ___KoI18NContext(0);
    for (const auto& row : rows)
        EXPECT_EQ(row.get(), row.first);
    EXPECT_EQ(Context::GetDefaultCmpOp(), 0);
}
