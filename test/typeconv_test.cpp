#include "failing_heap.h"
#include "fixtures.h"
#include "scoped_type.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

std::string Text(const KoString& text)
{
    return text.StrGet();
}

TEST(TypeText, PrintsArraysElementByElement)
{
    const KoTypeMgr manager;
    const ScopedType type(KoU1B_T);
    const auto print = [](KoString& text, void* value, const char* format,
                          unsigned count) -> KoString& {
        text << format;
        for (unsigned i = 0; i < count; ++i)
            text << static_cast<int>(static_cast<o_u1b*>(value)[i]);
        return text;
    };
    type->printToKoString = print;
    o_u1b values[] = {1, 22, 3};
    struct {
        const char* before;
        const char* format;
        unsigned count;
        const char* after;
        const char* reason;
    } const rows[] = {
        {"", "d", 3, "d1,d22,d3", "commas between the elements"},
        {"x", "d", 3, "xd1,d22,d3", "appended to what stands there"},
        {"x", "d", 1, "xd1", "one element"},
        {"x", "d", 0, "xd", "none: the function decides"},
        {"", nullptr, 2, "%c1,%c22", "the type's own format"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        KoString text(row.before);
        EXPECT_EQ(&manager.PrintToKoString(KoU1B_T, text, values, row.format, row.count), &text);
        EXPECT_EQ(Text(text), row.after);
    }

    // The array in one text has the characters that its elements have alone.
    const unsigned short euro[] = {0x20AC, 0};
    KoString euros[] = {KoString(euro), KoString(euro)};
    KoString wide(253, 0);
    manager.PrintToKoString(KoSTRING_T, wide, euros, nullptr, 2);
    const unsigned short both[] = {0x20AC, ',', 0x20AC, 0};
    EXPECT_EQ(std::memcmp(wide.StrGet(), both, sizeof both), 0);

    type->printToKoString = nullptr;
    KoString kept("kept");
    EXPECT_EQ(Text(manager.PrintToKoString(KoU1B_T, kept, values, "d", 3)), "kept");
}

TEST(TypeText, ScansAndParsesWithTheTypesFormat)
{
    KoTypeMgr manager;
    const ScopedType type(KoBLOCKID_T);
    type->scanFromKoString = [](void* value, KoString&, const char* format, unsigned count) {
        *static_cast<std::string*>(value) = format + std::to_string(count);
        return value;
    };
    std::string seen;
    KoString text("1");
    EXPECT_EQ(manager.ScanFromKoString(KoBLOCKID_T, &seen, text, "f", 2), &seen);
    EXPECT_EQ(seen, "f2");
    manager.ScanFromKoString(KoBLOCKID_T, &seen, text, nullptr, 1);
    EXPECT_EQ(seen, "#%lu1");
    type->scanFromKoString = nullptr;
    EXPECT_EQ(manager.ScanFromKoString(KoBLOCKID_T, &seen, text, "f", 2), &seen);
    EXPECT_EQ(seen, "#%lu1");
}

TEST(TypeText, TheFunctionTakesArraysNotTheType)
{
    char letters[] = "abc";
    const ScopedType type(Ko1B_T);
    type->printToKoString = koCurrentTypeTable.entry[KoU1B_T]->printToKoString;
    KoString text;
    EXPECT_EQ(Text(KoTypeMgr().PrintToKoString(Ko1B_T, text, letters, nullptr, 3)), "a,b,c");
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

    // What a record leaves in its memory, with and without a manager that releases the data.
    for (KoTypeMgr* owner : {&manager, static_cast<KoTypeMgr*>(nullptr)}) {
        void* data = manager.Create(KoSTRING_T, 3);
        alignas(KoTypeConvertData) unsigned char memory[sizeof(KoTypeConvertData)];
        auto* record = ::new (memory) KoTypeConvertData{owner, data, 3, KoSTRING_T};
        record->~KoTypeConvertData();
        void* left;
        o_u4b count;
        std::memcpy(&left, memory + offsetof(KoTypeConvertData, data), sizeof left);
        std::memcpy(&count, memory + offsetof(KoTypeConvertData, count), sizeof count);
        EXPECT_EQ(left, owner != nullptr ? nullptr : data);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(memory[offsetof(KoTypeConvertData, typeId)], 100);
        if (owner == nullptr)
            manager.Delete(KoSTRING_T, data, 3);
    }

    const FailingHeap heap(0);
    EXPECT_EQ(KoTypeConvertData::Make(KoSTRING_T, 2, texts, nullptr), nullptr);
    EXPECT_EQ(heap.HandlerCalls(), 1);
}

KoString Wide(std::vector<unsigned short> units)
{
    units.push_back(0);
    return KoString(units.data());
}

TEST(TypeText, OldTextDelimitsItself)
{
    KoTypeMgr manager;
    std::string all;
    for (int code = 1; code <= 254; ++code)
        all += static_cast<char>(code);
    struct {
        std::vector<KoString> values;
        std::string joined;
        const char* reason;
    } rows[] = {
        {{"a", "b"}, "a\1b\1", "the smallest code"},
        {{"\1", "\2x"}, std::string("\1\3\2x\3"), "the smallest that is not used"},
        {{"", ""}, "\1\1", "empty texts"},
        {{}, "", "nothing"},
        {{all.c_str()}, all + ",", "every code is used"},
        {{Wide({'a', 1, 0xE4}), "b"}, "a\1\xE4\2b\2", "16-bit text counts as it is joined"},
        {{NullText(), "x"}, "\1x\1", "null has no text"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const auto count = static_cast<unsigned>(row.values.size());
        const Array joined{manager, KoSTRING_T,
                           manager.ConvertToKoStringOld(row.values.data(), KoSTRING_T, count), 1};
        ASSERT_NE(joined.data, nullptr);
        EXPECT_EQ(Text(*static_cast<KoString*>(joined.data)), row.joined);
    }
    EXPECT_EQ(manager.ConvertToKoStringOld(&manager, KoRES_T, 1), nullptr);
    // A text that is cut would come back as other values.
    const std::string half(32765, 'x');
    for (const unsigned more : {0U, 1U}) {
        KoString values[] = {half.c_str(), (half.substr(1) + std::string(more, 'y')).c_str()};
        const Array joined{manager, KoSTRING_T, manager.ConvertToKoStringOld(values, KoSTRING_T, 2),
                           1};
        ASSERT_EQ(joined.data == nullptr, 65529U + 2 + more > 65531U);
    }
}

TEST(TypeText, OldTextIsSplitAtItsLastCharacter)
{
    KoTypeMgr manager;
    const std::string longPiece(40000, 'x');
    struct {
        KoString text;
        unsigned count;
        std::vector<std::string> pieces;
        const char* reason;
    } rows[] = {
        {"a,b,", 3, {"a", "b", ""}, "the last piece is empty"},
        {"a,b,", 1, {"a"}, "fewer asked for than there are"},
        {"a,", 3, {"a", "", ""}, "more asked for than there are"},
        {"a,bc", 1, {"a,b"}, "any last character delimits"},
        {"", 1, {""}, "no text"},
        {(longPiece + "|y|").c_str(), 2, {longPiece, "y"}, "beyond 15 bits"},
        {"\xE4*\xFF?*", 2, {"\xE4", "\xFF?"}, "no wildcard, no sign"},
        {Wide({'a', ';', 'b', ';'}), 2, {"a", "b"}, "16-bit text"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const unsigned char codeSet = row.text.CodeSet();
        row.text.SetLanguage(7);
        const Array pieces{manager, KoSTRING_T,
                           manager.ConvertFromKoStringOld(&row.text, KoSTRING_T, row.count),
                           row.count};
        ASSERT_NE(pieces.data, nullptr);
        EXPECT_TRUE(row.text.IsEmpty()) << "the text is used up";
        for (unsigned i = 0; i < row.count; ++i) {
            KoString piece = static_cast<KoString*>(pieces.data)[i];
            if (!piece.IsEmpty()) {
                EXPECT_EQ(piece.CodeSet(), codeSet);
                EXPECT_EQ(piece.Language(), 7);
            }
            piece.SetCodeSet(1);
            EXPECT_EQ(Text(piece), row.pieces[i]);
        }
    }
    KoString text("a,");
    EXPECT_EQ(manager.ConvertFromKoStringOld(&text, KoRES_T, 1), nullptr);
}

} // namespace
