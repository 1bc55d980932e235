#ifndef KO_SCALAR_OPS_H
#define KO_SCALAR_OPS_H

#include "core/bounds.h"
#include "core/element_ops.h"
#include "scalar/text.h"

namespace ko
{

/// The operations of a plain scalar type.
template <class Type>
struct ScalarOps : ElementOps<typename Type::Value, ScalarOps<Type>, Type::kId> {
    using T = typename Type::Value;
    using Text = ScalarText<Type>;
    using Encoder = typename Type::Encoder;
    static constexpr bool kIsIntegral = Type::kIsIntegral;
    static constexpr std::string_view kTextFormat = Text::kTextFormat;

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return Encoder::Store(destination, source, format, count);
    }
    static unsigned Load(void* destination, const void* source, unsigned char format,
                         unsigned count)
    {
        return Encoder::Load(destination, source, format, count);
    }
    static unsigned NullSizeGet(unsigned count) { return Encoder::NullSizeGet(count); }
    static unsigned SizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                            unsigned count)
    {
        return Encoder::SizeGet(value, valueFormat, format, count);
    }
    static unsigned SizeGetFromMemFile(MemFile*, unsigned char format, unsigned count)
    {
        return Encoder::SizeGet(nullptr, KoFMT_MEMORY, format & KoFMT_ORDER_MASK, count);
    }

    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<ScalarAxis<Type>>(bounds, op, value, format, count, newBounds);
    }

    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        return NumbersSortKey<Type>(key, room, value, format, count);
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<T>(value, key, length, count, ReadNumberKey<Type>);
    }
    static unsigned FormSize(unsigned char) { return Type::kSize; }

    static KoString ToText(const T& element) { return Text::ToText(element); }
    static void FromText(T& element, const KoString* text)
    {
        element = Text::FromText(text != nullptr ? *text : KoString::EmptyString());
    }
    static void PrintOne(KoString& text, const T& element, const char* format)
    {
        Text::Print(text, element, format);
    }
    static void ScanOne(T& element, const KoString& text, const char* format)
    {
        Text::Scan(element, text, format);
    }
    static int ParseOne(T& element, const KoString& text, const char* format, unsigned& errorAt)
    {
        return Text::Parse(element, text, format, errorAt);
    }

    static constexpr KoParseAsciiFunc ParseAscii = []() -> KoParseAsciiFunc {
        if constexpr (Text::kIsByte)
            return nullptr;
        else
            return [](void* value, const char* text, std::size_t length, const char* format) {
                return Text::ParseAscii(*static_cast<T*>(value), text, length, format);
            };
    }();

    static int GetValue(void* value, unsigned, unsigned char format, unsigned char kind)
    {
        if constexpr (Type::kSteps)
            return StepSequence<T>(value, format, kind);
        else
            return KoRC_NOT_SUPPORTED;
    }
};

} // namespace ko

#endif
