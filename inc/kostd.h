#ifndef KOSTD_H
#define KOSTD_H

/// The classes of values beside the standard library: order and hashes (koless.h), dates and times
/// (kochrono.h), and here UTF-8 texts, bytes, numbers, streams and std::format. Header-only;
/// kotms.h does not bring it in, since it gives `out << date` another meaning than it has without.

#include "kochrono.h"
#include "koless.h"
#include "kombs.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <version>

#if defined(__cpp_lib_format)
#include <format>
#endif

namespace ko
{

// ---- texts

/// The text in UTF-8, see kombs.h. A null string is no text; ask IsNullValue.
inline std::string ToUtf8(const KoString& text)
{
    std::string utf8(static_cast<std::size_t>(KoMBSLength(text, KoString::kToEnd)), '\0');
    KoString2KoMBS(text, utf8.data(), static_cast<int>(utf8.size()) + 1);
    return utf8;
}
/// The same of a text of Windows-1252.
inline std::string ToUtf8(const KoIStringText& text)
{
    KoString copy(text.StrGet());
    copy.SetCodeSetCode(KoCS_WINDOWS_1252);
    return ToUtf8(copy);
}

/// The string that UTF-8 means, in the default code set and language; in KoCS_UNICODE where that
/// code set lacks a character, so that none is replaced. Empty, with the reason in `error`, for
/// malformed UTF-8 and for a zero character, which no string holds (KoMBS_MALFORMED), for more than
/// a string holds (KoMBS_TOO_LONG), and where memory runs out (KoMBS_NO_MEMORY); `error` is 0
/// otherwise.
inline std::optional<KoString> FromUtf8(std::string_view utf8, int* error = nullptr)
{
    KoString text;
    int result = KoMBS_TOO_LONG;
    if (utf8.find('\0') != utf8.npos) {
        result = KoMBS_MALFORMED;
    } else if (utf8.size() <= INT_MAX) {
        const int size = static_cast<int>(utf8.size());
        result = KoMBS2KoString(utf8.data(), text, size);
        if (result == KoMBS_REPLACED) {
            text = KoString(KoCS_UNICODE, text.Language());
            result = KoMBS2KoString(utf8.data(), text, size);
        }
    }
    if (error != nullptr)
        *error = result;
    return result == 0 ? std::optional(std::move(text)) : std::nullopt;
}

/// The text of a value in UTF-8, as conversion makes it: `2024-02-29`, not a print format's
/// `Thu 29.Feb 2024`. Strings are their own text. Null is the null print string.
template <OrderedClass T>
std::string TextOf(const T& value)
{
    const KoTypeMgr types;
    if constexpr (std::derived_from<T, KoIStringText>) {
        return ToUtf8(value);
    } else if constexpr (TypedClass<T>) {
        if (types.IsNullValue(TypeIdOf<T>, &value) != 0)
            return ToUtf8(KoTypeMgr::GetNullPrintString());
        if constexpr (std::same_as<T, KoString>) {
            return ToUtf8(value);
        } else {
            const std::unique_ptr<KoTypeConvertData> texts(types.ConvertTo(TypeIdOf<T>, &value, 1));
            const KoString* text = texts != nullptr ? texts->GetString(0) : nullptr;
            return text != nullptr ? ToUtf8(*text) : std::string();
        }
    } else {
        KoString text;
        value.PrintToKoString(text, nullptr);
        return ToUtf8(text);
    }
}

// ---- bytes and numbers

/// The bytes of a blob, none for a null one. Valid until the next edit.
inline std::span<const std::byte> BytesOf(const KoBlob& blob)
{
    return std::as_bytes(std::span(blob.Seek(0, -1), static_cast<std::size_t>(blob.Length())));
}
inline std::span<std::byte> BytesOf(KoBlob& blob)
{
    return std::as_writable_bytes(
        std::span(blob.Seek(0, -1), static_cast<std::size_t>(blob.Length())));
}
/// A blob with a copy of the bytes, which is not null; empty for 2^31 bytes and more, and where
/// memory runs out.
inline std::optional<KoBlob> ToBlob(std::span<const std::byte> bytes)
{
    if (bytes.size() > INT_MAX)
        return std::nullopt;
    KoBlob blob(bytes.data(), static_cast<int>(bytes.size()));
    return blob.IsNullValue() ? std::nullopt : std::optional(std::move(blob));
}

/// The way back is the constructor.
constexpr std::int64_t ToInt64(const KoInt64& number)
{
    return static_cast<std::int64_t>(number.Get8b());
}

} // namespace ko

// ---- streams and std::format: ko::TextOf under the width and the filling that are asked for

/// Beside this one a class's own conversion to int is no choice: `out << date` is 2024-02-29, where
/// without this header it is the day number, and a string no error. It takes the classes
/// themselves; what merely converts to one stays as it was.
template <ko::OrderedClass T>
std::ostream& operator<<(std::ostream& out, const T& value)
{
    return out << ko::TextOf(value);
}

#if defined(__cpp_lib_format)
/// The format is that of a text: std::format("{:>12}", date).
template <ko::OrderedClass T>
struct std::formatter<T, char> : std::formatter<std::string_view, char> {
    template <class Context>
    auto format(const T& value, Context& context) const
    {
        return std::formatter<std::string_view, char>::format(ko::TextOf(value), context);
    }
};
#endif

#endif
