#include "support/clock.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>

namespace
{

int Key(const KoTime& time)
{
    return time.Hour() * 10000 + time.Minute() * 100 + time.Second();
}

} // namespace

TEST(KoTime, SumsWrapAtMidnight)
{
    std::mt19937 random(42);
    for (int i = 0; i < 20000; ++i) {
        const int start = static_cast<int>(random() % 86400);
        const int sum = start + static_cast<int>(random() % 172799) - 86399; // under a day back
        // Hour -24 becomes 24 and not 0: the rows below have more of it.
        const int hour24 = sum < -23 * 3600 ? 86400 : 0;
        ASSERT_EQ(KoTime(start) + (sum - start), KoTime((sum + 86400) % 86400 + hour24)) << sum;
    }
}

TEST(KoTime, DifferencesAndSteps)
{
    EXPECT_EQ(Key(KoTime(0, 0, 0) - INT_MIN), Key(KoTime(0, 0, 0) + INT_MIN)) << "-n wraps";
    EXPECT_EQ(Key(KoTime(1, 0, 0) - KoTime(2, 30, 15)), 222945);
    KoTime time(23, 59, 59);
    EXPECT_EQ(Key(++time), 0);
    EXPECT_EQ(Key(--time), 235959);
    EXPECT_EQ(Key(time -= 59), 235900);
}

TEST(KoTime, CountsOfSeconds)
{
    for (const auto& [seconds, key] : {std::pair(3725, 10205), {90000, 250000}, {-3725, -10205}})
        EXPECT_EQ(Key(KoTime(seconds)), key);
    EXPECT_EQ(Key(KoTime(INT_MAX)), Key(KoTime(596523, 14, 7)));
    EXPECT_EQ(static_cast<int>(KoTime(1, 2, 5)), 3725);
    EXPECT_EQ(static_cast<int>(KoTime::NullValue()), -128 * 3661);
}

TEST(KoTime, ClockAndZone)
{
    const KoTimeStampRec now = {2024, 2, 29, 23, 30, 5, 700};
    for (const int error : {0, KoRC_NO_TIMEZONE + 0}) { // without a zone nothing moves
        const FixedClock clock(now, 120, error);
        KoTime time(0);
        EXPECT_EQ(Key(time.NowUTC()), 233005);
        EXPECT_EQ(time.ToLocalTime(), error);
        EXPECT_EQ(Key(time), error == 0 ? 13005 : 233005);
        EXPECT_EQ(time.ToUTCTime(), error);
        EXPECT_EQ(Key(time), 233005);
        EXPECT_EQ(Key(time.Now()), error == 0 ? 13005 : 233005);
        EXPECT_EQ(Key(KoTime()), Key(time));
    }
    const FixedClock clock(now, INT_MIN);
    KoTime time(0);
    EXPECT_EQ(time.ToUTCTime(), 0) << "an offset out of all bounds wraps";
}
