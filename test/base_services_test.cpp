#include <kobase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>

static bool operator==(const KoTimeStampRec& a, const KoTimeStampRec& b)
{
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
           a.minute == b.minute && a.second == b.second && a.fraction == b.fraction;
}

static void PrintTo(const KoTimeStampRec& stamp, std::ostream* out)
{
    *out << stamp.year << '-' << int{stamp.month} << '-' << int{stamp.day} << ' ' << int{stamp.hour}
         << ':' << int{stamp.minute} << ':' << int{stamp.second} << '.' << stamp.fraction;
}

namespace
{

// ---- clock -----------------------------------------------------------------

KoTimeStampRec g_utc;
int g_utcResult;
int g_zone;
int g_zoneResult;

constexpr KoClock kFixedClock = {[](KoTimeStampRec* now) {
                                     *now = g_utc;
                                     return g_utcResult;
                                 },
                                 [](int* minutes) {
                                     if (g_zoneResult == 0)
                                         *minutes = g_zone;
                                     return g_zoneResult;
                                 }};

class BaseClock : public testing::Test
{
protected:
    void SetUp() override
    {
        g_utc = {2024, 2, 29, 23, 30, 15, 123456789};
        g_utcResult = g_zone = g_zoneResult = 0;
        bksSetClock(&kFixedClock);
    }
    void TearDown() override { bksSetClock(nullptr); }
};

TEST_F(BaseClock, LocalTimeIsUtcMovedByTheZone)
{
    const struct {
        KoTimeStampRec utc;
        int zone;
        KoTimeStampRec local;
        const char* reason;
    } cases[] = {
        {{2024, 2, 29, 23, 30, 15, 7}, 0, {2024, 2, 29, 23, 30, 15, 7}, "Greenwich"},
        {{2024, 2, 29, 23, 30, 15, 7}, 60, {2024, 3, 1, 0, 30, 15, 7}, "out of a leap February"},
        {{2023, 2, 28, 23, 30, 15, 7}, 60, {2023, 3, 1, 0, 30, 15, 7}, "out of a common one"},
        {{2024, 3, 1, 0, 10, 0, 7}, -300, {2024, 2, 29, 19, 10, 0, 7}, "back into it"},
        {{1900, 3, 1, 0, 0, 0, 0}, -1, {1900, 2, 28, 23, 59, 0, 0}, "no leap day in 1900"},
        {{1999, 12, 31, 12, 0, 0, 7}, 840, {2000, 1, 1, 2, 0, 0, 7}, "Kiritimati, over a year"},
        {{2000, 1, 1, 0, 0, 0, 0}, -720, {1999, 12, 31, 12, 0, 0, 0}, "farthest west, back"},
        {{2024, 6, 1, 20, 0, 0, 7}, 345, {2024, 6, 2, 1, 45, 0, 7}, "a quarter of an hour"},
        {{2400, 1, 1, 0, 0, 0, 999999999},
         -1,
         {2399, 12, 31, 23, 59, 0, 999999999},
         "later than nanoseconds in 64 bits reach"},
    };
    for (const auto& [utc, zone, local, reason] : cases) {
        SCOPED_TRACE(reason);
        g_utc = utc;
        g_zone = zone;
        KoTimeStampRec stamp{};
        EXPECT_EQ(bksGetHiresTime(&stamp), 0);
        EXPECT_EQ(stamp, local);
        KoDateRec date{};
        EXPECT_EQ(bksgetdate(&date), 0);
        EXPECT_EQ(std::tuple(date.year, date.month, date.day),
                  std::tuple(local.year, local.month, local.day));
        KoTimeRec time{};
        EXPECT_EQ(bksgettime(&time), 0);
        EXPECT_EQ(std::tuple(time.hour, time.minute, time.second, time.zone),
                  std::tuple(local.hour, local.minute, local.second, zone * 60));
        EXPECT_EQ(bksGetHiresTimeUTC(&stamp), 0);
        EXPECT_EQ(stamp, utc);
    }
}

TEST_F(BaseClock, UnknownZoneGivesUtcAndTheCode)
{
    g_zone = 60;
    g_zoneResult = KoRC_NO_TIMEZONE;
    int minutes = 77;
    EXPECT_EQ(bksgettimezone(&minutes), -2171);
    EXPECT_EQ(minutes, 77);
    KoTimeStampRec stamp{};
    EXPECT_EQ(bksGetHiresTime(&stamp), -2171);
    EXPECT_EQ(stamp, g_utc);
    KoDateRec date{};
    EXPECT_EQ(bksgetdate(&date), -2171);
    EXPECT_EQ(date.day, 29);
    KoTimeRec time{0, 0, 0, 5};
    EXPECT_EQ(bksgettime(&time), -2171);
    EXPECT_EQ(std::tuple(time.hour, time.zone), std::tuple(23, 0));
    EXPECT_EQ(bksgetsystemtime(&time, &date), 0) << "UTC needs no zone";
}

TEST_F(BaseClock, FailedReadingLeavesTheOutputs)
{
    g_utcResult = -1;
    KoTimeStampRec stamp{1, 2, 3, 4, 5, 6, 7};
    const KoTimeStampRec before = stamp;
    KoDateRec date{1, 2, 3};
    KoTimeRec time{4, 5, 6, 7};
    EXPECT_EQ(bksGetHiresTime(&stamp), -1);
    EXPECT_EQ(bksGetHiresTimeUTC(&stamp), -1);
    EXPECT_EQ(stamp, before);
    EXPECT_EQ(bksgetsystemtime(&time, &date), -1);
    EXPECT_EQ(bksgetdate(&date), -1);
    EXPECT_EQ(bksgettime(&time), -1);
    EXPECT_EQ(std::tuple(date.year, time.hour, time.zone), std::tuple(1, 4, 7));
}

TEST_F(BaseClock, ReplacingReturnsTheOneBefore)
{
    EXPECT_EQ(bksSetClock(nullptr), &kFixedClock);
    EXPECT_EQ(bksSetClock(&kFixedClock), nullptr);
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
    const std::string after = runtime(1);
    char ours[64];
    std::snprintf(ours, sizeof ours, "%04d-%02d-%02d %02d:%02d:%02d", stamp.year, stamp.month,
                  stamp.day, stamp.hour, stamp.minute, stamp.second);
    EXPECT_LE(before, ours);
    EXPECT_LE(ours, after);
    EXPECT_GE(stamp.fraction, 0);
    EXPECT_LT(stamp.fraction, 1'000'000'000);
}

#if defined(_WIN32)
TEST(BaseSystemClock, ZoneComesFromTheSystem)
{
    int zone = 9999;
    ASSERT_EQ(bksgettimezone(&zone), 0);
    EXPECT_GE(zone, -12 * 60);
    EXPECT_LE(zone, 14 * 60);
}
#else
TEST(BaseSystemClock, ZoneComesFromTheSystem)
{
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
}
#endif

// ---- memory files ----------------------------------------------------------

TEST(BaseMemFile, StaysInsideItsBytes)
{
    const char bytes[] = "0123456789";
    constexpr o_u8b kHuge = ~o_u8b{0};
    const struct {
        o_u8b position;
        o_u8b length;
        int at; // offset of the result, -1 for null
        const char* reason;
    } cases[] = {
        {0, 10, 0, "all of it"},
        {4, 3, 4, "inside"},
        {10, 0, 10, "nothing at the end"},
        {9, 2, -1, "one byte too many"},
        {11, 0, -1, "nothing, but past the end"},
        {kHuge, 2, -1, "position and length wrap to 1"},
        {2, kHuge, -1, "length wraps"},
        {kHuge, kHuge, -1, "both wrap"},
    };
    for (const auto& [position, length, at, reason] : cases) {
        SCOPED_TRACE(reason);
        MemFile file(bytes, 10);
        ASSERT_EQ(file.Seek(6, 1), bytes + 6);
        EXPECT_EQ(file.Position(), 7u);
        EXPECT_EQ(file.Seek(position, length), at < 0 ? nullptr : bytes + at);
        EXPECT_EQ(file.Position(), at < 0 ? 7u : position + length);
        EXPECT_EQ(file.Left(), 10 - file.Position());
    }

    MemFile file(bytes, 10);
    file.Seek(8, 0);
    EXPECT_EQ(file.Peek(2), bytes + 8);
    EXPECT_EQ(file.Peek(3), nullptr);
    EXPECT_EQ(file.Peek(kHuge), nullptr);
    EXPECT_EQ(file.Position(), 8u);

    MemFile none(nullptr, 10);
    EXPECT_EQ(none.Size(), 0u) << "no data counts as no bytes";
    EXPECT_EQ(none.Seek(0, 0), nullptr);
    EXPECT_EQ(none.Peek(1), nullptr);
}

// ---- assertions and memory -------------------------------------------------

std::string g_report;

TEST(BaseAssert, GoesToTheHandlerAndReturns)
{
    const KoAssertHandler before =
        KoSetAssertHandler([](const char* text, const char* file, int line) {
            g_report = std::string(text) + "|" + file + "|" + std::to_string(line);
        });
    KORA_assert("a < b", "src\\kostring", 1110);
    EXPECT_EQ(g_report, "a < b|src\\kostring|1110");

    KoSetAssertHandler(nullptr);
    testing::internal::CaptureStderr();
    KORA_assert("100%s", "src\\kotypes", 3);
    KORA_assert(nullptr, nullptr, 0);
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("100%s (src\\kotypes, line 3)\n"), std::string::npos) << lines;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
    KoSetAssertHandler(before);
}

std::size_t g_missing;
int g_failAt; // the allocation that fails, counted from 1; one of size 0 never succeeds

// An allocator that fails at the g_failAt-th allocation, and a handler that notes the size and
// returns; the process's own come back at the end.
class FailingHeap
{
public:
    FailingHeap() : m_handler(KoSetMemoryHandler([](std::size_t size) { g_missing = size; }))
    {
        g_missing = 0;
        KoSetAllocator(
            [](std::size_t size) { return size && --g_failAt ? std::malloc(size) : nullptr; },
            std::free);
    }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
    ~FailingHeap()
    {
        KoSetAllocator(nullptr, nullptr);
        KoSetMemoryHandler(m_handler);
    }

private:
    KoMemoryHandler m_handler;
};

TEST(BaseMemory, FailedAllocationGivesNull)
{
    const FailingHeap heap;
    g_failAt = 2;
    void* first = KoAlloc(0);
    EXPECT_NE(first, nullptr) << "a size of 0 gives memory too";
    EXPECT_EQ(KoAlloc(10), nullptr);
    EXPECT_EQ(g_missing, 0u) << "telling the handler is the caller's part";
    KoCallMemoryHandler(4321);
    EXPECT_EQ(g_missing, 4321u);
    KoFree(first);
    KoFree(nullptr);
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
    EXPECT_EQ(DefaultConfig::Set("test", "Key", ""), 0);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "one");
    EXPECT_EQ(DefaultConfig::Set("test", "key", DefaultConfig::Get("test", "key") + 1), 0);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "ne") << "from its own old value";
    EXPECT_STREQ(DefaultConfig::Get("test", "Key"), "") << "empty is a setting";

    {
        const FailingHeap heap;
        for (const int at : {1, 2}) {
            g_failAt = at;
            EXPECT_EQ(DefaultConfig::Set("test", "new", "value"), -1);
            EXPECT_GT(g_missing, 0u);
        }
        g_failAt = 1;
        EXPECT_EQ(DefaultConfig::Set("test", "key", "value"), -1);
    }
    EXPECT_EQ(DefaultConfig::Get("test", "new"), nullptr);
    EXPECT_STREQ(DefaultConfig::Get("test", "key"), "ne") << "as it was";

    EXPECT_EQ(DefaultConfig::Set(nullptr, "key", "x"), -1);
    EXPECT_EQ(DefaultConfig::Set("test", nullptr, "x"), -1);
    EXPECT_EQ(DefaultConfig::Get(nullptr, nullptr), nullptr);
    for (const auto& [category, key] : {std::pair{"test", "key"}, {"tes", "tkey"}, {"test", "Key"}})
        EXPECT_EQ(DefaultConfig::Set(category, key, nullptr), 0);
    EXPECT_EQ(DefaultConfig::Get("test", "key"), nullptr);
    EXPECT_EQ(DefaultConfig::Set("test", "key", nullptr), 0) << "nothing there to remove";
}

TEST(BaseConfig, Booleans)
{
    const struct {
        const char* value;
        bool on;
    } cases[] = {{"1", true},    {"yes", true},   {"True", true}, {"ON", true},
                 {"0", false},   {"", false},     {"no", false},  {"11", false},
                 {"tru", false}, {"yes ", false}, {"off", false}, {nullptr, false}};
    for (const auto& [value, on] : cases) {
        DefaultConfig::Set("test", "flag", value);
        EXPECT_EQ(DefaultConfig::GetBool("test", "flag"), on) << (value ? value : "none");
    }
}

// ---- versions --------------------------------------------------------------

TEST(BaseVersion, FirstDifferenceAskedFor)
{
    const struct {
        unsigned version[5];
        int flags;
        int result;
        const char* reason;
    } cases[] = {
        {{12, 0, 2, 248, 0}, 15, 0, "the same"},
        {{12, 0, 2, 248, 9}, ~0, 0, "the fifth never counts, nor do other bits"},
        {{13, 1, 3, 249, 0}, 0, 0, "nothing asked"},
        {{13, 1, 3, 249, 0}, 15, 1, "the first of four"},
        {{13, 1, 3, 249, 0}, 14, 2, "major not asked"},
        {{12, 0, 3, 249, 0}, 3, 0, "patch and build not asked"},
        {{12, 0, 3, 249, 0}, 12, 3, "patch"},
        {{11, 0, 2, 247, 0}, 8, 4, "build alone"},
    };
    for (const auto& [v, flags, result, reason] : cases)
        EXPECT_EQ(CheckKoVersionNumber(v[0], v[1], v[2], v[3], v[4], flags), result) << reason;
}

} // namespace
