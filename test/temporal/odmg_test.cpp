#include "support/clock.h"
#include "support/value.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <random>
#include <string>

namespace
{

int Key(const d_Date& date)
{
    return (date.year() * 100 + date.month()) * 100 + date.day();
}

/// Of the local clock.
int Key(const d_Time& time)
{
    return ((time.hour() * 100 + time.minute()) * 100 + time.whole_second()) * 100 +
           time.hundredths();
}

d_Interval Seconds(double seconds)
{
    return d_Interval::OfSeconds(static_cast<float>(seconds));
}

/// Sets the default zone while it lives.
struct ZoneScope {
    explicit ZoneScope(d_Time::Time_Zone zone) { d_Time::set_default_Time_Zone(zone); }
    ZoneScope(const ZoneScope&) = delete;
    ZoneScope& operator=(const ZoneScope&) = delete;
    ~ZoneScope() { d_Time::set_default_Time_Zone(d_Time::GMT); }
};

} // namespace

TEST(OdmgDate, DaysAreJulianBeforeTheReformAndGregorianAfter)
{
    using namespace std::chrono;
    // Day by day from 0001-01-01, a Saturday, beside a calendar that is counted on.
    const d_Date start(1, 1, 1);
    d_Date date = start;
    int year = 1;
    int month = 1;
    int day = 1;
    for (int n = 0; year < 2600; ++n, date++) {
        const int key = (year * 100 + month) * 100 + day;
        ASSERT_EQ(Key(date), key);
        ASSERT_EQ(date != start, n) << key;
        ASSERT_EQ(date.day_of_week(), (n + 6) % 7) << key;
        const bool leap = year % 4 == 0 && (year < 1582 || year % 100 != 0 || year % 400 == 0);
        const int monthDays[] = {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        day = key == 15821004 ? 15 : day + 1;
        if (day > monthDays[month - 1]) {
            day = 1;
            month = month % 12 + 1;
            year += month == 1 ? 1 : 0;
        }
    }
    for (int y = 2600; y <= 32767; y += 7) {
        const sys_days peer = std::chrono::year(y) / December / 31;
        const d_Date last(static_cast<o_2b>(y), 12, 31);
        ASSERT_EQ(last != start, peer.time_since_epoch().count() + 719164) << y;
    }
}

TEST(OdmgDate, DaysOutsideTheCalendar)
{
    const d_Date anchor(2000, 1, 1);
    constexpr int kAnchor = 2451544; // its day number
    data::ForEachRow("dates/daynumbers.txt", 3, [&](const auto& head, const data::Row& row) {
        if (head[0] != "d_Date")
            return;
        Value value("KoDate");
        value.Set(row[0], "%Y-%m-%d");
        const auto& date = *static_cast<const KoDate*>(value.Data());
        const int day = std::stoi(row[1]);
        if (head[1] == "of dates") {
            EXPECT_EQ((d_Date(date) != anchor) + kAnchor, day);
            return;
        }
        // A float of seconds holds a multiple of so many days. One move: days outside the calendar
        // do not come back as they are.
        constexpr unsigned kWhole = 131072;
        const unsigned days = static_cast<unsigned>(day) - kAnchor;
        d_Date moved = anchor;
        for (unsigned n = 0; n < days % kWhole; ++n)
            moved++;
        moved += d_Interval(static_cast<int>(days - days % kWhole));
        EXPECT_EQ(Key(moved), Key(d_Date(date)));
    });
}

TEST(OdmgDate, Members)
{
    d_Date date(1582, 10, 15);
    EXPECT_EQ(Key(date--), 15821015);
    EXPECT_EQ(Key(date++), 15821004) << "the Julian calendar resumes";
    EXPECT_EQ(Key(d_Date(2024, 60)), 20240229);
    EXPECT_EQ(Key(d_Date(2024, 0)), 20231231);
    EXPECT_EQ(d_Date(2024, 12, 31).day_of_year(), 366);
    EXPECT_EQ(d_Date(1582, 12, 31).day_of_year(), 355) << "ten days were left out";
    EXPECT_EQ(d_Date(2024, 1, 7).day_of_week(), d_Date::Sunday);
    for (int w = 0; w < 7; ++w) {
        const auto weekday = static_cast<d_Date::Weekday>(w);
        const d_Date from(2024, 1, 10);
        d_Date later = from;
        d_Date earlier = from;
        EXPECT_EQ(later.next(weekday).day_of_week(), weekday);
        EXPECT_EQ(earlier.previous(weekday).day_of_week(), weekday);
        const int forth = later != from;
        const int back = from != earlier;
        EXPECT_TRUE(forth >= 1 && forth <= 7 && back >= 1 && back <= 7) << forth << back;
    }
    EXPECT_EQ(d_Date(2024, 2, 1).days_in_month(), 29);
    EXPECT_EQ(d_Date(KoDate(2024, -128, 1)).days_in_month(), 0);
    EXPECT_EQ(Key(d_Date(KoDate(2023, 2, 31))), 20230231) << "copied as it is";
}

TEST(OdmgInterval, Arithmetic)
{
    EXPECT_EQ(d_Interval(1, -2, 0, 0).Seconds(), -93600.0F) << "one negative part turns the whole";
    EXPECT_EQ(d_Interval(1, 2, 3, 4.5F).Seconds(), 93784.5F);
    EXPECT_EQ(d_Interval(INT_MIN).Seconds(), -2147483648.0F * 86400.0F);
    EXPECT_EQ((d_Interval(2) + d_Interval(0, 1)).Seconds(), 176400.0F);
    EXPECT_EQ((d_Interval(2) * -3).Seconds(), -518400.0F);
    EXPECT_EQ((d_Interval(3) / 2).Seconds(), 129600.0F);
    EXPECT_EQ((d_Interval(3) / 0).Seconds(), 259200.0F) << "unchanged";
    EXPECT_EQ((-d_Interval(3)).Seconds(), -259200.0F);
    EXPECT_LT(d_Interval(1), d_Interval(1, 1));
}

TEST(OdmgTime, ConstructionAndZones)
{
    EXPECT_EQ(Key(d_Time(10, 20, 30.755F)), 10203075);
    const d_Time zoned(10, 20, 30.5F, -5, -30);
    EXPECT_EQ(Key(zoned), 10203050);
    EXPECT_EQ(zoned.tz_hour() * 100 + zoned.tz_minute(), -530);
    EXPECT_EQ(zoned.second(), 30.5F);
    for (const auto& [seconds, key] : {std::pair(3725, 1020500),
                                       {90000, 25000000},
                                       {-1, 23595900},
                                       {-86400, 0},
                                       {-100000, 20132000},
                                       {INT_MIN, 20455200}})
        EXPECT_EQ(Key(d_Time(seconds)), key) << seconds;

    const ZoneScope zone(d_Time::GMT2);
    EXPECT_EQ(d_Time(1, 2, 3.0F).tz_hour(), 2);
    EXPECT_EQ(Key(d_Time(KoTime(23, 2, 3))), 23020300);
    EXPECT_EQ(Key(d_Time(3725)), 1020500);
    EXPECT_EQ(d_Time(KoDateTime(KoDate(0), KoTime(0))).tz_hour(), 2);
    EXPECT_EQ(d_Time(zoned).tz_hour(), -5);
}

// Seconds and zone of a text that has both.
TEST(OdmgTime, TextsWithZones)
{
    const ZoneScope zone(d_Time::USeastern);
    data::ForEachRow("dates/zones.txt", 5, [](const auto&, const data::Row& row) {
        const std::string text = data::ParseString(row[0]);
        for (const std::string date : {"", "2024-02-05T"}) {
            Value value(date.empty() ? "d_Time" : "d_Timestamp");
            value.ConvertFrom((date + text).c_str());
            const d_Time time = date.empty() ? *static_cast<d_Time*>(value.Data())
                                             : static_cast<d_Timestamp*>(value.Data())->time();
            EXPECT_EQ(Key(time), 10203050);
            EXPECT_EQ(time.tz_hour(), std::stoi(row[1]));
            EXPECT_EQ(time.tz_minute(), std::stoi(row[2]));
            EXPECT_EQ(value.Converted(), date + (row[3] == "=" ? text : data::ParseString(row[3])));
        }
    });
    Value day("d_Timestamp");
    day.ConvertFrom("2024-02-05");
    EXPECT_EQ(Key(static_cast<d_Timestamp*>(day.Data())->date()), 20240205) << "a day, and no zone";
}

TEST(OdmgTime, Clock)
{
    const KoTimeStampRec now = {2024, 2, 29, 23, 30, 5, 700};
    const ZoneScope zone(d_Time::USeastern);
    const FixedClock clock(now, 90);
    d_Time::set_default_Time_Zone_to_local();
    EXPECT_EQ(d_Time::current().tz_hour(), 1) << "whole hours";
    EXPECT_EQ(Key(d_Time()), 1000500) << "the local clock";
    EXPECT_EQ(Key(d_Date::current()), 20240301);
    EXPECT_EQ(Key(d_Timestamp::current().date()), 20240301);
    EXPECT_EQ(Key(d_Timestamp().time()), 1000500);
    const FixedClock atGreenwich(now, 0);
    d_Time::set_default_Time_Zone_to_local();
    EXPECT_EQ(d_Time().tz_hour(), 1) << "a zone of 0 changes nothing";
}

TEST(OdmgTime, Order)
{
    const d_Time ten(10, 0, 0.5F);
    EXPECT_EQ(ten != d_Time(10, 0, 0.9F), 0) << "less than a second apart";
    EXPECT_EQ(ten != d_Time(10, 0, 1.5F), -1) << "a second apart";
    EXPECT_EQ(d_Time(12, 30, 0) != ten, 2) << "hours before minutes";
    EXPECT_EQ(d_Time(10, 0, 0.5F, -1, 0) != ten, 0) << "the same on the clocks of two zones";
    for (const d_Time& later : {d_Time(10, 0, 0.9F), d_Time(10, 0, 1.5F), d_Time(12, 30, 0)})
        EXPECT_TRUE(ten < later && ten <= later && later > ten && later >= ten && !(later < ten));
}

TEST(OdmgTimestamp, SumsGoBack)
{
    std::mt19937 random(46);
    for (int i = 0; i < 20000; ++i) {
        const d_Timestamp from(d_Date(2024, static_cast<o_u2b>(random() % 366)),
                               d_Time(static_cast<int>(random() % 86400)));
        const int seconds = static_cast<int>(random() % 16000000) - 8000000; // whole in a float
        const d_Timestamp to = from + Seconds(seconds);
        ASSERT_EQ((to - from).Seconds(), static_cast<float>(seconds));
        ASSERT_EQ(to < from, seconds < 0);
        ASSERT_EQ(to - Seconds(seconds), from) << "and back";
    }
    const d_Timestamp far = d_Timestamp(d_Date(2024, 1, 1)) + Seconds(1e38);
    EXPECT_EQ(Key(far.date()), Key(d_Date(2024, 1, 1) + d_Interval(INT_MAX)));
}

TEST(OdmgTimestamp, PartsAndOrder)
{
    const d_Timestamp stamp(KoDateTime(KoDate(2024, 2, 29), KoTime(1, 2, 3)));
    EXPECT_EQ(Key(d_Date(stamp)), 20240229);
    EXPECT_EQ(Key(d_Time(stamp)), 1020300);
    d_Timestamp other = stamp;
    other = d_Date(2024, 3, 2);
    EXPECT_EQ(Key(other.time()), 1020300);
    EXPECT_EQ(other != stamp, 2) << "the days";
    other = stamp + Seconds(120);
    EXPECT_EQ(stamp != other, -2) << "the minutes";
    EXPECT_EQ(stamp == stamp + Seconds(0.5), true) << "less than a second";
    EXPECT_LT(stamp, stamp + Seconds(0.5));
    other = KoDate(2024, 3, 3);
    EXPECT_EQ(Key(other.time()), 1040300) << "a date alone";
    other = KoDateTime(KoDate(2024, 3, 4), KoTime(5, 6, 7));
    EXPECT_EQ(Key(other.date()), 20240304);
    EXPECT_EQ(Key(other.time()), 5060700);
}

/// Every pairing against its meaning, moment by moment: three days of three moments each.
TEST(OdmgPeriods, Overlap)
{
    constexpr int kMoments = 9;
    const auto stamp = [](int moment) {
        return d_Timestamp(d_Date(2024, static_cast<o_u2b>(31 + moment / 3)),
                           d_Time(moment % 3 * 40000 + 100));
    };
    const auto share = [](auto inA, auto inB) {
        for (int moment = 0; moment < kMoments; ++moment)
            if (inA(moment) && inB(moment))
                return true;
        return false;
    };
    const auto between = [](int n, int end1, int end2) {
        return n >= std::min(end1, end2) && n <= std::max(end1, end2);
    };
    for (int code = 0; code < kMoments * kMoments * kMoments * kMoments; ++code) {
        const int a1 = code % 9;
        const int a2 = code / 9 % 9;
        const int b1 = code / 81 % 9;
        const int b2 = code / 729;
        SCOPED_TRACE(code);
        const auto inA = [&](int n) { return between(n, a1, a2); };
        ASSERT_EQ(overlaps(stamp(a1), stamp(a2), stamp(b1), stamp(b2)),
                  share(inA, [&](int n) { return between(n, b1, b2); }));
        const d_Date date1 = stamp(b1).date();
        const d_Date date2 = stamp(b2).date();
        const auto ofDates = [&](int n) { return between(n / 3, b1 / 3, b2 / 3); };
        ASSERT_EQ(overlaps(stamp(a1), stamp(a2), date1, date2), share(inA, ofDates));
        ASSERT_EQ(overlaps(date1, date2, stamp(a1), stamp(a2)), share(inA, ofDates));
        const d_Time time1 = stamp(b1).time();
        const d_Time time2 = stamp(b2).time();
        const auto ofTimes = [&](int n) { return between(n % 3, b1 % 3, b2 % 3); };
        ASSERT_EQ(overlaps(stamp(a1), stamp(a2), time1, time2), share(inA, ofTimes));
        ASSERT_EQ(overlaps(time1, time2, stamp(a1), stamp(a2)), share(inA, ofTimes));
    }
    EXPECT_FALSE(overlaps(d_Time(10, 0, 0.4F), d_Time(10, 0, 0.5F), d_Time(10, 0, 0.6F),
                          d_Time(10, 0, 0.9F)))
        << "to the hundredth";
}
