#include "support/clock.h"
#include "support/value.h"

#include <kostd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <limits>
#include <random>

namespace
{

constexpr o_8b kMax = std::numeric_limits<o_8b>::max();
constexpr o_8b kMin = std::numeric_limits<o_8b>::min();
const KoTimeStampRec kNow = {2024, 2, 29, 23, 30, 5, 700};

KoDateTime At(int year, int month, int day, int hour, int minute, int second)
{
    return {KoDate(year, month, day), KoTime(hour, minute, second)};
}

} // namespace

TEST(KoDateTime, ZonesMoveOneDayAtTheMost)
{
    const auto moved = [](KoDateTime value, int zone, int error = 0) {
        KoDateTime back = value;
        const FixedClock clock(kNow, zone, error);
        EXPECT_EQ(value.ToLocalTime(), error);
        const FixedClock turned(kNow, -zone, error);
        EXPECT_EQ(back.ToUTCTime(), error);
        EXPECT_EQ(KoDateTimeN(back), KoDateTimeN(value))
            << "from the zone as into the opposite one";
        return KoDateTimeN(value);
    };
    EXPECT_EQ(moved(At(2024, 3, 1, 0, 30, 7), -60), KoDateTimeN(At(2024, 2, 29, 23, 30, 7)));
    EXPECT_EQ(moved(At(2024, 2, 29, 23, 30, 0), 30), KoDateTimeN(At(2024, 3, 1, 0, 0, 0)));
    EXPECT_EQ(moved(At(2024, 1, 1, 0, 0, 0), 2940), KoDateTimeN(At(2024, 1, 2, 25, 0, 0)))
        << "beyond a day the hour stays out";
    EXPECT_EQ(moved(At(2024, 1, 2, 0, 0, 0), -1530), KoDateTimeN(At(2024, 1, 1, -2, 30, 0)));
    const KoDateTimeN before(At(2024, 3, 1, 0, 30, 0));
    EXPECT_EQ(moved(At(2024, 3, 1, 0, 30, 0), 0, KoRC_NO_TIMEZONE), before) << "without a zone";
    const FixedClock clock(kNow, 0, KoRC_NO_TIMEZONE);
    KoDateTimeN value = before;
    EXPECT_TRUE(value.ToLocalTime() == -2171 && value.ToUTCTime() == -2171 && value == before);
}

TEST(KoDateTime, SpecialValues)
{
    KoDate date(2024, 1, 1);
    EXPECT_EQ(date.IsNullValue() + date.IsDefaultValue() + date.IsZeroValue(), 0);
    EXPECT_TRUE(date.SetNullValue() == 0 && date == KoDate::NullValue() && date.IsNullValue() == 1);
    EXPECT_TRUE(date.SetZeroValue() == 0 && date.IsZeroValue() == 1 && date.IsNullValue() == 0);
    EXPECT_TRUE(date.SetDefaultValue() == 0 && date.IsDefaultValue() == 1 && int{date} == 0);
    EXPECT_EQ(KoTime::ClearValue(), KoTime::ZeroValue());
    EXPECT_EQ(KoDate::ClearValue(), KoDate(0, 0, 0));
    EXPECT_EQ(KoDate::ZeroValue(), KoDate(0, 1, 1));
    EXPECT_EQ(KoDateTime::ZeroValue(), At(0, 1, 1, 0, 0, 0));
    const KoDateTime timeOfDefault(KoDate(-4713, 11, 24), KoTime(1, 2, 3));
    EXPECT_EQ(timeOfDefault.IsDefaultValue(), 1) << "whatever the time";
    EXPECT_EQ(KoDateTimeN(timeOfDefault).IsDefaultValue(), 0);
    EXPECT_EQ(KoDateTime::Null(), At(0, 0, 0, 0, 0, 0)) << "not the null value";
    EXPECT_EQ(KoDateTimeN().IsNullValue() + KoTimeSpan().IsNullValue(), 2);
    EXPECT_EQ(At(2024, 2, 30, 0, 0, 0).IsDaTime() + At(2024, 2, 29, 24, 0, 0).IsDateTime(), 0);
    EXPECT_EQ(KoDateTimeN(2024, 2, 29, 23, 0, 0, 0).IsValidDateTime(), 1);
    EXPECT_EQ(KoTime(0, 0, 0).IsTime() + KoTime(23, 59, 59).IsTime(), 2);
    for (const KoTime& time : {KoTime(24, 0, 0), KoTime(0, 60, 0), KoTime(0, 0, 60),
                               KoTime(-1, 0, 0), KoTime(0, -1, 0), KoTime(0, 0, -1)})
        EXPECT_EQ(time.IsTime(), 0);
}

TEST(KoDateTime, ClockGivesBothParts)
{
    const FixedClock clock(kNow, 60);
    const KoDateTime local = At(2024, 3, 1, 0, 30, 5);
    EXPECT_EQ(KoDateTime(), local);
    EXPECT_EQ(KoDateTime(KoDate(1999, 1, 1)), At(1999, 1, 1, 0, 30, 5));
    EXPECT_EQ(KoDateTime(KoTime(1, 2, 3)), At(2024, 3, 1, 1, 2, 3));
    KoDateTime value = At(0, 0, 0, 0, 0, 0);
    EXPECT_EQ(value.Now(), local);
    EXPECT_EQ(value.NowUTC(), At(2024, 2, 29, 23, 30, 5));
    value = KoTime(4, 5, 6);
    EXPECT_EQ(value, At(2024, 2, 29, 4, 5, 6)) << "a time replaces the time alone";
    KoDateTimeN valueN;
    EXPECT_EQ(valueN.Now(), KoDateTimeN(2024, 3, 1, 0, 30, 5, 700));
    EXPECT_EQ(valueN.NowUTC(), KoDateTimeN(2024, 2, 29, 23, 30, 5, 700));
    EXPECT_EQ(valueN.ToLocalTime(), 0);
    EXPECT_EQ(valueN, KoDateTimeN(2024, 3, 1, 0, 30, 5, 700));
    EXPECT_EQ(valueN.ToUTCTime(), 0);
    EXPECT_EQ(valueN, KoDateTimeN(2024, 2, 29, 23, 30, 5, 700));
}

TEST(KoDateTimeN, SumsAreThoseOfOneLongCount)
{
    std::mt19937_64 random(43);
    for (int i = 0; i < 20000; ++i) {
        KoDateTimeN value = KoDate(static_cast<int>(200000 + random() % 5000000));
        value.AddNanoSeconds(static_cast<o_8b>(random() % 86400000000000));
        const o_8b seconds = value.GetTotalSeconds();

        const auto n = static_cast<o_8b>(random()) >> (random() % 40);
        KoDateTimeN sum = value;
        sum.AddNanoSeconds(n);
        const o_8b total = n % 1000000000 + value.NanoSeconds();
        const o_8b floor = total < 0 ? -1 : total / 1000000000;
        ASSERT_EQ(sum.GetTotalSeconds(), seconds + n / 1000000000 + floor) << value << " + " << n;
        ASSERT_EQ(sum.NanoSeconds(), total - floor * 1000000000) << value << " + " << n;

        // Before year -4800 days leave the calendar.
        const o_8b s = static_cast<o_8b>(random() % 400000000000) - seconds - 151000000000;
        sum = value;
        sum.AddSeconds(s);
        ASSERT_EQ(sum.GetTotalSeconds(), seconds + s) << value << " + " << s;
        ASSERT_EQ(sum.IsValidDateTime(), 1);
        sum.AddMinutes(-90);
        sum.AddHours(-25);
        sum.AddDays(-3);
        ASSERT_EQ(sum.GetTotalSeconds(), seconds + s - 90 * 60 - 25 * 3600 - 3 * 86400);

        KoTimeSpan span;
        span.SetTotalSeconds(seconds);
        span.AddSeconds(n & 0xFFFFFFF);
        ASSERT_EQ(span.GetTotalSeconds(), seconds + (n & 0xFFFFFFF));
    }
}

TEST(KoDateTimeN, Sums)
{
    KoDateTime back = At(2024, 1, 1, 0, 20, 0);
    back.AddSeconds(-23 * 3600 - 2400);
    EXPECT_EQ(back, At(2023, 12, 31, 24, 40, 0)) << "hour -24 of a KoTime becomes 24";
    KoDateTimeN value(2023, 2, 28, 25, 75, 80, 5);
    value.AddSeconds(0);
    EXPECT_EQ(value, KoDateTimeN(2023, 3, 1, 2, 16, 20, 5)) << "adding nothing still carries";
    EXPECT_EQ(KoDateTimeN(KoDate(2000, 1, 1)).GetTotalDays(), 730485);
    EXPECT_EQ(KoDateTimeN(1.5), KoDateTimeN(0, 1, 1, 0, 0, 1, 500000000));
    EXPECT_EQ(KoDateTimeN(-0.5), KoDateTimeN(-1, 12, 31, 23, 59, 59, 500000000));
    EXPECT_DOUBLE_EQ(KoDateTimeN(1.5).GetTotalSeconds_f(), 1.5);
    value.SetTotalNanoSeconds(-1500000000);
    EXPECT_EQ(value.GetTotalNanoSeconds(), -1500000000);
    value = KoDateTimeN(2024, 1, 1, 0, 0, 0, 7);
    EXPECT_EQ(static_cast<o_u8b>(value.GetTotalNanoSeconds()), 739251ULL * 86400 * 1000000000 + 7)
        << "modulo 2^64";
    // Counts at their limits leave some valid time and overflow nothing.
    for (const o_8b n : {kMax, kMin}) {
        value = KoDateTimeN(2024, 1, 1, 127, 127, 127, INT_MAX);
        value.AddSeconds(n);
        value.AddNanoSeconds(n);
        EXPECT_NE(KoTime(value.Time()).IsTime(), 0) << value;
    }
    // On both sides of what 64 bits hold as nanoseconds, and far from it.
    for (const double n :
         {9223372036.0, 9223372037.25, 1e11 + 0.5, -9223372036.0, -9223372037.75, -1e11 - 0.25}) {
        const double whole = std::floor(n);
        KoDateTimeN parts = KoDateTimeN::ZeroValue();
        parts.AddSeconds(static_cast<o_8b>(whole));
        parts.AddNanoSeconds(static_cast<o_8b>((n - whole) * 1e9));
        EXPECT_EQ(KoDateTimeN(n), parts) << n;
        EXPECT_EQ(KoDateTimeN(n).GetTotalSeconds_f(), n);
        EXPECT_EQ(KoTimeSpan(n).GetTotalSeconds_f(), n);
    }
    value.SetTotalSeconds(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(value, KoDateTimeN::ZeroValue());
}

TEST(KoDateTimeN, MillisecondClock)
{
    using namespace std::chrono;
    const auto now = [] {
        return floor<milliseconds>(system_clock::now().time_since_epoch()).count();
    };
    const o_8b before = now();
    KoInt64 reading = 0;
    EXPECT_EQ(GetSystemTimeInMSSinceTheEpoch(reading), 0);
    EXPECT_LE(before, reading.Get8b());
    EXPECT_LE(reading.Get8b(), now());
}

TEST(KoTimeSpan, Construction)
{
    const KoTimeSpan span(45, 1, 2, 3, 4);
    EXPECT_EQ(span, KoTimeSpan(0, 1, 15, 1, 2, 3, 4));
    EXPECT_EQ(KoTimeSpan(400, 0, 0, 0, 0).GetTotalDays(), 400);
    EXPECT_EQ(KoTimeSpan(2.25), KoTimeSpan(0, 0, 0, 0, 0, 2, 250000000));
    EXPECT_EQ(KoTimeSpan(-2.25), KoTimeSpan(0, 0, -1, 23, 59, 57, 750000000));
    EXPECT_EQ(KoTimeSpan(65536, 256, 257, 258, 259, 260, 261), KoTimeSpan(0, 0, 1, 2, 3, 4, 261));
}

TEST(KoTimeSpan, Difference)
{
    data::ForEachRow("dates/differences.txt", 4, [](const auto& head, const data::Row& row) {
        Value values[3] = {Value("KoTimeSpan"), Value("KoTimeSpan"), Value("KoTimeSpan")};
        for (std::size_t i = 0; i < 3; ++i)
            values[i].Set(row[i], head[1]);
        const auto span = [&values](int i) { return *static_cast<KoTimeSpan*>(values[i].Data()); };
        EXPECT_EQ(KoTimeSpan::Difference(span(0), span(1)), span(2));
        EXPECT_EQ(KoTimeSpan::Difference(span(1), span(0)), span(2));
    });
}
