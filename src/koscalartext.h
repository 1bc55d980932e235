#ifndef KOSCALARTEXT_H
#define KOSCALARTEXT_H

#include "konumformat.h"
#include "konumstring.h"
#include "koscalartype.h"

#include <kostring.h>
#include <kotmsdll.h>

/// Text of the scalar types, one element at a time.

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
            KoAppendNumber(text, value, kIsBlockId ? "#%lu" : "%d");
            return text;
        } else if constexpr (std::same_as<T, o_u2b>) {
            return KoString(int{value}); // KoString(o_u2b) is a character
        } else if constexpr (std::floating_point<T>) {
            KoString text;
            KoAppendShortest(text, value);
            return text;
        } else {
            return KoString(value);
        }
    }

    /// 0 where the text holds no value.
    static T FromText(const KoString& text)
    {
        if constexpr (kIsByte) {
            const KoByteText byte(text);
            return byte.Get().IsEmpty() ? T{} : static_cast<T>(*byte.Get().StrGet());
        } else if constexpr (kIsBlockId) {
            T value = 0;
            if (!KoScanNumber(value, text, "#%lu"))
                KoScanNumber(value, text, "%lu");
            return value;
        } else if constexpr (std::same_as<T, o_u8b>) {
            // A KoString converts to signed numbers only: this is the same reading, unsigned.
            T value = 0;
            KoScanNumber(value, text, (___KoTypeMgrOptions() & 1) != 0 ? "%d" : "%i");
            return value;
        } else if constexpr (std::floating_point<T>) {
            // It does not go through double: rounding twice can give another float.
            T value = 0;
            KoScanNumber(value, text, kFloatingFormat);
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
            return KoScanNumber(value, KoByteText(text).Get(), format);
        else
            return KoScanNumber(value, text, format);
    }

    static int Parse(T& value, const KoString& text, const char* format, unsigned& errorAt)
    {
        if constexpr (kIsByte) {
            const KoByteText byte(text);
            if (!byte.IsExact()) {
                errorAt = 0;
                return -1;
            }
            return KoParseNumber(value, byte.Get(), format, errorAt);
        } else {
            return KoParseNumber(value, text, format, errorAt);
        }
    }
};

#endif
