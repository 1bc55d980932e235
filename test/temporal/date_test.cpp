#include "support/value.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <random>

namespace
{

constexpr int kDayOf1970 = 2440588;
constexpr int kLastDay = 13689325; // 32767-12-31

/// A date between the smallest and the largest fields, in the calendar more often than not.
KoDate AnyDate(std::mt19937& random)
{
    if (random() % 4 != 0)
        return KoDate(static_cast<int>(random() % (kLastDay + 1)));
    return {static_cast<int>(random()), static_cast<int>(random()), static_cast<int>(random())};
}

} // namespace

// Day numbers count from day 0, -4713-11-24. Back, the formula keeps to the calendar a century
// longer than forth.
TEST(KoDate, EveryDayIsThatOfTheCalendar)
{
    using namespace std::chrono;
    for (int day = -68569; day <= kLastDay; ++day) {
        const year_month_day peer = sys_days(days(day - kDayOf1970));
        const KoDate date(day);
        ASSERT_TRUE(date.Year() == int{peer.year()} && (day < -32044 || date.dayabs() == day) &&
                    date.Month() == static_cast<int>(unsigned{peer.month()}) &&
                    date.Day() == static_cast<int>(unsigned{peer.day()}))
            << day;
    }
    EXPECT_EQ(KoDate(0), KoDate(-4713, 11, 24));
}

// Where day numbers leave the calendar.
TEST(KoDate, DayNumbersOutsideTheCalendar)
{
    data::ForEachRow("dates/daynumbers.txt", 3, [](const auto& head, const data::Row& row) {
        if (head[0] != "KoDate")
            return;
        Value value("KoDate");
        value.Set(row[0], "%Y-%m-%d");
        const auto& date = *static_cast<const KoDate*>(value.Data());
        const int day = std::stoi(row[1]);
        if (head[1] == "of days")
            EXPECT_EQ(KoDate(day), date);
        else
            EXPECT_EQ(date.dayabs(), day);
    });
}

TEST(KoDate, ArithmeticIsThatOfDayNumbers)
{
    std::mt19937 random(41);
    for (int i = 0; i < 20000; ++i) {
        const KoDate a = AnyDate(random);
        const KoDate b = AnyDate(random);
        const int days = static_cast<int>(random() % 2000000) - 1000000;
        ASSERT_EQ(a + days, KoDate(a.dayabs() + days));
        ASSERT_EQ(a - days, KoDate(a.dayabs() - days));
        ASSERT_EQ(a - b, a.dayabs() - b.dayabs());
        KoDate moved = a;
        ASSERT_EQ((moved += days) -= days, a + days - days);
        ASSERT_EQ(a < b, a.Compare(b, 0x10) < 0);
        ASSERT_EQ(a != b, -(b != a));
    }
    EXPECT_EQ(++KoDate(2024, 12, 31), KoDate(2025, 1, 1));
    EXPECT_EQ(--KoDate(2024, 3, 1), KoDate(2024, 2, 29));
    // The day number wraps; nothing overflows.
    const KoDate late(32767, 127, 127);
    EXPECT_EQ(late + INT_MAX, KoDate(static_cast<int>(13692923U + 2147483647U)));
    EXPECT_EQ(late - INT_MIN, KoDate(static_cast<int>(13692923U + 2147483648U)));
}

TEST(KoDate, ValidDates)
{
    for (const KoDate& last :
         {KoDate(2000, 2, 29), KoDate(2024, 2, 29), KoDate(2023, 4, 30), KoDate(32767, 12, 31)})
        EXPECT_TRUE(last.IsDate() != 0 && last.IsLastDayOfTheMonth() != 0) << last.dayabs();
    for (const KoDate& inside : {KoDate(2024, 2, 28), KoDate(-32768, 1, 1)})
        EXPECT_TRUE(inside.IsDate() != 0 && inside.IsLastDayOfTheMonth() == 0) << inside.dayabs();
    for (const KoDate& none : {KoDate(1900, 2, 29), KoDate(2023, 4, 31), KoDate(2023, 13, 1),
                               KoDate(2023, 0, 1), KoDate(2023, 1, 0)})
        EXPECT_EQ(none.IsDate() + none.IsLastDayOfTheMonth(), 0) << none.dayabs();
    EXPECT_EQ(KoDate(2024, 12, 25).daynxtmonth(), 7);
}

TEST(KoDate, WeekdaysAreTrueExceptInFebruary)
{
    for (int day = KoDate(1582, 1, 1); day < KoDate(2800, 1, 1).dayabs(); ++day) {
        const KoDate date(day);
        // Day 0 was a Monday. February comes out three days early; stored texts rely on it.
        const int expected = (day + (date.Month() == 2 ? 4 : 0)) % 7;
        ASSERT_EQ(date.GetDayOfTheDate(), expected) << day;
        ASSERT_EQ(date.DayOfTheDate(), expected) << day;
    }
    EXPECT_EQ(KoDate(2024, 1, 15).GetDayOfTheDate(), Monday);
    EXPECT_EQ(KoDate(2024, 3, 1).GetDayOfTheDate(), Friday);
    EXPECT_EQ(KoDate(2024, 2, 1).GetDayOfTheDate(), Monday) << "truly a Thursday";
    EXPECT_EQ(KoDate(2024, 1, -128).GetDayOfTheDate(), Sunday) << "a negative remainder";

    KoDate date(2024, 3, 1);
    EXPECT_EQ(date.PrintDayOfTheDate(), KoString("4"));
    EXPECT_EQ(std::as_const(date).PrintDayOfTheDate(), KoString("Friday"));
}

TEST(KoDate, DivisionCutsTowardsZero)
{
    struct Derived : KoDate {
        using KoDate::divide;
        using KoDate::modulo;
    };
    const Derived date;
    EXPECT_TRUE(date.divide(-5, 3) == -1 && date.divide(INT_MIN, -3) == 715827882);
    EXPECT_TRUE(date.modulo(-5, 3) == -2 && date.modulo(5, -3) == -2 && date.modulo(-5, -3) == 2);
    EXPECT_EQ(date.divide(5, 0) + date.modulo(5, 0), 0);
}
