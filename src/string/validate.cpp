#include "core/validate.h"
#include "string/record.h"

#include <algorithm>

// Stored strings that nobody vouches for.

namespace ko
{

namespace
{

/// An array in the older layout: exactly `count` texts, the last of which ends with the record.
int ValidateOlder(const unsigned char* record, unsigned length, unsigned count, std::size_t& at)
{
    const std::size_t end = std::size_t{kRecordLengthField} + length;
    std::size_t offset = kRecordLengthField;
    for (unsigned i = 0; i < count; ++i) {
        if (offset == end) // the length leaves no room for so many
            return WrongByte(0, at);
        offset += UnitsBeforeZero(reinterpret_cast<const char*>(record + offset), 1,
                                  static_cast<unsigned>(end - offset)) +
                  1;
    }
    if (offset != end)
        return WrongByte(offset, at);
    at = end;
    return KoRC_OK;
}

/// One current record, which begins at `offset` and of which `there` bytes are there.
int ValidateRecord(const unsigned char* record, unsigned length, std::size_t there,
                   std::size_t offset, std::size_t& at)
{
    if (length < kRecordHead)
        return WrongByte(offset, at);
    // 16-bit characters come in pairs of bytes.
    if (there > kRecordLengthField && length % KoCodeSetWidth(record[2]) != 0)
        return WrongByte(offset + 2, at);
    std::size_t byte = kRecordLengthField + length - sizeof kRecordEnd;
    for (const unsigned char mark : kRecordEnd) {
        if (there <= byte)
            return BytesMissing(offset + there, at);
        if (record[byte] != mark)
            return WrongByte(offset + byte, at);
        ++byte;
    }
    return KoRC_OK;
}

} // namespace

int StringValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                   std::size_t& at)
{
    at = 0;
    if ((format & KoFMT_MEMORY) != 0)
        return KoRC_NOT_SUPPORTED;
    const auto* const begin = static_cast<const unsigned char*>(bytes);
    std::size_t offset = 0;
    for (unsigned i = 0; i < count; ++i) {
        if (size - offset < kRecordLengthField)
            return BytesMissing(size, at);
        const unsigned char* const record = begin + offset;
        const unsigned length = RecordLength(record, format);
        const std::size_t whole = kRecordLengthField + std::size_t{length};
        if (i == 0) {
            // As long as its last byte is not there, this may be either layout.
            if (length == 0)
                return WrongByte(0, at);
            if (size < whole)
                return BytesMissing(size, at);
            if (record[whole - 1] == kOlderRecordEnd)
                return ValidateOlder(record, length, count, at);
        }
        const std::size_t there = std::min(size - offset, whole);
        if (const int result = ValidateRecord(record, length, there, offset, at); result != KoRC_OK)
            return result;
        offset += whole;
    }
    at = offset;
    return KoRC_OK;
}

int OlderValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                  std::size_t& at)
{
    if (count != 0 || (format & KoFMT_MEMORY) != 0)
        return StringValidate(bytes, size, format, count, at);
    if (const int result = MeasureWithin(bytes, size, format, 1, at, true); result != KoRC_OK)
        return result;
    const auto* const record = static_cast<const unsigned char*>(bytes);
    return ValidateOlder(record, RecordLength(record, format), 0, at);
}

int MeasureWithin(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                  std::size_t& at, bool layouts)
{
    const auto* const begin = static_cast<const unsigned char*>(bytes);
    std::size_t offset = 0;
    bool older = false;
    for (unsigned i = 0; i < count && !older; ++i) {
        if (size - offset < kRecordLengthField)
            return BytesMissing(size, at);
        const std::size_t length = RecordLength(begin + offset, format);
        if (size - offset - kRecordLengthField < length)
            return BytesMissing(size, at);
        offset += kRecordLengthField + length;
        older = layouts && i == 0 && begin[offset - 1] == kOlderRecordEnd;
    }
    at = offset;
    return KoRC_OK;
}

} // namespace ko
