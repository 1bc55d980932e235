#include "support/fixtures.h"

#include <map>
#include <memory>

/// The golden corpus holds on this machine: the files test/data/golden/*.txt, values of every type
/// with their persistent bytes, hashes and texts. A line that stands there is a promise and never
/// changes.
///
/// A section has the rules of its type as comments and a line for each value, in ascending order of
/// the exact comparison of the bytes of format 1. A line defines its value by these bytes; all else
/// follows from them:
///
///     bytes in format 1 | bytes in format 2 | hash | printed text | converted text | why
///
/// To give a new type its section: write the heading with the rules of the type's bytes into a file
/// of the corpus, then lines for its extreme values with their bytes by those rules; run this
/// program once, check what it says of their hashes and texts, and put that there.

namespace
{

enum Column { kLittle, kBig, kHash, kPrinted, kConverted };
constexpr unsigned char kFormats[] = {KoFMT_LITTLE, KoFMT_BIG};

std::string Hash(const KoTypeMgr& manager, o_char id, void* value, unsigned length,
                 unsigned char format)
{
    int status = -1;
    const unsigned hash = manager.Hash(id, length, value, 1, format, status);
    EXPECT_EQ(status, 0);
    return data::Printf("%08X", hash);
}

/// What a line says of a value in memory.
std::vector<std::string> Describe(const KoTypeMgr& manager, o_char id, void* value)
{
    KoString printed;
    manager.PrintToKoString(id, printed, value, nullptr, 1);
    KoTypeMgr writable(manager);
    const std::unique_ptr<KoTypeConvertData> texts(writable.ConvertTo(id, value, 1));
    return {data::FormatBytes(Stored(manager, id, value, KoFMT_LITTLE, 1)),
            data::FormatBytes(Stored(manager, id, value, KoFMT_BIG, 1)),
            Hash(manager, id, value, 0, KoFMT_MEMORY), data::FormatText(printed),
            data::FormatText(*texts->GetString(0))};
}

TEST(Golden, EveryTypeHasItsSection)
{
    std::map<std::string, int> sections;
    for (const data::Section& section : Corpus()) {
        ++sections[section.head[0]];
        EXPECT_GE(FindType(section.head[0]), 0) << "no type has the name " << section.head[0];
    }
    for (int id = 0; id < KoTYPE_COUNT; ++id)
        EXPECT_EQ(sections[koCurrentTypeTable.entry[id]->name], id == KoRES_T ? 0 : 1)
            << koCurrentTypeTable.entry[id]->name << ": see the head of golden_test.cpp";
}

/// The bytes of a line, in either order, are a value of which the rest of the line is true.
TEST(Golden, LinesHold)
{
    const KoTypeMgr manager;
    data::ForEachRow("golden", 6, [&](const auto& head, const data::Row& row) {
        const auto id = static_cast<o_char>(FindType(head[0]));
        const Array loaded{manager, id, manager.Create(id, 2), 2};
        void* values[] = {loaded.data, manager.GetArrayElement(id, loaded.data, 1, 2)};
        const std::vector<std::string> expected = {
            data::FormatBytes(data::ParseBytes(row[kLittle])),
            data::FormatBytes(data::ParseBytes(row[kBig])), row[kHash],
            data::FormatText(data::ParseText(row[kPrinted])),
            data::FormatText(data::ParseText(row[kConverted]))};
        for (const unsigned i : {kLittle, kBig}) {
            SCOPED_TRACE(testing::Message() << "format " << int{kFormats[i]});
            Bytes bytes = data::ParseBytes(row[i]);
            const auto size = static_cast<unsigned>(bytes.size());
            EXPECT_EQ(manager.Load(id, values[i], bytes.data(), kFormats[i], 1), size);
            EXPECT_EQ(manager.DiskLenGet(id, bytes.data(), kFormats[i], 1, kFormats[i]), size);
            EXPECT_EQ(Describe(manager, id, values[i]), expected);
            EXPECT_EQ(Hash(manager, id, bytes.data(), size, kFormats[i]), row[kHash]);
        }
        EXPECT_EQ(manager.Cmp(id, values[0], values[1], kExact, 1, KoFMT_MEMORY), 0);
    });
}

/// The lines of a section ascend, in memory and in both persistent forms.
TEST(Golden, LinesAscend)
{
    const KoTypeMgr manager;
    for (const data::Section& section : Corpus()) {
        const auto id = static_cast<o_char>(FindType(section.head[0]));
        for (std::size_t i = 1; i < section.rows.size(); ++i) {
            int order[3] = {};
            const Array loaded{manager, id, manager.Create(id, 2), 2};
            void* second = manager.GetArrayElement(id, loaded.data, 1, 2);
            for (const unsigned form : {kLittle, kBig}) {
                Bytes a = data::ParseBytes(section.rows[i - 1][form]);
                Bytes b = data::ParseBytes(section.rows[i][form]);
                order[form] = manager.Cmp(id, a.data(), b.data(), kExact, 1, kFormats[form]);
                manager.Load(id, loaded.data, a.data(), kFormats[form], 1);
                manager.Load(id, second, b.data(), kFormats[form], 1);
            }
            order[2] = manager.Cmp(id, loaded.data, second, kExact, 1, KoFMT_MEMORY);
            for (int& sign : order)
                sign = Sign(sign);
            SCOPED_TRACE(section.file + ":" + std::to_string(section.rows[i].at));
            EXPECT_LE(order[0], 0);
            EXPECT_TRUE(IsIdentity(id) ? (order[1] == 0) == (order[0] == 0) : order[1] == order[0]);
            EXPECT_EQ(order[2], IsIdentity(id) ? order[0] != 0 : order[0]);
        }
    }
}

} // namespace
