#include "caseless/text.h"
#include "interface/call.h"
#include "manager/read_text.h"

#include <koistring.h>

#include <algorithm>

using namespace ko;

// Stored bytes from text and back.

namespace ko
{

namespace
{

/// A KoReadResult as a status.
ko_status StatusOf(int result)
{
    switch (result) {
    case KoRC_OK:
        return KO_OK;
    case KoREAD_OUT_OF_RANGE:
        return KO_OUT_OF_RANGE;
    case KoREAD_TRAILING:
        return KO_TRAILING;
    case KoREAD_NO_CHARACTER:
        return KO_NO_CHARACTER;
    case KoRC_NO_MEMORY:
        return KO_NO_MEMORY;
    default:
        return KO_UNREADABLE;
    }
}

/// Reads the text of a caller; `errorAt` is the byte of the first character that does not belong.
ko_status Read(ScopedValue& value, const char* utf8, std::size_t length, unsigned char codeSet,
               const char* format, std::size_t& errorAt)
{
    const KoTypeExtension& type = ExtensionOf(value.Id());
    if (type.parse == nullptr)
        return KO_NOT_SUPPORTED;
    if (format == nullptr)
        format = type.textFormat;
    if (type.parseAscii != nullptr && type.parseAscii(value.Get(), utf8, length, format))
        return KO_OK;
    Utf8Text text;
    if (const ko_status status = ReadStatus(text.Read(utf8, length, codeSet, errorAt));
        status != KO_OK)
        return status;
    unsigned position = 0;
    const ko_status status =
        StatusOf(ReadWhole(Manager(), type, value.Id(), value.Get(), text.Get(), format, position));
    errorAt = text.ByteOf(position);
    return status;
}

/// Appends the value's text to `text`, which is empty; false where it may have been cut off.
bool Print(o_char id, void* value, const char* format, KoString& text)
{
    Manager().PrintToKoString(id, text, value, format, 1);
    return text.ByteSize() != KoString::kMaxBytes;
}

/// Writes a case-insensitive text that is longer than a text of 16 bits, a part at a time: no code
/// set of 8 bits has all characters of Windows-1252 and the controls in the places that it leaves
/// free.
void WriteParts(Utf8Writer& writer, o_char id, const KoIStringText& whole, const char* format)
{
    constexpr unsigned kPart = KoIStringText::kMaxLength / 2;
    for (unsigned at = 0; at < whole.Len(); at += kPart) {
        ScopedValue part(id);
        CaselessAccess::Set(*static_cast<KoIStringText*>(part.Get()), whole.StrGet() + at,
                            std::min(whole.Len() - at, kPart), whole.Flag());
        KoString text(KoCS_UNICODE, KoString::GetDefaultLanguage());
        Print(id, part.Get(), format, text);
        writer.Write(text);
    }
}

/// The text of a value as UTF-8.
ko_status PrintAsUtf8(o_char id, void* value, const char* format, const Room& room)
{
    Utf8Writer writer(room.Out(), room.Size());
    // A text takes what is appended into its own code set: this one has room for all characters.
    KoString text(KoCS_UNICODE, KoString::GetDefaultLanguage());
    if (Print(id, value, format, text)) {
        writer.Write(text);
        return room.Takes(writer.Finish());
    }
    const bool isWhole = format == Manager().TextFormatGet(id);
    if (isWhole && (id == KoISTRING_T || id == KoCASEISTRING_T)) {
        WriteParts(writer, id, *static_cast<const KoIStringText*>(value), format);
        return room.Takes(writer.Finish());
    }
    // One of 8 bits may be twice as long.
    const unsigned char codeSet = id == KoSTRING_T ? static_cast<const KoString*>(value)->CodeSet()
                                                   : KoString::GetDefault8CodeSet();
    KoString narrow(codeSet, KoString::GetDefaultLanguage());
    const bool whole = Print(id, value, format, narrow) && narrow.Len() >= text.Len();
    // A string that fills its room to the last character is no cut one.
    const bool isFull = id == KoSTRING_T && isWhole;
    if (!whole && !isFull)
        return KO_TOO_LONG;
    writer.Write(whole ? narrow : *static_cast<const KoString*>(value));
    return room.Takes(writer.Finish());
}

} // namespace

} // namespace ko

ko_status ko_pack(int type, const char* utf8, size_t length, const char* format, ko_order order,
                  void* out, size_t* size, size_t* error_at)
{
    return ko_pack_with(nullptr, type, utf8, length, format, order, out, size, error_at);
}

ko_status ko_pack_with(const ko_settings* settings, int type, const char* utf8, size_t length,
                       const char* format, ko_order order, void* out, size_t* size,
                       size_t* error_at)
{
    const Room room(out, size);
    if (!room.IsUsable() || (utf8 == nullptr && length != 0))
        return room.Fail(KO_BAD_ARGUMENT);
    ko_status status = CheckArguments(type, order);
    if (status == KO_OK)
        status = CheckFormat(format);
    if (status != KO_OK)
        return room.Fail(status);
    const CallScope scope(settings);
    if (scope.Status() != KO_OK)
        return room.Fail(scope.Status());

    const auto id = static_cast<o_char>(type);
    std::size_t errorAt = 0;
    ScopedValue value(id);
    if (value.Get() != nullptr)
        status = Read(value, utf8, length, scope.CodeSet(), format, errorAt);
    status = scope.End(status);
    if (status == KO_OK)
        return room.PutValue(value, order);
    const bool hasPlace = status == KO_NOT_UTF8 || status == KO_UNREADABLE ||
                          status == KO_OUT_OF_RANGE || status == KO_TRAILING ||
                          status == KO_NO_CHARACTER || status == KO_TOO_LONG;
    if (hasPlace && error_at != nullptr)
        *error_at = errorAt;
    return room.Fail(status);
}

ko_status ko_pack_null(int type, ko_order order, void* out, size_t* size)
{
    const Room room(out, size);
    if (!room.IsUsable())
        return room.Fail(KO_BAD_ARGUMENT);
    if (const ko_status status = CheckArguments(type, order); status != KO_OK)
        return room.Fail(status);
    if (ko_has_null(type) == 0)
        return room.Fail(KO_NOT_SUPPORTED);
    const CallScope scope;
    const auto id = static_cast<o_char>(type);
    ScopedValue value(id);
    if (value.Get() == nullptr || Manager().SetNullValue(id, value.Get()) != 0)
        return room.Fail(scope.End(KO_NOT_SUPPORTED));
    return scope.HasRunOut() ? room.Fail(KO_NO_MEMORY) : room.PutValue(value, order);
}

ko_status ko_text(int type, const void* bytes, size_t length, ko_order order, const char* format,
                  char* out, size_t* size)
{
    return ko_text_with(nullptr, type, bytes, length, order, format, out, size);
}

ko_status ko_text_with(const ko_settings* settings, int type, const void* bytes, size_t length,
                       ko_order order, const char* format, char* out, size_t* size)
{
    const Room room(out, size);
    if (!room.IsUsable())
        return room.Fail(KO_BAD_ARGUMENT);
    ko_status status = CheckArguments(type, order);
    if (status == KO_OK)
        status = CheckFormat(format);
    const auto id = static_cast<o_char>(type);
    if (status == KO_OK)
        status = CheckBytes(id, bytes, length, order);
    if (status != KO_OK)
        return room.Fail(status);
    const CallScope scope(settings);
    if (scope.Status() != KO_OK)
        return room.Fail(scope.Status());
    ScopedValue value(id);
    status = scope.End(value.Load(bytes, length, order));
    if (status == KO_OK)
        status = PrintAsUtf8(id, value.Get(),
                             format != nullptr ? format : Manager().TextFormatGet(id), room);
    if (scope.HasRunOut())
        status = KO_NO_MEMORY;
    return status == KO_OK || status == KO_NO_ROOM ? status : room.Fail(status);
}

ko_status ko_convert(int type, const void* bytes, size_t length, ko_order from, ko_order to,
                     void* out, size_t* size)
{
    const Room room(out, size);
    if (!room.IsUsable() || !IsOrder(to))
        return room.Fail(KO_BAD_ARGUMENT);
    const auto id = static_cast<o_char>(type);
    ko_status status = CheckValue(type, bytes, length, from);
    if (status != KO_OK)
        return room.Fail(status);
    const CallScope scope;
    ScopedValue value(id);
    status = scope.End(value.Load(bytes, length, from));
    return status == KO_OK ? room.PutValue(value, to) : room.Fail(status);
}

ko_status ko_is_null(int type, const void* bytes, size_t length, ko_order order, int* is_null)
{
    if (is_null == nullptr)
        return KO_BAD_ARGUMENT;
    const auto id = static_cast<o_char>(type);
    ko_status status = CheckValue(type, bytes, length, order);
    if (status != KO_OK)
        return status;
    const CallScope scope;
    ScopedValue value(id);
    status = scope.End(value.Load(bytes, length, order));
    if (status == KO_OK)
        *is_null = Manager().IsNullValue(id, value.Get()) != 0 ? 1 : 0;
    return status;
}

ko_status ko_validate(int type, const void* bytes, size_t length, ko_order order, size_t* at)
{
    std::size_t place = 0;
    ko_status status = CheckArguments(type, order);
    if (status == KO_OK && bytes == nullptr && length != 0)
        status = KO_BAD_ARGUMENT;
    if (status != KO_OK)
        return status;
    status = CheckBegin(static_cast<o_char>(type), bytes, length, order, place);
    if (at != nullptr && status != KO_NOT_SUPPORTED)
        *at = place;
    return status;
}
