#include "datafile.h"

#include <utf8.h>

#include <kostring.h>

#include <gtest/gtest.h>

using namespace kotm;

namespace
{

TEST(Utf8, TextsThereAndBack)
{
    data::ForEachRow("utf8.txt", 4, [](const auto&, const data::Row& row) {
        const std::u16string bytes = data::ParseUnits(row[0]);
        const std::string utf8(bytes.begin(), bytes.end());
        KoString text;
        TextFault fault;
        if (!ToKoString(utf8, static_cast<unsigned char>(std::stoi(row[1])), text, fault)) {
            EXPECT_EQ("!" + std::to_string(fault.offset), row[2]);
            return;
        }
        EXPECT_EQ(std::to_string(text.CodeSet()), row[2]);
        std::string back;
        AppendUtf8(back, text);
        EXPECT_EQ(back, utf8);
    });
}

// Nothing is cut off: two long texts would become equal.
TEST(Utf8, LongTextsAreRefused)
{
    std::string wide;
    for (int i = 0; i < 32765; ++i)
        wide += "\xD0\xB6";
    const struct {
        std::string utf8;
        unsigned char codeSet;
        const char* reason;
    } rows[] = {
        {std::string(65531, 'x'), 0, ""},
        {std::string(65532, 'x'), 0, "text of 65532 characters where 65531 are the most"},
        {wide, 0, ""},
        {wide + "x", 0, "text of 32766 characters where 32765 are the most"},
        {std::string(40000, 'x'), 253, "text of 40000 characters where 32765 are the most"},
    };
    for (const auto& row : rows) {
        KoString text("keep");
        TextFault fault;
        EXPECT_EQ(ToKoString(row.utf8, row.codeSet, text, fault), *row.reason == 0);
        EXPECT_EQ(fault.reason, row.reason);
        EXPECT_EQ(text.Len() == 4, *row.reason != 0);
    }
}

} // namespace
