#include "koboundeval.h"
#include "kostringeval.h"

#include <kobase.h>

#include <algorithm>

// Narrowing an index of texts: which ends a condition allows.

namespace
{

constexpr int kAssertLine = 655;

/// What the ends of an index tell about its keys: their texts are bytes, have a code set, or
/// either.
struct KeysFound {
    bool bytes = false;
    bool collated = false;

    void Look(const void* at, unsigned char format, bool cutIsOlder)
    {
        KoText text;
        if (at == nullptr)
            return;
        KoTextWalk(format, 0, at, cutIsOlder).Next(text);
        if (!text.IsNull())
            (text.codeSet == KoCS_NONE ? bytes : collated) = true;
    }
};

/// Writes a record of a text without a code set, in the layout of the value.
unsigned WriteBytes(unsigned char* record, const char* text, unsigned count, unsigned char format,
                    bool older)
{
    const unsigned head = older ? kRecordLengthField : kRecordHead;
    const unsigned tail = older ? 1 : static_cast<unsigned>(sizeof kRecordEnd);
    const unsigned length = head - kRecordLengthField + count + tail;
    const bool big = KoRecordOrder(format) == KoFMT_BIG;
    record[big ? 1 : 0] = static_cast<unsigned char>(length);
    record[big ? 0 : 1] = static_cast<unsigned char>(length >> 8);
    if (!older)
        record[2] = record[3] = 0;
    std::memcpy(record + head, text, count);
    if (older)
        record[head + count] = kOlderRecordEnd;
    else
        std::memcpy(record + head + count, kRecordEnd, sizeof kRecordEnd);
    return length + kRecordLengthField;
}

/// The stored form of a value that is short enough; its bytes, or 0.
unsigned WriteValue(unsigned char* record, const KoText& text, const void* value,
                    unsigned char format)
{
    if ((format & KoFMT_MEMORY) == 0) {
        const unsigned size =
            KoRecordLength(static_cast<const unsigned char*>(value), format) + kRecordLengthField;
        if (size > kMaxBound)
            return 0;
        std::memcpy(record, value, size);
        return size;
    }
    const auto& string = *static_cast<const KoString*>(value);
    const unsigned size = StringSizeGet(&string, KoFMT_MEMORY, KoRecordOrder(format), 1);
    if (text.units > kMaxText || size > kMaxBound)
        return 0;
    return StringStore(record, &string, KoRecordOrder(format), 1);
}

/// The bytes of a text without a code set, up to the first wildcard.
struct ByteText {
    ByteText(const KoText& text, bool wildcards)
        : bytes(text.bytes), count(KoUnitsBeforeZero(text.bytes, 1, text.units))
    {
        const char* end = bytes + count;
        const char* found = std::find_if(bytes, end, [](char c) { return c == '*' || c == '?'; });
        if (!wildcards || found == end)
            return;
        isPattern = true;
        count = static_cast<unsigned>(found - bytes);
    }

    /// Does what Bound::Raise does.
    unsigned Raise(char* text, unsigned kept) const
    {
        std::memcpy(text, bytes, kept);
        while (kept != 0 && static_cast<unsigned char>(text[kept - 1]) == 0xFF)
            --kept;
        if (kept != 0)
            text[kept - 1] = static_cast<char>(static_cast<unsigned char>(text[kept - 1]) + 1);
        return kept;
    }

    const char* bytes;
    unsigned count;
    bool isPattern = false;
};

bool IsOlder(const void* value, unsigned char format)
{
    const auto* record = static_cast<const unsigned char*>(value);
    return (format & KoFMT_MEMORY) == 0 &&
           record[KoRecordLength(record, format) + 1] == kOlderRecordEnd;
}

/// One call of the evaluator.
class Narrower
{
public:
    Narrower(KoIdxBounds& newBounds, unsigned bits, o_u2b options, const KoText& text,
             const KoConditionText& condition, const void* value, unsigned char format)
        : m_newBounds(newBounds), m_bits(bits), m_mode(options), m_text(text),
          m_condition(condition), m_value(value), m_format(format),
          m_ranges((bits & (KoQOP_LESS | KoQOP_GREATER)) != 0)
    {
        // Where wildcards count, null is matched as if it were empty. It comes before that.
        if (m_mode.wildcards && !text.IsNull() && condition.count == 0)
            m_bits |= KoQOP_LESS;
    }

    void Narrow(const KeysFound& keys)
    {
        const bool bytes = m_text.codeSet == KoCS_NONE;
        if (m_text.IsNull())
            NarrowToValue();
        else if (bytes && keys.bytes && !keys.collated)
            NarrowBytes();
        else if (keys.bytes)
            return; // the order of the index is not the one of the condition
        else if (bytes && !keys.collated)
            static_cast<void>(IsExact() && NarrowToValue()); // whichever the keys are
        else if (!IsExact() || !NarrowToValue())
            NarrowCollated();
    }

private:
    /// Equal to the condition's text are only the same texts.
    bool IsExact() const
    {
        return m_condition.isWhole && m_condition.isPlain && !m_condition.isPattern &&
               m_mode.mask == 0xFFFFFFFF && !m_mode.skipsSpaces && !m_mode.skipsSymbols;
    }
    /// No text comes before or after a pattern.
    bool MeansNothing(bool pattern) const { return pattern && m_ranges; }

    void Set(KoTextSide side, const void* record, unsigned size)
    {
        KoNarrowTextEnd(m_newBounds, m_bits, side, record, size);
    }

    bool NarrowToValue()
    {
        unsigned char record[kMaxBound];
        const unsigned size = WriteValue(record, m_text, m_value, m_format);
        if (size == 0)
            return false;
        KoNarrowBounds(&m_newBounds, m_bits, record, size);
        return true;
    }

    void NarrowCollated()
    {
        if (MeansNothing(m_condition.isPattern || (m_mode.wildcards && !m_condition.isWhole)))
            return;
        for (const KoTextSide side : {KoTextSide::kLow, KoTextSide::kHigh}) {
            unsigned char record[kMaxBound];
            if (const unsigned size = KoMakeTextEnd(record, m_format, m_condition, m_mode, side);
                size != 0)
                Set(side, record, size);
        }
    }

    void NarrowBytes()
    {
        const ByteText text(m_text, m_mode.wildcards);
        if (MeansNothing(text.isPattern) || (!text.isPattern && NarrowToValue()))
            return;
        const bool older = IsOlder(m_value, m_format);
        const unsigned kept = std::min(text.count, kMaxText);
        unsigned char record[kMaxBound];
        if (kept == 0)
            return;
        Set(KoTextSide::kLow, record, WriteBytes(record, text.bytes, kept, m_format, older));
        char raised[kMaxText];
        if (const unsigned count = text.Raise(raised, kept); count != 0)
            Set(KoTextSide::kHigh, record, WriteBytes(record, raised, count, m_format, older));
    }

    KoIdxBounds& m_newBounds;
    unsigned m_bits;
    KoCompareMode m_mode;
    const KoText& m_text;
    const KoConditionText& m_condition;
    const void* m_value;
    unsigned char m_format;
    bool m_ranges;
};

} // namespace

void KoNarrowTextEnd(KoIdxBounds& newBounds, unsigned bits, KoTextSide side, const void* record,
                     unsigned actualLen)
{
    if (actualLen > kMaxBound)
        KORA_assert("actualLen <= 254", "src\\kotypevl", kAssertLine);
    // An operator that excludes nothing on the other side narrows this one alone.
    const unsigned other = side == KoTextSide::kLow ? KoQOP_GREATER : KoQOP_LESS;
    KoNarrowBounds(&newBounds, bits | other, record, actualLen);
}

void KoNarrowTexts(KoIdxBounds* newBounds, const KoIdxBounds* bounds, unsigned bits, o_u2b options,
                   const KoText& text, const KoConditionText& condition, const void* value,
                   unsigned char format, bool cutIsOlder)
{
    if (newBounds == nullptr)
        return;
    KeysFound keys;
    if (bounds != nullptr) {
        keys.Look(bounds->low, format, cutIsOlder);
        keys.Look(bounds->high, format, cutIsOlder);
    }
    Narrower(*newBounds, bits, options, text, condition, value, format).Narrow(keys);
}
