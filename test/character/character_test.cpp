#include "support/data_file.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

using Codes = std::u16string;

/// The characters from an iterator's place on.
Codes Rest(KoStringIterator at)
{
    Codes codes;
    for (; !at.IsEOS(); ++at)
        codes += static_cast<char16_t>((*at).Code());
    return codes;
}

std::vector<unsigned> Orders(KoStringIterator at)
{
    std::vector<unsigned> orders;
    for (unsigned order; (order = at.GetNextOrder(1)) != 0;)
        orders.push_back(order);
    return orders;
}

TEST(Char, WritesThroughItsReference)
{
    for (const unsigned char codeSet : {o_u1b{1}, o_u1b{253}}) {
        KoString text = Text(u"abc", codeSet);
        text[1] = 'x';
        EXPECT_EQ(UnitsOf(text), u"axc");
        KoChar first = text[0];
        first = static_cast<unsigned short>(0x263A);
        EXPECT_EQ(UnitsOf(text), codeSet == 1 ? u"\u003Axc" : u"\u263Axc")
            << "the low byte of 8 bits";
        KoChar copy(first);
        copy = 'z';
        EXPECT_EQ(text[1].Code(), 'x');
        text[2] = text[1];
        EXPECT_EQ(UnitsOf(text).substr(1), u"xx");
        text[3] = text[99] = text[-1] = 'y'; // no way of writing leads beyond the text
        EXPECT_EQ(text.Len(), 3);
    }
    KoString koi = Text(u"abc", KoCS_KOI8_R);
    koi[0] = KoChar(static_cast<unsigned short>(0x0416)); // mapped: Zhe
    koi[1] = KoChar(static_cast<unsigned short>(0x4E00)); // no such character
    EXPECT_EQ(UnitsOf(koi), u"\u00F6?c");
    KoString empty;
    empty[0] = 'x';
    EXPECT_TRUE(empty.IsEmpty() && KoString().IsEmpty());
}

TEST(Char, HoldsOneCharacterOfACodeSet)
{
    char units[] = {'\x12', '\x34', '\x56'};
    KoString text = Text(u"a\u20AC", KoCS_UNICODE, KoLANG_GERMAN);
    KoLanguageContext::SetDefaultLanguage(KoLANG_FRENCH);
    using Parts = std::vector<unsigned>; // code, code set, language
    const auto parts = [](const KoChar& c) { return Parts{c.Code(), c.CodeSet(), c.Language()}; };
    EXPECT_EQ(parts(KoChar(static_cast<unsigned short>(0x20AC))), Parts({0x20AC, 253, 3}));
    EXPECT_EQ(parts(KoChar(static_cast<unsigned short>(0x20AC), 2, 7)), Parts({0xAC, 2, 7}));
    EXPECT_EQ(parts(KoChar(units, 253, 7, KoFMT_BIG)), Parts({0x1234, 253, 7}));
    EXPECT_EQ(parts(KoChar(units + 1, 253, 7, KoFMT_BIG)), Parts({0x3456, 253, 7}));
    EXPECT_EQ(parts(KoChar(units + 2, 255, 255, 255)), Parts({0x56, 1, 3}));
    EXPECT_EQ(parts(KoChar(text, 2)), Parts({0x20AC, 253, 2})) << "an offset in bytes";
    EXPECT_EQ(parts(KoChar(text, 3)), Parts({0, 255, 255})) << "inside a character";
    EXPECT_EQ(parts(text[2]), Parts({0, 253, 2})) << "the terminator";
    EXPECT_EQ(parts(text[-1]), Parts({0, 255, 255})) << "before all";
    const KoChar invalid = KoChar::Invalid();
    const KoChar copy(invalid);
    EXPECT_TRUE(invalid.Language() == 255 && copy.Language() == 3 && copy.CodeSet() == 255);
    KoLanguageContext::SetDefaultLanguage(KoLANG_NONE);
    KoChar big(units, 253, 0, KoFMT_BIG);
    big = static_cast<unsigned short>(0xABCD);
    EXPECT_TRUE(units[0] == '\xAB' && units[1] == '\xCD' && units[2] == '\x56');
}

TEST(Char, IsOfOneClassByItsOrder)
{
    data::ForEachRow("codesets/classes.txt", 3, [](const auto&, const data::Row& row) {
        const KoChar c(static_cast<unsigned short>(data::Hex(row[0])));
        std::string classes;
        classes += c.IsSpace() ? "s" : "";
        classes += c.IsSymbol() ? "y" : "";
        classes += c.IsDigit() ? "d" : "";
        classes += c.IsAlpha() ? "a" : "";
        classes += c.IsHan() ? "h" : "";
        EXPECT_EQ(classes, row[1]);
    });
}

TEST(Iterator, WalksBothWaysOverEveryKindOfText)
{
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        const auto codeSet = static_cast<unsigned char>(1 + random() % (round % 2 == 0 ? 46 : 253));
        const bool wide = KoCodeSetWidth(codeSet) == 2;
        Codes units(random() % 20, u'\0');
        for (char16_t& unit : units)
            unit = static_cast<char16_t>(random() % (wide ? 0xFFFF : 0xFF) + 1);
        KoString text = Text(units, codeSet);
        // The same text with its bytes in the order of persistent values, at any address.
        std::vector<char> raw(1 + 2 * (units.size() + 1));
        const unsigned char format = random() % 2 == 0 ? KoFMT_BIG : KoFMT_MEMORY;
        if (wide)
            ShortStore(raw.data() + 1, text.StrGet(), format, text.Len());
        else
            std::memcpy(raw.data() + 1, text.StrGet(), text.Len());
        KoStringIterator places[] = {
            KoStringIterator(text),
            KoStringIterator(text.StrGet(), codeSet, 0),
            KoStringIterator(raw.data() + 1, codeSet, 0, format),
        };
        for (KoStringIterator& at : places) {
            ASSERT_EQ(Rest(at), units);
            const KoStringIterator begin = at;
            ASSERT_EQ(at.Step(65535), units.size());
            ASSERT_TRUE(at.IsEOS() && (*at).Code() == 0 && ++at == at);
            Codes backwards;
            while (!(at == begin)) {
                --at;
                backwards += static_cast<char16_t>((*at).Code());
            }
            ASSERT_EQ(backwards, Codes(units.rbegin(), units.rend()));
            ASSERT_TRUE(at-- == begin && at == begin);

            // The orders of the text are those of its characters.
            std::vector<unsigned> orders;
            for (const char16_t unit : units) {
                o_u2b list[3];
                const unsigned n = KoLanguageContext::QueryCodeSet(codeSet)->GetOrders(unit, list);
                orders.insert(orders.end(), list, list + n);
            }
            ASSERT_EQ(Orders(at), orders);
        }
    }
}

TEST(Iterator, KeepsTheOrdersOfACharacterThatStandsForSeveral)
{
    KoString text = Text(u"\u00DFa", 1); // sharp s
    KoStringIterator at(text);
    const std::vector<unsigned> orders = Orders(at);
    ASSERT_EQ(orders.size(), 3U);
    at.GetNextOrder(1);
    EXPECT_EQ((*at).Code(), 'a') << "the character is passed, its second order is to come";
    KoStringIterator copy = at;
    EXPECT_TRUE(copy == at);
    EXPECT_EQ(copy.GetNextOrder(1), orders[1]);
    EXPECT_FALSE(copy == at) << "the same place without that order";
    ++at;
    EXPECT_TRUE(at.IsEOS()) << "moving by characters drops it";

    const KoWCharList list = {{5, 6, 7}, 3};
    at.SetOverflow(&list, 1);
    EXPECT_FALSE(at.IsEOS());
    EXPECT_EQ(Orders(at), (std::vector<unsigned>{6, 7}));
    at.SetOverflow(nullptr, 0);
    EXPECT_TRUE(at.IsEOS());

    KoChar one = text[0];
    EXPECT_EQ(Orders(KoStringIterator(one)), (std::vector<unsigned>{orders[0], orders[1]}));
    KoChar value('x');
    KoStringIterator single(value);
    *single = 'y';
    EXPECT_EQ(value.Code(), 'y');
    EXPECT_EQ(Rest(KoStringIterator(static_cast<const char*>(nullptr), 1, 0)), u"");
}

TEST(Transform, MapsCaseWithinTheCodeSetByLanguage)
{
    data::ForEachRow("codesets/texts.txt", 4, [](const auto&, const data::Row& row) {
        KoString upper = data::ParseText(row[0]);
        KoString lower = upper;
        const auto sets = std::pair(upper.CodeSet(), upper.Language());
        EXPECT_EQ(UnitsOf(upper.ToUpper()), data::ParseUnits(row[1]));
        EXPECT_EQ(UnitsOf(lower.ToLower()), data::ParseUnits(row[2]));
        EXPECT_EQ(std::pair(upper.CodeSet(), upper.Language()), sets);
    });
}

/// Looks at the next character, moves its iterator, and refuses "d" by a zero.
class Shift final : public KoCharOperation
{
public:
    KoChar& Apply(KoChar& result, const KoChar& input, KoStringIterator& at) override
    {
        ++at;
        seen += static_cast<char16_t>((*at).Code());
        result = input.Code() == 'd' ? KoChar('\0') : KoChar(static_cast<unsigned short>(0x40B));
        return result;
    }
    Codes seen;
};

TEST(Transform, AppliesAnOperationInPlace)
{
    Shift operation;
    KoString text = Text(u"abcd", 5); // has Tshe as 0xAB
    text.Transform(operation);
    EXPECT_EQ(UnitsOf(text), u"\u00AB\u00AB\u00ABd");
    EXPECT_EQ(operation.seen, Codes(u"bcd") + u'\0');
    KoString target = Text(u"12", 1);
    KoStringIterator from(text);
    KoStringIterator to(target);
    from.Transform(to, operation);
    EXPECT_EQ(UnitsOf(target), u"??") << "as long as the target, which lacks the character";
    KoString empty;
    EXPECT_TRUE(empty.Transform(operation).IsEmpty());
}

} // namespace
