#include "caseless/record.h"

#include "core/validate.h"

#include <koservices.h>

namespace ko
{

namespace
{

/// Both classes are this and nothing more.
const KoIStringText* Texts(const void* array)
{
    static_assert(sizeof(KoIString) == sizeof(KoIStringText) &&
                  sizeof(KoCaseIString) == sizeof(KoIStringText));
    return static_cast<const KoIStringText*>(array);
}

bool IsKey(unsigned char format)
{
    return (format & KoFMT_KEY) != 0;
}

unsigned TextBytes(const CaselessText& text, unsigned char format, const CaselessWeights& weights)
{
    return IsKey(format) ? std::min(CountWeights(text, weights), kIRecordMostText) : text.length;
}

} // namespace

CaselessText CaselessRecordText(const unsigned char* record, unsigned length, std::size_t held)
{
    CaselessText text;
    if (held == 0)
        return text;
    text.flag = record[kRecordLengthField];
    text.bytes = record + kIRecordHead;
    const auto room = static_cast<unsigned>(held - 1);
    const void* end = room == 0 ? nullptr : std::memchr(text.bytes, 0, room);
    text.length = end == nullptr
                      ? room
                      : static_cast<unsigned>(static_cast<const unsigned char*>(end) - text.bytes);
    text.cut = end == nullptr && held < length;
    return text;
}

TextFound CaselessWalk::Next(CaselessText& text)
{
    text = {};
    if (m_at >= m_available)
        return TextFound::kNone;
    if ((m_format & KoFMT_MEMORY) != 0) {
        if (m_available - m_at < sizeof(KoIStringText))
            return TextFound::kNone;
        text = CaselessText::Of(*reinterpret_cast<const KoIStringText*>(m_value + m_at));
        m_at += sizeof(KoIStringText);
        return TextFound::kText;
    }
    const unsigned char* record = m_value + m_at;
    const std::size_t left = m_available - m_at;
    if (left < kRecordLengthField)
        return TextFound::kNone;
    const unsigned length = RecordLength(record, m_format);
    const std::size_t held = std::min<std::size_t>(length, left - kRecordLengthField);
    m_at += kRecordLengthField + length;
    if (held == 0 && length != 0)
        return TextFound::kNone;
    text = CaselessRecordText(record, length, held);
    if (!text.cut)
        return TextFound::kText;
    return text.length < kLongestCutKey ? TextFound::kCut : TextFound::kBroken;
}

unsigned StoreCaseless(void* destination, const void* source, unsigned char format, unsigned count,
                       const CaselessWeights& weights)
{
    auto* record = static_cast<unsigned char*>(destination);
    for (unsigned i = 0; i < count; ++i) {
        const CaselessText text = CaselessText::Of(Texts(source)[i]);
        unsigned char* out = record + kIRecordHead;
        unsigned bytes = text.length;
        if (IsKey(format))
            bytes = PutWeights(out, kIRecordMostText, text, weights);
        else if (bytes != 0)
            std::memcpy(out, text.bytes, bytes);
        out[bytes] = 0;
        PutRecordLength(record, bytes + kIRecordRest, format);
        const unsigned raw = IsKey(format) ? 0U + KoIStringText::kRaw : 0U;
        record[kRecordLengthField] = static_cast<unsigned char>(text.flag | raw);
        record = out + bytes + 1;
    }
    return static_cast<unsigned>(record - static_cast<unsigned char*>(destination));
}

unsigned LoadCaseless(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* texts = static_cast<KoIStringText*>(destination);
    const auto* record = static_cast<const unsigned char*>(source);
    for (unsigned i = 0; i < count; ++i) {
        const unsigned length = RecordLength(record, format);
        const CaselessText text = CaselessRecordText(record, length, length);
        CaselessAccess::Set(texts[i], reinterpret_cast<const char*>(text.bytes), text.length,
                            text.flag);
        record += length + kRecordLengthField;
    }
    return static_cast<unsigned>(record - static_cast<const unsigned char*>(source));
}

o_u8b CaselessBytes(const void* texts, unsigned char format, unsigned count,
                    const CaselessWeights& weights)
{
    o_u8b size = 0;
    for (unsigned i = 0; i < count; ++i)
        size += TextBytes(CaselessText::Of(Texts(texts)[i]), format, weights) + kIRecordHead + 1;
    return size;
}

unsigned CaselessSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                         unsigned count, const CaselessWeights& weights)
{
    if ((valueFormat & KoFMT_MEMORY) != 0)
        return static_cast<unsigned>(CaselessBytes(value, format, count, weights));
    const auto* record = static_cast<const unsigned char*>(value);
    unsigned size = 0;
    for (unsigned i = 0; i < count; ++i)
        size += RecordLength(record + size, valueFormat) + kRecordLengthField;
    return size;
}

unsigned CaselessFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return MeasureRecords(file, format, count,
                          [](const unsigned char*, unsigned length, unsigned, bool&) {
                              return length + kRecordLengthField;
                          });
}

unsigned ISortKey(void* key, unsigned room, const void* value, unsigned char format, unsigned count,
                  const CaselessWeights& weights)
{
    KeySink sink(key, room);
    CaselessWalk walk(format, 0, value);
    for (unsigned i = 0; i < count; ++i) {
        CaselessText text;
        walk.Next(text);
        PutWeightsKey(sink, text, weights);
    }
    return sink.Length();
}

int IValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
              std::size_t& at)
{
    at = 0;
    if ((format & KoFMT_MEMORY) != 0)
        return KoRC_NOT_SUPPORTED;
    const auto* const begin = static_cast<const unsigned char*>(bytes);
    std::size_t offset = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned char* const record = begin + offset;
        if (size - offset < kRecordLengthField)
            return BytesMissing(size, at);
        const unsigned length = RecordLength(record, format);
        if (length < kIRecordRest)
            return WrongByte(offset, at);
        const std::size_t there = std::min<std::size_t>(size - offset, kRecordLengthField + length);
        // The one zero of a record is its last byte.
        const std::size_t last = kRecordLengthField + length - 1;
        for (std::size_t byte = kIRecordHead; byte < there; ++byte) {
            if ((record[byte] == 0) != (byte == last))
                return WrongByte(offset + byte, at);
        }
        if (there <= last)
            return BytesMissing(size, at);
        offset += last + 1;
    }
    at = offset;
    return KoRC_OK;
}

int CompareCaseless(unsigned char format, unsigned size1, const void* value1, unsigned size2,
                    const void* value2, unsigned count, int& status, const CaselessWeights& weights)
{
    status = KoRC_OK;
    CaselessWalk walk1(format, size1, value1);
    CaselessWalk walk2(format, size2, value2);
    for (unsigned i = 0; i < count; ++i) {
        CaselessText a;
        CaselessText b;
        const TextFound found1 = walk1.Next(a);
        const TextFound found2 = walk2.Next(b);
        if (found1 == TextFound::kBroken || found2 == TextFound::kBroken) {
            status = KoRC_NOT_SUPPORTED;
            return -1;
        }
        const bool none = found1 == TextFound::kNone || found2 == TextFound::kNone;
        const CaselessOrder found = none ? CaselessOrder{0, true} : CompareWeights(a, b, weights);
        if (found.open)
            status = KoRC_TRUNCATED;
        if (found.open || found.order != 0)
            return found.order;
    }
    return 0;
}

o_u4b HashCaseless(unsigned char format, unsigned size, const void* value, unsigned count,
                   int& status, const CaselessWeights& weights)
{
    Hasher hasher;
    VisitHashedTexts<CaselessText>(
        CaselessWalk(format, size, value), count, status,
        [&](const CaselessText& text) { HashWeights(hasher, text, weights); });
    return hasher.Get();
}

} // namespace ko
