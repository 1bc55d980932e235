#include "support/data_file.h"
#include "support/intl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{

using data::Bytes;

/// The characters of a notation in the width of a code set, as the conversion takes them.
Bytes Units(const std::string& notation, unsigned char codeSet)
{
    const std::u16string units = data::ParseUnits(notation);
    if (KoCodeSetWidth(codeSet) == 1)
        return Bytes(units.begin(), units.end());
    Bytes bytes(units.size() * 2);
    if (!bytes.empty())
        std::memcpy(bytes.data(), units.data(), bytes.size());
    return bytes;
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

    Checksum sum;
    for (const unsigned char id : TableIds()) {
        sum.AddByte(id);
        for (unsigned byte = 0; byte < 256; ++byte) {
            sum.Add(CodeSet(id).UnicodeTable()[byte]);
        }
    }
    EXPECT_EQ(sum.value, KoCodeSetTablesChecksum());
}

TEST_F(Intl, KnownCharacters)
{
    data::ForEachRow("codesets/characters.txt", 4, [](const auto&, const data::Row& row) {
        const KoCodeSet& codeSet = CodeSet(static_cast<unsigned char>(std::stoi(row[0])));
        const bool hole = row[2] == "none";
        o_u2b unicode = 0xABCD;
        EXPECT_EQ(codeSet.ToUnicode(static_cast<o_u2b>(data::Hex(row[1])), unicode), !hole);
        EXPECT_EQ(unicode, hole ? 0xABCD : data::Hex(row[2]));
    });
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
    data::ForEachRow("codesets/conversions.txt", 6, [](const auto&, const data::Row& row) {
        const auto from = static_cast<unsigned char>(std::stoi(row[0]));
        const auto to = static_cast<unsigned char>(std::stoi(row[2]));
        const Bytes source = Units(row[1], from);
        const Bytes expected = Units(row[3], to);
        const std::size_t replaced = std::stoul(row[4]);
        const std::size_t count = source.size() / KoCodeSetWidth(from);
        const std::size_t size = count * KoCodeSetWidth(to);
        Bytes target(size + 2, 0xEE);
        EXPECT_EQ(KoConvertText(target.data(), to, source.data(), from, count), replaced);
        EXPECT_EQ(Bytes(target.begin() + static_cast<std::ptrdiff_t>(size), target.end()),
                  Bytes(2, 0xEE));
        target.resize(size);
        EXPECT_EQ(target, expected);
        if (KoCodeSetWidth(from) == 1)
            return;

        // The same from the other byte order, at an odd address.
        Bytes swapped(1);
        for (std::size_t i = 0; i < count; ++i)
            swapped.insert(swapped.end(), {source[2 * i + 1], source[2 * i]});
        target.assign(size, 0xEE);
        EXPECT_EQ(KoConvertText(target.data(), to, swapped.data() + 1, from, count, true),
                  replaced);
        EXPECT_EQ(target, expected);
    });
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
