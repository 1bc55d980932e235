#include "temporalfields.h"

#include <algorithm>
#include <array>

namespace
{

std::array<KoString, 2> InBothWidths(const char* text)
{
    KoString wide(text);
    wide.SetCodeSet(KoCS_UNICODE);
    return {KoString(text), wide};
}

TEST(TemporalReading, ScansLeniently)
{
    const Parts date = {2024, 3, 5};
    struct {
        TemporalKind kind;
        const char* text;
        const char* format;
        Parts parts;
        bool complete;
        const char* reason;
    } const rows[] = {
        {kDate, "2024/3/5", nullptr, date, true, "any separator"},
        {kDate, "  2024 - 3 -\t5 and more", nullptr, date, true, "blanks; the rest is not read"},
        {kDate, "2024 3 5", nullptr, date, true, "a literal before a digit is left out"},
        {kDate, "2024x75", "%Y.7%m", {2024, 5}, true, "a digit of the format is one of the text"},
        {kDate, "2024--3-+5", nullptr, {2024, -3, 5}, true, "signs"},
        {kDate, "2024-3-", nullptr, {2024, 3}, false, "it ends early; what was read stays"},
        {kDate, "99999999999-99-5", nullptr, {2147483647, 99, 5}, true, "held to 32 bits"},
        {kDate, "x-y-z", nullptr, {}, true, "characters that are no numbers are literals"},
        {kDate, "*-*-5", nullptr, {-1, -1, 5}, true, "wildcards"},
        {kDate, "*", "%J", {-1, -1, -1}, true, "of all fields"},
        {kDateTimeN, "*:*", "%N:%f", {.second = -1, .nanoseconds = -1}, true, "of two"},
        {kOdmgDate, "2024-*-5", nullptr, {2024, 0, -5}, true, "no wildcards"},
        {kDate, "30 31 -5", "%y", {2030}, true, "the pivot"},
        {kDate, "31", "%y", {1931}, true, "the pivot"},
        {kDate, "Tuesday 5.March 2024", "%a %e.%b %Y", date, true, "whole names"},
        {kDate, "Januar 5 Februar", "%B %d %b", {0, 2, 5}, true, "as printed"},
        {kDate, "013 Xyz 2024", "%b %a %Y", {2024, 13}, true, "a number for a name; no name"},
        {kDate, "De", "%b%Y", {}, false, "less than a name"},
        {kTime, "PM 12:30", "%P %I:%M", {.hour = 12, .minute = 30}, true, "noon"},
        {kTime, "*:05 pm", "%I:%M %p", {.hour = -1, .minute = 5}, true, "12 hours after any"},
        {kOdmgInterval, "3 pm", "%I %p", {.hour = 3}, true, "a count of hours"},
        {kDateTimeN, "-0.25", "%f", {.nanoseconds = -250'000'000}, true, "a sign without seconds"},
        {kDateTimeN, ".5", "%f", {.nanoseconds = 500'000'000}, true, "no seconds at all"},
        {kDateTimeN, "1.1234567899", "%f", {.second = 1, .nanoseconds = 123'456'789}, true, "cut"},
        {kDateTimeN, "1.0.6-7 8", "%f %d", {.day = 8, .second = 1}, true, "no number: skipped"},
        {kTimeSpan, "-400", "%J", {-1, -1, -10}, true, "every part of a span back in time"},
        {kOdmgInterval, "400", "%J", {.day = 400}, true, "days are not spread"},
        {kTimeSpan, "3 Tage 5", "%?(J days )%M", {.day = 3, .minute = 5}, true, "any letters"},
        {kTimeSpan, "3d 5", "%?(J days )%M", {.day = 3, .minute = 5}, true, ""},
        {kTimeSpan, "02:05", "%?(J.)%H:%M", {.hour = 2, .minute = 5}, true, "the same"},
        {kTimeSpan, "1 d 2", "%?(J d )%?(H h )%M", {.day = 1, .hour = 2}, false, "no way fits"},
        {kDate, "2024-03-05%x", "%D%%%q", date, true, "what is no directive is a literal"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " " + row.reason);
        for (const KoString& text : InBothWidths(row.text)) {
            TemporalFields fields = {row.kind, true, 9, 9, 9, 9, 9, 9, 9};
            EXPECT_EQ(ScanTemporal(fields, text, row.format), row.complete);
            EXPECT_EQ(fields, Fields(row.kind, row.parts));
        }
    }
}

constexpr int kGood = -1;   // the lenient reader gives the same
constexpr int kUnlike = -2; // it gives something else

TEST(TemporalReading, ParsesStrictly)
{
    const Parts date = {2024, 3, 5};
    struct {
        TemporalKind kind;
        const char* text;
        const char* format;
        int errorAt; ///< or kGood or kUnlike
        Parts parts;
        const char* reason;
    } const rows[] = {
        {kDate, "2024-03-05", nullptr, kGood, date, ""},
        {kDate, "29.02.2023", "%d.%m.%Y", 6, {}, "the year makes the day one that is not there"},
        {kDate, "2024-04-31", nullptr, 8, {}, "30 days has April"},
        {kDate, "2024-00-05", nullptr, 5, {}, "no such month"},
        {kDate, "2024-003-05", nullptr, 5, {}, "more digits than a month has"},
        {kDate, "2024-03-05 ", nullptr, 10, {}, "a trailing blank"},
        {kDate, "2024-02-30x", nullptr, 8, {}, "the first of two faults"},
        {kDate, " 2024-03-05", nullptr, 0, {}, "a leading blank"},
        {kDate, "2024-03", nullptr, 7, {}, "a field is missing"},
        {kDate, "2024/03/05", nullptr, 4, {}, "a literal is itself"},
        {kDate, "", nullptr, 0, {}, "nothing"},
        {kDate, "24-03-05", nullptr, 2, {}, "a year has four digits"},
        {kDate, "24-03-05", "%y-%m-%d", kGood, date, "but here"},
        {kDate, "-0044-03-15", nullptr, kGood, {-44, 3, 15}, "before the year 0"},
        {kDate, "32768-03-15", nullptr, 0, {}, "beyond 16 bits"},
        {kDate, "*-03-05", nullptr, kGood, {-1, 3, 5}, "the year -1 as it is printed"},
        {kDate, "2024-*-05", nullptr, 5, {}, "no month is -1"},
        {kOdmgDate, "*-03-05", nullptr, 0, {}, "no wildcards"},
        {kDate, "20240305", "%Y%m%d", kUnlike, date, "fields without separators"},
        {kDate, "03-05", "%m-%d", 5, {}, "the format has no year"},
        {kDate, "Sun 05.Mar 2024", "%a %e.%b %Y", kGood, date, "any weekday"},
        {kDate, "Tue 05.March 2024", "%a %e.%b %Y", 10, {}, "not a short name"},
        {kDate, "5 Januar 2024", "%e %B %Y", kGood, {2024, 1, 5}, "as it is printed"},
        {kDate, "5 January 2024", "%e %B %Y", kGood, {2024, 1, 5}, "as it is written"},
        {kDate, "5 Marx 2024", "%e %B %Y", 5, {}, "the letter that is wrong"},
        {kDate, "2024-03-05 10:00", "%D %H:%M", kUnlike, date, "a time is dropped"},
        {kOdmgDate, "1500-02-29", nullptr, kGood, {1500, 2, 29}, "the Julian calendar"},
        {kDate, "1500-02-29", nullptr, 8, {}, "the Gregorian one"},
        {kOdmgDate, "1582-10-10", nullptr, 8, {}, "a day that the reform left out"},
        {kTime, "24:00:00", nullptr, 0, {}, "no such hour"},
        {kTime, "10:00:-1", nullptr, 6, {}, "no sign"},
        {kTime, "10:00:05.0", "%H:%M:%f", kGood, {.hour = 10, .second = 5}, "whole seconds"},
        {kTime, "10:00:05.01", "%H:%M:%f", 10, {}, "a fraction that would be lost"},
        {kOdmgTime, "5.25", "%f", kGood, {.second = 5, .nanoseconds = 250'000'000}, "hundredths"},
        {kOdmgTime, "10:00:05.255", "%H:%M:%f", 11, {}, "no thousandths"},
        {kTime, "12:30 am", "%I:%M %p", kGood, {.hour = 0, .minute = 30}, "midnight"},
        {kTime, "01:30 PM", "%I:%M %p", kGood, {.hour = 13, .minute = 30}, "either spelling"},
        {kTime, "13:30 pm", "%I:%M %p", 0, {}, "no hour of half a day"},
        {kTime, "13:30 am", "%H:%M %p", 6, {}, "a contradiction"},
        {kTime, "01:30 p", "%I:%M %p", 7, {}, "cut off"},
        {kTime, "01:30 pM", "%I:%M %p", 7, {}, "mixed"},
        {kDateTime, "2024-03-05", "%Y-%m-%d", kGood, date, "a format without a time: midnight"},
        {kDateTime, "2024-03-05T10:11", nullptr, 16, {}, "the default format has one"},
        {kDateTimeN, "2024-03-05T10:11:12.1234567890", nullptr, 29, {}, "a tenth decimal"},
        {kDateTimeN, "2024-03-05T10:11:12.", nullptr, 20, {}, "no decimal"},
        {kDateTimeN, "2024-03-05 1000000000", "%D %N", 20, {}, "a whole second"},
        {kTimeSpan, "400.02:03:04.5", nullptr, kGood, {1, 1, 10, 2, 3, 4, 500'000'000}, ""},
        {kTimeSpan, "-400.00:00:00", nullptr, kUnlike, {-2, 10, 20}, "as counting gives it"},
        {kTimeSpan, "11796479.00:00:00", nullptr, kGood, {32767, 11, 29}, "the longest"},
        {kTimeSpan, "-11796480.00:00:00", nullptr, kGood, {-32768, 0, 0}, "the one farthest back"},
        {kTimeSpan, "11796480.00:00:00", nullptr, 0, {}, "longer"},
        {kTimeSpan, "1.24:00:00", nullptr, 2, {}, "a day of hours"},
        {kTimeSpan, "3 dais 02:05", "%?(J days )%H:%M", 4, {}, "the way that came farthest"},
        {kTimeSpan, "02 h 05", "%?(J d )%?(H h )%M", kGood, {.hour = 2, .minute = 5}, "one of two"},
        {kTimeSpan, " d 05", "%?(J d %M)", kGood, {.minute = 5}, "a group that is not empty"},
        {kTimeSpan, "05", "%?(J %?M d)%S", kGood, {.second = 5}, "a group of two that is"},
        {kOdmgInterval, "0.00:00:-0.500", nullptr, kGood, {.nanoseconds = -500'000'000}, "a sign"},
        {kOdmgInterval,
         "-1.-02:-03:-4",
         nullptr,
         kGood,
         {0, 0, -1, -2, -3, -4},
         "as it is printed"},
        {kOdmgInterval, "-1.02:00:00", nullptr, 3, {}, "two signs"},
        {kOdmgInterval, "400 days", "%e days", kGood, {.day = 400}, "more than a month has"},
        {kDate, "100% 2024-03-05", "100%% %D%", kGood, date, "a percent sign"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " " + row.reason);
        const TemporalFields before = {row.kind, false, 9, 8, 7, 6, 5, 4, 3};
        for (const KoString& text : InBothWidths(row.text)) {
            TemporalFields fields = before;
            unsigned errorAt = 777;
            const int result = ParseTemporal(fields, text, row.format, errorAt);
            EXPECT_EQ(fields, result == 0 ? Fields(row.kind, row.parts) : before);
            EXPECT_EQ(result == 0 ? kGood : static_cast<int>(errorAt),
                      std::max(row.errorAt, kGood));
            if (row.errorAt == kGood) {
                fields = before;
                EXPECT_TRUE(ScanTemporal(fields, text, row.format));
                EXPECT_EQ(fields, Fields(row.kind, row.parts));
            }
        }
    }
}

TEST(TemporalReading, ComparesLiteralsInAnyCodeSet)
{
    const unsigned short euro[] = {'2', '0', '2', '4', 0x20AC, 0};
    TemporalFields fields = {.kind = kTimeSpan};
    unsigned errorAt = 777;
    for (const KoString& text : InBothWidths("2024\xE4"))
        EXPECT_EQ(ParseTemporal(fields, text, "%Y\xE4", errorAt), 0);
    EXPECT_EQ(ParseTemporal(fields, KoString(euro), "%Y?", errorAt), -1);
    EXPECT_EQ(errorAt, 4U)
        << "a character that the code set of the format lacks is no question mark";
}

} // namespace
