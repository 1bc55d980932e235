#include "golden.h"

#include <map>
#include <memory>

/// The golden corpus holds on this machine. To give a new type its section: write the heading with
/// the rules of the type's bytes into a file of test/data/golden, give it values in fixtures.h, run
/// this program once, check the lines that it misses by those rules, and put them there.

using golden::Columns;
using golden::Line;
using golden::Section;

namespace
{

constexpr unsigned char kFormats[] = {KoFMT_LITTLE, KoFMT_BIG};

unsigned Hash(const KoTypeMgr& manager, o_char id, void* value, unsigned length,
              unsigned char format)
{
    int status = -1;
    const unsigned hash = manager.Hash(id, length, value, 1, format, status);
    EXPECT_EQ(status, 0);
    return hash;
}

/// What a line says of a value in memory.
Columns Describe(const KoTypeMgr& manager, o_char id, void* value)
{
    Columns columns;
    columns[golden::kLittle] = golden::FormatBytes(Stored(manager, id, value, KoFMT_LITTLE, 1));
    columns[golden::kBig] = golden::FormatBytes(Stored(manager, id, value, KoFMT_BIG, 1));
    columns[golden::kHash] = golden::Printf("%08X", Hash(manager, id, value, 0, KoFMT_MEMORY));
    KoString printed;
    manager.PrintToKoString(id, printed, value, nullptr, 1);
    columns[golden::kPrinted] = golden::FormatText(printed);
    KoTypeMgr writable(manager);
    const std::unique_ptr<KoTypeConvertData> texts(writable.ConvertTo(id, value, 1));
    columns[golden::kConverted] = golden::FormatText(*texts->GetString(0));
    return columns;
}

/// The id of a type, or -1.
int FindType(const std::string& name)
{
    for (int id = 0; id < KoRES_T; ++id) {
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[id];
        if (name == type.name)
            return id;
    }
    return -1;
}

/// Calls `visit(manager, section, id)` for every section.
template <class Visit>
void ForEachSection(Visit visit)
{
    const std::vector<Section> corpus = golden::ReadCorpus();
    EXPECT_FALSE(corpus.empty());
    const KoTypeMgr manager;
    for (const Section& section : corpus) {
        SCOPED_TRACE(section.file + ": " + section.name);
        const int id = FindType(section.name);
        EXPECT_GE(id, 0) << "no type has that name";
        if (id >= 0)
            visit(manager, section, static_cast<o_char>(id));
    }
}

TEST(Golden, EveryTypeHasItsSection)
{
    std::map<std::string, int> sections;
    for (const Section& section : golden::ReadCorpus())
        ++sections[section.name];
    for (int id = 0; id < KoRES_T; ++id)
        EXPECT_EQ(sections[koCurrentTypeTable.entry[id]->name], 1)
            << koCurrentTypeTable.entry[id]->name << ": see the head of golden_test.cpp";
}

/// Storing: what a program holds becomes the bytes, hash and texts of a line.
TEST(Golden, FixturesAreInTheCorpus)
{
    ForEachSection([](const KoTypeMgr& manager, const Section& section, o_char id) {
        const FixtureArray values(manager, id);
        for (unsigned i = 0; i < values.Count(); ++i) {
            const Columns columns = Describe(manager, id, values[i]);
            EXPECT_TRUE(std::any_of(section.lines.begin(), section.lines.end(),
                                    [&](const Line& line) { return line.columns == columns; }))
                << "not in the corpus: " << golden::FormatLine(columns, values.Reason(i));
        }
    });
}

/// Loading: the bytes of a line, in either order, are a value of which the rest of the line is
/// true.
TEST(Golden, LinesHold)
{
    ForEachSection([](const KoTypeMgr& manager, const Section& section, o_char id) {
        EXPECT_FALSE(section.lines.empty());
        for (const Line& line : section.lines) {
            SCOPED_TRACE(line.note);
            const Array loaded{manager, id, manager.Create(id, 2), 2};
            void* values[] = {loaded.data, manager.GetArrayElement(id, loaded.data, 1, 2)};
            for (const unsigned i : {0U, 1U}) {
                SCOPED_TRACE(testing::Message()
                             << "line " << line.at << ", format " << int{kFormats[i]});
                Bytes bytes = golden::ParseBytes(line.columns[i]);
                const auto size = static_cast<unsigned>(bytes.size());
                EXPECT_EQ(golden::FormatBytes(bytes), line.columns[i]);
                EXPECT_EQ(manager.Load(id, values[i], bytes.data(), kFormats[i], 1), size);
                EXPECT_EQ(manager.DiskLenGet(id, bytes.data(), kFormats[i], 1, kFormats[i]), size);
                EXPECT_EQ(Describe(manager, id, values[i]), line.columns);
                const unsigned hash = Hash(manager, id, bytes.data(), size, kFormats[i]);
                EXPECT_EQ(golden::Printf("%08X", hash), line.columns[golden::kHash]);
            }
            EXPECT_EQ(manager.Cmp(id, values[0], values[1], kExact, 1, KoFMT_MEMORY), 0);
        }
    });
}

/// True for identities: their order is that of the bytes of format 1 read as numbers, the same
/// bytes of format 2 have another one, and in memory they are equal or not.
bool IsIdentity(o_char id)
{
    return id == KoOBJID_T || id == KoCLID_T || id == KoREF_T;
}

/// The lines of a section ascend, in memory and in both persistent forms.
TEST(Golden, LinesAscend)
{
    ForEachSection([](const KoTypeMgr& manager, const Section& section, o_char id) {
        for (std::size_t i = 1; i < section.lines.size(); ++i) {
            const Columns& left = section.lines[i - 1].columns;
            const Columns& right = section.lines[i].columns;
            int order[3] = {};
            const Array loaded{manager, id, manager.Create(id, 2), 2};
            void* second = manager.GetArrayElement(id, loaded.data, 1, 2);
            for (const unsigned form : {0U, 1U}) {
                Bytes a = golden::ParseBytes(left[form]);
                Bytes b = golden::ParseBytes(right[form]);
                order[form] = manager.Cmp(id, a.data(), b.data(), kExact, 1, kFormats[form]);
                manager.Load(id, loaded.data, a.data(), kFormats[form], 1);
                manager.Load(id, second, b.data(), kFormats[form], 1);
            }
            order[2] = manager.Cmp(id, loaded.data, second, kExact, 1, KoFMT_MEMORY);
            for (int& sign : order)
                sign = (sign > 0) - (sign < 0);
            SCOPED_TRACE(section.lines[i].at);
            EXPECT_LE(order[0], 0);
            EXPECT_TRUE(IsIdentity(id) ? (order[1] == 0) == (order[0] == 0) : order[1] == order[0]);
            EXPECT_EQ(order[2], IsIdentity(id) ? order[0] != 0 : order[0]);
        }
    });
}

} // namespace
