#include <kotms.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

/// The laws of the arithmetic of dates and times, and values at the limits, which the sanitizers
/// watch.

namespace
{

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
