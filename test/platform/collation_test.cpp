#include "support/data_file.h"
#include "support/intl.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace
{

using Orders = std::vector<o_u2b>;

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

} // namespace

// Indexes are sorted by these orders and stored hashes made of them: a change of the literals is a
// change of disk format.
TEST_F(Intl, TablesAreTheOnesOnDisk)
{
    EXPECT_EQ(KoCollationVersion(), 1U);
    EXPECT_EQ(KoCollationChecksum(), 0xFDC9979B4D4C96F0U);
    EXPECT_EQ(KoCaseTablesVersion(), 1U);
    EXPECT_EQ(KoCaseTablesChecksum(), 0xBAB1760686044D98U);

    Checksum orders, cases;
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

TEST_F(Intl, EightBitSetsFollowUnicode)
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
TEST_F(Intl, FastKeysAgreeWithOrders)
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

TEST_F(Intl, Keys)
{
    data::ForEachRow("collation/keys.txt", 4, [](const auto&, const data::Row& row) {
        EXPECT_EQ(KoCollationKey(static_cast<o_u2b>(data::Hex(row[0])),
                                 static_cast<unsigned char>(data::Hex(row[1]))),
                  data::Hex(row[2]));
    });
}

TEST_F(Intl, CaseMapping)
{
    data::ForEachRow("collation/case.txt", 5, [](const auto& head, const data::Row& row) {
        const unsigned char language = head[0] == "Turkish" ? KoLANG_TURKISH : KoLANG_NONE;
        const KoCodeSet& codeSet = CodeSet(static_cast<unsigned char>(std::stoul(row[0])));
        const auto character = static_cast<o_u2b>(data::Hex(row[1]));
        EXPECT_EQ(codeSet.ToUpper(character, language), data::Hex(row[2]));
        EXPECT_EQ(codeSet.ToLower(character, language), data::Hex(row[3]));
    });
    ASSERT_EQ(KoLanguageContext::SetDefaultLanguage(KoLANG_TURKISH), 0);
    EXPECT_EQ(CodeSet(KoCS_UNICODE).ToUpper('i', KoLANG_DEFAULT), 0x0130);
}
