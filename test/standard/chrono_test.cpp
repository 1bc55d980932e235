#include "support/texts.h"

#include <kostd.h>

#include <gtest/gtest.h>

#include <limits>

namespace
{

using namespace std::chrono;
using namespace std::chrono_literals;
using ko::FromChrono;
using ko::Hundredths;
using ko::ToChrono;

constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
using Moment = sys_time<nanoseconds>;

bool IsNearATurn(sys_days day)
{
    return day < sys_days(year(5) / 1 / 1) ||
           (day > sys_days(year(1580) / 1 / 1) && day < sys_days(year(1584) / 1 / 1));
}

// Days of the years 1 to 2149, all of them around the reform and where the Julian calendar begins.
TEST(Chrono, DatesOfBothCalendarsComeBack)
{
    const auto end = sys_days(year(2150) / 1 / 1);
    for (auto day = sys_days(year(1) / 1 / 1); day < end; day += days(IsNearATurn(day) ? 1 : 13)) {
        const auto odmg = FromChrono<d_Date>(day);
        const auto native = FromChrono<KoDate>(year_month_day(day));
        ASSERT_TRUE(native && ToChrono(*native) == year_month_day(day))
            << day.time_since_epoch().count();
        // Two days of the proleptic year 1 stand before the Julian one.
        ASSERT_TRUE(odmg ? ToChrono(*odmg) == year_month_day(day)
                         : day < sys_days(year(1) / 1 / 3));
    }
}

TEST(Chrono, DatesWithACounterpart)
{
    EXPECT_EQ(ToChrono(KoDate(2024, 2, 29)), year(2024) / 2 / 29);
    EXPECT_EQ(ToChrono(d_Date(1582, 10, 4)), year(1582) / 10 / 14) << "a Julian date";
    EXPECT_EQ(ToChrono(d_Date(1582, 10, 15)), year(1582) / 10 / 15);
    EXPECT_EQ(FromChrono<KoDate>(sys_days(year(32767) / 12 / 31)), KoDate(32767, 12, 31));
    EXPECT_EQ(FromChrono<KoDate>(sys_days(year(-4713) / 11 / 24)), KoDate(0));
    // Null, a part that stands for any, days and months that are none.
    for (const KoDate& none :
         {KoDate::NullValue(), KoDate(-1, 5, 5), KoDate(2024, -1, 5), KoDate(2024, 5, -1),
          KoDate(2024, 4, 31), KoDate(2023, 2, 29), KoDate(2024, 0, 1)})
        EXPECT_EQ(ToChrono(none), std::nullopt) << none;
    for (const d_Date& date : {d_Date(1582, 10, 5), d_Date(0, 5, 5), d_Date(2023, 2, 29)})
        EXPECT_EQ(ToChrono(date), std::nullopt) << date;
    EXPECT_FALSE(FromChrono<KoDate>(year(2023) / 2 / 29));
    EXPECT_FALSE(FromChrono<KoDate>(year(-1) / 5 / 5)) << "would be a wildcard";
    EXPECT_FALSE(FromChrono<d_Date>(year(0) / 5 / 5));
    for (const int day : {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_TRUE(!FromChrono<KoDate>(sys_days(days(day))) &&
                    !FromChrono<d_Date>(sys_days(days(day))));
}

TEST(Chrono, TimesOfDay)
{
    EXPECT_EQ(ToChrono(KoTime(23, 59, 58)), 23h + 59min + 58s);
    EXPECT_EQ(FromChrono<KoTime>(hh_mm_ss(14h + 30min + 999ms)), KoTime(14, 30, 0)) << "cut off";
    EXPECT_EQ(FromChrono<KoTime>(1.5h), KoTime(1, 30, 0)) << "floating counts too";
    EXPECT_EQ(ToChrono(d_Time::OfFields(10, 0, 5, 25, 1, 30)), 10h + 5250ms) << "the clock";
    const auto time = FromChrono<d_Time>(10h + 5259ms);
    EXPECT_TRUE(time && time->hour() == 10 && time->hundredths() == 25 && time->tz_hour() == 0);
    for (const KoTime& none : {KoTime(24, 0, 0), KoTime(-1, 0, 0), KoTime::NullValue()})
        EXPECT_EQ(ToChrono(none), std::nullopt);
    EXPECT_EQ(ToChrono(d_Time::OfFields(10, 0, 5, 100, 0, 0)), std::nullopt);
    EXPECT_FALSE(FromChrono<KoTime>(24h) || FromChrono<KoTime>(-1ns) ||
                 FromChrono<d_Time>(hours(kMost)) || FromChrono<KoTime>(hh_mm_ss(-1s)));
}

// Back and forth over the epoch and the limits: cut to the unit of the class, toward the past.
TEST(Chrono, MomentsAndSpansComeBack)
{
    Random random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto high = static_cast<std::int64_t>(random.Below(0xFFFFFFFF)) - 0x7FFFFFFF;
        const Moment moment(nanoseconds(high * (i % 2 == 0 ? 4000000000 / 2 : 1) +
                                        static_cast<std::int64_t>(random.Below(1000000000))));
        const auto second = floor<seconds>(moment);
        const auto native = FromChrono<KoDateTime>(moment);
        const auto fine = FromChrono<KoDateTimeN>(moment);
        const auto odmg = FromChrono<d_Timestamp>(moment);
        ASSERT_TRUE(native && fine && odmg);
        ASSERT_TRUE(ToChrono(*native) == second && ToChrono(*fine) == moment &&
                    ToChrono(*odmg) == floor<Hundredths>(moment))
            << moment.time_since_epoch().count();
        const auto span = FromChrono<KoTimeSpan>(moment.time_since_epoch());
        ASSERT_TRUE(span && ToChrono(*span) == moment.time_since_epoch()) << *span;
    }
}

TEST(Chrono, MomentsAndSpansWithoutACounterpart)
{
    EXPECT_EQ(ToChrono(KoDateTime(KoDate(1970, 1, 1), KoTime(24, 0, 0))), std::nullopt);
    EXPECT_EQ(ToChrono(KoDateTimeN(1970, 1, 1, 0, 0, 0, -1)), std::nullopt) << "a wildcard";
    EXPECT_EQ(ToChrono(KoDateTimeN(2300, 1, 1, 0, 0, 0, 0)), std::nullopt) << "292 years";
    EXPECT_EQ(ToChrono(KoDateTimeN(1677, 1, 1, 0, 0, 0, 0)), std::nullopt);
    EXPECT_EQ(ToChrono(KoTimeSpan(300, 0, 0, 0, 0, 0, 0)), std::nullopt);
    EXPECT_EQ(ToChrono(KoTimeSpan::NullValue()), std::nullopt);
    EXPECT_EQ(ToChrono(d_Interval::OfSeconds(std::numeric_limits<float>::infinity())),
              std::nullopt);
    EXPECT_EQ(ToChrono(d_Timestamp(d_Date(2024, 1, 1), d_Time::OfFields(0, 30, 0, 0, 1, 30))),
              sys_days(year(2023) / 12 / 31) + 23h)
        << "east of Greenwich, so earlier there";
    EXPECT_FALSE(
        FromChrono<KoDateTime>(sys_time<hours>(hours(kMost))) ||
        FromChrono<d_Timestamp>(sys_time<days>(days::min())) ||
        FromChrono<KoTimeSpan>(weeks(kLeast / 604800)) ||
        FromChrono<KoTimeSpan>(duration<double>(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(FromChrono<d_Interval>(1500ms)->Seconds(), 1.5F);
    EXPECT_EQ(FromChrono<KoTimeSpan>(years(1) / 1s * 1s)->GetTotalSeconds(), years(1) / 1s);
    const auto least = FromChrono<KoTimeSpan>(std::chrono::nanoseconds::min());
    EXPECT_TRUE(least && least->GetTotalSeconds() < -9223372035) << "no count overflows on the way";
}

} // namespace
