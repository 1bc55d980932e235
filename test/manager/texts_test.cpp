#include "support/value.h"

/// The texts of values of all types, as the files of test/data/texts say and explain.

namespace
{

TEST(TypeTexts, ArePrinted)
{
    data::ForEachRow("texts/printing", 4, [](const auto& head, const data::Row& row) {
        Value value(head[0]);
        value.Set(row[1], head[1]);
        EXPECT_EQ(value.Printed(row[0]), row[2]);
    });
}

TEST(TypeTexts, AreRead)
{
    data::ForEachRow("texts/reading", 5, [](const auto& head, const data::Row& row) {
        KoString text = data::ParseText(row[1]);
        for (int width = 0; width < 2; ++width) { // as it stands, then in 16 bits
            Value value(head[0]);
            value.Set(head[2], head[1]);
            const std::string before = value.Printed(head[1]);
            value.Scan(text, row[0]);
            const std::string scanned = value.Printed(head[1]);
            EXPECT_EQ(scanned == before ? "=" : scanned, row[2]);
            value.Set(head[2], head[1]);
            const std::string error = value.Parse(text, row[0]);
            const std::string parsed = value.Printed(head[1]);
            if (error.empty())
                EXPECT_EQ(parsed == scanned ? "ok" : parsed, row[3]);
            else
                EXPECT_EQ(error + (parsed == before ? "" : parsed), row[3]);
            text.SetCodeSet(KoCS_UNICODE);
        }
    });
}

TEST(TypeTexts, AreConverted)
{
    data::ForEachRow("texts/converting.txt", 3, [](const auto& head, const data::Row& row) {
        Value value(head[0]);
        value.ConvertFrom(data::ParseText(row[0]));
        EXPECT_EQ(value.Converted(), row[1]);
    });
}

TEST(TypeTexts, AreThoseOfArrays)
{
    KoTypeMgr manager;
    data::ForEachRow("texts/arrays.txt", 5, [&](const auto& head, const data::Row& row) {
        Value before(head[0]);
        before.Set(head[2], head[1]);
        const o_char id = before.Id();
        const std::vector<std::string> elements = data::Split(row[2], " ; ");
        const auto count = static_cast<unsigned>(elements.size());
        const Array array{manager, id, manager.Create(id, count), count};
        manager.AssignmentPtrGet(id)(array.data, before.Data(), count, 1);
        const char* const format = row[0] == "-" ? nullptr : row[0].c_str();
        KoString text = data::ParseText(row[1]);
        manager.ScanFromKoString(id, array.data, text, format, count);
        for (unsigned i = 0; i < count; ++i) {
            Value element(head[0]);
            const void* scanned = manager.GetArrayElement(id, array.data, i, count);
            manager.AssignmentPtrGet(id)(element.Data(), const_cast<void*>(scanned), 1, 0);
            EXPECT_EQ(element.Printed(head[1]),
                      elements[i] == "=" ? before.Printed(head[1]) : elements[i]);
        }
        KoString printed("x");
        manager.PrintToKoString(id, printed, array.data, format, count);
        if (row[3] == "ok") {
            EXPECT_STREQ(printed.StrGet() + 1, data::ParseText(row[1]).StrGet());
        }
    });
}

} // namespace
