#ifndef KOCOLLATE_H
#define KOCOLLATE_H

#include <koscalar.h>

// Collation orders: what a character counts for in comparisons and hashes. doc/collation.md tells
// what compares equal to what; KoCodeSet (kointl.h) has the orders of its characters.

/// The collation properties of a character. Constant data, never freed.
struct KoUnicodeProps {
    /// The orders that the character stands for, `count` of them, then zeros. The first one is
    /// "the" order of the character: it is 0 for U+0000 alone, and characters that have a record
    /// and differ have different ones, except U+FFFF and the private-use characters that begin
    /// with the order 0xFFFF.
    o_u2b orders[3];
    o_u1b count; ///< 1; 2 or 3 when the character expands; 0 for U+0000, the end of text

    /// Unicode's simple case mapping, as Unicode values; the character's own where it has none. For
    /// text, KoCodeSet::ToUpper and ToLower know the code set and the language. (An undefined
    /// position of an 8-bit code set has the byte here.)
    o_u2b upper, lower;
};

/// The classes of orders. A case ends where the next one begins.
enum KoOrderClass : o_u2b {
    KoORDER_END = 0,            ///< the end of text
    KoORDER_SPACE = 1,          ///< control and space characters
    KoORDER_SYMBOL = 80,        ///< symbol number + 80
    KoORDER_DIGIT = 0x3F00,     ///< digit * 10, odd for an expanded form
    KoORDER_LETTER = 0x4000,    ///< case, accent, base letter, extension
    KoORDER_IDEOGRAPH = 0x8000, ///< outside the letter scheme
};

/// The undefined ordering indicator: an order that no character has.
constexpr o_u2b KoORDER_UNDEFINED = 13;

/// The collation variant of the ideographic languages; all others have 0.
constexpr unsigned char KoVARIANT_IDEOGRAPHIC = 20;

/// The class of an order.
constexpr KoOrderClass KoClassOfOrder(o_u2b order) noexcept
{
    return order < KoORDER_SPACE       ? KoORDER_END
           : order < KoORDER_SYMBOL    ? KoORDER_SPACE
           : order < KoORDER_DIGIT     ? KoORDER_SYMBOL
           : order < KoORDER_LETTER    ? KoORDER_DIGIT
           : order < KoORDER_IDEOGRAPH ? KoORDER_LETTER
                                       : KoORDER_IDEOGRAPH;
}

/// The comparison key of an order: the variant in bits 24 to 31, then the order, in which a letter
/// has accent (bits 0 to 4) and case (bits 5 and 6) after its base letter and extension, where a
/// mask can hide them. 0 for the end of text. Hashes and stored keys are made of it.
constexpr o_u4b KoCollationKey(o_u2b order, unsigned char variant) noexcept
{
    if (order == 0)
        return 0;
    const o_u4b high = static_cast<o_u4b>(variant) << 24;
    if (variant == KoVARIANT_IDEOGRAPHIC || KoClassOfOrder(order) != KoORDER_LETTER)
        return high | static_cast<o_u4b>(order) << 8;
    return high | (order & 0x407FU) << 8 | ((order >> 7) & 0x7FU);
}

/// Flags in the top bits of a fast key: a loop that finds none of them in two keys may compare the
/// keys as they are, or masked by strength. KoKEY_EXPANDS means that the character has more orders
/// than the one in the key.
enum KoFastKeyFlags : o_u4b {
    KoKEY_EXPANDS = 0x80000000,
    KoKEY_SYMBOL = 0x40000000,
    KoKEY_SPACE = 0x20000000,
    KoKEY_FLAGS = 0xE0000000,
};

/// The fast key of a character that has one order: its comparison key under variant 0 with the flag
/// of its class. What KoCodeSet::FastKeys holds, and how to continue where it has no table.
constexpr o_u4b KoFastKey(o_u2b order) noexcept
{
    const KoOrderClass orderClass = KoClassOfOrder(order);
    return KoCollationKey(order, 0) | (orderClass == KoORDER_SYMBOL  ? KoKEY_SYMBOL
                                       : orderClass == KoORDER_SPACE ? KoKEY_SPACE
                                                                     : 0U);
}

#endif
