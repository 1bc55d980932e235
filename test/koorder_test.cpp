#include "datafile.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{

std::string Words(unsigned order, unsigned char variant = 0)
{
    KoString text("before");
    EXPECT_EQ(KoConvertOrderToString(static_cast<unsigned short>(order), variant, text), 0);
    return text.StrGet();
}

struct Plain {
    unsigned ch;
    std::string name;
};

Plain ToChar(unsigned order, int exact = 1, unsigned char variant = 0)
{
    unsigned char ch = 0;
    const char* name = nullptr;
    EXPECT_EQ(KoConvertOrderToChar(static_cast<unsigned short>(order), variant, ch, exact, &name),
              0);
    return {ch, name};
}

TEST(OrderText, DescribesEveryClass)
{
    data::ForEachRow("collation/words.txt", 5, [](const auto&, const data::Row& row) {
        const unsigned order = data::Hex(row[0]);
        const auto variant = static_cast<unsigned char>(data::Hex(row[1]));
        EXPECT_EQ(Words(order, variant), data::ParseText(row[2]).StrGet());
        EXPECT_EQ(ToChar(order, 1, variant).ch, data::Hex(row[3]));
    });
    EXPECT_EQ(ToChar(0x410C, 0).ch, 'A') << "an accent counts only when asked for";
    EXPECT_EQ(ToChar(0x410C).name, "LATIN CAPITAL LETTER A WITH ACUTE");
    EXPECT_EQ(ToChar(80).name, "BELL");
    unsigned char ch = 0;
    EXPECT_EQ(KoConvertOrderToChar(0x3F00, 0, ch, 0, nullptr), 0);
    EXPECT_EQ(ch, '0');
}

// The order of each character of code set 1 leads back to it, or to what stands for it.
TEST(OrderText, CharactersComeBackFromTheirOrders)
{
    const KoCodeSet& latin1 = *KoLanguageContext::QueryCodeSet(KoCS_LATIN1);
    for (unsigned code = 0; code < 256; ++code) {
        SCOPED_TRACE(code);
        const KoChar c(static_cast<unsigned short>(code), KoCS_LATIN1);
        const unsigned order = latin1.GetOrder(static_cast<o_u2b>(code));
        const Plain plain = ToChar(order);
        const bool accented = c.IsAlpha() && (order >> 7 & 0x1F) != 0;
        if (accented || ((c.IsAlpha() || c.IsDigit()) && code < 128)) {
            EXPECT_EQ(plain.ch, code);
        } else if (c.IsSpace()) {
            EXPECT_EQ(plain.ch, ' ');
        } else if (c.IsSymbol() && plain.ch != code) {
            EXPECT_TRUE(plain.ch == '.' || code == 0xB4) << "only the acute accent has a stand-in";
        }
        // A named symbol has a number, a digit a value, and nothing has both.
        unsigned short symbol = 0;
        unsigned short digit = 0;
        unsigned short expanded = 9;
        const auto word = static_cast<unsigned short>(order);
        EXPECT_EQ(KoExtractSymbolFromOrder(word, symbol), c.IsSymbol() ? 0 : KoRC_REFUSED);
        EXPECT_EQ(symbol, c.IsSymbol() ? order - 80 : 0);
        EXPECT_EQ(KoExtractDigitFromOrder(word, digit, expanded), c.IsDigit() ? 0 : KoRC_REFUSED);
        EXPECT_EQ(expanded, c.IsDigit() ? order & 1U : 9U);
        if (c.IsDigit() && code < 128) {
            EXPECT_EQ(digit, code - '0');
        }
    }
    EXPECT_EQ(KoCollationVersion(), 1U) << "the symbol names stand for the orders of this version";
}

} // namespace
