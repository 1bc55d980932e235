#include "kostringeval.h"

#include <algorithm>

// The ends of an index of texts under a condition.
//
// The index is ordered with all distinctions, the condition may ignore some. So an end is a text of
// its own, made of the lowest or highest characters that the condition takes for those of its text.
// It stands in 16-bit Unicode, where nearly every order has a character. Where one has none a low
// end stops early, and a high end goes on with the next order that has one.

namespace
{

constexpr o_u2b kLowestPrimary = '0';
constexpr o_u4b kCaseAndAccent = 0x7F; ///< of a key of a letter

const KoCodeSet& Unicode()
{
    return *KoLanguageContext::QueryCodeSet(KoCS_UNICODE);
}

/// The characters that have another order than their own value, by their order.
class CharactersOfOrders
{
public:
    CharactersOfOrders()
    {
        for (o_u2b character = 1; character < kFirstByValue; ++character) {
            o_u2b orders[3];
            if (Unicode().GetOrders(character, orders) == 1)
                m_pairs[m_count++] = {orders[0], character};
        }
        std::sort(m_pairs, m_pairs + m_count);
    }

    /// The character that stands for this order alone; 0 where there is none.
    o_u2b Find(o_u2b order) const
    {
        const auto* end = m_pairs + m_count;
        const auto* pair = std::lower_bound(m_pairs, end, Pair{order, 0});
        if (pair != end && pair->order == order)
            return pair->character;
        o_u2b orders[3];
        const bool byValue =
            order >= kFirstByValue && Unicode().GetOrders(order, orders) == 1 && orders[0] == order;
        return byValue ? order : o_u2b{0};
    }

private:
    static constexpr o_u2b kFirstByValue = 512;
    struct Pair {
        o_u2b order;
        o_u2b character;
        auto operator<=>(const Pair&) const = default; // NOLINT(modernize-use-nullptr): a false one
    };
    Pair m_pairs[kFirstByValue];
    unsigned m_count = 0;
};

o_u2b CharacterOf(o_u2b order)
{
    static const CharactersOfOrders characters;
    return characters.Find(order);
}

/// The orders of letters in the sequence of their keys, in which case and accent stand last.
/// Turning a second time gives the order back.
o_u2b Turn(unsigned order, unsigned char variant)
{
    if (variant == KoVARIANT_IDEOGRAPHIC ||
        KoClassOfOrder(static_cast<o_u2b>(order)) != KoORDER_LETTER)
        return static_cast<o_u2b>(order);
    return static_cast<o_u2b>(KoORDER_LETTER | (order & 0x7FU) << 7 | (order >> 7 & 0x7FU));
}

/// An end while it is made.
class Bound
{
public:
    Bound(unsigned char variant, unsigned char language) : m_variant(variant), m_language(language)
    {
    }

    bool IsEmpty() const { return m_count == 0; }
    /// False where no character has the order, or there is no room.
    bool Append(o_u2b order)
    {
        const o_u2b character = CharacterOf(order);
        if (character == 0 || !HasRoom())
            return false;
        m_orders[m_count] = order;
        m_text[m_count++] = character;
        return true;
    }
    /// Appends the lowest order above this one that a character has, so that the text is higher
    /// than all that go on with this one.
    bool AppendAbove(o_u2b order)
    {
        for (unsigned i = Turn(order, m_variant) + 1U; i < 0xFFFF && HasRoom(); ++i) {
            if (Append(Turn(i, m_variant)))
                return true;
        }
        return false;
    }
    /// Makes the text higher than all that begin with it; empty where nothing is.
    void Raise()
    {
        while (m_count != 0) {
            const o_u2b last = m_orders[--m_count];
            if (!KoConditionText::IsPrimary(last))
                continue; // what counts at the first level decides before it
            if (AppendAbove(last))
                return;
        }
    }

    unsigned Write(unsigned char* record, unsigned char format) const
    {
        const unsigned length = 2 * m_count + kRecordHead;
        const bool big = KoRecordOrder(format) == KoFMT_BIG;
        const auto put = [&](unsigned at, unsigned number) {
            record[at + (big ? 1 : 0)] = static_cast<unsigned char>(number);
            record[at + (big ? 0 : 1)] = static_cast<unsigned char>(number >> 8);
        };
        put(0, length);
        record[2] = KoCS_UNICODE;
        record[3] = m_language;
        for (unsigned i = 0; i < m_count; ++i)
            put(kRecordHead + 2 * i, m_text[i]);
        std::memcpy(record + length, kRecordEnd, sizeof kRecordEnd);
        return length + kRecordLengthField;
    }

private:
    bool HasRoom() const { return m_count < kMaxText / 2; }

    o_u2b m_orders[kMaxText / 2];
    o_u2b m_text[kMaxText / 2];
    unsigned m_count = 0;
    unsigned char m_variant;
    unsigned char m_language;
};

/// The orders of one end of what equals, or precedes or follows, a text.
class EndMaker
{
public:
    EndMaker(const KoConditionText& condition, const KoCompareMode& mode)
        : m_condition(condition), m_mode(mode)
    {
    }

    Bound Make(KoTextSide side) const
    {
        Bound bound(m_condition.variant, m_condition.language);
        bool complete = m_condition.isWhole;
        for (unsigned i = 0; i < m_condition.count && complete; ++i) {
            const o_u2b order = m_condition.orders[i];
            if (KoConditionText::IsPrimary(order)) {
                const o_u2b extreme = Extreme(order, side);
                complete = bound.Append(extreme);
                if (!complete && side == KoTextSide::kHigh && bound.AppendAbove(extreme))
                    return bound;
            } else if (!Skips())
                complete = bound.Append(order);
        }
        // Where something is left out, texts with more of it are higher.
        if (side == KoTextSide::kHigh &&
            (!complete || m_condition.isPattern || (Skips() && !AppendLowestPrimary(bound))))
            bound.Raise();
        return bound;
    }

private:
    bool Skips() const { return m_mode.skipsSpaces || m_mode.skipsSymbols; }

    /// What comes after a text, and before everything that has more at the first level.
    static bool AppendLowestPrimary(Bound& bound)
    {
        return bound.Append(Unicode().GetOrder(kLowestPrimary));
    }

    /// The lowest or highest order that counts as this one, whether a character has it or not. What
    /// comes before or after this one under the mask comes before or after that one in the index.
    o_u2b Extreme(o_u2b order, KoTextSide side) const
    {
        if (KoClassOfOrder(order) != KoORDER_LETTER || m_condition.variant == KoVARIANT_IDEOGRAPHIC)
            return order;
        const o_u4b key = KoCollationKey(order, m_condition.variant);
        const o_u4b extreme =
            side == KoTextSide::kLow ? key & m_mode.mask : key | (~m_mode.mask & kCaseAndAccent);
        return static_cast<o_u2b>(KoORDER_LETTER | (extreme >> 8 & 0x7FU) |
                                  (extreme & kCaseAndAccent) << 7);
    }

    const KoConditionText& m_condition;
    const KoCompareMode& m_mode;
};

} // namespace

unsigned KoMakeTextEnd(unsigned char* record, unsigned char format,
                       const KoConditionText& condition, const KoCompareMode& mode, KoTextSide side)
{
    const Bound bound = EndMaker(condition, mode).Make(side);
    return bound.IsEmpty() ? 0 : bound.Write(record, format);
}
