#include "store/test_files.h"
#include "support/data_file.h"

#include "import/csv_reader.h"
#include <kostore.h>

#include <gtest/gtest.h>

using ko::store::inner::CsvReader;
using ko::store::inner::FilePosition;

namespace
{

/// The rows of a text: fields in brackets, or the reason of a malformed row with its place.
std::string Rows(const std::string& text)
{
    const TestFolder folder;
    CsvReader csv(folder.Write("csv", text));
    std::string rows;
    for (;;) {
        const CsvReader::Result result = csv.Next();
        if (result == CsvReader::Result::End)
            return rows;
        if (result == CsvReader::Result::Malformed) {
            const FilePosition at = csv.FaultPosition();
            rows += "!" + csv.Reason().substr(0, 10) + "@" + std::to_string(at.line) + ":" +
                    std::to_string(at.column) + ":" + std::to_string(at.offset);
        } else {
            for (const std::string_view field : csv.Fields())
                rows += "[" + std::string(field) + "]";
        }
        rows += "<" + csv.RowBytes(0, 100) + ">";
    }
}

TEST(CsvReader, RowsAndTheirBytes)
{
    data::ForEachRow("csvrows.txt", 3, [](const auto&, const data::Row& row) {
        EXPECT_EQ(Rows(data::ParseString(row[0])), data::ParseString(row[1]));
    });
}

TEST(CsvReader, PlacesInsideFields)
{
    const TestFolder folder;
    CsvReader csv(folder.Write("csv", "h\r\n\xC3\xA9,\"a\"\"b\r\nc\",d\n"));
    ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
    ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
    const auto place = [&csv](std::size_t field, std::size_t byte) {
        const FilePosition at = csv.Locate(field, byte);
        return std::vector<std::uint64_t>{at.line, at.column, at.offset};
    };
    using Place = std::vector<std::uint64_t>;
    EXPECT_EQ(place(0, 2), Place({2, 2, 5})) << "columns are characters";
    EXPECT_EQ(place(1, 0), Place({2, 4, 7})) << "behind the opening quote";
    EXPECT_EQ(place(1, 2), Place({2, 7, 10})) << "behind a doubled quote";
    EXPECT_EQ(place(1, 5), Place({3, 1, 13})) << "behind the line break";
    EXPECT_EQ(place(2, 0), Place({3, 4, 16})) << "next field";
    EXPECT_EQ(place(2, 1), Place({3, 5, 17})) << "end of the last field";
}

// The reader's buffer ends in the middle of rows, fields and line ends at every possible place.
TEST(CsvReader, BufferBordersAndLongRows)
{
    const TestFolder folder;
    constexpr std::size_t kBuffer = 64U << 10;
    const struct {
        std::string row;
        std::string second; ///< its second field
        std::uint64_t lines;
    } kCases[] = {{"a,\"b\r\nc\"\r\n", "b\r\nc", 2}, {"a,,bc\r\n", "", 1}, {"ab,c\r", "c", 1}};
    for (const auto& c : kCases) {
        for (std::size_t shift = 0; shift <= c.row.size() + 4; ++shift) {
            const std::string first(kBuffer - shift, 'x');
            CsvReader csv(folder.Write("csv", first + "\r\n\n\r\n" + c.row + c.row));
            ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
            EXPECT_EQ(csv.Fields()[0].size(), first.size());
            for (const std::uint64_t line : {std::uint64_t{4}, 4 + c.lines}) {
                ASSERT_EQ(csv.Next(), CsvReader::Result::Row) << shift;
                EXPECT_EQ(csv.Fields()[1], c.second) << shift;
                EXPECT_EQ(csv.RowStart().line, line) << shift;
                EXPECT_EQ(csv.RowBytes(0, 100), c.row) << shift;
            }
            EXPECT_EQ(csv.Next(), CsvReader::Result::End);
        }
    }
    // A malformed row goes to the end of its line, wherever the buffer ends.
    for (std::size_t shift = 0; shift <= 6; ++shift) {
        const std::string first(kBuffer - shift, 'x');
        CsvReader csv(folder.Write("csv", first + "\nab\"c\nz\n"));
        ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
        ASSERT_EQ(csv.Next(), CsvReader::Result::Malformed) << shift;
        EXPECT_EQ(csv.FaultPosition().line, 2U) << shift;
        ASSERT_EQ(csv.Next(), CsvReader::Result::Row) << shift;
        EXPECT_EQ(csv.RowStart().line, 3U) << shift;
        EXPECT_EQ(csv.RowBytes(0, 100), "z\n") << shift;
    }
    const std::string body = "\"\n" + std::string(CsvReader::kMaxRowBytes, 'x') + "\"\nz\n";
    CsvReader csv(folder.Write("csv", body));
    EXPECT_EQ(csv.Next(), CsvReader::Result::Malformed);
    EXPECT_EQ(csv.Reason(), "row longer than 16 MiB");
    ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
    EXPECT_EQ(csv.Fields()[0], "z");
    EXPECT_EQ(csv.RowStart().line, 3U);
}

} // namespace
