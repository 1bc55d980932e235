#include "store/guarded_bytes.h"
#include "store/test_files.h"

#include "index/entry_builder.h"
#include "index/entry_key.h"
#include "index/postings.h"
#include "schema/field_reader.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

using ko::store::Error;
using namespace ko::store::inner;

namespace
{

using Rows = std::map<std::string, std::string>;
using Numbers = std::map<std::string, std::set<std::uint64_t>>; // by the value's key

class MapRows : public EntryRows
{
public:
    bool AtOrBefore(std::string_view key, std::string& found, std::string& value) override
    {
        auto at = rows.upper_bound(std::string(key));
        return at != rows.begin() && Give(--at, found, value);
    }
    bool Behind(std::string_view key, std::string& found, std::string& value) override
    {
        const auto at = rows.upper_bound(std::string(key));
        return at != rows.end() && Give(at, found, value);
    }
    void Put(std::string_view key, std::string_view value) override
    {
        rows[std::string(key)] = value;
    }
    void Erase(std::string_view key) override { rows.erase(std::string(key)); }

    Rows rows;

private:
    static bool Give(Rows::const_iterator at, std::string& found, std::string& value)
    {
        found = at->first;
        value = at->second;
        return true;
    }
};

/// The numbers of all rows, each of which is sound and begins behind the end of the one before.
Numbers NumbersOf(const Rows& rows)
{
    Numbers numbers;
    for (const auto& [key, value] : rows) {
        EntryKey parts;
        NumberRow row;
        EXPECT_TRUE(parts.Open(key) && row.Decode(parts.first, value));
        std::size_t count = 0;
        EXPECT_EQ(LastOfRow(parts.first, value, count), row.Last());
        EXPECT_EQ(count, row.count);
        auto& all = numbers[std::string(parts.valueKey)];
        EXPECT_TRUE(all.empty() || *all.rbegin() < row.numbers[0]) << "rows overlap";
        all.insert(row.begin(), row.end());
    }
    return numbers;
}

// 120,000 changes beside a model, with few numbers of many values and many of few, close together
// and as far apart as numbers can be.
TEST(Postings, KeepEveryNumberOnce)
{
    static const struct {
        unsigned changes;
        unsigned values;
        std::uint64_t numbers; ///< from 1 on
        std::uint64_t step;
        std::size_t leastPerRow;
        const char* reason;
    } kCases[] = {
        {50'000, 10'000, 30'000, 1, 1, "one to three numbers a row"},
        {50'000, 3, 20'000, 1, 100, "full rows, split and joined"},
        {20'000, 2, 2'000, (std::uint64_t{1} << 48) / 2'001, 60, "rows that are full of bytes"},
    };
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.reason);
        std::mt19937 random(5);
        MapRows rows;
        Postings postings(rows);
        Numbers model;
        const auto check = [&] {
            ASSERT_EQ(NumbersOf(rows.rows), model);
            std::size_t numbers = 0;
            for (const auto& [value, all] : model)
                numbers += all.size();
            EXPECT_GE(numbers, row.leastPerRow * rows.rows.size());
        };
        for (unsigned i = 0; i < row.changes; ++i) {
            const std::string value = BeforeAttribute(1) + std::to_string(random() % row.values);
            const std::uint64_t number = (random() % row.numbers + 1) * row.step;
            // It grows at first; then it shrinks.
            if (random() % 10 < (i < row.changes / 2 ? 8U : 3U)) {
                std::set<std::uint64_t> some = {number};
                while (random() % 500 == 0 || (some.size() > 1 && some.size() < 600))
                    some.insert((random() % row.numbers + 1) * row.step);
                const std::vector<std::uint64_t> list(some.begin(), some.end());
                postings.Insert(value, list.data(), list.size());
                model[value].merge(some);
                continue;
            }
            const auto at = model.find(value);
            const bool there = at != model.end() && at->second.erase(number) != 0;
            ASSERT_EQ(postings.Erase(value, number), there);
            if (there && at->second.empty())
                model.erase(at);
            if (i == row.changes / 2)
                check();
        }
        check();
        // Numbers that come one by one, as those of new objects do, fill their rows.
        rows.rows.clear();
        for (std::uint64_t number = 1; number <= 1024; ++number)
            postings.Insert(BeforeAttribute(0) + "v", number);
        EXPECT_EQ(rows.rows.size(), 4U);
        for (auto& [key, value] : rows.rows)
            value += '\0';
        EXPECT_THROW(postings.Insert(BeforeAttribute(0) + "v", 5), Error);
    }
}

TEST(Postings, ReadNothingOutsideDamagedRows)
{
    std::vector<std::uint64_t> numbers;
    for (std::uint64_t number = 1; numbers.size() < 40; number = number * 3 / 2 + 1)
        numbers.push_back(number);
    std::string bytes;
    ASSERT_EQ(EncodeRow(numbers.data(), numbers.size(), bytes), numbers.size());
    ReadDamaged(bytes, 20'000, [&](std::string_view damaged) {
        NumberRow row;
        std::string again;
        if (!row.Decode(1, damaged))
            return false;
        // What is taken is the one form of its numbers.
        EXPECT_EQ(EncodeRow(row.begin(), row.count, again), row.count);
        EXPECT_EQ(again, damaged);
        return true;
    });
    // The row that doc/formats.md shows.
    const ValueType type = ValueType::Named("o_4b");
    ValueKeys keys(1, type);
    EXPECT_EQ(MakeEntryKey(keys.Of({"\5\0\0\0", 4}), 5),
              std::string_view("\0\1\x80\0\0\5\0\0\0\0\0\5", 12));
    numbers = {5, 6, 300};
    EXPECT_EQ(EncodeRow(numbers.data(), 3, bytes), 3U);
    EXPECT_EQ(bytes, "\x01\xA6\x02");

    NumberRow row;
    EXPECT_FALSE(row.Decode(0, {}));
    EXPECT_FALSE(row.Decode((std::uint64_t{1} << 48) - 2, "\x01")) << "no object has that number";
    EXPECT_FALSE(row.Decode(1, std::string(256, '\1'))) << "257 numbers";
    EXPECT_TRUE(row.Decode(1, std::string(255, '\1')));
}

/// Forms of one type, some of which have one key though their bytes differ, some of which are cut,
/// and an absent value.
std::vector<std::string> Forms()
{
    std::vector<std::string> forms = {""};
    for (const unsigned char codeSet : {KoCS_LATIN1, KoCS_UNICODE}) {
        FieldReader reader({"a", "a", ValueType::Named("KoString"), {}, true, codeSet});
        TextFault fault;
        for (int i = 0; i < 200; ++i)
            reader.Read((i % 20 == 0 ? std::string(600, 'x') : "") + "text " + std::to_string(i),
                        forms.emplace_back(), fault);
    }
    return forms;
}

/// The rows of 20,000 objects, sorted in `memory` bytes; `expected` gets what they stand for.
Rows Built(std::size_t memory, bool hints, Numbers* expected)
{
    const TestFolder folder;
    const std::vector<std::string> forms = Forms();
    const ValueType type = ValueType::Named("KoString");
    std::vector<std::uint64_t> kept(forms.size(), 0);
    std::mt19937 random(1);
    ValueKeys keys(3, type);
    EntryBuilder builder(3, type, memory, folder.Path("store"));
    for (std::uint64_t number = 1; number <= 20'000; ++number) {
        const std::size_t form = random() % forms.size() / (random() % 20 + 1);
        std::uint64_t hint = hints ? kept[form] : 0;
        builder.Add(forms[form], number, hint);
        kept[form] = hint;
        if (expected != nullptr)
            (*expected)[std::string(keys.Of(forms[form]))].insert(number);
    }
    Rows rows;
    builder.Finish([&](std::string_view key, std::string_view value, std::size_t count) {
        EXPECT_TRUE(rows.empty() || rows.rbegin()->first < key);
        EXPECT_LE(count, kMostRowNumbers);
        rows.emplace(key, value);
    });
    return rows;
}

// However many runs the memory makes of them, the rows are the same, full and in order.
TEST(EntryBuilder, SortsInRuns)
{
    Numbers expected;
    const Rows rows = Built(16U << 20, false, &expected);
    EXPECT_EQ(NumbersOf(rows), expected);
    EXPECT_LT(expected.size(), 220U)
        << "two code sets have one key, long texts that begin alike too";
    for (const std::size_t memory :
         {std::size_t{16} << 20, std::size_t{100'000}, std::size_t{60'000}}) {
        EXPECT_EQ(Built(memory, false, nullptr), rows) << memory;
        EXPECT_EQ(Built(memory, true, nullptr), rows) << memory;
    }
    std::size_t cut = 0;
    for (const auto& [value, numbers] : expected) {
        const std::size_t few = static_cast<std::size_t>(std::distance(
            rows.lower_bound(BeforeValue(value)), rows.lower_bound(BehindValue(value))));
        EXPECT_EQ(few, (numbers.size() + kMostRowNumbers - 1) / kMostRowNumbers);
        cut += ValueKeys::MayBeCut(value) ? 1 : 0;
    }
    EXPECT_EQ(cut, 1U);
    EXPECT_EQ(rows.lower_bound(BeforeAttribute(3)), rows.begin());
    EXPECT_EQ(rows.lower_bound(BehindAttribute(3)), rows.end());
    const ValueType texts = ValueType::Named("KoString");
    ValueKeys keys(3, texts);
    EXPECT_EQ(expected.begin()->first, keys.Of("")) << "absent values come first";
}

} // namespace
