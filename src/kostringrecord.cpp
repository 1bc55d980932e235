#include "kostringrecord.h"

#include <koservices.h>

#include <algorithm>

// Writing, reading and measuring stored strings.

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
        const unsigned units = left == 0 ? 0 : KoUnitsBeforeZero(at, 1, left);
        KoStringAccess::Set(strings[i], {at, units, KoString::GetDefault8CodeSet(),
                                         KoString::GetDefaultLanguage()});
        const unsigned step = std::min(units + 1, left);
        at += step;
        left -= step;
    }
}

} // namespace

unsigned StringStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* record = static_cast<unsigned char*>(destination);
    unsigned written = 0;
    for (unsigned i = 0; i < count; ++i) {
        const KoText text = KoStringAccess::Get(Strings(source)[i]);
        const unsigned area = TextArea(text);
        KoPutRecordLength(record, area + 2, format);
        record[2] = text.codeSet;
        record[3] = text.language;
        if (text.units != 0 && text.Width() == 1)
            std::memcpy(record + kRecordHead, text.bytes, text.units);
        else
            ShortStore(record + kRecordHead, text.bytes, KoRecordOrder(format), text.units);
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
    unsigned length = KoRecordLength(record, format);
    if (record[length + 1] == kOlderRecordEnd) {
        LoadOlder(strings, record, length, count);
        return length + kRecordLengthField;
    }
    unsigned read = 0;
    for (unsigned i = 0; i < count; ++i) {
        length = KoRecordLength(record, format);
        // A damaged record may be too short for its head: what lies beyond is not looked at.
        KoText text;
        text.format = KoRecordOrder(format);
        text.codeSet = length < 1 ? 0 : record[2];
        text.language = length < 2 ? 0 : record[3];
        text.bytes = reinterpret_cast<const char*>(record) + kRecordHead;
        text.units = length < 4 ? 0 : (length - 4) / text.Width();
        KoStringAccess::Set(strings[i], text);
        record += length + kRecordLengthField;
        read += length + kRecordLengthField;
    }
    return read;
}

o_u8b KoStringBytes(const void* strings, unsigned char format, unsigned count)
{
    o_u8b size = 0;
    for (unsigned i = 0; i < count; ++i) {
        const KoText text = KoStringAccess::Get(Strings(strings)[i]);
        size += TextArea(text) * KeyScale(text.codeSet, format) + kRecordHead;
    }
    return size;
}

unsigned StringSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                       unsigned count)
{
    if ((valueFormat & KoFMT_MEMORY) != 0)
        return static_cast<unsigned>(KoStringBytes(value, format, count));
    unsigned size = 0;
    const auto* record = static_cast<const unsigned char*>(value);
    for (unsigned i = 0; i < count; ++i) {
        bool older;
        const unsigned bytes =
            StoredSize(record, KoRecordLength(record, format), format, i == 0, older);
        size += bytes;
        if (older)
            break;
        // The walk goes by the scaled size. That suits one record, and callers that measure
        // several keys rely on the sums it gives.
        record += bytes;
    }
    return size;
}

// ---- the older layout

unsigned KoOlderStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    auto* record = static_cast<unsigned char*>(destination);
    const auto bytesOf = [source](unsigned index) {
        const KoText text = KoStringAccess::Get(Strings(source)[index]);
        return text.units == 0 ? 0 : KoUnitsBeforeZero(text.bytes, 1, text.units);
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
    KoPutRecordLength(record, static_cast<unsigned>(total), format);
    return static_cast<unsigned>(total) + kRecordLengthField;
}

o_u8b KoOlderBytes(const void* strings, unsigned char, unsigned count)
{
    o_u8b size = o_u8b{count} + kRecordLengthField;
    for (unsigned i = 0; i < count; ++i)
        size += Strings(strings)[i].Len();
    return size;
}

unsigned KoOlderSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                        unsigned count)
{
    if ((valueFormat & KoFMT_MEMORY) == 0)
        return KoRecordLength(static_cast<const unsigned char*>(value), format) +
               kRecordLengthField;
    return static_cast<unsigned>(KoOlderBytes(value, format, count));
}

// ---- memory files

unsigned KoStringFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return KoMeasureRecords(
        file, format, count,
        [format](const unsigned char* record, unsigned length, unsigned i, bool& last) {
            return StoredSize(record, length, format, i == 0, last);
        });
}

unsigned KoOlderFileSize(MemFile* file, unsigned char format, unsigned count)
{
    return KoMeasureRecords(file, format, count,
                            [](const unsigned char*, unsigned length, unsigned, bool& last) {
                                last = true;
                                return length + kRecordLengthField;
                            });
}
