#include "testfiles.h"

#include <csvreader.h>
#include <failure.h>

#include <gtest/gtest.h>

using kotm::CsvReader;
using kotm::FilePosition;

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
    const struct {
        const char* reason;
        std::string text;
        std::string rows;
    } kCases[] = {
        {"LF", "a,b\nc,d\n", "[a][b]<a,b\n>[c][d]<c,d\n>"},
        {"CRLF belongs to its row", "a\r\nb\r\n", "[a]<a\r\n>[b]<b\r\n>"},
        {"CR alone ends a row", "a\rb", "[a]<a\r>[b]<b>"},
        {"no line end at the end", "a,\nb,", "[a][]<a,\n>[b][]<b,>"},
        {"byte order mark",
         "\xEF\xBB\xBF"
         "a\n",
         "[a]<a\n>"},
        {"empty lines are no rows", "\n\r\na\n\n", "[a]<a\n>"},
        {"empty fields", ",a,,b,\r\n,\n,,", "[][a][][b][]<,a,,b,\r\n>[][]<,\n>[][][]<,,>"},
        {"a quote after plain rows", "a,b\n\"c\",d\ne\n", "[a][b]<a,b\n>[c][d]<\"c\",d\n>[e]<e\n>"},
        {"blanks belong to the field", " a ,\tb\n", "[ a ][\tb]< a ,\tb\n>"},
        {"doubled quotes and line breaks", "\"a\"\"b\",\"c\r\nd\ne\"\nf\n",
         "[a\"b][c\r\nd\ne]<\"a\"\"b\",\"c\r\nd\ne\"\n>[f]<f\n>"},
        {"a NUL is handed on", std::string("a\0b\n", 4),
         "[" + std::string("a\0b", 3) + "]<" + std::string("a\0b\n", 4) + ">"},
        {"a quote inside costs its line only", "x\na,5\"b,c\ny\n",
         "[x]<x\n>!quote that@2:4:5<a,5\"b,c\n>[y]<y\n>"},
        {"text after a closing quote", "\"a\"b\ny\n", "!quote that@1:4:3<\"a\"b\n>[y]<y\n>"},
        {"never closed: the rest is one row", "x\na,\"b\nc\n",
         "[x]<x\n>!quote that@2:3:4<a,\"b\nc\n>"},
        {"never closed after doubled quotes", "\"\"\"a\"\"\n", "!quote that@1:1:0<\"\"\"a\"\"\n>"},
        {"nothing", "", ""},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(Rows(c.text), c.rows) << c.reason;
}

TEST(CsvReader, PlacesInsideFields)
{
    const TestFolder folder;
    CsvReader csv(folder.Write("csv", "h\r\n\xC3\xA9,\"a\"\"b\r\nc\",d\n"));
    ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
    ASSERT_EQ(csv.Next(), CsvReader::Result::Row);
    const struct {
        const char* reason;
        std::size_t field;
        std::size_t byte;
        FilePosition at;
    } kCases[] = {
        {"columns are characters", 0, 2, {2, 2, 5}},
        {"after the opening quote", 1, 0, {2, 4, 7}},
        {"after a doubled quote", 1, 2, {2, 7, 10}},
        {"after the line break", 1, 5, {3, 1, 13}},
        {"next field", 2, 0, {3, 4, 16}},
        {"end of the last field", 2, 1, {3, 5, 17}},
    };
    for (const auto& c : kCases) {
        const FilePosition at = csv.Locate(c.field, c.byte);
        EXPECT_EQ(at.line, c.at.line) << c.reason;
        EXPECT_EQ(at.column, c.at.column) << c.reason;
        EXPECT_EQ(at.offset, c.at.offset) << c.reason;
    }
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
