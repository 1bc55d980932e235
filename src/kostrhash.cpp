#include "kocmpwalk.h"
#include "kofasttext.h"

#include <kostrcmp.h>

// Hashes of texts: h = 9h + k over their characters. They are stored, so no value may ever change.

namespace
{

constexpr o_u4b kHashOfNullText = 0xFEFE7575U;

constexpr o_u4b PowerOf9(unsigned exponent)
{
    o_u4b power = 1;
    for (o_u4b square = 9; exponent != 0; exponent >>= 1U, square *= square)
        if ((exponent & 1U) != 0)
            power *= square;
    return power;
}

/// Eight bytes, the first one lowest.
o_u8b LittleWordAt(const unsigned char* bytes)
{
    o_u8b word = KoWordAt(bytes);
    if constexpr (std::endian::native == std::endian::big) {
        word = (word & 0x00FF00FF00FF00FFU) << 8U | (word >> 8U & 0x00FF00FF00FF00FFU);
        word = (word & 0x0000FFFF0000FFFFU) << 16U | (word >> 16U & 0x0000FFFF0000FFFFU);
        word = word << 32U | word >> 32U;
    }
    return word;
}

/// How a byte counts, for eight bytes at once.
struct Unsigned {
    static o_u8b Of(o_u8b word) { return word; }
    static constexpr o_u4b kEach = 0;
};
struct LowSeven {
    static o_u8b Of(o_u8b word) { return word & 0x7F7F7F7F7F7F7F7FU; }
    static constexpr o_u4b kEach = 0;
};
struct Signed { // c as a signed byte is (c xor 0x80) - 0x80
    static o_u8b Of(o_u8b word) { return word ^ 0x8080808080808080U; }
    static constexpr o_u4b kEach = 0U - 0x80U;
};

/// What eight bytes add to the hash: pairs are joined into 16, 32 and 64 bits, so that nothing
/// waits for eight multiplications in turn.
template <class Bytes>
o_u4b HashOfWord(o_u8b word)
{
    word = Bytes::Of(word);
    // At most 255 * 10, then 255 * 10 * 82: neither leaves its lane.
    const o_u8b pairs = (word & 0x00FF00FF00FF00FFU) * 9 + (word >> 8U & 0x00FF00FF00FF00FFU);
    const o_u8b fours = (pairs & 0x0000FFFF0000FFFFU) * 81 + (pairs >> 16U & 0x0000FFFF0000FFFFU);
    return static_cast<o_u4b>(fours) * PowerOf9(4) + static_cast<o_u4b>(fours >> 32U) +
           Bytes::kEach * ((PowerOf9(8) - 1) / 8);
}

template <class Bytes>
o_u4b HashBytes(const char* text, unsigned count)
{
    const auto* at = reinterpret_cast<const unsigned char*>(text);
    o_u8b head = 0;
    const unsigned odd = count % 8;
    // Zeros in front change nothing: the odd bytes are shifted into a word of them.
    if (count >= 8)
        head = odd == 0 ? 0 : LittleWordAt(at) << (64 - 8 * odd);
    else
        for (unsigned i = 0; i < odd; ++i)
            head = head >> 8U | o_u8b{at[i]} << 56U;
    o_u4b hash = HashOfWord<Bytes>(head);
    at += odd;
    count -= odd;
    for (; count >= 32; at += 32, count -= 32)
        hash = hash * PowerOf9(32) + HashOfWord<Bytes>(LittleWordAt(at)) * PowerOf9(24) +
               HashOfWord<Bytes>(LittleWordAt(at + 8)) * PowerOf9(16) +
               HashOfWord<Bytes>(LittleWordAt(at + 16)) * PowerOf9(8) +
               HashOfWord<Bytes>(LittleWordAt(at + 24));
    for (; count != 0; at += 8, count -= 8)
        hash = hash * PowerOf9(8) + HashOfWord<Bytes>(LittleWordAt(at));
    return hash;
}

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
    const auto one = [&] {
        const unsigned character = text[i];
        const o_u4b key = text.Key(character);
        hash = (key & KoKEY_EXPANDS) != 0 ? HashExpanded(hash, codeSet, character)
                                          : hash * 9 + (key & kKey);
        ++i;
    };
    while (i + 4 <= end) {
        const o_u4b a = text.Key(text[i]);
        const o_u4b b = text.Key(text[i + 1]);
        const o_u4b c = text.Key(text[i + 2]);
        const o_u4b d = text.Key(text[i + 3]);
        if (((a | b | c | d) & KoKEY_EXPANDS) != 0) {
            for (int expanding = 0; expanding < 4; ++expanding)
                one();
            continue;
        }
        hash = hash * PowerOf9(4) + (a & kKey) * PowerOf9(3) + (b & kKey) * PowerOf9(2) +
               (c & kKey) * 9 + (d & kKey);
        i += 4;
    }
    while (i < end)
        one();
    return hash;
}

template <class Bytes>
o_u4b HashOfString(const KoString& string)
{
    const KoText text = KoStringAccess::Get(string);
    if (text.units == 0)
        return 0;
    const unsigned end = KoUnitsBeforeZero(text.bytes, text.Width(), text.units);
    if (text.Width() == 1)
        return HashBytes<Bytes>(text.bytes, end);
    // The bytes of other 16-bit code sets, in the order of the machines that values come from: the
    // low one first, and the first zero byte is the end.
    const bool units = text.codeSet == KoCS_UNICODE;
    o_u4b hash = 0;
    for (unsigned i = 0; i < end; ++i) {
        const unsigned unit = text.At(i);
        if (units) {
            hash = hash * 9 + (Bytes::kEach == 0 ? unit & 0x7FU : unit);
            continue;
        }
        for (const unsigned byte : {unit & 0xFFU, unit >> 8U}) {
            if (byte == 0)
                return hash;
            hash = hash * 9 + static_cast<o_u4b>(Bytes::Of(byte) & 0xFFU) + Bytes::kEach;
        }
    }
    return hash;
}

} // namespace

o_u4b KoHashText(const KoText& text, unsigned limit)
{
    if (text.IsNull())
        return kHashOfNullText;
    if (text.units == 0 || limit == 0)
        return 0;
    const unsigned end = KoUnitsBeforeZero(text.bytes, text.Width(), std::min(text.units, limit));
    // Of the characters that are asked for, those behind the end count as zeros.
    const auto padded = [limit](o_u4b hash, unsigned done) {
        return limit == kNoLimit ? hash : hash * PowerOf9(limit - done);
    };
    if (text.codeSet == KoCS_NONE)
        return padded(HashBytes<Unsigned>(text.bytes, end), end);
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

unsigned HashKoString(const KoString& string)
{
    return HashOfString<Signed>(string);
}

unsigned HashKoString7(const KoString& string)
{
    return HashOfString<LowSeven>(string);
}
