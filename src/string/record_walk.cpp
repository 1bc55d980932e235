#include "collation/orders.h"
#include "core/hasher.h"
#include "string/record.h"

#include <algorithm>

// Comparing and hashing strings in memory and stored ones of both layouts, whole or cut.

namespace ko
{

TextFound TextWalk::Next(KoText& text)
{
    m_nullMark = false;
    if ((m_format & KoFMT_MEMORY) != 0)
        return NextInMemory(text);
    return m_olderEnd != 0 ? NextOlder(text) : NextRecord(text);
}

TextFound TextWalk::NextInMemory(KoText& text)
{
    if (Available() < sizeof(KoString))
        return TextFound::kNone;
    text = StringAccess::Get(*reinterpret_cast<const KoString*>(m_value + m_offset));
    m_offset += sizeof(KoString);
    return TextFound::kText;
}

TextFound TextWalk::NextRecord(KoText& text)
{
    if (m_size != 0 && m_offset >= m_size)
        return TextFound::kNone;
    text = {};
    const unsigned char* record = m_value + m_offset;
    const std::size_t available = Available();
    if (available < kRecordLengthField)
        return TextFound::kNone;
    const unsigned length = RecordLength(record, m_format);
    m_cut = available < length + kRecordLengthField;
    const bool older = m_cut ? m_cutIsOlder : record[length + 1] == kOlderRecordEnd;
    if (older && m_offset == 0) { // the first record tells the layout of all
        m_olderEnd = m_offset + std::min<std::size_t>(available, length + kRecordLengthField);
        m_offset += kRecordLengthField;
        return NextOlder(text);
    }
    m_offset += length + kRecordLengthField;
    if (available < kRecordHead)
        return TextFound::kNone;
    if (length < kRecordHead)
        return TextFound::kText;
    text.codeSet = record[2];
    text.language = record[3];
    text.format = RecordOrder(m_format);
    m_nullMark = CarriesNullMark(text.codeSet, text.language);
    if (m_nullMark)
        text.language = static_cast<unsigned char>(text.language & ~kNullMarkBit);
    text.bytes = reinterpret_cast<const char*>(record) + kRecordHead;
    const std::size_t whole = length - kRecordHead;
    const std::size_t held = std::min(whole, available - kRecordHead);
    text.units = static_cast<unsigned>(held / text.Width());
    if (held == whole)
        return TextFound::kText;
    text.cut = true;
    return held < kLongestCutKey ? TextFound::kCut : TextFound::kBroken;
}

/// The next text of the older layout: up to its terminator, or to the end of what there is.
TextFound TextWalk::NextOlder(KoText& text)
{
    text = {};
    const std::size_t left = m_olderEnd - m_offset;
    if (left == 0)
        return m_cut ? TextFound::kNone : TextFound::kText;
    text.bytes = reinterpret_cast<const char*>(m_value + m_offset);
    text.units = UnitsBeforeZero(text.bytes, 1, static_cast<unsigned>(left));
    m_offset += std::min<std::size_t>(text.units + 1, left);
    if (text.units < left || !m_cut)
        return TextFound::kText;
    text.cut = true;
    return text.units < kLongestCutKey ? TextFound::kCut : TextFound::kBroken;
}

int CompareTexts(unsigned char format, unsigned leftSize, const void* left, unsigned rightSize,
                 const void* right, o_u2b cmpOp, unsigned count, int& status, bool cutIsOlder)
{
    status = KoRC_OK;
    const o_u2b asked = ResolvedCmpOp(cmpOp);
    TextWalk leftWalk(format, leftSize, left, cutIsOlder);
    TextWalk rightWalk(format, rightSize, right, cutIsOlder);
    for (unsigned i = 0; i < count; ++i) {
        KoText a;
        KoText b;
        const TextFound leftFound = leftWalk.Next(a);
        const TextFound rightFound = rightWalk.Next(b);
        if (leftFound == TextFound::kBroken || rightFound == TextFound::kBroken) {
            status = KoRC_NOT_SUPPORTED;
            return -1;
        }
        if (leftFound == TextFound::kNone || rightFound == TextFound::kNone) {
            status = KoRC_TRUNCATED;
            return 0;
        }
        if (leftWalk.HasNullMark())
            status = KoRC_NULL_MARK;
        if (rightWalk.HasNullMark())
            status = status > 0 ? KoRC_NULL_MARK : KoRC_NULL_MARK_RIGHT;
        const TextOrder found = CompareText(a, b, asked);
        if (found.open)
            status = KoRC_TRUNCATED;
        // Under KoCMP_SKIP_SPACES this is the secondary result as well: the two differ only where
        // the texts are equal.
        if (found.open || found.order != 0)
            return found.order;
    }
    return 0;
}

o_u4b HashTexts(unsigned char format, unsigned size, const void* value, unsigned count, int& status,
                bool cutIsOlder)
{
    Hasher hasher;
    o_u4b last = 0;
    unsigned texts = 0;
    VisitHashedTexts<KoText>(TextWalk(format, size, value, cutIsOlder), count, status,
                             [&](const KoText& text) {
                                 last = HashText(text);
                                 hasher.Add(last);
                                 ++texts;
                             });
    return texts == 1 ? last : hasher.Get();
}

} // namespace ko
