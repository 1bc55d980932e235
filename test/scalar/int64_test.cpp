#include "support/data_file.h"
#include "support/reports.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace
{

__extension__ typedef __int128 Wide;

constexpr o_8b kMax = std::numeric_limits<o_8b>::max();
constexpr o_8b kMin = std::numeric_limits<o_8b>::min();

/// A number reduced modulo 2^64.
o_8b Wrap(Wide n)
{
    return static_cast<o_8b>(static_cast<o_u8b>(n));
}

/// Operands of every magnitude, with the edges among them often.
o_8b AnyOperand(std::mt19937_64& random)
{
    static const o_8b edges[] = {
        0,    1,        -1,   2,        -2,           0xFFFFFFFF, 0x100000000,
        kMin, kMin + 1, kMax, kMax - 1, -0x100000000, 0x7FFFFFFF, -0x80000000LL};
    const unsigned pick = static_cast<unsigned>(random() % 64);
    if (pick < std::size(edges))
        return edges[pick];
    return static_cast<o_8b>(random()) >> pick;
}

} // namespace

TEST(KoInt64, ArithmeticIsThatOfBuiltInIntegersModulo2To64)
{
    std::mt19937_64 random(20240611);
    for (int i = 0; i < 200000; ++i) {
        const o_8b a = AnyOperand(random);
        const o_8b b = AnyOperand(random);
        const KoInt64 x = a;
        const KoInt64 y = b;
        ASSERT_EQ((x + y).Get8b(), Wrap(Wide{a} + b)) << a << ' ' << b;
        ASSERT_EQ((x - y).Get8b(), Wrap(Wide{a} - b)) << a << ' ' << b;
        ASSERT_EQ((x * y).Get8b(), Wrap(Wide{a} * b)) << a << ' ' << b;
        ASSERT_EQ((-x).Get8b(), Wrap(-Wide{a})) << a;
        ASSERT_EQ((x & y).Get8b(), a & b);
        ASSERT_EQ((x | y).Get8b(), a | b);
        ASSERT_EQ((~x).Get8b(), ~a);
        ASSERT_EQ(x.Abs().Get8b(), Wrap(a < 0 ? -Wide{a} : Wide{a})) << a;
        if (b != 0) {
            ASSERT_EQ((x / y).Get8b(), Wrap(Wide{a} / b)) << a << ' ' << b;
            ASSERT_EQ((x % y).Get8b(), Wrap(Wide{a} % b)) << a << ' ' << b;
        }
        ASSERT_EQ(
            (x < y) + 2 * (x <= y) + 4 * (x > y) + 8 * (x >= y) + 16 * (x == y) + 32 * (x != y),
            (a < b) + 2 * (a <= b) + 4 * (a > b) + 8 * (a >= b) + 16 * (a == b) + 32 * (a != b))
            << a << ' ' << b;
    }
}

TEST(KoInt64, ShiftsAreRepeatedSingleShifts)
{
    for (const o_8b value : {o_8b{1}, o_8b{-1}, kMin, kMax, 0x123456789ABCDEFLL}) {
        Wide left = value;
        Wide right = value;
        for (unsigned n = 0; n <= 130; ++n) {
            ASSERT_EQ((KoInt64(value) << n).Get8b(), Wrap(left)) << value << " by " << n;
            ASSERT_EQ((KoInt64(value) >> n).Get8b(), Wrap(right)) << value << " by " << n;
            left = Wrap(left * 2);
            right = right >= 0 ? right / 2 : (right - 1) / 2;
        }
    }
}

TEST(KoInt64, CompoundFormsStoreWhatTheyReturn)
{
    KoInt64 n(0xFFFFFFFFU, 0);
    EXPECT_EQ((++n).Get8b(), 0x100000000LL);
    EXPECT_EQ(n.High(), 1);
    EXPECT_EQ((--n).Low(), 0xFFFFFFFFU);
    EXPECT_EQ((n += 3).Get8b(), 0x100000002LL);
    EXPECT_EQ((n -= KoInt64(2)).Get8b(), 0x100000000LL);
    EXPECT_EQ((n *= -5L).Get8b(), -0x500000000LL);
    EXPECT_EQ((n /= 7U).Get8b(), -3067833782LL);
    EXPECT_EQ((n %= 1000).Get8b(), -782);
    EXPECT_EQ((n <<= 4).Get8b(), -12512);
    EXPECT_EQ((n >>= 3).Get8b(), -1564);
}

TEST(KoInt64, DivisionByZeroIsReportedAndGivesZero)
{
    for (const o_8b dividend : {o_8b{1}, o_8b{-1}, o_8b{0}, kMin, kMax}) {
        const Reports reports;
        EXPECT_EQ((KoInt64(dividend) / 0).Get8b(), 0) << dividend;
        EXPECT_EQ((KoInt64(dividend) % 0).Get8b(), 0) << dividend;
        EXPECT_EQ(reports.Texts(), "KoInt64 divide by zero|src\\koint64|748;"
                                   "KoInt64 divide by zero|src\\koint64|748;");
    }
}

TEST(KoInt64, ConversionFromDoubleKeepsSevenDigits)
{
    data::ForEachRow("numbers/int64fromdouble.txt", 3, [](const auto&, const data::Row& row) {
        const double from = std::stod(row[0]);
        const o_8b to = std::stoll(row[1]);
        EXPECT_EQ(KoInt64(from).Get8b(), to);
        EXPECT_EQ(KoInt64(-from).Get8b(), -to);
    });
}
