#include <kotms.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

/// The laws of the arithmetic of dates and times, their exceptions, and values at the limits, which
/// the sanitizers watch.

namespace
{

constexpr int kFirstWhole = -32044; // -4800-03-01: from here on days are those of the calendar
constexpr int kLastDay = 13689325;  // 32767-12-31

template <class T>
T Draw(std::mt19937_64& random, T low, T high)
{
    return std::uniform_int_distribution<T>(low, high)(random);
}

KoDateTimeN At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    return KoDateTime(KoDate(year, month, day), KoTime(hour, minute, second));
}

/// Adds and takes off again.
template <class T>
T ThereAndBack(T value, int n)
{
    return value + n - n;
}
template <class Value, class N>
Value ThereAndBack(Value value, void (Value::*add)(N), N n)
{
    (value.*add)(n);
    (value.*add)(-n);
    return value;
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

TEST(TemporalLaws, SumsGoBack)
{
    std::mt19937_64 random(47);
    for (int i = 0; i < 50000; ++i) {
        const int day = Draw(random, kFirstWhole, kLastDay);
        const int days = Draw(random, kFirstWhole, kLastDay) - day;
        const KoDate date(day);
        ASSERT_EQ(ThereAndBack(date, days), date) << day << ' ' << days;

        const KoTime time(Draw(random, 0, 86399));
        const int seconds = Draw(random, -100 * 3600, 100 * 3600);
        const KoTime back = ThereAndBack(time, seconds); // hour 24 may stand for 0
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
        using N = KoDateTimeN;
        const o_8b nanoseconds = Draw<o_8b>(random, -1000000000000000, 1000000000000000);
        ASSERT_EQ(ThereAndBack<N>(precise, &N::AddNanoSeconds, nanoseconds), precise);
        ASSERT_EQ(ThereAndBack<N>(precise, &N::AddSeconds, o_8b{far}), precise);
        ASSERT_EQ(ThereAndBack<N>(precise, &N::AddMinutes, far / 60), precise);
        ASSERT_EQ(ThereAndBack<N>(precise, &N::AddHours, far / 3600), precise);
        ASSERT_EQ(ThereAndBack<N>(precise, &N::AddDays, far / 86400), precise);
        N total;
        total.SetTotalSeconds(precise.GetTotalSeconds());
        total.AddNanoSeconds(precise.NanoSeconds());
        ASSERT_EQ(total, precise);

        KoTimeSpan span;
        span.SetTotalSeconds(Draw<o_8b>(random, 0, 1000000000000));
        const auto more = Draw<o_8b>(random, 0, 10000000000);
        ASSERT_EQ(ThereAndBack<KoTimeSpan>(span, &KoTimeSpan::AddSeconds, more), span);
    }
}

TEST(TemporalLaws, Exceptions)
{
    using N = KoDateTimeN;
    const struct {
        N result; ///< of adding and taking off
        N expected;
        const char* reason;
    } rows[] = {
        {ThereAndBack(KoDate(2023, 2, 31), 1), At(2023, 3, 3), "a date that does not exist"},
        {ThereAndBack(KoDate(2024, 13, 1), 0), At(2025, 1, 1), "a month that does not exist"},
        {ThereAndBack(KoDate(-4800, 2, 28), 0), At(-4800, 3, 1), "before -4800-03-01"},
        {ThereAndBack(KoDate(-4900, 2, 28), 0), At(-4900, 3, 2), "before -4900-03-01"},
        {ThereAndBack(KoDate(32767, 12, 31), 1), At(-32768, 1, -1), "past the years"},
        {ThereAndBack(KoTime(0, 0, 0), 128 * 3600), KoTime(8, 0, 0), "hours past 8 bits"},
        {ThereAndBack(KoTime(24, 0, 0), 1), KoTime(0, 0, 0), "an hour that does not exist"},
        {ThereAndBack(KoTime(-1, 30, 0), 0), KoTime(23, 30, 0), "a wildcard"},
        {ThereAndBack(KoTime(0, 0, 1), 86399), KoTime(24, 0, 1), "through hour -24"},
        {KoTime(0, 0, 0) - 86400, KoTime(24, 0, 0), "a whole day back is no time"},
        {ThereAndBack<N>(At(2024, 2, 29, 23, 59, 60), &N::AddSeconds, o_8b{1}), At(2024, 3, 1),
         "a second that does not exist"},
        {ThereAndBack<N>(At(0, 0, -5), &N::AddDays, -30), At(0, -1, 25),
         "the leading field borrows"},
        {ThereAndBack<N>(At(0, 0, 1), &N::AddDays, 31), At(-1, 12, 2),
         "a count that becomes a date"},
        {ThereAndBack<N>(At(32767, 11, 0), &N::AddDays, 400), At(32765, 11, 0),
         "years that stop at their limit"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.result, row.expected)
            << row.reason << ": " << row.result.Date().Year() << '-' << row.result.Date().Month()
            << '-' << row.result.Date().Day() << ' ' << int{row.result.Time()};
    // 64 bits hold the nanoseconds of 292 years from the epoch.
    N wrapped;
    wrapped.SetTotalNanoSeconds(At(2024, 1, 1).GetTotalNanoSeconds());
    EXPECT_NE(wrapped, At(2024, 1, 1));
    wrapped.SetTotalNanoSeconds(At(-291, 1, 1).GetTotalNanoSeconds());
    EXPECT_EQ(wrapped, At(-291, 1, 1));
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
