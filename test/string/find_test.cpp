#include "support/data_file.h"
#include "support/failing_heap.h"

#include <gtest/gtest.h>

namespace
{

TEST(Find, ComparesTheBeginningOfTheRest)
{
    data::ForEachRow("strings/find.txt", 6, [](const auto&, const data::Row& row) {
        const auto start = static_cast<unsigned short>(std::stoul(row[2]));
        const auto cmpOp = static_cast<unsigned short>(data::Hex(row[3]));
        const int at = std::stoi(row[4]);
        for (const unsigned char codeSet : {o_u1b{0}, o_u1b{1}, o_u1b{253}}) {
            const KoString text = Text(data::ParseUnits(row[0]), codeSet);
            for (const unsigned char other : {o_u1b{1}, o_u1b{32}, o_u1b{253}}) {
                const KoString pattern = Text(data::ParseUnits(row[1]), other);
                EXPECT_EQ(text.Find(pattern, start, cmpOp), at);
                if (start == 0) {
                    EXPECT_EQ(text.SubStringPos(pattern, cmpOp), at);
                }
            }
        }
    });
    const KoString bytes = Text(u"a\u00E9B", 0);
    EXPECT_EQ(bytes.Find(Text(u"\u00E9?", 0)), 1) << "bytes know wildcards too";
    EXPECT_EQ(bytes.Find(Text(u"b", 0), 0, KoCMP_IGNORE_CASE), -1) << "and nothing else";
    EXPECT_EQ(Text(u"a\u20ACb", 253).Find('b'), 2);
    EXPECT_EQ(Text(u"a\u00E9", 1).Find(static_cast<unsigned short>(0xE9)), 1);
    EXPECT_EQ(bytes.Find('\0'), -1);
    EXPECT_EQ(NullText().Find('a'), -1);
    EXPECT_EQ(bytes.Find(NullText()), -1);
}

TEST(Find, WildcardsOfTheProcessMayChange)
{
    const KoString text("a%c_*?");
    EXPECT_EQ(KoString::SetAsterisk('%'), 0);
    EXPECT_EQ(KoString::SetQuestion(KoChar(static_cast<unsigned short>('_'))), 0);
    EXPECT_EQ(KoString::SetEscape('!'), 0);
    EXPECT_EQ(text.Find("c%?"), 2);
    EXPECT_EQ(text.Find("*"), 4);
    EXPECT_EQ(text.Find("!_"), 3);
    EXPECT_TRUE(text == KoString("a%"));
    EXPECT_FALSE(text == KoString("a*"));
    EXPECT_EQ(Text(u"ab", 0).Find(Text(u"*b", 0)), 0) << "bytes keep theirs";
    EXPECT_EQ(text.Find("?!"), -1);
    EXPECT_EQ(KoString("b%").Find("b!"), 0) << "the asterisk that is added is the one that is set";
    EXPECT_EQ(KoString::SetAsterisk('\0'), 0) << "restores the default, as at the start";
    KoString::SetQuestion('\0');
    KoString::SetEscape('\0');
    EXPECT_TRUE(text == KoString("a*"));
    EXPECT_EQ(text.Find("\\*"), 4);
}

// Every position compared by itself gives the same.
TEST(Find, AgreesWithComparingEveryPosition)
{
    Random random(31);
    constexpr unsigned char kSets[] = {1, 32, 253, 0};
    constexpr o_u2b kWords[] = {0, 0x20, 0x60, 0x80, 0x200, 0x2E0, 0x10, 0x120};
    int found = 0;
    for (int round = 0; round < 20000; ++round) {
        // With long ones the search takes over that does not go back.
        const bool isLong = round % 10 == 0;
        const KoString text = isLong ? random.Text(u"aaaA- \u00DFs", 300, kSets)
                                     : random.Text(u"aAb\u00E9e\u00DFs-?* ", 10, kSets);
        KoString pattern = random.Text(u"aAb\u00E9es-*?\\", isLong ? 2 : 4, kSets);
        if (isLong && text.Len() > 60)
            pattern = text.Copy(static_cast<unsigned short>(random.Below(text.Len() - 40)),
                                static_cast<short>(17 + random.Below(23))) +
                      pattern;
        const o_u2b cmpOp = kWords[random.Below(std::size(kWords))];
        const bool wild = (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) == 0;
        const KoString asked = wild ? pattern + "*" : pattern;
        int expected = -1;
        const unsigned start = random.Below(2) * random.Below(4);
        for (unsigned i = start; expected < 0 && i + pattern.Len() <= text.Len(); ++i) {
            const KoString rest = text.Copy(static_cast<unsigned short>(i), -1);
            if (pattern.Len() != 0 &&
                rest.Compare(asked, static_cast<short>(wild ? -1 : pattern.Len()), cmpOp) == 0)
                expected = static_cast<int>(i);
        }
        ASSERT_EQ(text.Find(pattern, static_cast<unsigned short>(start), cmpOp), expected)
            << data::FormatText(text) << " " << data::FormatText(pattern) << " " << cmpOp;
        found += expected >= 0 ? 1 : 0;
    }
    EXPECT_GT(found, 2000);
}

// Each of these took the square of the text's length, half a minute, before places that cannot
// match were passed over.
TEST(Find, LongTextsTakeTheTimeOfTheirLength)
{
    KoString text(KoCS_LATIN1, 0);
    text.Fill(65531, 'a');
    EXPECT_EQ(text.Find("a*a*a*a*a*a*a*b"), -1);
    EXPECT_EQ(text.Find("a?*b", 0, KoCMP_IGNORE_CASE), -1);
    for (const char* pattern : {"b", "?b", "?*b"}) {
        const KoString half = text.Left(32765) + KoString(pattern);
        for (const o_u2b cmpOp : {KoCmpOp{}, KoCMP_PLAIN, KoCMP_SKIP_SPACES})
            EXPECT_EQ(text.Find(half, 0, cmpOp), -1);
    }
    text.Fill(65531, '-');
    EXPECT_EQ(text.Find("-b"), -1);
    EXPECT_EQ(text.Find("b", 0, KoCMP_SKIP_SYMBOLS), -1);
    EXPECT_EQ(text.Find("-*b", 0, KoCMP_SKIP_SPACES), -1);
}

TEST(Replace, PutsOneTextForAnother)
{
    KoString text("abab");
    EXPECT_STREQ(text.ReplaceAll('a', '\xE9').StrGet(), "\xE9"
                                                        "b\xE9"
                                                        "b");
    EXPECT_STREQ(
        text.ReplaceAll(static_cast<unsigned short>(0xE9), static_cast<unsigned short>(0x20AC), 1)
            .StrGet(),
        "\xE9"
        "b?b");
    EXPECT_STREQ((text = "ab").ReplaceAll(text, text).StrGet(), "ab");
    EXPECT_STREQ(text.ReplaceAll("b", text).StrGet(), "aab");
}

// The same as finding, cutting and inserting in turn, where the text becomes too long as well.
TEST(Replace, AgreesWithEditingStepByStep)
{
    Random random(32);
    constexpr unsigned char kSets[] = {1, 253};
    for (int round = 0; round < 1000; ++round) {
        const bool large = round % 100 == 0;
        KoString text = random.Text(u"aAbsc", 12, kSets);
        if (large) {
            text.Expand(
                static_cast<unsigned short>(random.Below(60) + (text.Width() == 2 ? 32700 : 65460)),
                '-');
            for (int i = 0; i < 4; ++i)
                text += random.Text(u"aabc", 30, kSets);
        }
        const KoString from =
            large ? random.Text(u"ab", 2, kSets) : random.Text(u"aAbs?", 3, kSets);
        const KoString to = random.Text(u"ab", large ? 40 : 4, kSets);
        KoString expected = text;
        for (int at = expected.Find(from); at >= 0;) {
            const auto place = static_cast<unsigned short>(at);
            expected.Cut(place, static_cast<short>(from.Len())).Insert(to, place);
            const int next = at + to.Len(); // may lie after what was cut off
            at = next > 65535 ? -1 : expected.Find(from, static_cast<unsigned short>(next));
        }
        ASSERT_TRUE(UnitsOf(text.ReplaceAll(from, to)) == UnitsOf(expected))
            << data::FormatText(from) << " " << data::FormatText(to);
    }
}

} // namespace
