#include "support/data_file.h"

#include "base/utf8.h"

#include <kostring.h>

#include <gtest/gtest.h>

using namespace ko::store::inner;

namespace
{

TEST(Utf8, TextsThereAndBack)
{
    data::ForEachRow("utf8.txt", 4, [](const auto&, const data::Row& row) {
        const std::string utf8 = data::ParseString(row[0]);
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
    data::ForEachRow("longtexts.txt", 4, [](const auto&, const data::Row& row) {
        KoString text("keep");
        TextFault fault;
        EXPECT_EQ(ToKoString(data::ParseString(row[0]),
                             static_cast<unsigned char>(std::stoi(row[1])), text, fault),
                  row[2] == "-");
        EXPECT_EQ(fault.reason.empty() ? "-" : fault.reason, row[2]);
        EXPECT_EQ(text.Len() == 4, row[2] != "-");
    });
}

} // namespace
