#include <gtest/gtest.h>
#include <kointl.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{

class IntlCollation : public testing::Test
{
protected:
    void SetUp() override { ___KoI18NContext(1); }
    void TearDown() override { ___KoI18NContext(1); }
};

using Orders = std::vector<o_u2b>;

const KoCodeSet& CodeSet(unsigned char id)
{
    return *KoLanguageContext::QueryCodeSet(id);
}

Orders OrdersOf(const KoCodeSet& codeSet, unsigned character)
{
    o_u2b orders[3];
    const unsigned count = codeSet.GetOrders(static_cast<o_u2b>(character), orders);
    return Orders(orders, orders + count);
}

Orders OrdersOf(unsigned unicode)
{
    return OrdersOf(CodeSet(KoCS_UNICODE), unicode);
}

// The keys of a text under a strength mask; two texts without spaces and symbols compare equal
// exactly when theirs are equal.
std::vector<o_u4b> Keys(const std::u16string& text, o_u4b mask, unsigned char variant = 0)
{
    std::vector<o_u4b> keys;
    for (const char16_t character : text)
        for (const o_u2b order : OrdersOf(character))
            keys.push_back(KoCollationKey(order, variant) & mask);
    return keys;
}

// The order of vectors on a big-endian host with GCC 12, whose operator< looks at too few bytes
// there (its bug 113960).
struct Less {
    template <class T>
    bool operator()(const std::vector<T>& a, const std::vector<T>& b) const
    {
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
    }
};

constexpr o_u4b kAll = 0xFFFFFFFF;
constexpr o_u4b kNoCase = 0xFFFFFF9F;
constexpr o_u4b kNoAccents = 0xFFFFFFE0;
constexpr o_u4b kLettersOnly = 0xFFFFFF80;

struct Sum {
    o_u8b value = 0xCBF29CE484222325;
    void Add(unsigned word)
    {
        for (const unsigned byte : {word >> 8U, word & 0xFFU})
            value = (value ^ byte) * 0x100000001B3;
    }
};

} // namespace

// Indexes are sorted by these orders and stored hashes made of them: a change of the literals is a
// change of disk format.
TEST_F(IntlCollation, TablesAreTheOnesOnDisk)
{
    EXPECT_EQ(KoCollationVersion(), 1U);
    EXPECT_EQ(KoCollationChecksum(), 0xFDC9979B4D4C96F0U);
    EXPECT_EQ(KoCaseTablesVersion(), 1U);
    EXPECT_EQ(KoCaseTablesChecksum(), 0xBAB1760686044D98U);

    Sum orders, cases;
    for (unsigned c = 0; c < 0x10000; ++c) {
        const auto character = static_cast<o_u2b>(c);
        const KoCodeSet& unicode = CodeSet(KoCS_UNICODE);
        if (unicode.GetUnicodeProps(character) != nullptr) {
            const Orders sequence = OrdersOf(c);
            orders.Add(c);
            orders.Add(static_cast<unsigned>(sequence.size()));
            for (const o_u2b order : sequence)
                orders.Add(order);
        }
        cases.Add(c);
        cases.Add(unicode.ToUpper(character, KoLANG_NONE));
        cases.Add(unicode.ToLower(character, KoLANG_NONE));
    }
    EXPECT_EQ(orders.value, KoCollationChecksum());
    EXPECT_EQ(cases.value, KoCaseTablesChecksum());
}

// One of each kind; the checksum has them all.
TEST_F(IntlCollation, TellingOrders)
{
    const struct {
        unsigned unicode;
        Orders orders;
        const char* what;
    } rows[] = {
        {0x0000, {}, "the end of text"},
        {0x000D, {34}, "13 is reserved"},
        {0x0020, {32}, "space"},
        {'*', {159}, "wildcard"},
        {0x00BF, {219}, "the last named symbol"},
        {'0', {0x3F00}, "digit"},
        {0x00BD, {0x3F0D, 124, 0x3F15}, "one half"},
        {'A', {0x400C}, "upper case"},
        {'z', {0x5070}, "lower case"},
        {0x00C1, {0x410C}, "A acute"},
        {0x00D8, {0x4444}, "O with stroke: an accent"},
        {0x01FE, {0x4B44}, "O with stroke and acute: an accent of two marks"},
        {0x00DF, {0x5ED4, 0x5054}, "sharp s"},
        {0x00C6, {0x4E8C, 0x401C}, "AE"},
        {0x01C5, {0x6F18, 0x54F0}, "the title-case digraph"},
        {0x0140, {0x5F38, 129}, "l with middle dot"},
        {0x0200, {0x0200}, "from here on the value"},
        {0x3F00, {0xF600}, "moved: its value is the order of 0"},
        {0x500C, {0xF6C8}, "moved: its value is the order of a"},
        {0xF6C8, {0xFFFF, 0xF6C8}, "gave its order away"},
        {0xF784, {0xFFFF, 0xF784}, "the last that did"},
        {0xF785, {0xF785}, "the next did not"},
        {0xFFFF, {0xFFFF, 0xFFFF}, "the lead itself"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(OrdersOf(row.unicode), row.orders) << row.what;
}

// Different texts never have the same orders. A character's first order tells which it is, and so
// how many orders belong to it; after the lead, the second one does.
TEST_F(IntlCollation, TextsHaveTheirOwnOrders)
{
    std::set<Orders, Less> beginnings;
    for (unsigned c = 1; c < 0x10000; ++c) {
        Orders begin = OrdersOf(c);
        ASSERT_FALSE(begin.empty());
        ASSERT_NE(begin[0], 0);
        ASSERT_NE(begin[0], KoORDER_UNDEFINED);
        if (begin[0] == 0xFFFF)
            ASSERT_EQ(begin.size(), 2U);
        else
            begin.resize(1);
        ASSERT_TRUE(beginnings.insert(begin).second) << std::hex << c;
    }
}

TEST_F(IntlCollation, EightBitSetsFollowUnicode)
{
    std::set<o_u2b> taken;
    for (unsigned c = 0; c < 0x10000; ++c)
        taken.insert(CodeSet(KoCS_UNICODE).GetOrder(static_cast<o_u2b>(c)));

    for (unsigned id = 1; id < 225; ++id) {
        SCOPED_TRACE(id);
        const KoCodeSet& codeSet = CodeSet(static_cast<unsigned char>(id));
        for (o_u2b byte = 0; byte < 256; ++byte) {
            const Orders orders = OrdersOf(codeSet, byte);
            o_u2b unicode = 0;
            if (codeSet.ToUnicode(byte, unicode)) {
                ASSERT_EQ(orders, OrdersOf(unicode));
            } else {
                ASSERT_EQ(orders, Orders{static_cast<o_u2b>(256 + byte)});
                ASSERT_EQ(taken.count(orders[0]), 0U);
            }
            ASSERT_EQ(codeSet.Orders()[byte], codeSet.GetOrder(byte));
        }
        EXPECT_EQ(codeSet.GetUnicodeProps(256), nullptr);
        EXPECT_EQ(codeSet.Orders(1), nullptr);
        EXPECT_EQ(codeSet.FastKeys(1), nullptr);
    }
}

// What a fast loop over either width reads agrees with the orders, one by one.
TEST_F(IntlCollation, FastKeysAgreeWithOrders)
{
    for (const unsigned char id : {KoCS_UNICODE, KoCS_LATIN1, KoCS_WINDOWS_1252, KoCS_IBM866}) {
        const KoCodeSet& codeSet = CodeSet(id);
        for (unsigned c = 0; c < (codeSet.Width() == 1 ? 0x100U : 0x10000U); ++c) {
            const auto* const orders = codeSet.Orders(static_cast<unsigned char>(c >> 8));
            const auto* const keys = codeSet.FastKeys(static_cast<unsigned char>(c >> 8));
            ASSERT_EQ(orders == nullptr, keys == nullptr);
            const Orders expected = OrdersOf(codeSet, c);
            const o_u2b first = expected.empty() ? o_u2b{0} : expected[0];
            const o_u4b key = keys ? keys[c & 0xFF] : KoFastKey(static_cast<o_u2b>(c));
            ASSERT_EQ(orders ? orders[c & 0xFF] : c, first);
            ASSERT_EQ(key & ~KoKEY_FLAGS, KoCollationKey(first, 0));
            ASSERT_EQ((key & KoKEY_EXPANDS) != 0, expected.size() > 1);
            ASSERT_EQ((key & KoKEY_SPACE) != 0, first >= 1 && first <= 79);
            ASSERT_EQ((key & KoKEY_SYMBOL) != 0, first >= 80 && first <= 0x3EFF);
        }
    }
}

TEST_F(IntlCollation, Keys)
{
    const struct {
        o_u2b order;
        unsigned char variant;
        o_u4b key;
        const char* what;
    } rows[] = {
        {0, 20, 0, "the end of text, whatever the variant"},
        {32, 0, 0x2000, "space"},
        {0x3FFF, 7, 0x073FFF00, "a digit keeps its place"},
        {0x510C, 0, 0x400C22, "a acute: base in front, case and accent behind"},
        {0x7FFF, 0, 0x407F7F, "every bit of a letter"},
        {0x510C, 21, 0x15400C22, "other variants have letters too"},
        {0x510C, 20, 0x14510C00, "the ideographic one has numbers"},
        {0x8001, 0, 0x800100, "an ideograph"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(KoCollationKey(row.order, row.variant), row.key) << row.what;
}

// The table of doc/collation.md: which pairs are equal when case, accents or both are ignored.
TEST_F(IntlCollation, WhatComparesEqual)
{
    const struct {
        std::u16string a, b;
        bool noCase, noAccents, lettersOnly;
        const char* what;
    } rows[] = {
        {u"a", u"A", true, false, true, "case"},
        {u"e", u"\u00E9", false, true, true, "accent"},
        {u"E", u"\u00E9", false, false, true, "both"},
        {u"u", u"\u01D6", false, true, true, "two marks"},
        {u"\u00DF", u"ss", false, true, true, "sharp s and its letters"},
        {u"\u00DF", u"SS", false, false, true, "and in upper case"},
        {u"\u00C6", u"\u00E6", true, false, true, "AE and ae"},
        {u"\u00C6", u"AE", false, true, true, "AE and its letters"},
        {u"\u01C5", u"\u01C6", true, false, true, "title case"},
        {u"\u00F0", u"d", false, false, false, "eth is no d"},
        {u"\u0131", u"i", false, true, true, "dotless i"},
        {u"\u0130", u"i", false, false, true, "dotted capital I"},
        {u"\u00B2", u"2", false, false, false, "superscript"},
        {u"\u00BD", u"1/2", false, false, false, "fraction"},
        {u"\u500C", u"a", false, false, false, "an ideograph out of a letter's way"},
        {u"\u600B", u"\u700B", true, false, true, "ideographs without an ideographic language"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_NE(Keys(row.a, kAll), Keys(row.b, kAll));
        EXPECT_EQ(Keys(row.a, kNoCase) == Keys(row.b, kNoCase), row.noCase);
        EXPECT_EQ(Keys(row.a, kNoAccents) == Keys(row.b, kNoAccents), row.noAccents);
        EXPECT_EQ(Keys(row.a, kLettersOnly) == Keys(row.b, kLettersOnly), row.lettersOnly);
        EXPECT_NE(Keys(row.a, kLettersOnly, 20), Keys(row.b, kLettersOnly, 20));
    }
}

// Below 512, ignoring case makes exactly those equal that Unicode maps to one another, but for
// mappings that would change the letter's form.
TEST_F(IntlCollation, IgnoringCaseFollowsCaseMapping)
{
    const std::set<char16_t> formsOfTheirOwn = {u'\u0130', u'\u0131', u'\u017F'};
    const KoCodeSet& unicode = CodeSet(KoCS_UNICODE);
    std::map<std::vector<o_u4b>, std::set<o_u2b>, Less> classes;
    for (o_u2b c = 1; c < 512; ++c) {
        const o_u2b folded = formsOfTheirOwn.count(static_cast<char16_t>(c)) != 0
                                 ? c
                                 : unicode.ToLower(unicode.ToUpper(c, KoLANG_NONE), KoLANG_NONE);
        classes[Keys({static_cast<char16_t>(c)}, kNoCase)].insert(folded);
    }
    std::set<o_u2b> seen;
    for (const auto& [keys, folded] : classes) {
        EXPECT_EQ(folded.size(), 1U) << std::hex << *folded.begin();
        EXPECT_TRUE(seen.insert(*folded.begin()).second) << std::hex << *folded.begin();
    }
}

TEST_F(IntlCollation, Variants)
{
    for (unsigned language = 0; language < 256; ++language) {
        const bool ideographic = language >= KoLANG_CHINESE && language <= KoLANG_KOREAN;
        for (const unsigned char id : {KoCS_LATIN1, KoCS_UNICODE})
            EXPECT_EQ(CodeSet(id).GetVariant(static_cast<unsigned char>(language)),
                      ideographic ? 20 : 0);
    }
    ASSERT_EQ(KoLanguageContext::SetDefaultLanguage(KoLANG_JAPANESE), 0);
    EXPECT_EQ(CodeSet(KoCS_UNICODE).GetVariant(KoLANG_DEFAULT), 20);
}

TEST_F(IntlCollation, CaseMapping)
{
    const struct {
        unsigned char codeSet, language;
        o_u2b character, upper, lower;
        const char* what;
    } rows[] = {
        {1, 0, 0xE9, 0xC9, 0xE9, "e acute"},
        {1, 0, 0xFF, 0xFF, 0xFF, "Y with diaeresis is not in Latin-1"},
        {32, 0, 0xFF, 0x9F, 0xFF, "it is in Windows-1252"},
        {7, 0, 0xE1, 0xC1, 0xE1, "Greek alpha"},
        {46, 0, 0xA6, 0x86, 0xA6, "Cyrillic in IBM 866"},
        {32, 0, 0x81, 0x81, 0x81, "an undefined position"},
        {1, 0, 0xDF, 0xDF, 0xDF, "sharp s has no single capital"},
        {253, 0, 0x1E9E, 0x1E9E, 0xDF, "but a capital maps to it"},
        {240, 0, 0x0436, 0x0416, 0x0436, "as Unicode"},
        {253, KoLANG_TURKISH, 'i', 0x0130, 'i', "Turkish i"},
        {253, KoLANG_TURKISH, 'I', 'I', 0x0131, "Turkish I"},
        {253, KoLANG_TURKISH, 0x0131, 'I', 0x0131, "Turkish dotless i"},
        {253, KoLANG_TURKISH, 0x0130, 0x0130, 'i', "Turkish dotted I"},
        {9, KoLANG_TURKISH, 'i', 0xDD, 'i', "Turkish in Latin-5"},
        {1, KoLANG_TURKISH, 'i', 'i', 'i', "Latin-1 has no dotted I"},
        {1, KoLANG_TURKISH, 'a', 'A', 'a', "the other letters"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(CodeSet(row.codeSet).ToUpper(row.character, row.language), row.upper);
        EXPECT_EQ(CodeSet(row.codeSet).ToLower(row.character, row.language), row.lower);
    }
    ASSERT_EQ(KoLanguageContext::SetDefaultLanguage(KoLANG_TURKISH), 0);
    EXPECT_EQ(CodeSet(KoCS_UNICODE).ToUpper('i', KoLANG_DEFAULT), 0x0130);
}

// A capital comes back from its small letter, and nothing maps further when mapped again. The
// exceptions are Unicode's: capitals that share a small letter, and title case.
TEST_F(IntlCollation, CaseMappingRoundTrips)
{
    const std::set<o_u2b> shared = {0x0130, 0x01C5, 0x01C8, 0x01CB, 0x01F2,
                                    0x03F4, 0x1E9E, 0x2126, 0x212A, 0x212B};
    const KoCodeSet& unicode = CodeSet(KoCS_UNICODE);
    for (const unsigned char language : {KoLANG_NONE, KoLANG_TURKISH}) {
        for (unsigned i = 0; i < 0x10000; ++i) {
            const auto c = static_cast<o_u2b>(i);
            const o_u2b upper = unicode.ToUpper(c, language);
            const o_u2b lower = unicode.ToLower(c, language);
            ASSERT_EQ(unicode.ToUpper(upper, language), upper) << std::hex << c;
            ASSERT_EQ(unicode.ToLower(lower, language), lower) << std::hex << c;
            if (lower != c) {
                const bool same = language == KoLANG_TURKISH && c == 0x0130;
                ASSERT_EQ(unicode.ToUpper(lower, language) == c, same || shared.count(c) == 0)
                    << std::hex << c;
            }
        }
    }
}
