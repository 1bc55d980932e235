#include "import/column_reader.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

using namespace ko::store::inner;

namespace
{

TEST(ShortBytes, TellsEveryByteApart)
{
    for (std::size_t size = 0; size <= 70; ++size) {
        const std::string text(size, 'x');
        EXPECT_TRUE(SameBytes(text, std::string(size, 'x'))) << size;
        EXPECT_FALSE(SameBytes(text, text + 'x')) << size;
        for (std::size_t i = 0; i < size; ++i) {
            std::string other = text;
            other[i] = 'y';
            EXPECT_FALSE(SameBytes(text, other)) << size << ' ' << i;
            EXPECT_NE(HashBytes(text), HashBytes(other)) << size << ' ' << i;
        }
        std::string copy(size + kCopySlack, '\0');
        CopyShort(copy.data(),
                  std::string_view(text + std::string(kCopySlack, 'z')).substr(0, size));
        EXPECT_EQ(copy.substr(0, size), text);
    }
}

// What a column's reader remembers, and forgets for want of memory, changes no answer. What is left
// with a text comes back with it or not at all.
TEST(ColumnReader, ReadsAsTheFieldReaderDoes)
{
    for (const char* type : {"KoString", "KoNull_int"}) {
        const Attribute attribute{"a", "a", ValueType::Named(type), {}, false, 0};
        FieldReader fieldReader(attribute);
        const struct {
            std::size_t memory;
            std::size_t more;
            std::size_t known; ///< at the fewest
            bool takes;        ///< of the memory that several share
        } rows[] = {
            {1000, 1U << 20, 50, false},       // next to no text comes again before it is forgotten
            {10'000, 1U << 20, 2000, true},    // one in some does, and more memory is enough
            {10'000, 9000, 500, false},        // the same where too little is left
            {1U << 20, 1U << 20, 3000, false}, // all are known
        };
        for (const auto& row : rows) {
            std::size_t more = row.more;
            ColumnReader columnReader(attribute, row.memory, more);
            std::map<std::string, std::uint64_t> left;
            std::mt19937 random(1);
            std::size_t known = 0;
            for (std::uint64_t i = 1; i <= 6000; ++i) {
                std::string text = std::to_string(random() % 1500);
                text.insert(0, random() % 50 == 0 ? 100 : 0, '0');
                text = random() % 50 == 0 ? "\xFF" : random() % 50 == 0 ? "" : text;
                std::string expected;
                TextFault expectedFault;
                const bool taken =
                    fieldReader.Read(text, expected, expectedFault) != FieldReader::Result::Refused;
                std::string_view form;
                TextFault fault;
                columnReader.Expect(text);
                ASSERT_EQ(columnReader.Read(text, form, fault), taken) << text;
                EXPECT_EQ(fault.reason, expectedFault.reason);
                if (!taken)
                    continue;
                EXPECT_EQ(form, expected) << text;
                if (columnReader.Memo().key != 0) {
                    ++known;
                    EXPECT_EQ(columnReader.Memo().key, left[text]) << text;
                }
                left[text] = columnReader.Memo().key = i;
            }
            EXPECT_GT(known, row.known) << type << ' ' << row.memory;
            EXPECT_EQ(more < row.more, row.takes) << type << ' ' << row.memory;
        }
    }
}

} // namespace
