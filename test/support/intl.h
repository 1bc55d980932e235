#ifndef KO_TEST_SUPPORT_INTL_H
#define KO_TEST_SUPPORT_INTL_H

#include "support/texts.h"

#include <gtest/gtest.h>
#include <kointl.h>

#include <deque>

/// Leaves the process with the settings of a start, before and after a test.
class Intl : public testing::Test
{
protected:
    void SetUp() override { ___KoI18NContext(1); }
    void TearDown() override { ___KoI18NContext(1); }
};

inline const KoCodeSet& CodeSet(unsigned char id)
{
    return *KoLanguageContext::QueryCodeSet(id);
}

/// Fowler, Noll, Vo: FNV-1a of 64 bits.
struct Checksum {
    o_u8b value = 0xCBF29CE484222325;
    void AddByte(unsigned byte) { value = (value ^ byte) * 0x100000001B3; }
    void Add(unsigned word)
    {
        AddByte(word >> 8U);
        AddByte(word & 0xFFU);
    }
};

// A deque, because GCC 12 on a big-endian host looks at too few bytes of vectors (its bug 113960).
using CollationKeys = std::deque<o_u4b>;

/// The collation keys of the first `limit` orders of a text, those of plain bytes being themselves.
inline CollationKeys KeysOf(const KoString& text, std::size_t limit = ~std::size_t{0})
{
    CollationKeys keys;
    for (const o_u2b character : UnitsOf(text)) {
        if (text.CodeSet() == KoCS_NONE) {
            keys.push_back(character);
            continue;
        }
        const KoCodeSet& codeSet = CodeSet(text.CodeSet());
        o_u2b orders[3];
        const unsigned count = codeSet.GetOrders(character, orders);
        for (unsigned i = 0; i < count; ++i)
            keys.push_back(KoCollationKey(orders[i], codeSet.GetVariant(text.Language())));
    }
    keys.resize(std::min(keys.size(), limit));
    return keys;
}

/// Every operator word without wildcards.
inline std::vector<o_u2b> PlainWords()
{
    std::vector<o_u2b> all;
    for (const unsigned plain : {KoCMP_PLAIN, KoCMP_NO_WILDCARDS})
        for (unsigned options = 0; options < 16; ++options)
            all.push_back(static_cast<o_u2b>(plain | (options & 7U) << 5U | (options & 8U) << 6U));
    return all;
}

#endif
