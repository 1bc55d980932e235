#include "support/failing_heap.h"
#include "support/fixtures.h"
#include "support/scoped_type.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{

std::string Text(const KoString& text)
{
    return text.StrGet();
}

// Arrays of elements are in test/data/texts/arrays.txt.
TEST(TypeText, OfNoElementsIsTheTypesAffair)
{
    const KoTypeMgr manager;
    const ScopedType type(KoU1B_T);
    type->printToKoString = [](KoString& text, void*, const char* format,
                               unsigned count) -> KoString& {
        return text << format << static_cast<int>(count);
    };
    KoString text("x");
    EXPECT_EQ(&manager.PrintToKoString(KoU1B_T, text, &text, "d", 0), &text);
    EXPECT_EQ(Text(text), "xd0");
    type->printToKoString = nullptr;
    EXPECT_EQ(Text(manager.PrintToKoString(KoU1B_T, text, &text, "d", 3)), "xd0");
}

TEST(ConvertData, GivesTextsAndReleasesItsData)
{
    KoTypeMgr manager;
    KoString texts[2];
    const auto get = [&texts](o_char id, bool hasData, int index) {
        const std::unique_ptr<KoTypeConvertData> record(
            KoTypeConvertData::Make(id, 2, hasData ? texts : nullptr, nullptr));
        return record->GetString(index);
    };
    EXPECT_EQ(get(KoSTRING_T, true, 1), texts + 1);
    EXPECT_EQ(get(KoSTRING_T, true, 2), nullptr) << "after the last";
    EXPECT_EQ(get(KoSTRING_T, true, -1), nullptr) << "before the first";
    EXPECT_EQ(get(KoDOUBLE_T, true, 0), nullptr) << "no texts";
    EXPECT_EQ(get(KoSTRING_T, false, 0), nullptr) << "no data";

    const FailingHeap heap(0);
    EXPECT_EQ(KoTypeConvertData::Make(KoSTRING_T, 2, texts, nullptr), nullptr);
    EXPECT_EQ(heap.HandlerCalls(), 1);
}

TEST(TypeText, OldTextDelimitsItself)
{
    KoTypeMgr manager;
    data::ForEachRow("strings/oldtexts.txt", 3, [&](const auto& head, const data::Row& row) {
        KoString joined = data::ParseText(row[0]);
        std::vector<KoString> pieces;
        for (const std::string& piece : data::Split(row[1], ";"))
            pieces.push_back(piece == "null" ? NullText() : data::ParseText(piece));
        const auto count = static_cast<unsigned>(pieces.size());
        if (head[0] == "joined") {
            const Array made{manager, KoSTRING_T,
                             manager.ConvertToKoStringOld(pieces.data(), KoSTRING_T, count), 1};
            ASSERT_NE(made.data, nullptr);
            EXPECT_EQ(data::FormatText(*static_cast<KoString*>(made.data)),
                      data::FormatText(joined));
            return;
        }
        joined.SetLanguage(7);
        const unsigned char codeSet = joined.CodeSet();
        const Array made{manager, KoSTRING_T,
                         manager.ConvertFromKoStringOld(&joined, KoSTRING_T, count), count};
        ASSERT_NE(made.data, nullptr);
        EXPECT_TRUE(joined.IsEmpty()) << "the text is used up";
        for (unsigned i = 0; i < count; ++i) {
            const KoString& piece = static_cast<KoString*>(made.data)[i];
            EXPECT_EQ(UnitsOf(piece), UnitsOf(pieces[i]));
            EXPECT_TRUE(piece.IsEmpty() || (piece.CodeSet() == codeSet && piece.Language() == 7));
        }
    });
    std::string all;
    for (int code = 1; code <= 254; ++code)
        all += static_cast<char>(code);
    KoString every(all.c_str());
    const Array joined{manager, KoSTRING_T, manager.ConvertToKoStringOld(&every, KoSTRING_T, 1), 1};
    EXPECT_EQ(Text(*static_cast<KoString*>(joined.data)), all + ",") << "every code is used";
    // A text that is cut would come back as other values.
    KoString halves[] = {KoString().Fill(32765, 'x'), KoString().Fill(32765, 'y')};
    EXPECT_EQ(manager.ConvertToKoStringOld(halves, KoSTRING_T, 2), nullptr);
}

} // namespace
