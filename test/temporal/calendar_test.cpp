#include "support/value.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

/// What dates are in their years, and the lengths between moments: test/data/dates/calendar.txt,
/// and laws where it does not reach.

namespace
{

/// A value of a class, read strictly under a format; "null" is null.
template <class T>
T Read(o_char id, const std::string& text, const char* format)
{
    T value = T::NullValue();
    std::size_t at = 0;
    if (text != "null") {
        EXPECT_EQ(KoTypeMgr().ReadText(id, &value, text.data(), text.size(), format, at), 0)
            << text << ", " << at;
    }
    return value;
}

std::string Shown(const KoTimeSpan& span)
{
    KoString text;
    span.PrintToKoString(text, "%J.%H:%M:%S %N");
    return text.StrGet();
}

KoDate AnyDay(std::mt19937& random)
{
    const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
    for (;;) {
        const KoDate date(below(65536) - 32768, 1 + below(12), 1 + below(31));
        if (date.DayOfTheYear() != 0)
            return date;
    }
}

void AddDay(const KoDate& date, unsigned& hash)
{
    for (const int number :
         {date.DayOfTheYear(), date.IsoWeekYear(), date.IsoWeek(), date.IsoDayOfTheWeek()})
        hash = 31 * hash + static_cast<unsigned>(number);
}

void CheckMonths(const data::Row& row)
{
    int part[3] = {}; // no date in one case or another
    std::sscanf(row[0].c_str(), "%d-%d-%d", &part[0], &part[1], &part[2]);
    KoDate date = row[0] == "null" ? KoDate::NullValue() : KoDate(part[0], part[1], part[2]);
    const KoDate before = date;
    const int result = date.AddMonths(std::stoi(row[1]));
    if (row[2] == "overflow" || row[2] == "refused") {
        EXPECT_EQ(result, row[2] == "refused" ? int{KoRC_REFUSED} : int{KoRC_OVERFLOW});
        EXPECT_EQ(date, before);
        return;
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(date, Read<KoDate>(KoDATE_T, row[2], nullptr));
    // The calendars agree since the reform.
    d_Date other(before);
    if (before.Year() > 1582) {
        EXPECT_EQ(other.add_months(std::stoi(row[1])), 0);
        EXPECT_TRUE(other == d_Date(date));
    }
}

void CheckLength(const data::Row& row)
{
    const auto from = Read<KoDateTimeN>(KoDATIME_N_T, row[0], nullptr);
    const auto to = Read<KoDateTimeN>(KoDATIME_N_T, row[1], nullptr);
    // A floored count of days and the time of day, which the constructor takes as they are.
    const std::size_t dot = row[2].find('.');
    KoTimeSpan expected(std::stoi(row[2]), 0, 0, 0, 0);
    int part[4] = {};
    std::sscanf(row[2].c_str() + dot, ".%2d:%2d:%2d.%9d", &part[0], &part[1], &part[2], &part[3]);
    expected += KoTimeSpan(0, part[0], part[1], part[2], part[3]);
    const KoTimeSpan span = to - from;
    EXPECT_EQ(Shown(span), Shown(expected));
    EXPECT_EQ(from + span, to);
    EXPECT_EQ(to - span, from);
    EXPECT_EQ(Shown(-span), Shown(from - to));
    EXPECT_EQ(span.Sign(), to.Compare(from, kKoCmpStrict) == 0 ? 0 : to < from ? -1 : 1);
}

TEST(Calendar, IsPythons)
{
    data::ForEachRow("dates/calendar.txt", 4, [](const auto& head, const data::Row& row) {
        if (head[0] == "months")
            return CheckMonths(row);
        if (head[0] == "lengths")
            return CheckLength(row);
        unsigned hash = 0;
        const KoDate end(std::stoi(row[1]), 12, 31);
        for (KoDate date(std::stoi(row[0]), 1, 1); !(end < date); ++date)
            AddDay(date, hash);
        EXPECT_EQ(hash, data::Hex(row[2]));
    });
}

// 400 years have 20871 whole weeks, and weeks are told from their days.
TEST(Calendar, RepeatsInAllYears)
{
    std::mt19937 random(14);
    for (int i = 0; i < 20000; ++i) {
        const KoDate date = AnyDay(random);
        const KoDate now(2000 + (date.Year() % 400 + 400) % 400, date.Month(), date.Day());
        ASSERT_EQ(date.IsoWeek(), now.IsoWeek()) << date.Year();
        ASSERT_EQ(date.IsoDayOfTheWeek(), now.IsoDayOfTheWeek());
        ASSERT_EQ(date.IsoWeekYear() - date.Year(), now.IsoWeekYear() - now.Year());
        ASSERT_EQ(date.DayOfTheYear(), now.DayOfTheYear());
        ASSERT_EQ(KoDate::OfIsoWeek(date.IsoWeekYear(), date.IsoWeek(), date.IsoDayOfTheWeek()),
                  date);
        if (date.Year() > -4800) {
            ASSERT_EQ(date.IsLastDayOfTheMonth(), date.Day() == date.DaysInTheMonth() ? 1 : 0);
        }
        KoDate moved = date;
        const int months = static_cast<int>(random() % 2000) - 1000;
        if (moved.AddMonths(months) == 0) {
            ASSERT_EQ(moved.Year() * 12 + moved.Month(), date.Year() * 12 + date.Month() + months);
            ASSERT_EQ(moved.Day(), std::min(date.Day(), moved.DaysInTheMonth()));
        }
    }
    EXPECT_NE(KoDate::OfIsoWeek(2024, 53, 1).IsNullValue(), 0) << "2024 has 52 weeks";
    EXPECT_NE(KoDate::OfIsoWeek(-32769, 52, 1).IsNullValue(), 0) << "no year of a date";
    for (const KoDate& none :
         {KoDate(2023, 2, 29), KoDate(2024, -1, 5), KoDate::NullValue(), KoDate(-4900, 2, 29)})
        EXPECT_EQ(
            none.IsoWeek() + none.IsoWeekYear() + none.IsoDayOfTheWeek() + none.DayOfTheYear(), 0);
    EXPECT_TRUE(KoDate(2024, 12, 1).Quarter() == 4 && KoDate(2024, -1, 1).Quarter() == 0);
    d_Date reform(1582, 9, 10);
    EXPECT_TRUE(reform.add_months(1) == 0 && reform == d_Date(1582, 10, 4));
    EXPECT_TRUE(reform.add_years(20) == 0 && reform == d_Date(1602, 10, 4));
}

/// A span of any fields, their limits often.
KoTimeSpan AnySpan(std::mt19937& random)
{
    const auto any = [&random](int limit) {
        const int number = static_cast<int>(random() % (2U * static_cast<unsigned>(limit))) - limit;
        return random() % 4 == 0 ? number / (limit / 2) : number;
    };
    return {any(32768), any(128), any(128), any(128), any(128), any(128), any(1'000'000'000)};
}

__extension__ using Wide = __int128;

/// Nanoseconds, which no other type holds.
Wide Exact(const KoTimeSpan& span)
{
    return Wide{span.GetTotalSeconds()} * 1'000'000'000 + span.NanoSeconds();
}

// Sums and multiples are those of whole numbers, or null beyond the years of a span.
TEST(Calendar, LengthsAreNumbers)
{
    std::mt19937 random(15);
    constexpr Wide kDay = Wide{86'400} * 1'000'000'000;
    const auto check = [](const KoTimeSpan& span, Wide expected) {
        const bool fits = expected >= -32768 * 360 * kDay && expected < 32768 * 360 * kDay;
        ASSERT_EQ(span.IsNullValue() == 0, fits);
        ASSERT_TRUE(!fits || Exact(span) == expected) << Shown(span);
    };
    int nulls = 0;
    for (int i = 0; i < 20000; ++i) {
        const KoTimeSpan a = AnySpan(random);
        const KoTimeSpan b = AnySpan(random);
        const int n = static_cast<int>(random()) >> random() % 32;
        check(a + b, Exact(a) + Exact(b));
        check(a - b, Exact(a) - Exact(b));
        check(a * n, Exact(a) * n);
        check(-a, -Exact(a));
        ASSERT_EQ(a.CompareLength(b), Exact(a) < Exact(b) ? -1 : Exact(a) > Exact(b) ? 1 : 0);
        if (n != 0)
            check(a / n, Exact(a) / n);
        nulls += (a + b).IsNullValue();
    }
    EXPECT_TRUE(nulls > 1000 && nulls < 15000);
    const KoTimeSpan null;
    const KoTimeSpan second(1.0);
    for (const KoTimeSpan& none : {null + second, second + null, -null, null * 2, second / 0,
                                   KoDateTime(KoDate(2023, 2, 29), KoTime(0, 0, 0)) -
                                       KoDateTime(KoDate(2023, 2, 28), KoTime(0, 0, 0))})
        EXPECT_NE(none.IsNullValue(), 0);
    EXPECT_TRUE(null.CompareLength(second) < 0 && null.CompareLength(null) == 0);
    const KoDateTime last(KoDate(32767, 12, 31), KoTime(23, 59, 59));
    EXPECT_NE((last + second).IsNullValue(), 0);
    EXPECT_EQ(last - KoTimeSpan(0.5), KoDateTime(KoDate(32767, 12, 31), KoTime(23, 59, 58)))
        << "rounded down";
    const d_Timestamp early(d_Date(1582, 10, 4), d_Time(23, 59, 59.5F, 0, 0));
    const d_Timestamp late(d_Date(1582, 10, 15), d_Time(0, 0, 0, 0, 0));
    EXPECT_EQ(Shown(KoTimeSpan::Between(early, late)), "0.00:00:00 500000000") << "the next day";
}

} // namespace
