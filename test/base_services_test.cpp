#include "clock.h"
#include "datafile.h"
#include "failing_heap.h"
#include "reports.h"

#include <kobase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>

namespace
{

// ---- clock -----------------------------------------------------------------

std::string Text(const KoTimeStampRec& stamp)
{
    char text[64];
    return std::string(
        text, static_cast<std::size_t>(std::snprintf(
                  text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%09d", stamp.year, stamp.month,
                  stamp.day, stamp.hour, stamp.minute, stamp.second, stamp.fraction)));
}

/// What the four functions answer, each with its outputs: local and UTC stamp, date, time.
std::string Now(KoTimeStampRec start = {})
{
    KoTimeStampRec local = start;
    KoTimeStampRec utc = start;
    KoDateRec date{static_cast<o_2b>(start.year), start.month, start.day};
    KoTimeRec time{start.hour, start.minute, start.second, 5};
    const int results[] = {bksGetHiresTime(&local), bksGetHiresTimeUTC(&utc), bksgetdate(&date),
                           bksgettime(&time)};
    const KoTimeStampRec parts{static_cast<o_u2b>(date.year),
                               date.month,
                               date.day,
                               time.hour,
                               time.minute,
                               time.second,
                               0};
    std::string text;
    for (const int result : results)
        text += std::to_string(result) + " ";
    return text + Text(local) + " " + Text(utc) + " " + Text(parts) + " " +
           std::to_string(time.zone);
}

TEST(BaseClock, LocalTimeIsUtcMovedByTheZone)
{
    data::ForEachRow("base/localtimes.txt", 4, [](const auto&, const data::Row& row) {
        int f[7];
        ASSERT_EQ(std::sscanf(row[0].c_str(), "%d-%d-%d %d:%d:%d.%d", &f[0], &f[1], &f[2], &f[3],
                              &f[4], &f[5], &f[6]),
                  7);
        const auto byte = [&f](int i) { return static_cast<o_1b>(f[i]); };
        const int zone = std::stoi(row[1]);
        const FixedClock clock(
            {static_cast<o_u2b>(f[0]), byte(1), byte(2), byte(3), byte(4), byte(5), f[6]}, zone);
        const std::string seconds = row[2].substr(0, row[2].find('.')) + ".000000000";
        EXPECT_EQ(Now(), "0 0 0 0 " + row[2] + " " + row[0] + " " + seconds + " " +
                             std::to_string(zone * 60));
    });
}

TEST(BaseClock, FailuresKeepTheOutputs)
{
    {
        const FixedClock clock({2024, 2, 29, 23, 30, 15, 0}, 60, KoRC_NO_TIMEZONE);
        int minutes = 77;
        EXPECT_EQ(bksgettimezone(&minutes), -2171);
        EXPECT_EQ(minutes, 77);
        const std::string utc = "2024-02-29 23:30:15.000000000 ";
        EXPECT_EQ(Now(), "-2171 0 -2171 -2171 " + utc + utc + utc + "0") << "UTC and the code";
    }
    static constexpr KoClock kBroken = {[](KoTimeStampRec*) { return -1; }, [](int*) { return 0; }};
    EXPECT_EQ(bksSetClock(&kBroken), nullptr);
    const std::string before = "0001-02-03 04:05:06.000000000 ";
    EXPECT_EQ(Now({1, 2, 3, 4, 5, 6, 0}), "-1 -1 -1 -1 " + before + before + before + "5");
    EXPECT_EQ(bksSetClock(nullptr), &kBroken) << "the one before";
}

// The system's clock against the C runtime's calendar, which it does not use for UTC. The runtime's
// seconds may come from a coarser clock that is a tick late, hence one second on.
TEST(BaseSystemClock, AgreesWithTheRuntime)
{
    const auto runtime = [](int ahead) {
        const std::time_t now = std::time(nullptr) + ahead;
        char text[32];
        return std::string(
            text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", std::gmtime(&now)));
    };
    const std::string before = runtime(0);
    KoTimeStampRec stamp{};
    ASSERT_EQ(bksGetHiresTimeUTC(&stamp), 0);
    const std::string ours = Text(stamp).substr(0, 19);
    EXPECT_LE(before, ours);
    EXPECT_LE(ours, runtime(1));
}

TEST(BaseSystemClock, ZoneComesFromTheSystem)
{
#if defined(_WIN32)
    int zone = 9999;
    ASSERT_EQ(bksgettimezone(&zone), 0);
    EXPECT_GE(zone, -12 * 60);
    EXPECT_LE(zone, 14 * 60);
#else
    const struct {
        const char* tz;
        int result;
        int minutes;
        const char* reason;
    } cases[] = {
        {"XYZ-5:30", 0, 330, "east is positive"},
        {"XYZ3:30", 0, -210, "west, not rounded to hours"},
        {"ABC-1DEF-2,0/0,J365/24", 0, 120, "daylight saving all the year"},
        {"<-00>0", KoRC_NO_TIMEZONE, 9999, "the zone that nobody has set"},
    };
    const char* old = std::getenv("TZ");
    const std::string kept = old ? old : "";
    for (const auto& [tz, result, minutes, reason] : cases) {
        setenv("TZ", tz, 1);
        tzset();
        int zone = 9999;
        EXPECT_EQ(bksgettimezone(&zone), result) << reason;
        EXPECT_EQ(zone, minutes) << reason;
    }
    old ? setenv("TZ", kept.c_str(), 1) : unsetenv("TZ");
    tzset();
#endif
}

// ---- memory files ----------------------------------------------------------

TEST(BaseMemFile, StaysInsideItsBytes)
{
    const char bytes[] = "0123456789";
    data::ForEachRow("base/memfile.txt", 4, [&](const auto&, const data::Row& row) {
        const o_u8b position = std::stoull(row[0]);
        const o_u8b length = std::stoull(row[1]);
        const int at = std::stoi(row[2]);
        MemFile file(bytes, 10);
        ASSERT_EQ(file.Seek(6, 1), bytes + 6);
        EXPECT_EQ(file.Position(), 7u);
        EXPECT_EQ(file.Seek(position, length), at < 0 ? nullptr : bytes + at);
        EXPECT_EQ(file.Position(), at < 0 ? 7u : position + length);
        EXPECT_EQ(file.Left(), 10 - file.Position());
    });

    MemFile none(nullptr, 10);
    EXPECT_EQ(none.Size(), 0u) << "no data counts as no bytes";
    EXPECT_EQ(none.Seek(0, 0), nullptr);
    EXPECT_EQ(none.Peek(1), nullptr);
}

// ---- assertions and memory -------------------------------------------------

TEST(BaseAssert, GoesToTheHandlerAndReturns)
{
    {
        const Reports reports;
        KORA_assert("a < b", "src\\kostring", 1110);
        EXPECT_EQ(reports.Texts(), "a < b|src\\kostring|1110;");
    }

    testing::internal::CaptureStderr();
    KORA_assert("100%s", "src\\kotypes", 3);
    KORA_assert(nullptr, nullptr, 0);
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("100%s (src\\kotypes, line 3)\n"), std::string::npos) << lines;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
}

TEST(BaseMemoryDeathTest, DefaultHandlerSaysTheSizeAndAborts)
{
    EXPECT_DEATH(KoCallMemoryHandler(987654321), "987654321");
}

// ---- configuration ---------------------------------------------------------

TEST(BaseConfig, SetsReplacesAndRemoves)
{
    EXPECT_EQ(DefaultConfig::Get("test", "key"), nullptr);
    EXPECT_EQ(DefaultConfig::Set("test", "key", "one"), 0);
    EXPECT_EQ(DefaultConfig::Set("tes", "tkey", "other names, same letters"), 0);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "one");
    EXPECT_EQ(DefaultConfig::Set("test", "key", DefaultConfig::Get("test", "key") + 1), 0);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "ne") << "from its own old value";

    for (const int allocations : {0, 1}) {
        const FailingHeap heap(allocations);
        EXPECT_EQ(DefaultConfig::Set("test", "new", "value"), -1);
        EXPECT_EQ(heap.HandlerCalls(), 1);
    }
    EXPECT_EQ(DefaultConfig::Get("test", "new"), nullptr);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "ne") << "as it was";

    EXPECT_EQ(DefaultConfig::Set(nullptr, "key", "x"), -1);
    for (const auto& [category, key] : {std::pair{"test", "key"}, {"tes", "tkey"}})
        EXPECT_EQ(DefaultConfig::Set(category, key, nullptr), 0);
    EXPECT_EQ(DefaultConfig::Get("test", "key"), nullptr);
    EXPECT_EQ(DefaultConfig::Set("test", "key", nullptr), 0) << "nothing there to remove";
}

// ---- versions --------------------------------------------------------------

TEST(BaseVersion, FirstDifferenceAskedFor)
{
    data::ForEachRow("base/versions.txt", 4, [](const auto&, const data::Row& row) {
        std::istringstream in(row[0]);
        unsigned v[5] = {};
        in >> v[0] >> v[1] >> v[2] >> v[3] >> v[4];
        EXPECT_EQ(CheckKoVersionNumber(v[0], v[1], v[2], v[3], v[4], std::stoi(row[1])),
                  std::stoi(row[2]));
    });
}

} // namespace
