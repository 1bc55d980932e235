#include "string/record.h"

#include <koservices.h>

#include <algorithm>

// Writing, reading and measuring stored strings.

namespace ko
{

namespace
{

/// The bytes of a string's text area: its characters and the end mark.
unsigned TextArea(const KoText& text)
{
    return text.units * text.Width() + static_cast<unsigned>(sizeof kRecordEnd);
}

/// The code set that decides whether a text grows in the key form.
unsigned char KeyCodeSet(unsigned char codeSet, unsigned char format)
{
    if (codeSet == KoCS_NULL)
        return codeSet;
    if ((format & KoFMT_IGNORE_CS) != 0 && codeSet != KoCS_NONE)
        return KoCS_NONE;
    if ((format & KoFMT_NATIVE_CS) != 0 && codeSet == KoCS_NONE)
        return KoLanguageContext::GetNativeCodeSet();
    return codeSet;
}

/// How many times its length a text takes in `format`: the key form has room for it in the wider
/// encoding. The width is that of the code set as stored.
unsigned KeyScale(unsigned char codeSet, unsigned char format)
{
    if ((format & KoFMT_KEY) == 0)
        return 1;
    const unsigned char counted = KeyCodeSet(codeSet, format);
    return counted == KoCS_NONE || counted == KoCS_NULL ? 1 : 2 / KoCodeSetWidth(codeSet) * 2;
}

/// The size of a stored record of the given length, scaled for the key form. The first record tells
/// the layout: in the older one, `older` is set and the size is that of the whole array. A damaged
/// record may be too short for a code set.
unsigned StoredSize(const unsigned char* record, unsigned length, unsigned char format, bool first,
                    bool& older)
{
    older = first && (format & KoFMT_KEY) == 0 && record[length + 1] == kOlderRecordEnd;
    const unsigned scale = older || length == 0 ? 1 : KeyScale(record[2], format);
    return length * scale + kRecordLengthField;
}

const KoString* Strings(const void* array)
{
    return static_cast<const KoString*>(array);
}

/// Reads the older layout. Its texts end with the record even where a terminator is missing.
void LoadOlder(KoString* strings, const unsigned char* record, unsigned length, unsigned count)
{
    const char* at = reinterpret_cast<const char*>(record) + kRecordLengthField;
    unsigned left = length;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned units = left == 0 ? 0 : UnitsBeforeZero(at, 1, left);
        StringAccess::Set(strings[i], {at, units, KoString::GetDefault8CodeSet(),
                                       KoString::GetDefaultLanguage()});
        const unsigned step = std::min(units + 1, left);
        at += step;
        left -= step;
    }
}

} // namespace

o_u8b StringBytes(const void* strings, unsigned char format, unsigned count)
{
    o_u8b size = 0;
    for (unsigned i = 0; i < count; ++i) {
        const KoText text = StringAccess::Get(Strings(strings)[i]);
        size += TextArea(text) * KeyScale(text.codeSet, format) + kRecordHead;
    }
    return size;
}

// ---- the older layout

unsigned OlderStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* record = static_cast<unsigned char*>(destination);
    const auto bytesOf = [source](unsigned index) {
        const KoText text = StringAccess::Get(Strings(source)[index]);
        return text.units == 0 ? 0 : UnitsBeforeZero(text.bytes, 1, text.units);
    };
    o_u8b total = 0;
    for (unsigned i = 0; i < count; ++i)
        total += bytesOf(i) + 1;
    if (total > 0xFFFF) {
        KORA_assert("total <= 0xFFFF", "src\\kostringrecord", __LINE__);
        return 0;
    }
    unsigned char* at = record + kRecordLengthField;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned bytes = bytesOf(i);
        if (bytes != 0)
            std::memcpy(at, Strings(source)[i].StrGet(), bytes);
        at[bytes] = 0;
        at += bytes + 1;
    }
    PutRecordLength(record, static_cast<unsigned>(total), format);
    return static_cast<unsigned>(total) + kRecordLengthField;
}

o_u8b OlderBytes(const void* strings, unsigned char, unsigned count)
{
    o_u8b size = o_u8b{count} + kRecordLengthField;
    for (unsigned i = 0; i < count; ++i)
        size += Strings(strings)[i].Len();
    return size;
}

unsigned OlderSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                      unsigned count)
{
    if ((valueFormat & KoFMT_MEMORY) == 0)
        return RecordLength(static_cast<const unsigned char*>(value), format) + kRecordLengthField;
    return static_cast<unsigned>(OlderBytes(value, format, count));
}

// ---- memory files

unsigned StringFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return MeasureRecords(
        file, format, count,
        [format](const unsigned char* record, unsigned length, unsigned i, bool& last) {
            return StoredSize(record, length, format, i == 0, last);
        });
}

unsigned OlderFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return MeasureRecords(file, format, count,
                          [](const unsigned char*, unsigned length, unsigned, bool& last) {
                              last = true;
                              return length + kRecordLengthField;
                          });
}

} // namespace ko

using namespace ko;

// ---- the layout of today, which kostring.h exports

unsigned StringStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* record = static_cast<unsigned char*>(destination);
    unsigned written = 0;
    for (unsigned i = 0; i < count; ++i) {
        const KoText text = StringAccess::Get(Strings(source)[i]);
        const unsigned area = TextArea(text);
        PutRecordLength(record, area + 2, format);
        record[2] = text.codeSet;
        record[3] = text.language;
        if (text.units != 0 && text.Width() == 1)
            std::memcpy(record + kRecordHead, text.bytes, text.units);
        else
            ShortStore(record + kRecordHead, text.bytes, RecordOrder(format), text.units);
        std::memcpy(record + kRecordHead + area - sizeof kRecordEnd, kRecordEnd, sizeof kRecordEnd);
        record += kRecordHead + area;
        written += kRecordHead + area;
    }
    return written;
}

unsigned StringLoad(void* destination, const void* source, unsigned char format, unsigned count)
{
    if (source == nullptr)
        return 0;
    auto* strings = static_cast<KoString*>(destination);
    const auto* record = static_cast<const unsigned char*>(source);
    unsigned length = RecordLength(record, format);
    if (record[length + 1] == kOlderRecordEnd) {
        LoadOlder(strings, record, length, count);
        return length + kRecordLengthField;
    }
    unsigned read = 0;
    for (unsigned i = 0; i < count; ++i) {
        length = RecordLength(record, format);
        // A damaged record may be too short for its head: what lies beyond is not looked at.
        KoText text;
        text.format = RecordOrder(format);
        text.codeSet = length < 1 ? 0 : record[2];
        text.language = length < 2 ? 0 : record[3];
        text.bytes = reinterpret_cast<const char*>(record) + kRecordHead;
        text.units = length < 4 ? 0 : (length - 4) / text.Width();
        StringAccess::Set(strings[i], text);
        record += length + kRecordLengthField;
        read += length + kRecordLengthField;
    }
    return read;
}

unsigned StringSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                       unsigned count)
{
    if ((valueFormat & KoFMT_MEMORY) != 0)
        return static_cast<unsigned>(StringBytes(value, format, count));
    unsigned size = 0;
    const auto* record = static_cast<const unsigned char*>(value);
    for (unsigned i = 0; i < count; ++i) {
        bool older;
        const unsigned bytes =
            StoredSize(record, RecordLength(record, format), format, i == 0, older);
        size += bytes;
        if (older)
            break;
        // The walk goes by the scaled size. That suits one record, and callers that measure
        // several keys rely on the sums it gives.
        record += bytes;
    }
    return size;
}
