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

} // namespace
