#include <kotms.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

/// The laws of the arithmetic of dates and times, and values at the limits, which the sanitizers
/// watch.

namespace
{

constexpr int kLastDay = 13689325; // 32767-12-31

template <class T>
T Draw(std::mt19937_64& random, T low, T high)
{
    return std::uniform_int_distribution<T>(low, high)(random);
}

/// A number of any size, small ones and the limits more often.
int AnyInt(std::mt19937_64& random)
{
    switch (random() % 4) {
    case 0:
        return std::numeric_limits<int>::min();
    case 1:
        return std::numeric_limits<int>::max();
    case 2:
        return static_cast<int>(random() % 512) - 256;
    default:
        return static_cast<int>(random());
    }
}

} // namespace

/// Of the classes whose counts no other test compares with one long count; their exceptions stand
/// in test/data/dates/sums.txt.
TEST(TemporalLaws, SumsGoBack)
{
    std::mt19937_64 random(47);
    for (int i = 0; i < 50000; ++i) {
        const KoTime time(Draw(random, 0, 86399));
        const int seconds = Draw(random, -100 * 3600, 100 * 3600);
        const KoTime back = time + seconds - seconds; // hour 24 may stand for 0
        ASSERT_EQ(int{back} % 86400, int{time}) << seconds;
        ASSERT_TRUE(back == time || time.Hour() == 0) << int{time} << ' ' << seconds;

        const int middle = Draw(random, 0, kLastDay - 30000);
        const KoDateTime dateTime(KoDate(middle + 1), time);
        KoDateTime moved = dateTime;
        const int far = static_cast<int>(Draw<o_8b>(random, -0x7FFFFFFF, 0x7FFFFFFF));
        moved.AddSeconds(far);
        moved.AddSeconds(-far);
        ASSERT_EQ(moved.Date(), dateTime.Date()) << far;
        ASSERT_EQ(int{moved.Time()} % 86400, int{time}) << far;
        ASSERT_TRUE(moved.Time() == time || time.Hour() == 0) << far;

        KoDateTimeN precise = dateTime;
        precise.AddNanoSeconds(Draw(random, 0, 999999999));
        KoDateTimeN total;
        total.SetTotalSeconds(precise.GetTotalSeconds());
        total.AddNanoSeconds(precise.NanoSeconds());
        ASSERT_EQ(total, precise);
    }
    // 64 bits hold the nanoseconds of 292 years from the epoch.
    for (const auto& [year, held] : {std::pair(2024, false), {-291, true}}) {
        const KoDateTimeN start(KoDate(year, 1, 1));
        KoDateTimeN wrapped;
        wrapped.SetTotalNanoSeconds(start.GetTotalNanoSeconds());
        EXPECT_EQ(wrapped == start, held) << year;
    }
}

/// Nothing overflows, whatever the fields and counts: what is asserted is that operations agree.
TEST(TemporalLaws, LimitsAreSafe)
{
    std::mt19937_64 random(48);
    const auto any = [&random] { return AnyInt(random); };
    for (int i = 0; i < 50000; ++i) {
        const KoDate date(any(), any(), any());
        const KoTime time(any(), any(), any());
        const int n = any();
        ASSERT_EQ(date - n, date + static_cast<int>(0U - static_cast<unsigned>(n)));
        ASSERT_EQ(date - KoDate(n), date.dayabs() - KoDate(n).dayabs());
        ASSERT_LE(date.GetDayOfTheDate(), Sunday);
        ASSERT_TRUE(date.IsDate() == 0 || date.daynxtmonth() > 0);
        ASSERT_EQ(time - n, time + static_cast<int>(0U - static_cast<unsigned>(n)));

        KoDateTime dateTime(date, time);
        dateTime.AddSeconds(n);
        const o_8b wide = o_8b{any()} * any();
        KoDateTimeN precise(static_cast<o_2b>(n), static_cast<o_1b>(any()),
                            static_cast<o_1b>(any()), static_cast<o_1b>(any()),
                            static_cast<o_1b>(any()), static_cast<o_1b>(any()), any());
        KoTimeSpan span(n, any(), any(), any(), any(), any(), any());
        const auto grow = [&](auto& value) {
            value.AddDays(any());
            value.AddHours(any());
            value.AddMinutes(any());
            value.AddSeconds(wide);
            value.AddSeconds(static_cast<double>(wide) * 1e6);
            value.AddNanoSeconds(i % 2 == 0 ? wide : std::numeric_limits<o_8b>::min());
            return value.GetTotalSeconds() * 2 + value.GetTotalDays() +
                   (value.GetTotalNanoSeconds() & 1);
        };
        grow(precise);
        ASSERT_TRUE(precise.Time().IsTime() != 0 && precise.NanoSeconds() >= 0);
        grow(span);
        ASSERT_TRUE(span.Hours() >= 0 && span.Hours() < 24 && span.NanoSeconds() < 1000000000);

        d_Timestamp stamp(date, d_Time::OfFields(any(), any(), any(), any(), any(), any()));
        const d_Interval interval = d_Interval(n, any(), any(), static_cast<float>(wide)) * any();
        const d_Date moved = d_Date(stamp) + interval;
        ASSERT_LE(moved.day_of_week(), d_Date::Saturday);
        const d_Timestamp far = stamp + interval;
        ASSERT_EQ(far<stamp, stamp> far);
        ASSERT_EQ(d_Time(n) != far.time(), -(far.time() != d_Time(n)));
        ASSERT_TRUE(overlaps(stamp, far, far, stamp));
        ASSERT_EQ((far - stamp).Seconds(), -(stamp - far).Seconds());
    }
}
