#ifndef KOSCALAROPS_H
#define KOSCALAROPS_H

#include "koscalartext.h"
#include "kotranslate.h"
#include "kovalueops.h"

/// Steps a sequence value of an integer type; see KoGetValueFunc.
template <class T>
int KoStepSequence(void* value, unsigned char format, unsigned char kind)
{
    if (format != KoFMT_MEMORY)
        return KoRC_NOT_SUPPORTED;
    auto& number = *static_cast<T*>(value);
    switch (kind) {
    case 'M':
    case 'N':
        if (number == std::numeric_limits<T>::max())
            return KoRC_OVERFLOW;
        ++number;
        return KoRC_OK;
    case 'O':
        return KoRC_OK;
    case 2:
        number = std::numeric_limits<T>::min();
        return KoRC_OK;
    default:
        return KoRC_NOT_SUPPORTED;
    }
}

/// The operations of a plain scalar type.
template <class Type>
struct ScalarOps : ValueOps<typename Type::Value, ScalarOps<Type>> {
    using T = typename Type::Value;
    using Text = ScalarText<Type>;
    using Encoder = typename Type::Encoder;
    static_assert(sizeof(T) == koTypeRows[Type::kId].memLen);

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

    static KoTypeConvertData* ConvertTo(void* value, unsigned count)
    {
        const auto* elements = static_cast<const T*>(value);
        return MakeTextRecord(
            count, [=](KoString& text, unsigned i) { text << Text::ToText(elements[i]); });
    }
    static void* ConvertFrom(KoTypeConvertData* data, unsigned count)
    {
        return ReadTextRecord<ScalarOps, T>(data, count, [](T& element, const KoString* text) {
            element = Text::FromText(text != nullptr ? *text : KoString::EmptyString());
        });
    }

    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        return KoTranslateElements<ScalarOps>(sizeof(T), destination, destinationFormat,
                                              destinationLength, source, sourceFormat, sourceLength,
                                              count);
    }

    static KoString& Print(KoString& text, void* value, const char* format, unsigned count)
    {
        format = FormatOr(format);
        const auto* elements = static_cast<const T*>(value);
        return KoPrintElements(
            text, count, [=](KoString& to, unsigned i) { Text::Print(to, elements[i], format); });
    }
    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        format = FormatOr(format);
        auto* elements = static_cast<T*>(value);
        KoScanElements(text, count, [=](const KoString& from, unsigned i) {
            Text::Scan(elements[i], from, format);
        });
        return value;
    }
    static int Parse(void* value, const KoString& text, const char* format, unsigned& errorAt)
    {
        return Text::Parse(*static_cast<T*>(value), text, FormatOr(format), errorAt);
    }

    static int GetValue(void* value, unsigned, unsigned char format, unsigned char kind)
    {
        if constexpr (Type::kSteps)
            return KoStepSequence<T>(value, format, kind);
        else
            return KoRC_NOT_SUPPORTED;
    }

    static const char* FormatOr(const char* format)
    {
        return format != nullptr ? format : koTypeRows[Type::kId].printFormat;
    }
};

#endif
