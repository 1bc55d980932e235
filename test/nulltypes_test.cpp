#include <_konulty.h>
#include <kotms.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

TEST(NullTypes, StoredForms)
{
    const KoTypeMgr manager;
    for (const int null : {1, 7, -1}) {
        KoNull_char element = {65, static_cast<signed char>(null)};
        unsigned char stored[2];
        EXPECT_EQ(manager.Store(KoNULL_1B_T, stored, &element, KoFMT_LITTLE, 1), 2U);
        EXPECT_EQ(stored[0] * 256 + stored[1], 256 + 65) << "every indicator is stored as 1";
        int status;
        EXPECT_EQ(manager.Hash(KoNULL_1B_T, 0, &element, 1, KoFMT_MEMORY, status),
                  manager.Hash(KoNULL_1B_T, 0, stored, 1, KoFMT_LITTLE, status))
            << "stored too, and the value beside null plays no part";
    }
    const struct {
        const char* reason;
        Bytes stored;
        unsigned char format;
        o_char value;
        signed char null;
    } loads[] = {
        {"1 is null, whatever stands beside it", {1, 65}, KoFMT_LITTLE, 0, 1},
        {"2 is not", {2, 65}, KoFMT_LITTLE, 65, 0},
        {"nor is 255", {255, 65}, KoFMT_BIG, 65, 0},
        {"bit 3 looks for it at the end", {65, 1}, KoFMT_MEMORY, 0, 1},
        {"and takes the first byte for the value", {1, 65}, KoFMT_MEMORY, 1, 0},
    };
    for (const auto& row : loads) {
        KoNull_char element = {9, 9};
        EXPECT_EQ(manager.Load(KoNULL_1B_T, &element, row.stored.data(), row.format, 1), 2U);
        EXPECT_EQ(element.value, row.value) << row.reason;
        EXPECT_EQ(element.null, row.null) << row.reason;
    }
}

int assertions;
const char* assertedText;

TEST(NullTypes, RelationOfTwoOperands)
{
    const KoAssertHandler before =
        KoSetAssertHandler([](const char* text, const char* file, int line) {
            assertedText = text;
            EXPECT_STREQ(file, "_konulty");
            EXPECT_EQ(line, 168);
            ++assertions;
        });
    const struct {
        int relation, order, assertions;
    } rows[] = {{0, 0, 0}, {1, -1, 0}, {2, 1, 0}, {3, -2, 1}, {4, -2, 0}, {-1, -2, 0}};
    for (const auto& row : rows) {
        assertions = 0;
        EXPECT_EQ(KoNullRelationOrder(row.relation), row.order) << row.relation;
        EXPECT_EQ(assertions, row.assertions) << row.relation;
    }
    EXPECT_STREQ(assertedText, "nr != unknown");
    KoSetAssertHandler(before);
}

TEST(NullTypes, NullPrintStringMayChange)
{
    KoTypeMgr manager;
    KoNull_short elements[] = {{-5, 0}, {0, 1}, {7, 0}};
    KoNull_short back[3] = {};
    const KoString before = KoTypeMgr::GetNullPrintString();
    KoTypeMgr::SetNullPrintString(KoString("-"));
    KoString text;
    manager.PrintToKoString(KoNULL_2B_T, text, elements, nullptr, 3);
    EXPECT_STREQ(text.StrGet(), "-5,-,7");
    std::memset(back, 0x55, sizeof back);
    manager.ScanFromKoString(KoNULL_2B_T, back, text, nullptr, 3);
    EXPECT_EQ(back[0].value * 10 + back[2].value, -43) << "a minus sign is not null";
    EXPECT_EQ(back[0].null * 4 + back[1].null * 2 + back[2].null, 2);
    KoTypeMgr::SetNullPrintString(before);
}

// Neither the default operator word nor wildcards decide what is null.
TEST(NullTypes, TextIsComparedWithTheNullPrintStringAsItStands)
{
    const struct {
        const char* null;
        unsigned char nullSet;
        const char* text;
        unsigned char textSet;
        bool isNull;
        const char* why;
    } rows[] = {
        {"*", 1, "text", 1, false, "no wildcard"},
        {"*", 1, "*", 1, true, "but itself"},
        {"nil", 1, "NIL", 1, false, "case counts"},
        {"nil", 1, "n\xEFl", 1, false, "accents, too"},
        {"nil", 1, " nil", 1, false, "and spaces"},
        {"nil", 1, "nil", 253, true, "another code set"},
        {"nil", 253, "nil", 0, true, "none"},
        {"n\xEFl", 0, "n\xEFl", 1, true, "none here"},
        {"n\xEFl", 0, "n\xEFl", 253, true, "or wide"},
        {"?", 1, "\xFF", 21, false, "what is lacking is no question mark"},
        {"", 1, "", 1, false, "an empty one stands for nothing"},
        {"", 1, "text", 1, false, "before a text either"},
    };
    KoTypeMgr manager;
    const KoString before = KoTypeMgr::GetNullPrintString();
    const auto cmpOp = KoString::GetDefaultCmpOp();
    for (const o_u2b word : {o_u2b{0}, o_u2b{0x2E0}}) {
        KoString::SetDefaultCmpOp(word);
        for (const auto& row : rows) {
            const auto in = [](const char* text, unsigned char codeSet) {
                KoString string(text);
                if (KoCodeSetWidth(codeSet) == 2)
                    string.MapToCodeSet(codeSet);
                else
                    string.SetCodeSetCode(codeSet);
                return string;
            };
            KoTypeMgr::SetNullPrintString(in(row.null, row.nullSet));
            KoString text = in(row.text, row.textSet);
            KoString value;
            manager.ScanFromKoString(KoSTRING_T, &value, text, nullptr, 1);
            EXPECT_EQ(value.IsNullValue(), row.isNull) << row.why;
            KoDate date(2024, 3, 5);
            manager.ScanFromKoString(KoDATE_T, &date, text, nullptr, 1);
            EXPECT_EQ(date.IsNullValue(), row.isNull) << row.why;
            KoBlob blob;
            manager.ScanFromKoString(KoBLOB_T, &blob, text, nullptr, 1);
            EXPECT_EQ(blob.IsNullValue(), row.isNull) << row.why;
        }
    }
    KoString::SetDefaultCmpOp(cmpOp);
    KoTypeMgr::SetNullPrintString(before);
}

} // namespace
