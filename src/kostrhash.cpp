#include "kofasttext.h"
#include "kohashwords.h"

// Hashes of texts: h = 9h + k over their characters. They are stored, so no value may ever change.

namespace
{

constexpr o_u4b kHashOfNullText = 0xFEFE7575U;

/// The keys of an expanding character, in turn.
o_u4b HashExpanded(o_u4b hash, const KoCodeSet& codeSet, unsigned character)
{
    o_u2b orders[3];
    const unsigned count = codeSet.GetOrders(static_cast<o_u2b>(character), orders);
    for (unsigned i = 0; i < count; ++i)
        hash = hash * 9 + KoCollationKey(orders[i], 0);
    return hash;
}

template <class Unit>
o_u4b HashKeys(const KoFastText<Unit>& text, const KoCodeSet& codeSet, unsigned end)
{
    constexpr o_u4b kKey = ~o_u4b{KoKEY_FLAGS};
    o_u4b hash = 0;
    unsigned i = 0;
    const auto one = [&](unsigned at) {
        const unsigned character = text[at];
        const o_u4b key = text.Key(character);
        hash = (key & KoKEY_EXPANDS) != 0 ? HashExpanded(hash, codeSet, character)
                                          : hash * 9 + (key & kKey);
    };
    while (i + 4 <= end) {
        const o_u4b a = text.Key(text[i]);
        const o_u4b b = text.Key(text[i + 1]);
        const o_u4b c = text.Key(text[i + 2]);
        const o_u4b d = text.Key(text[i + 3]);
        if (((a | b | c | d) & KoKEY_EXPANDS) != 0) {
            for (const unsigned block = i; i < block + 4; ++i)
                one(i);
            continue;
        }
        hash = hash * KoPowerOf9(4) + (a & kKey) * KoPowerOf9(3) + (b & kKey) * KoPowerOf9(2) +
               (c & kKey) * 9 + (d & kKey);
        i += 4;
    }
    for (; i < end; ++i)
        one(i);
    return hash;
}

/// Texts of 8-bit characters by their keys.
class HashOfKeys
{
public:
    explicit HashOfKeys(const o_u4b* keys) : m_keys(keys) {}

    /// Some character does, so that the hash is not theirs.
    bool Expands() const { return (m_found & KoKEY_EXPANDS) != 0; }
    o_u4b OfWord(o_u8b word)
    {
        const auto pair = [this, word](unsigned i) {
            const o_u4b a = m_keys[word >> (8 * i) & 0xFFU];
            const o_u4b b = m_keys[word >> (8 * i + 8) & 0xFFU];
            m_found |= a | b;
            return (a & kKey) * 9 + (b & kKey);
        };
        const o_u4b first = pair(0) * KoPowerOf9(2) + pair(2);
        return first * KoPowerOf9(4) + pair(4) * KoPowerOf9(2) + pair(6);
    }

private:
    static constexpr o_u4b kKey = ~o_u4b{KoKEY_FLAGS};

    const o_u4b* m_keys;
    o_u4b m_found = 0; ///< the flags of all characters
};

} // namespace

o_u4b KoHashText(const KoText& text, unsigned limit)
{
    if (text.IsNull())
        return kHashOfNullText;
    if (text.units == 0 || limit == 0)
        return 0;
    if (text.Width() == 1 && limit == kNoLimit) {
        if (text.codeSet == KoCS_NONE) {
            KoHashOfBytes<KoByteValue::kUnsigned> hashOf;
            return KoHashWords(text.bytes, text.units, false, hashOf);
        }
        if (KoHasFastKeys(text)) {
            HashOfKeys hashOf(KoKnown::Keys(text.codeSet));
            const o_u4b hash = KoHashWords(text.bytes, text.units, false, hashOf);
            if (!hashOf.Expands())
                return hash;
        }
    }
    const unsigned end = KoUnitsBeforeZero(text.bytes, text.Width(), std::min(text.units, limit));
    // Of the characters that are asked for, those after the end count as zeros.
    const auto padded = [limit](o_u4b hash, unsigned done) {
        return limit == kNoLimit ? hash : hash * KoPowerOf9(limit - done);
    };
    if (text.codeSet == KoCS_NONE) {
        KoHashOfBytes<KoByteValue::kUnsigned> hashOf;
        return padded(KoHashWords(text.bytes, end, false, hashOf), end);
    }
    if (limit == kNoLimit && KoHasFastKeys(text)) {
        const KoCodeSet& codeSet = KoCodeSetOf(text);
        return text.Width() == 1 ? HashKeys(KoFastText<o_u1b>(text), codeSet, end)
                                 : HashKeys(KoFastText<o_u2b>(text), codeSet, end);
    }
    KoOrderReader orders(text, 0, limit);
    o_u4b hash = 0;
    unsigned done = 0;
    for (o_u2b order = orders.Next(); order != 0; order = orders.Next(), ++done)
        hash = hash * 9 + KoCollationKey(order, orders.Variant());
    return padded(hash, done);
}
