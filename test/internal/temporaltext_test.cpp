#include "failing_heap.h"
#include "temporalfields.h"

#include <cstdio>
#include <string>

namespace
{

std::string Print(const TemporalFields& fields, const char* format)
{
    KoString out;
    PrintTemporal(out, fields, format);
    return out.StrGet();
}

TEST(TemporalText, PrintsFractionsAsPrintfDoes)
{
    for (o_4b second = -128; second < 128; ++second) {
        for (const o_4b nano : {0, 1000, 250'000'000, 999'999'999, 123'456'789, -500'000'000}) {
            const int half = nano % 1000 == 0 ? 6 : 9;
            const int decimals = nano == 0 ? 0 : nano % 1'000'000 == 0 ? 3 : half;
            char expected[40];
            std::snprintf(expected, sizeof expected, "%0*.*lf", decimals == 0 ? 2 : decimals + 3,
                          decimals, second + nano / 1e9);
            EXPECT_EQ(Print(Fields(kOdmgInterval, {.second = second, .nanoseconds = nano}), "%f"),
                      expected);
        }
    }
}

TEST(TemporalText, PrintsFormatsOfAnyLength)
{
    const TemporalFields fields = Fields(kDateTimeN, {2024, 3, 5, 13, 5, 9, 123'456'789});
    const std::string one = Print(fields, "%X ");
    std::string format;
    std::string all = "before ";
    for (int i = 0; i < 100; ++i) {
        format += "%X ";
        all += one;
    }
    KoString out("before ");
    PrintTemporal(out, fields, format.c_str());
    EXPECT_EQ(out.StrGet(), all);
    {
        const FailingHeap heap(1);
        KoString kept("before");
        PrintTemporal(kept, fields, format.c_str());
        EXPECT_STREQ(kept.StrGet(), "before");
        EXPECT_EQ(heap.HandlerCalls(), 1);
    }
    const std::string endless(70'000, '%');
    KoString longest;
    PrintTemporal(longest, fields, (std::string(65'531, 'x') + "%X" + endless).c_str());
    EXPECT_EQ(longest.StrGet(), std::string(65'531, 'x'));
}

TEST(TemporalText, AnEmptyNullPrintStringBeginsNoText)
{
    const KoString before = KoTypeMgr::GetNullPrintString();
    KoTypeMgr::SetNullPrintString(KoString());
    TemporalFields fields = {.kind = kDate};
    EXPECT_TRUE(ScanTemporal(fields, KoString("2024-03-05"), nullptr));
    EXPECT_FALSE(fields.isNull);
    KoTypeMgr::SetNullPrintString(before);
}

/// A value's text, under its own format and under others that hold all of it, is that value again.
TEST(TemporalText, ReadsWhatItPrints)
{
    struct {
        TemporalKind kind;
        const char* format;
        bool date, time;
        o_4b step = 0; ///< nanoseconds between two texts, 0 where it has none
    } const forms[] = {
        {kDate, nullptr, true, false},
        {kDate, "%a %e.%b %Y", true, false},
        {kDate, "%A, %B %d %Y", true, false},
        {kTime, nullptr, false, true},
        {kTime, "%I:%M:%S %p", false, true},
        {kDateTime, nullptr, true, true},
        {kDateTimeN, nullptr, true, true, 1},
        {kDateTimeN, "%N/%S %M %H %d %m %Y", true, true, 1},
        {kOdmgDate, nullptr, true, false},
        {kOdmgTime, nullptr, false, true},
        {kOdmgTimestamp, nullptr, true, true, 10'000'000},
    };
    for (const auto& form : forms) {
        for (o_4b n = 0; n < 4000; ++n) {
            TemporalFields fields = {.kind = form.kind};
            if (form.date) {
                const o_4b years[] = {-32768, -4713, -45, -1, 0, 1, 999, 1583, 2024, 9999, 32767};
                fields.year = years[n % 11];
                fields.month = n / 11 % 12 + 1;
                fields.day = n / 132 % 28 + 1;
            }
            if (form.time) {
                fields.hour = n % 24;
                fields.minute = n % 60;
                fields.second = n * 7 % 60;
            }
            if (form.step != 0)
                fields.nanoseconds = n * 263'257 % (1'000'000'000 / form.step) * form.step;
            KoString text;
            PrintTemporal(text, fields, form.format);
            TemporalFields read = {.kind = form.kind};
            ASSERT_TRUE(ScanTemporal(read, text, form.format)) << fields;
            ASSERT_EQ(read, fields) << text.StrGet();
            read = {.kind = form.kind};
            unsigned errorAt;
            ASSERT_EQ(ParseTemporal(read, text, form.format, errorAt), 0) << text.StrGet();
            ASSERT_EQ(read, fields) << text.StrGet();
        }
    }
}

} // namespace
