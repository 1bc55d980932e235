#include "support/data_file.h"
#include "support/reports.h"

#include <_konulty.h>
#include <kotms.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

TEST(NullTypes, StoredForms)
{
    const KoTypeMgr manager;
    KoNull_char element = {65, -1};
    unsigned char stored[2];
    manager.Store(KoNULL_1B_T, stored, &element, KoFMT_LITTLE, 1);
    EXPECT_EQ(stored[0] * 256 + stored[1], 256 + 65) << "every indicator is stored as 1";
    int status;
    EXPECT_EQ(manager.Hash(KoNULL_1B_T, 0, &element, 1, KoFMT_MEMORY, status),
              manager.Hash(KoNULL_1B_T, 0, stored, 1, KoFMT_LITTLE, status))
        << "the value beside null plays no part";
    const auto loaded = [&manager](Bytes bytes, unsigned char format) {
        KoNull_char read = {9, 9};
        EXPECT_EQ(manager.Load(KoNULL_1B_T, &read, bytes.data(), format, 1), 2U);
        return std::pair(int{read.value}, int{read.null});
    };
    EXPECT_EQ(loaded({1, 65}, KoFMT_LITTLE), std::pair(0, 1)) << "null, whatever stands beside it";
    EXPECT_EQ(loaded({2, 65}, KoFMT_LITTLE), std::pair(65, 0)) << "2 is not";
    EXPECT_EQ(loaded({255, 65}, KoFMT_BIG), std::pair(65, 0)) << "nor is 255";
    EXPECT_EQ(loaded({65, 1}, KoFMT_MEMORY), std::pair(0, 1)) << "bit 3 looks for it at the end";
    EXPECT_EQ(loaded({1, 65}, KoFMT_MEMORY), std::pair(1, 0)) << "and takes the value in front";
}

TEST(NullTypes, RelationOfTwoOperands)
{
    const Reports reports;
    const struct {
        int relation, order;
    } rows[] = {{0, 0}, {1, -1}, {2, 1}, {4, -2}, {-1, -2}, {3, -2}};
    for (const auto& row : rows) {
        EXPECT_EQ(reports.Texts(), "");
        EXPECT_EQ(KoNullRelationOrder(row.relation), row.order) << row.relation;
    }
    EXPECT_EQ(reports.Texts(), "nr != unknown|_konulty|168;");
}

// What the order of two elements is, the sweep in standard/less_test.cpp holds to the type manager.
TEST(NullTypes, StandBesideValuesAndOptionals)
{
    KoNull_int n{5, 0};
    EXPECT_TRUE(n == 5 && 5 == n && n != 6 && n < 6 && 6 > n && n != std::nullopt);
    std::optional<int> number = n;
    EXPECT_TRUE(number == 5 && n == number);
    number = n = std::nullopt;
    EXPECT_TRUE(n.value == 0 && !number && n == number && n < number.value_or(-9));
    EXPECT_TRUE(n == KoNull_int::Null() && n < KoNull_int::Of(0) && std::is_eq(n <=> std::nullopt));
    n = std::optional(3);
    EXPECT_TRUE(n == 3);
    n = {};
    EXPECT_TRUE(n == 0) << "an element, as ever";
    KoNull_KoInt64 wide = {};
    wide = 5;
    EXPECT_TRUE(wide == KoInt64(5) && std::optional<KoInt64>(wide) == KoInt64(5));
    const KoNull_double nan{std::numeric_limits<double>::quiet_NaN(), 0};
    EXPECT_TRUE(nan == nan && nan < -std::numeric_limits<double>::infinity() &&
                nan > std::nullopt && KoNull_double::Of(-0.0) == 0.0);
    static_assert(std::is_trivial_v<KoNull_int> && std::is_aggregate_v<KoNull_int>);
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
    KoTypeMgr manager;
    const KoString before = KoTypeMgr::GetNullPrintString();
    const auto cmpOp = KoString::GetDefaultCmpOp();
    data::ForEachRow("strings/nullprint.txt", 4, [&](const auto&, const data::Row& row) {
        for (const o_u2b word : {o_u2b{0}, o_u2b{0x2E0}}) {
            KoString::SetDefaultCmpOp(word);
            KoTypeMgr::SetNullPrintString(data::ParseText(row[0]));
            KoString text = data::ParseText(row[1]);
            KoString value;
            manager.ScanFromKoString(KoSTRING_T, &value, text, nullptr, 1);
            KoDate date(2024, 3, 5);
            manager.ScanFromKoString(KoDATE_T, &date, text, nullptr, 1);
            KoBlob blob;
            manager.ScanFromKoString(KoBLOB_T, &blob, text, nullptr, 1);
            for (const bool isNull :
                 {value.IsNullValue() != 0, date.IsNullValue() != 0, blob.IsNullValue() != 0})
                EXPECT_EQ(isNull, row[2] == "null");
        }
    });
    KoString::SetDefaultCmpOp(cmpOp);
    KoTypeMgr::SetNullPrintString(before);
}

} // namespace
