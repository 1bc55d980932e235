#include "core/validate.h"
#include "string/record.h"

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

/// One current record of `length` bytes after the length field, all of them there.
int ValidateRecord(const unsigned char* record, unsigned length, std::size_t offset,
                   std::size_t& at)
{
    const std::size_t last = kRecordLengthField + length - 1;
    if (length < kRecordHead)
        return WrongByte(offset, at);
    if (record[last - 1] != kRecordEnd[0])
        return WrongByte(offset + last - 1, at);
    if (record[last] != kRecordEnd[1])
        return WrongByte(offset + last, at);
    // 16-bit characters come in pairs of bytes.
    if (length % KoCodeSetWidth(record[2]) != 0)
        return WrongByte(offset + 2, at);
    return KoRC_OK;
}

} // namespace

int StringValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                   std::size_t& at)
{
    at = 0;
    // Sizes of records in the key form go by lengths that the bytes do not have.
    if ((format & KoFMT_MEMORY) != 0 || ((format & KoFMT_KEY) != 0 && count > 1))
        return KoRC_NOT_SUPPORTED;
    const auto* const begin = static_cast<const unsigned char*>(bytes);
    std::size_t offset = 0;
    for (unsigned i = 0; i < count; ++i) {
        if (size - offset < kRecordLengthField)
            return BytesMissing(size, at);
        const unsigned char* const record = begin + offset;
        const unsigned length = RecordLength(record, format);
        if (length == 0)
            return WrongByte(offset, at);
        if (size - offset < kRecordLengthField + length)
            return BytesMissing(size, at);
        if (i == 0 && record[length + 1] == kOlderRecordEnd)
            return ValidateOlder(record, length, count, at);
        if (const int result = ValidateRecord(record, length, offset, at); result != KoRC_OK)
            return result;
        offset += kRecordLengthField + length;
    }
    at = offset;
    return KoRC_OK;
}

} // namespace ko
