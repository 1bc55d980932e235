#include "store/test_files.h"

#include "index/index_builder.h"
#include "schema/field_reader.h"

#include <gtest/gtest.h>

#include <random>

using namespace ko::store;

namespace
{

/// Forms of one type, some of which compare equal though their bytes differ, and an absent value.
std::vector<std::string> Forms()
{
    std::vector<std::string> forms = {""};
    for (const unsigned char codeSet : {KoCS_LATIN1, KoCS_UNICODE}) {
        FieldReader reader({"a", "a", ValueType::Named("KoString"), {}, true, codeSet});
        TextFault fault;
        for (int i = 0; i < 200; ++i)
            reader.Read("text " + std::to_string(i), forms.emplace_back(), fault);
    }
    return forms;
}

/// The entries of 20,000 objects, sorted in `memory` bytes.
std::vector<std::string> Entries(std::size_t memory, bool hints)
{
    const TestFolder folder;
    const std::vector<std::string> forms = Forms();
    std::vector<std::uint64_t> kept(forms.size(), 0);
    std::mt19937 random(1);
    IndexBuilder builder(0, ValueType::Named("KoString").Id(), memory, folder.Path("store"));
    for (std::uint64_t number = 1; number <= 20000; ++number) {
        const std::size_t form = random() % forms.size();
        std::uint64_t hint = hints ? kept[form] : 0;
        builder.Add(forms[form], number, hint);
        kept[form] = hint;
    }
    std::vector<std::string> entries;
    builder.Finish([&](std::string& entry, const std::uint64_t* objects, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            PutObjectId(entry.data() + entry.size() - kObjectIdBytes, objects[i]);
            entries.push_back(entry);
        }
    });
    return entries;
}

// However many runs the memory makes of them, the entries are all there and in order.
TEST(IndexBuilder, SortsInRuns)
{
    const std::vector<std::string> entries = Entries(16U << 20, false);
    ASSERT_EQ(entries.size(), 20000U);
    for (std::size_t i = 1; i < entries.size(); ++i)
        ASSERT_LT(CompareEntries(0, entries[i - 1], entries[i]), 0) << i;
    EXPECT_EQ(Entries(16U << 20, true), entries);
    for (const std::size_t memory : {std::size_t{100000}, std::size_t{40000}}) {
        EXPECT_EQ(Entries(memory, false), entries) << memory;
        EXPECT_EQ(Entries(memory, true), entries) << memory;
    }
}

} // namespace
