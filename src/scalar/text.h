#ifndef KO_SCALAR_TEXT_H
#define KO_SCALAR_TEXT_H

#include "core/whole_text.h"
#include "number/ascii.h"
#include "number/format.h"
#include "number/string_number.h"
#include "scalar/type.h"

#include <kostring.h>
#include <kotmsdll.h>

/// Text of the scalar types, one element at a time.

namespace ko
{

template <class Type>
struct ScalarText {
    using T = typename Type::Value;
    static constexpr bool kIsByte = sizeof(T) == 1;
    static constexpr bool kIsBlockId = Type::kId == KoBLOCKID_T;

    /// The text from which FromText makes the same value again.
    static KoString ToText(T value)
    {
        if constexpr (std::same_as<T, o_char>) {
            return KoString(static_cast<char>(value));
        } else if constexpr (kIsBlockId || std::is_class_v<T>) {
            KoString text;
            AppendNumber(text, value, kIsBlockId ? "#%lu" : "%d");
            return text;
        } else if constexpr (std::same_as<T, o_u2b>) {
            return KoString(int{value}); // KoString(o_u2b) is a character
        } else if constexpr (std::floating_point<T>) {
            KoString text;
            AppendShortest(text, value);
            return text;
        } else {
            return KoString(value);
        }
    }

    /// 0 where the text holds no value.
    static T FromText(const KoString& text)
    {
        if constexpr (kIsByte) {
            const SingleByteText byte(text);
            return byte.Get().IsEmpty() ? T{} : static_cast<T>(*byte.Get().StrGet());
        } else if constexpr (kIsBlockId) {
            T value = 0;
            if (!ScanNumber(value, text, "#%lu"))
                ScanNumber(value, text, "%lu");
            return value;
        } else if constexpr (std::same_as<T, o_u8b>) {
            // A KoString converts to signed numbers only: this is the same reading, unsigned.
            T value = 0;
            ScanNumber(value, text, (___KoTypeMgrOptions() & 1) != 0 ? "%d" : "%i");
            return value;
        } else if constexpr (std::floating_point<T>) {
            // It does not go through double: rounding twice can give another float.
            T value = 0;
            ScanNumber(value, text, kFloatingFormat);
            return value;
        } else if constexpr (std::same_as<T, o_u4b> || sizeof(T) == 8) {
            // 32 bits without sign are written with "%d" and read through 64 bits, so that both
            // spellings of the upper half, "-1" and "4294967295", give the same value.
            return static_cast<T>(static_cast<o_8b>(text));
        } else {
            return static_cast<T>(static_cast<int>(text));
        }
    }

    /// False, with the value as it was, where the text holds none.
    static bool Scan(T& value, const KoString& text, const char* format)
    {
        if constexpr (kIsByte)
            return ScanNumber(value, SingleByteText(text).Get(), format);
        else
            return ScanNumber(value, text, format);
    }

    static constexpr std::string_view kTextFormat =
        kIsByte || std::floating_point<T> ? kWholeText : std::string_view();

    static void Print(KoString& text, T value, const char* format)
    {
        if constexpr (!kTextFormat.empty()) {
            if (IsWholeText(format)) {
                if constexpr (kIsByte)
                    AppendByte(text, static_cast<unsigned char>(value));
                else
                    AppendShortest(text, value);
                return;
            }
        }
        AppendNumber(text, value, format);
    }

    static int Parse(T& value, const KoString& text, const char* format, unsigned& errorAt)
    {
        if constexpr (std::floating_point<T>)
            format = IsWholeText(format) ? kFloatingFormat : format;
        if constexpr (kIsByte) {
            const SingleByteText byte(text);
            if (IsWholeText(format))
                return ParseByte(value, byte, errorAt);
            if (!byte.IsExact()) {
                errorAt = 0;
                return -1;
            }
            return ParseNumber(value, byte.Get(), format, errorAt);
        } else {
            return ParseNumber(value, text, format, errorAt);
        }
    }

    /// Of numbers; see KoParseAsciiFunc.
    static bool ParseAscii(T& value, const char* text, std::size_t length, const char* format)
    {
        static_assert(!kIsByte);
        using Number = std::conditional_t<std::is_class_v<T>, o_8b, T>;
        if constexpr (std::floating_point<T>)
            format = IsWholeText(format) ? kFloatingFormat : format;
        Number number{};
        unsigned errorAt;
        if (ParseNumber(number, text, length, format, errorAt) != 0)
            return false;
        value = number;
        return true;
    }

private:
    // The whole text of a byte: itself where it is a printable character of ASCII, and "\x" with
    // two hexadecimal digits. So it does not depend on the default code set, and 0 is no empty
    // text.

    static void AppendByte(KoString& text, unsigned char byte)
    {
        if (byte >= ' ' && byte < 0x7F)
            text << static_cast<char>(byte);
        else
            AppendNumber(text, o_u2b{byte}, "\\x%02X");
    }
    static int ParseByte(T& value, const SingleByteText& text, unsigned& errorAt)
    {
        constexpr unsigned kEscaped = 4;
        const char* const bytes = text.Get().StrGet();
        const unsigned length = text.Get().Len();
        if (length == 1 && text.IsExact()) {
            value = static_cast<T>(*bytes);
            return 0;
        }
        const char* const expected = "\\x";
        unsigned at = 0;
        while (at < length && at < kEscaped &&
               (at < 2 ? bytes[at] == expected[at] : HexValue(bytes[at]) >= 0))
            ++at;
        if (at == kEscaped && length == kEscaped) {
            value = static_cast<T>(HexValue(bytes[2]) * 16 + HexValue(bytes[3]));
            return 0;
        }
        // Of several characters that begin with another one than a backslash the first belongs.
        errorAt = at == 0 && length > 1 && text.IsExact() ? 1 : at;
        return -1;
    }
};

} // namespace ko

#endif
