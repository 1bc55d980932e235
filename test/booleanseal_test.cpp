#include <kotms.h>

#include <gtest/gtest.h>

#include <vector>

namespace
{

KoBoolean Null()
{
    KoBoolean value;
    value.SetNullValue();
    return value;
}

TEST(KoBoolean, OrderIsNullFalseTrue)
{
    const KoBoolean ascending[] = {Null(), 0, 1};
    for (int a = 0; a < 3; ++a) {
        for (int b = 0; b < 3; ++b) {
            SCOPED_TRACE(testing::Message() << a << ' ' << b);
            KoBoolean x = ascending[a];
            KoBoolean y = ascending[b];
            const auto all = [](const auto& left, const auto& right) {
                return (left == right) + 2 * (left != right) + 4 * (left < right) +
                       8 * (left > right);
            };
            EXPECT_EQ(all(x, y), all(a, b));
            if (b > 0) {
                EXPECT_EQ(all(x, b == 1 ? 0 : -7), all(a, b)) << "any int but 0 is true";
            }
            for (const unsigned char format : {KoFMT_MEMORY, KoFMT_LITTLE, KoFMT_BIG})
                EXPECT_EQ(KoTypeMgr().Cmp(KoBOOLEAN_T, &x, &y, 0, 1, format), (a > b) - (a < b));
        }
    }
    KoBoolean value = 5;
    EXPECT_EQ(value == KoBoolean(1), 1);
    EXPECT_EQ((value = 0) == 0, 1);
    EXPECT_EQ((value = -1) == 1, 1);
    EXPECT_EQ(Null().IsNullValue(), 1);
    EXPECT_EQ(value.IsNullValue(), 0);
}

TEST(KoBoolean, ForeignBytesAreTrue)
{
    KoTypeMgr manager;
    KoBoolean values[] = {0, 1};
    int status = 1;
    // A foreign byte is true in everything.
    unsigned char foreign = 2;
    EXPECT_EQ(manager.Load(KoBOOLEAN_T, &values[0], &foreign, KoFMT_LITTLE, 1), 1U);
    EXPECT_EQ(values[0] == KoBoolean(1), 1);
    EXPECT_EQ(manager.Cmp(KoBOOLEAN_T, &foreign, &values[1], 0, 1, KoFMT_LITTLE), 0);
    EXPECT_EQ(manager.Hash(KoBOOLEAN_T, 0, &foreign, 1, KoFMT_LITTLE, status),
              manager.Hash(KoBOOLEAN_T, 0, &values[1], 1, KoFMT_LITTLE, status));

    unsigned char a[] = {1, 1, 0};
    unsigned char b[] = {1, 1, 1};
    EXPECT_EQ(BooleanCompare(KoFMT_LITTLE, 2, a, 3, b, 0, 3, status), 0);
    EXPECT_EQ(status, KoRC_TRUNCATED);
    EXPECT_EQ(BooleanCompare(KoFMT_LITTLE, 0, a, 0, b, 0, 3, status), -1);
    EXPECT_EQ(status, 0);
}

std::vector<unsigned> Words(const KoSeal& seal)
{
    return {seal.Word(0), seal.Word(1), seal.Word(2)};
}

TEST(KoSeal, KeepsTheLow48Bits)
{
    for (const o_8b from : {o_8b{0x123456789ABC}, o_8b{0x7FFF000000000001}, o_8b{-1},
                            o_8b{0xFFFFFFFF}, o_8b{0x800000000000}}) {
        KoSeal seal;
        seal.ConvertFrom(from);
        o_8b number = -1;
        seal.ConvertTo(number);
        EXPECT_EQ(number, from & 0xFFFFFFFFFFFF);
        KoSeal fromClass;
        fromClass.ConvertFrom(KoInt64(from));
        EXPECT_EQ(fromClass == seal, 1) << from;
        KoInt64 back;
        fromClass.ConvertTo(back);
        EXPECT_EQ(back.Get8b(), number);
    }
    KoSeal seal;
    seal.ConvertFrom(KoObjId{9, 0x00020003, 1});
    EXPECT_EQ(Words(seal), Words(KoSeal(1, 2, 3))) << "without the tag";
}

/// The order of the type, without differences, stands in the golden corpus.
TEST(KoSeal, DifferenceIsThatOfTheFirstWordsThatDiffer)
{
    EXPECT_EQ(KoSeal(1, 2, 3) != KoSeal(1, 2, 3), 0);
    EXPECT_EQ(KoSeal(0, 0, 5) != KoSeal(0, 0, 7), -2);
    EXPECT_EQ(KoSeal(0, 9, 0) != KoSeal(0, 1, 9), 8);
    EXPECT_EQ(KoSeal(0, 9, 9) != KoSeal(0xFFFF, 0, 0), -0xFFFF);
    EXPECT_EQ((KoSeal(1, 2, 3) == KoSeal(1, 2, 3)) + (KoSeal(1, 2, 3) == KoSeal(1, 2, 4)), 1);
}

} // namespace
