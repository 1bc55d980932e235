#include "koistringrecord.h"

#include "core/validate.h"

#include <koservices.h>

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

unsigned TextBytes(const KoIText& text, unsigned char format, const KoIWeights& weights)
{
    return IsKey(format) ? std::min(KoCountWeights(text, weights), kIRecordMostText) : text.length;
}

} // namespace

KoIText KoIRecordText(const unsigned char* record, unsigned length, std::size_t held)
{
    KoIText text;
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

KoTextFound KoITextWalk::Next(KoIText& text)
{
    text = {};
    if (m_at >= m_available)
        return KoTextFound::kNone;
    if ((m_format & KoFMT_MEMORY) != 0) {
        text = KoIText::Of(*reinterpret_cast<const KoIStringText*>(m_value + m_at));
        m_at += sizeof(KoIStringText);
        return KoTextFound::kText;
    }
    const unsigned char* record = m_value + m_at;
    const std::size_t left = m_available - m_at;
    if (left < kRecordLengthField)
        return KoTextFound::kNone;
    const unsigned length = KoRecordLength(record, m_format);
    const std::size_t held = std::min<std::size_t>(length, left - kRecordLengthField);
    m_at += kRecordLengthField + length;
    if (held == 0 && length != 0)
        return KoTextFound::kNone;
    text = KoIRecordText(record, length, held);
    if (!text.cut)
        return KoTextFound::kText;
    return text.length < kLongestCutKey ? KoTextFound::kCut : KoTextFound::kBroken;
}

unsigned KoIStore(void* destination, const void* source, unsigned char format, unsigned count,
                  const KoIWeights& weights)
{
    auto* record = static_cast<unsigned char*>(destination);
    for (unsigned i = 0; i < count; ++i) {
        const KoIText text = KoIText::Of(Texts(source)[i]);
        unsigned char* out = record + kIRecordHead;
        unsigned bytes = text.length;
        if (IsKey(format))
            bytes = KoPutWeights(out, kIRecordMostText, text, weights);
        else if (bytes != 0)
            std::memcpy(out, text.bytes, bytes);
        out[bytes] = 0;
        KoPutRecordLength(record, bytes + kIRecordRest, format);
        const unsigned raw = IsKey(format) ? 0U + KoIStringText::kRaw : 0U;
        record[kRecordLengthField] = static_cast<unsigned char>(text.flag | raw);
        record = out + bytes + 1;
    }
    return static_cast<unsigned>(record - static_cast<unsigned char*>(destination));
}

unsigned KoILoad(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* texts = static_cast<KoIStringText*>(destination);
    const auto* record = static_cast<const unsigned char*>(source);
    for (unsigned i = 0; i < count; ++i) {
        const unsigned length = KoRecordLength(record, format);
        const KoIText text = KoIRecordText(record, length, length);
        KoIStringAccess::Set(texts[i], reinterpret_cast<const char*>(text.bytes), text.length,
                             text.flag);
        record += length + kRecordLengthField;
    }
    return static_cast<unsigned>(record - static_cast<const unsigned char*>(source));
}

o_u8b KoIBytes(const void* texts, unsigned char format, unsigned count, const KoIWeights& weights)
{
    o_u8b size = 0;
    for (unsigned i = 0; i < count; ++i)
        size += TextBytes(KoIText::Of(Texts(texts)[i]), format, weights) + kIRecordHead + 1;
    return size;
}

unsigned KoISizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                    unsigned count, const KoIWeights& weights)
{
    if ((valueFormat & KoFMT_MEMORY) != 0)
        return static_cast<unsigned>(KoIBytes(value, format, count, weights));
    const auto* record = static_cast<const unsigned char*>(value);
    unsigned size = 0;
    for (unsigned i = 0; i < count; ++i)
        size += KoRecordLength(record + size, valueFormat) + kRecordLengthField;
    return size;
}

unsigned KoIFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return KoMeasureRecords(file, format, count,
                            [](const unsigned char*, unsigned length, unsigned, bool&) {
                                return length + kRecordLengthField;
                            });
}

unsigned KoISortKey(void* key, unsigned room, const void* value, unsigned char format,
                    unsigned count, const KoIWeights& weights)
{
    ko::KeySink sink(key, room);
    KoITextWalk walk(format, 0, value);
    for (unsigned i = 0; i < count; ++i) {
        KoIText text;
        walk.Next(text);
        KoPutWeightsKey(sink, text, weights);
    }
    return sink.Length();
}

int KoIValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                std::size_t& at)
{
    at = 0;
    if ((format & KoFMT_MEMORY) != 0)
        return KoRC_NOT_SUPPORTED;
    const auto* const begin = static_cast<const unsigned char*>(bytes);
    constexpr unsigned kFlags = KoIStringText::kAccents | KoIStringText::kRaw;
    std::size_t offset = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned char* const record = begin + offset;
        if (size - offset < kRecordLengthField)
            return ko::BytesMissing(size, at);
        const unsigned length = KoRecordLength(record, format);
        if (length < kIRecordRest)
            return ko::WrongByte(offset, at);
        const std::size_t there = std::min<std::size_t>(size - offset, kRecordLengthField + length);
        if (there > kRecordLengthField && (record[kRecordLengthField] & ~kFlags) != 0)
            return ko::WrongByte(offset + kRecordLengthField, at);
        // The one zero of a record is its last byte.
        const std::size_t last = kRecordLengthField + length - 1;
        for (std::size_t byte = kIRecordHead; byte < there; ++byte) {
            if ((record[byte] == 0) != (byte == last))
                return ko::WrongByte(offset + byte, at);
        }
        if (there <= last)
            return ko::BytesMissing(size, at);
        offset += last + 1;
    }
    at = offset;
    return KoRC_OK;
}

int KoICompare(unsigned char format, unsigned size1, const void* value1, unsigned size2,
               const void* value2, unsigned count, int& status, const KoIWeights& weights)
{
    status = KoRC_OK;
    KoITextWalk walk1(format, size1, value1);
    KoITextWalk walk2(format, size2, value2);
    for (unsigned i = 0; i < count; ++i) {
        KoIText a;
        KoIText b;
        const KoTextFound found1 = walk1.Next(a);
        const KoTextFound found2 = walk2.Next(b);
        if (found1 == KoTextFound::kBroken || found2 == KoTextFound::kBroken) {
            status = KoRC_NOT_SUPPORTED;
            return -1;
        }
        const bool none = found1 == KoTextFound::kNone || found2 == KoTextFound::kNone;
        const KoIOrder found = none ? KoIOrder{0, true} : KoCompareWeights(a, b, weights);
        if (found.open)
            status = KoRC_TRUNCATED;
        if (found.open || found.order != 0)
            return found.order;
    }
    return 0;
}

o_u4b KoIHash(unsigned char format, unsigned size, const void* value, unsigned count, int& status,
              const KoIWeights& weights)
{
    KoHasher hasher;
    KoVisitHashedTexts<KoIText>(KoITextWalk(format, size, value), count, status,
                                [&](const KoIText& text) { KoHashWeights(hasher, text, weights); });
    return hasher.Get();
}
