#include "support/fixtures.h"

#include <ko.hpp>
#include <kostd.h>

#include <iostream>
#include <map>
#include <sstream>
#include <unordered_map>

/// What the comments of exported headers show, as it stands there, and what it says of the outcome.
/// test/hygiene/examples.py looks whether every such piece is here.

namespace
{

TEST(HeaderExamples, Kochar)
{
    KoString text("abc");
    text[1] = 'x';           // "axc"
    KoChar second = text[1]; // refers to the text
    KoChar copy(second);     // does not
    EXPECT_STREQ(text.StrGet(), "axc");
    second = 'y';
    EXPECT_STREQ(text.StrGet(), "ayc");
    copy = 'z';
    EXPECT_STREQ(text.StrGet(), "ayc");
}

TEST(HeaderExamples, Kotypevl)
{
    const KoTypeMgr manager;
    o_4b lowest = 1;
    o_4b highest = 100;
    const o_4b value = 50;
    KoIdxBounds keys{&lowest, &highest, 0, 0}, narrowed{};
    unsigned short op = KoQOP_LESS;
    float share =
        manager.EvalAndBound(Ko4B_T, &keys, op, &value, KoFMT_MEMORY, 1, &narrowed, nullptr);
    EXPECT_NEAR(share, 0.5F, 0.02F);
    EXPECT_EQ(narrowed.low, nullptr);
    ASSERT_NE(narrowed.high, nullptr);
    EXPECT_EQ(*static_cast<const o_4b*>(narrowed.high), 50);
    KoFree(narrowed.low);
    KoFree(narrowed.high);
}

TEST(HeaderExamples, Konulty)
{
    KoNull_int n{5, 0};
    n = 7; // not null any more, if it was
    EXPECT_TRUE(n == 7);
    n = std::nullopt; // null
    EXPECT_TRUE(n.null != 0);
    std::optional<int> number = n; // empty
    EXPECT_FALSE(number);
    n = number;
    EXPECT_TRUE(n.null != 0);
}

TEST(HeaderExamples, Koless)
{
    std::vector<KoString> names = {KoString("b"), KoString("A"), KoString("a*")};
    std::sort(names.begin(), names.end(), ko::Less());
    std::map<KoString, int, ko::Less> byName(ko::Less{KoCMP_IGNORE_CASE});
    std::unordered_map<KoDate, int, ko::HashOf, ko::Equal> byDate;
    EXPECT_STREQ(names[0].StrGet(), "A");
    for (const KoString& name : names)
        ++byName[name];
    EXPECT_EQ(byName.count(KoString("a")), 1U);
    EXPECT_EQ(byName.size(), 3U); // no pattern
    ++byDate[KoDate(2024, 2, 29)];
    EXPECT_EQ(byDate.count(KoDate(2024, 2, 29)), 1U);
}

TEST(HeaderExamples, Kochrono)
{
    using namespace std::chrono;
    KoDate date(2024, 2, 1);
    const auto day = ko::ToChrono(date); // std::optional<year_month_day>
    if (day)
        date = *ko::FromChrono<KoDate>(sys_days(*day) + days(30));
    const auto time = ko::FromChrono<KoTime>(hh_mm_ss(14h + 30min));
    EXPECT_TRUE(date == KoDate(2024, 3, 2));
    EXPECT_TRUE(time && *time == KoTime(14, 30, 0));
}

TEST(HeaderExamples, KoHpp)
{
    std::ostringstream complaint;
    std::streambuf* const console = std::cout.rdbuf(complaint.rdbuf());
    const ko::Type date = ko::Type::Find("KoDate").value();
    const auto day = ko::Value::Parse(date, "2024-02-29", "%Y-%m-%d");
    if (!day)
        std::cout << day.error() << '\n';
    std::cout.rdbuf(console);
    EXPECT_EQ(complaint.str(), "");
    EXPECT_EQ(day.value().Stored().size(), 4U);
}

} // namespace
