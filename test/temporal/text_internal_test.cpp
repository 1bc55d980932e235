#include "support/failing_heap.h"
#include "temporal/temporal_fields.h"

#include <cstdio>
#include <string>

using namespace ko;

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
            EXPECT_EQ(Print({.kind = kOdmgInterval, .second = second, .nanoseconds = nano}, "%f"),
                      expected);
        }
    }
}

TEST(TemporalText, PrintsFormatsOfAnyLength)
{
    const TemporalFields fields{kDateTimeN, false, 2024, 3, 5, 13, 5, 9, 123'456'789};
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

} // namespace
