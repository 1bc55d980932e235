#include "failing_heap.h"
#include "temporalfields.h"

#include <cstdio>
#include <string>

namespace
{

TemporalFields Null(TemporalKind kind)
{
    return {.kind = kind, .isNull = true};
}

std::string Print(const TemporalFields& fields, const char* format)
{
    KoString out;
    PrintTemporal(out, fields, format);
    return out.StrGet();
}

TEST(TemporalText, Prints)
{
    const Parts march = {2024, 3, 5, 13, 5, 9};
    struct {
        TemporalKind kind;
        Parts parts;
        const char* format;
        const char* text;
        const char* reason;
    } const rows[] = {
        {kDate, march, "%Y|%y|%m|%d|%e", "2024|24|03|05|05", "%e pads with a zero too"},
        {kDate, {-44, 3, 15}, "%Y %y", "-0044 -44", "the sign stands before the digits"},
        {kDate, {12345, 3, 15}, "%Y %y", "12345 45", "four digits at least"},
        {kDate, {-101, 3, 15}, "%Y %y", "-0101 -01", "digits that are -1 are no wildcard"},
        {kDate, {2024, 1, 31}, "%A, %B|%b", "Wednesday, Januar|Jan", "a name without its last y"},
        {kDate, {2024, 2, 1}, "%A %B", "Monday Februar", "February's weekdays come early"},
        {kDate, {2024, 13, 5}, "%B %b %m", "013 013 13", "a month without a name"},
        {kDate, {2024, -5, 5}, "%B %m", "-005 -05", "the same below 0"},
        {kDate, {-1, -1, -1}, "%Y%y%m%b%e%a%J", "*******", "instead of names and numbers"},
        {kDate, {0, -1, -1}, "%J", "-31", "wild only where all of its fields are"},
        {kTime, {.hour = -1}, "%H %I:%M %p%P", "* *:00 **", "a wild hour is in neither half"},
        {kTimeSpan, {.second = 5, .nanoseconds = -1}, "%f %N", "* *", "half wild is wild"},
        {kTime, {.hour = 0, .minute = 30}, "%I:%M:%S %p", "12:30:00 am", "midnight is 12"},
        {kTime, {.hour = 0, .minute = 30}, "%I:%M", "00:30", "unless nothing says am"},
        {kTime, {.hour = 0}, "%I %%p", "00 %p", "a percent sign is no directive"},
        {kDateTimeN, {.second = 5, .nanoseconds = 1}, "%f %N", "05.000000001 1", "nanoseconds"},
        {kTimeSpan, {32767, 127, 127}, "%J", "11800057", "all days of the largest fields"},
        {kTimeSpan, {.hour = 2, .minute = 3}, "%?(J days )%H:%M", "02:03", "a group left out"},
        {kTimeSpan, {.day = 3, .hour = 2}, "%?(J days )%H:%M", "3 days 02:00", "and printed"},
        {kTimeSpan, {.minute = 7}, "%?H%?M%?S", "0700", "0 is left out in front only"},
        {kTimeSpan, {.minute = 7}, "x%?Hy%?Mz", "xy07z", "literal text is nothing in front"},
        {kTimeSpan, {.hour = 7}, "%H%?(M m)", "0700 m", "not in front"},
        {kTimeSpan, {}, "a%?(J d %?(H h) %M)", "a d  00)", "one group at a time"},
        {kTimeSpan, {}, "%?V%?X|%?p", "|am", "nothing in a form of several; a name is not 0"},
        {kDate, march, "100%% %q%", "100% q", "what is no directive"},
        {kDate, march, "%?(", "", "cut off"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Print(Fields(row.kind, row.parts), row.format), row.text) << row.reason;
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

TEST(TemporalText, KnowsTheNullValue)
{
    KoString null;
    null.SetNullValue();
    for (const TemporalKind kind : {kDate, kTime, kDateTime, kDateTimeN, kTimeSpan}) {
        TemporalFields fields;
        unsigned errorAt = 99;
        for (const KoString& text : {KoString("{NULL}"), null}) {
            fields = {.kind = kind, .day = 7};
            EXPECT_TRUE(ScanTemporal(fields, text, nullptr));
            EXPECT_EQ(fields, Null(kind));
            fields = {.kind = kind, .day = 7};
            EXPECT_EQ(ParseTemporal(fields, text, nullptr, errorAt), 0);
            EXPECT_EQ(fields, Null(kind));
        }
        EXPECT_TRUE(ScanTemporal(fields, KoString("{NULL}x"), nullptr)) << "begins with it";
        EXPECT_TRUE(fields.isNull);
        EXPECT_EQ(ParseTemporal(fields, KoString("{NULL}x"), nullptr, errorAt), -1);
        EXPECT_EQ(errorAt, 0U);
        EXPECT_FALSE(ScanTemporal(fields, KoString(), nullptr)) << "an empty text is not null";
        EXPECT_EQ(fields, Fields(kind, {}));
    }
    for (const TemporalKind kind : {kOdmgDate, kOdmgTime, kOdmgTimestamp, kOdmgInterval}) {
        TemporalFields fields = {.kind = kind};
        unsigned errorAt;
        EXPECT_EQ(ParseTemporal(fields, null, nullptr, errorAt), -1);
        ScanTemporal(fields, KoString("{NULL}"), nullptr);
        EXPECT_EQ(fields, Fields(kind, {})) << "no null value";
    }
    const KoString before = KoTypeMgr::GetNullPrintString();
    KoTypeMgr::SetNullPrintString(KoString());
    TemporalFields fields = {.kind = kDate};
    EXPECT_TRUE(ScanTemporal(fields, KoString("2024-03-05"), nullptr));
    EXPECT_FALSE(fields.isNull) << "an empty null print string begins no text";
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
