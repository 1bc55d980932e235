#include "support/value.h"

#include <ko.h>

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

// As test/data/texts/codes.txt has them, through the type manager and through ko.h.
TEST(TypeTexts, WhatIsWrongHasACode)
{
    const struct {
        const char* name;
        int read;
        ko_status packed;
    } kResults[] = {{"ok", KoRC_OK, KO_OK},
                    {"unreadable", KoREAD_NOT_A_VALUE, KO_UNREADABLE},
                    {"out of range", KoREAD_OUT_OF_RANGE, KO_OUT_OF_RANGE},
                    {"trailing", KoREAD_TRAILING, KO_TRAILING},
                    {"not UTF-8", KoREAD_NOT_UTF8, KO_NOT_UTF8},
                    {"too long", KoREAD_TOO_LONG, KO_TOO_LONG},
                    {"no character", KoREAD_NO_CHARACTER, KO_NO_CHARACTER},
                    {"bad format", 99, KO_BAD_FORMAT}};
    const KoTypeMgr manager;
    data::ForEachRow("texts/codes.txt", 6, [&](const auto& head, const data::Row& row) {
        const auto& result = *std::find_if(std::begin(kResults), std::end(kResults) - 1,
                                           [&](const auto& one) { return row[3] == one.name; });
        const auto id = static_cast<o_char>(ko_type(row[0].c_str()));
        const std::string ownFormat = data::ParseString('"' + row[1] + '"');
        const char* const format = row[1] == "-" ? nullptr : ownFormat.c_str();
        const std::string utf8 = data::ParseString(row[2]);
        const std::size_t place = std::stoul(row[4]);
        std::size_t at = 99;
        Bytes packed(100);
        if (head[0] != "type manager") {
            std::size_t size = packed.size();
            EXPECT_EQ(
                ko_pack(id, utf8.data(), utf8.size(), format, KO_BIG, packed.data(), &size, &at),
                result.packed);
            EXPECT_EQ(size != 0, result.packed == KO_OK);
            EXPECT_TRUE(at == place || size != 0 || result.packed == KO_BAD_FORMAT) << at;
            packed.resize(size);
        }
        if (head[0] == "ko.h")
            return;
        const Array value{manager, id, manager.Create(id, 1), 1};
        const Bytes before = Stored(manager, id, value.data, KoFMT_BIG, 1);
        EXPECT_EQ(manager.ReadText(id, value.data, utf8.data(), utf8.size(), format, at),
                  result.read);
        EXPECT_EQ(at, place);
        EXPECT_EQ(Stored(manager, id, value.data, KoFMT_BIG, 1),
                  result.read == 0 ? packed : before);
    });
    std::size_t at = 99;
    EXPECT_EQ(manager.ReadText(KoRES_T, nullptr, "1", 1, nullptr, at), KoRC_NOT_SUPPORTED);
    EXPECT_EQ(at, 0U);
    EXPECT_STREQ(manager.TextFormatGet(Ko4B_T), "%ld") << "the print format, where that reads back";
}

} // namespace
