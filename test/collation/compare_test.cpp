#include "support/data_file.h"
#include "support/failing_heap.h"
#include "support/intl.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

o_u4b MaskOf(o_u2b cmpOp)
{
    return ((cmpOp & KoCMP_IGNORE_CASE) != 0 ? 0xFFFFFF9FU : 0xFFFFFFFFU) &
           ((cmpOp & KoCMP_IGNORE_ACCENTS) != 0 ? 0xFFFFFFE0U : 0xFFFFFFFFU);
}

/// What a text counts for under an operator word without wildcards: the keys that decide first, and
/// the spaces and symbols before each of them and after the last.
struct Weight {
    CollationKeys first;
    std::vector<CollationKeys> gaps{1};
    auto operator<=>(const Weight&) const = default;

    Weight(const KoString& text, o_u2b cmpOp, std::size_t limit)
    {
        for (const o_u4b key : KeysOf(text, limit)) {
            const o_u4b order = key >> 8U & 0xFFFFU;
            const bool space = order < 80;
            if (space || order < 0x3F00) {
                if ((cmpOp & (space ? KoCMP_SKIP_SPACES : KoCMP_SKIP_SYMBOLS)) == 0)
                    gaps.back().push_back(key);
                continue;
            }
            first.push_back(key & MaskOf(cmpOp));
            gaps.emplace_back();
        }
    }
};

TEST(StrCmp, OperatorWordTellsWhatIsEqual)
{
    const struct {
        const char* ignored;
        unsigned word;
    } words[] = {{"always", 0},  {"case", 0x20},   {"accents", 0x40},
                 {"both", 0x60}, {"spaces", 0x80}, {"symbols", 0x200}};
    data::ForEachRow("collation/equal.txt", 4, [&](const auto&, const data::Row& row) {
        KoString left = data::ParseText(row[0]);
        KoString right = data::ParseText(row[1]);
        const bool always = row[2] == "always";
        for (const unsigned char language : {KoLANG_NONE, KoLANG_CHINESE}) {
            left.SetLanguage(language);
            right.SetLanguage(language);
            for (const auto& [ignored, word] : words) {
                const bool letters = (word & 0x60) != 0 && language == KoLANG_CHINESE;
                const bool equal = !letters && row[2].find(ignored) != std::string::npos;
                for (const o_u2b plain : {KoCMP_PLAIN, KoCMP_NO_WILDCARDS, KoCmpOp{}})
                    EXPECT_EQ(left.Compare(right, -1, static_cast<o_u2b>(word | plain)) == 0,
                              always || equal)
                        << ignored << ", language " << int{language};
            }
        }
    });
}

TEST(StrCmp, OrderOfSomeTexts)
{
    KoString last = NullText();
    data::ForEachRow("collation/ascending.txt", 2, [&](const auto&, const data::Row& row) {
        const KoString text = data::ParseText(row[0]);
        EXPECT_LT(last.Compare(text, -1, KoCMP_PLAIN), 0);
        EXPECT_GT(text.Compare(last, -1, KoCMP_PLAIN), 0);
        last = text;
    });
}

// The rules give every text a weight, so that where comparisons agree with them the order is total
// and equality an equivalence.
TEST(StrCmp, AgreesWithTheRulesWrittenSimply)
{
    Random random(2);
    const std::vector<o_u2b> words = PlainWords();
    for (unsigned i = 0; i < 60000; ++i) {
        KoString left = random.AnyText();
        KoString right = random.Below(3) == 0 ? random.AnyText() : random.Like(left);
        if (left.IsNullValue() || right.IsNullValue())
            continue;
        if (i % 16 == 0) { // texts are compared by blocks of several lengths
            const std::string around = std::string(random.Below(400), 'b') + "cdefgh";
            for (KoString* const text : {&left, &right})
                text->Insert(around.c_str(), 0) += around.c_str();
        }
        const o_u2b cmpOp = words[random.Below(static_cast<unsigned>(words.size()))];
        const bool limited = random.Below(3) == 0;
        const auto len = static_cast<short>(limited ? random.Below(8) : -1U);
        const std::size_t limit = limited ? static_cast<std::size_t>(len) : ~std::size_t{0};
        const auto expected = Weight(left, cmpOp, limit) <=> Weight(right, cmpOp, limit);
        ASSERT_EQ(Sign(left.Compare(right, len, cmpOp)), Sign(expected))
            << data::FormatText(left) << " and " << data::FormatText(right) << " under " << cmpOp
            << ", " << len;
        int secondary = 77;
        const int order = KoStrCmp(left.CodeSet(), left.Language(), left.StrGet(), right.CodeSet(),
                                   right.Language(), right.StrGet(), cmpOp, len, 1, &secondary);
        ASSERT_EQ(Sign(order), Sign(expected));
        const auto counted = static_cast<o_u2b>(cmpOp & ~0x280);
        ASSERT_EQ(Sign(secondary), order != 0 ? Sign(order)
                                              : Sign(Weight(left, counted, limit) <=>
                                                     Weight(right, counted, limit)));
    }
}

// A zero among the characters ends a text, whatever stands after it, wherever in a block.
TEST(StrCmp, AZeroEndsAText)
{
    for (const unsigned char codeSet : {o_u1b{0}, o_u1b{1}, o_u1b{2}})
        for (unsigned at = 1; at < 420; at += at < 70 ? 1 : 11) {
            const std::u16string lead(at, u'x');
            const KoString texts[] = {Text(lead + u"\1b", codeSet), Text(lead + u"\1c", codeSet)};
            for (const KoString& text : texts)
                const_cast<char*>(text.StrGet())[at] = '\0';
            ASSERT_EQ(texts[0].Compare(texts[1], -1, KoCMP_PLAIN), 0) << at;
            ASSERT_EQ(HashKoString(texts[0]), HashKoString(Text(lead, codeSet))) << at;
        }
}

TEST(StrCmp, NullsLengthsAndBytes)
{
    data::ForEachRow("collation/results.txt", 6, [](const auto&, const data::Row& row) {
        EXPECT_EQ(data::ParseText(row[0]).Compare(data::ParseText(row[1]),
                                                  static_cast<short>(std::stoi(row[3])),
                                                  static_cast<o_u2b>(data::Hex(row[2]))),
                  std::stoi(row[4]));
    });
    const KoString a("a");
    EXPECT_EQ(KoStrCmp(1, 0, nullptr, 1, 0, "", 0x10, -1, 1, nullptr), 0);
    EXPECT_EQ(KoStrCmp(0, 0, "a", 0, 0, nullptr, 0, -1, 1, nullptr), 1);
    const char unterminated[] = {'a', 'b'};
    EXPECT_EQ(KoStrCmp(1, 0, unterminated, 1, 0, "abc", 0x10, 2, 1, nullptr), 0);
    const char big[] = "\0a\0*\0";
    EXPECT_EQ(KoStrCmp(1, 0, "abc", 253, 0, big, 0, -1, KoFMT_BIG, nullptr), 0);
    KoLanguageContext::SetDefaultCodeSet(KoCS_UNICODE); // 255 is the default 8-bit one all the same
    EXPECT_LT(KoStrCmp(255, 255, "abc", 1, 0, "abd", 0x10, -1, 255, nullptr), 0);
    KoLanguageContext::SetDefaultCodeSet(KoCS_LATIN1);
    KoString marked(static_cast<unsigned short>('b'));
    marked.SetCodeSetCode(KoCS_NULL);
    const KoString wide(static_cast<unsigned short>('a'));
    EXPECT_EQ(marked.Compare(wide, -1, 0x10), -1) << "null by its code set, whatever text it has";
    EXPECT_EQ(wide.Compare(marked, -1, 0x10), 1);
    EXPECT_TRUE(KoString("a") == KoString("a") && KoString("a\\b") != KoString("a\\b"));
    KoString japanese("a");
    japanese.SetLanguage(KoLANG_JAPANESE);
    EXPECT_NE(japanese.Compare(a, -1, 0x10), 0);
    EXPECT_TRUE(japanese.EqualsIgnoreLanguage(a) && !a.EqualsIgnoreLanguage("?"));
}

/// The characters that a text or pattern of the alphabet below comes to: what an operator does not
/// ignore or leave out. 1 and 2 are the wildcards of a pattern.
std::u16string Folded(const std::u16string& text, bool pattern, bool bytes, o_u2b cmpOp)
{
    std::u16string folded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t c = text[i];
        if (pattern && c == '\\' && !bytes && i + 1 < text.size())
            c = text[++i];
        else if (pattern && (c == '*' || c == '?')) {
            folded += c == '*' ? u'\1' : u'\2';
            continue;
        }
        if (bytes) {
            folded += c;
            continue;
        }
        if (c == ' ' ? (cmpOp & 0x80) != 0 : (cmpOp & 0x200) != 0 && c < '0')
            continue;
        if ((c == '?' || c == '\\') && (cmpOp & 0x200) != 0)
            continue;
        if (c == 'A' && (cmpOp & 0x20) != 0)
            c = 'a';
        if (c == 0xE9 && (cmpOp & 0x40) != 0)
            c = 'e';
        if (c == 0xDF) { // is ss; its first s has an accent
            folded += (cmpOp & 0x40) != 0 ? u's' : u'\3';
            c = 's';
        }
        folded += c;
    }
    return folded;
}

bool Matches(const std::u16string& text, const std::u16string& pattern)
{
    // can[j]: the text so far matches the first j of the pattern.
    const std::size_t n = pattern.size();
    bool can[2048] = {true};
    for (std::size_t j = 0; j < n && pattern[j] == 1; ++j)
        can[j + 1] = true;
    for (const char16_t c : text) {
        bool diagonal = can[0];
        can[0] = false;
        for (std::size_t j = 0; j < n; ++j) {
            const bool above = can[j + 1];
            can[j + 1] = pattern[j] == 1 ? above || can[j]
                                         : diagonal && (pattern[j] == 2 || pattern[j] == c);
            diagonal = above;
        }
    }
    return can[n];
}

TEST(StrCmp, WildcardsMatchAsASimpleMatcherDoes)
{
    Random random(3);
    const char16_t alphabet[] = u"aab*?A-\\ \u00E9es\u00DF";
    const o_u2b words[] = {0, 0x20, 0x40, 0x60, 0x80, 0x200, 0x280};
    const unsigned char codeSets[] = {0, 1, 1, 2, 32, 253};
    unsigned matches = 0;
    for (unsigned i = 0; i < 1000000 / 20; ++i) {
        const KoString text = random.Text(alphabet, 10, codeSets);
        const std::u16string units = UnitsOf(text);
        for (unsigned j = 0; j < 20; ++j) {
            const KoString pattern = random.Text(alphabet, 7, codeSets);
            const o_u2b cmpOp = words[random.Below(std::size(words))];
            const bool bytes = text.CodeSet() == 0 && pattern.CodeSet() == 0;
            const bool expected = Matches(Folded(units, false, bytes, cmpOp),
                                          Folded(UnitsOf(pattern), true, bytes, cmpOp));
            matches += expected ? 1U : 0U;
            ASSERT_EQ(text.Compare(pattern, -1, cmpOp) == 0, expected)
                << data::FormatText(text) << " and " << data::FormatText(pattern) << " under "
                << cmpOp;
        }
    }
    EXPECT_GT(matches, 30000U);
}

// Texts and patterns that repeat, so that many places have to be tried: with them the search takes
// over that does not go back, and where it has no memory it is not missed.
TEST(StrCmp, LongPatternsMatchAsASimpleMatcherDoes)
{
    Random random(7);
    const char16_t* const alphabets[] = {u"aaaaab", u"ab ", u"s\u00DF", u"aA\u00E9e"};
    const o_u2b words[] = {0, 0x60, 0x80, 0x2E0};
    const unsigned char codeSets[] = {0, 0, 1, 32, 253};
    unsigned matches = 0;
    for (unsigned i = 0; i < 800; ++i) {
        const std::u16string alphabet = alphabets[random.Below(std::size(alphabets))];
        const auto draw = [&](unsigned length) {
            std::u16string units;
            const unsigned period = 1 + random.Below(30);
            for (unsigned at = 0; at < length; ++at)
                units += at >= period && random.Below(60) != 0
                             ? units[at - period]
                             : alphabet[random.Below(static_cast<unsigned>(alphabet.size()))];
            return units;
        };
        const std::u16string units = draw(100 + random.Below(500));
        std::u16string pattern;
        for (unsigned pieces = 1 + random.Below(4); pieces > 0; --pieces) {
            const auto length = random.Below(static_cast<unsigned>(units.size()) / 3);
            std::u16string piece = units.substr(random.Below(100), length);
            for (char16_t& unit : piece) {
                if (pieces % 2 == 0 && random.Below(5) == 0)
                    unit = u'?';
                else if (random.Below(6 * length) == 0)
                    unit = u'b';
            }
            pattern += u"*" + piece;
        }
        if (random.Below(2) == 0)
            pattern += u'*';
        const unsigned char codeSet = codeSets[random.Below(std::size(codeSets))];
        const unsigned char other = codeSet == 0 ? 0 : codeSets[2 + random.Below(3)];
        const o_u2b cmpOp = words[random.Below(std::size(words))];
        const KoString text = Text(units, codeSet);
        const bool expected = Matches(Folded(units, false, codeSet == 0, cmpOp),
                                      Folded(pattern, true, codeSet == 0, cmpOp));
        matches += expected ? 1U : 0U;
        const KoString asked = Text(pattern, other);
        const int order = text.Compare(asked, -1, cmpOp);
        ASSERT_EQ(order == 0, expected) << i;
        const FailingHeap none(static_cast<int>(i % 7));
        ASSERT_EQ(text.Compare(asked, -1, cmpOp), order) << i;
        ASSERT_EQ(none.HandlerCalls(), 0);
    }
    EXPECT_GT(matches, 100U);
    EXPECT_LT(matches, 700U);
}

// The time is nearly that of the text's length: the product of the lengths would be half an hour.
TEST(StrCmp, NoPatternTakesLong)
{
    const std::string half(32765, 'a');
    const auto repeated = [](const std::string& piece, const char* end, unsigned length) {
        std::string text;
        while (text.size() + piece.size() + std::strlen(end) <= length)
            text += piece;
        return KoString((text + end).c_str());
    };
    constexpr unsigned kLongest = 65531;
    const KoString text = repeated("a", "", kLongest);
    const auto check = [&text](KoString pattern, bool matches) {
        EXPECT_EQ(text.Compare(pattern, -1, 0) == 0, matches);
        EXPECT_EQ(text.Compare(pattern, -1, 0x280) == 0, matches);
        KoString bytes = text;
        bytes.SetCodeSetCode(KoCS_NONE);
        pattern.SetCodeSetCode(KoCS_NONE);
        EXPECT_EQ(bytes.Compare(pattern, -1, 0) == 0, matches);
    };
    check(repeated("*a", "*b", kLongest), false);
    check(repeated("*?", "", kLongest), true);
    check(repeated("a", "*b", kLongest), false);
    check(repeated("*" + half, "b", kLongest), false);
    check(repeated("*?" + half, "b*", kLongest), false);
    check(repeated("*?" + half, "?", kLongest), true);
}

} // namespace
