#include "number/format.h"
#include "scalar/list.h"
#include "scalar/ops.h"

#include <kotypcmp.h>
#include <kotypconv.h>
#include <kotyphash.h>

namespace ko
{

namespace
{

/// Text of o_char, whose arrays are one text under "%c".
struct CharTextOps : ScalarOps<CharType> {
    static NumFormat ParseFormat(const char* format)
    {
        return ParseNumFormat(FormatOr(format), DefaultNumFormat(8, true));
    }

    static KoString& Print(KoString& text, void* value, const char* format, unsigned count)
    {
        const NumFormat parsed = ParseFormat(format);
        if (parsed.conversion != 'c' || IsWholeText(format))
            return ScalarOps::Print(text, value, format, count);
        if (count == 0)
            return text;
        NumBody body{};
        body.digits = static_cast<const char*>(value);
        while (body.digitCount < count && body.digits[body.digitCount] != '\0')
            ++body.digitCount;
        const std::size_t length = WriteNumField(nullptr, 0, parsed, body);
        TextRoom room(length + 1);
        const std::size_t kept = std::min(length, room.Size() - 1);
        WriteNumField(room.Data(), kept, parsed, body);
        room.Data()[kept] = '\0';
        return text << static_cast<const char*>(room.Data());
    }

    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        const NumFormat parsed = ParseFormat(format);
        if (parsed.conversion != 'c' || count < 2)
            return ScalarOps::Scan(value, text, format, count);
        const SingleByteText bytes(text);
        NumCursor cursor(bytes.Get().StrGet(), bytes.Get().Len());
        if (!cursor.Match(parsed.prefix, parsed.prefixEnd, false))
            return value;
        std::size_t taken =
            std::min<std::size_t>(count, static_cast<std::size_t>(cursor.end - cursor.pos));
        if (parsed.width > 0)
            taken = std::min<std::size_t>(taken, parsed.width);
        std::memset(value, 0, count);
        std::memcpy(value, cursor.pos, taken);
        return value;
    }
};

} // namespace

// The slots of functions with exported names hold these functions.
#define KO_SCALAR_TYPE(descriptor, Type, Order, Text, TextOps)                                     \
    struct descriptor##Ops : ScalarOps<Type> {                                                     \
        static constexpr KoTypeCmpFunc Cmp = Order##Compare;                                       \
        static constexpr KoHashFunc Hash = Order##Hash;                                            \
        static constexpr KoConvertToFunc ConvertTo = Text##ConvertToKoString;                      \
        static constexpr KoConvertFromFunc ConvertFrom = Text##ConvertFromKoString;                \
        static constexpr KoPrintFunc Print = Text##PrintToKoString;                                \
        static constexpr KoScanFunc Scan = Text##ScanFromKoString;                                 \
        static constexpr KoPrintFunc kPrintsArray =                                                \
            Type::kId == Ko1B_T ? Text##PrintToKoString : nullptr;                                 \
    };                                                                                             \
    KO_DEFINE_TYPE(descriptor, descriptor##Ops, Type::kId)

KO_SCALAR_LIST(KO_SCALAR_TYPE, KO_SCALAR_TYPE)

} // namespace ko

using namespace ko;

#define KO_SCALAR_TEXT(descriptor, Type, Order, Text, TextOps)                                     \
    KoTypeConvertData* Text##ConvertToKoString(void* value, unsigned count)                        \
    {                                                                                              \
        return TextOps::ConvertTo(value, count);                                                   \
    }                                                                                              \
    void* Text##ConvertFromKoString(KoTypeConvertData* data, unsigned count)                       \
    {                                                                                              \
        return TextOps::ConvertFrom(data, count);                                                  \
    }                                                                                              \
    KoString& Text##PrintToKoString(KoString& text, void* value, const char* format,               \
                                    unsigned count)                                                \
    {                                                                                              \
        return TextOps::Print(text, value, format, count);                                         \
    }                                                                                              \
    void* Text##ScanFromKoString(void* value, KoString& text, const char* format, unsigned count)  \
    {                                                                                              \
        return TextOps::Scan(value, text, format, count);                                          \
    }

KO_SCALAR_LIST(KO_SCALAR_TEXT, KO_SCALAR_TEXT)
