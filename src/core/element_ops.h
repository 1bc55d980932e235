#ifndef KO_CORE_ELEMENT_OPS_H
#define KO_CORE_ELEMENT_OPS_H

#include "core/translate.h"
#include "core/validate.h"
#include "core/value_ops.h"
#include "number/string_number.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ko
{

/// Appends the texts of `count` elements, with a comma between two; `print(text, i)` appends one.
template <class Print>
KoString& PrintElements(KoString& text, unsigned count, Print print)
{
    for (unsigned i = 0; i < count; ++i) {
        if (i > 0)
            text << ',';
        print(text, i);
    }
    return text;
}

/// Reads `count` elements from texts with a comma between two; `scan(text, i)` reads one. A single
/// element takes the whole text; elements beyond the last comma get an empty one.
/// `commasFrom(at)` tells how many commas the element that starts at a position has within.
template <class Scan, class Commas>
void ScanElements(const KoString& text, unsigned count, Scan scan, Commas commasFrom)
{
    if (count == 1) {
        scan(text, 0U);
        return;
    }
    const NarrowText narrow(text);
    std::size_t at = 0;
    for (unsigned i = 0; i < count; ++i) {
        const char* const last = narrow.Data() + narrow.Length();
        const char* comma = std::find(narrow.Data() + at, last, ',');
        for (unsigned within = commasFrom(at); within > 0 && comma != last; --within)
            comma = std::find(comma + 1, last, ',');
        const auto end = static_cast<std::size_t>(comma - narrow.Data());
        scan(at < end ? text.Copy(static_cast<unsigned short>(at), static_cast<short>(end - at))
                      : KoString(),
             i);
        at = std::min(end + 1, narrow.Length());
    }
}

/// The same for elements without a comma.
template <class Scan>
void ScanElements(const KoString& text, unsigned count, Scan scan)
{
    ScanElements(text, count, scan, [](std::size_t) { return 0U; });
}

/// Steps a sequence value of an integer type; see KoGetValueFunc.
template <class T>
int StepSequence(void* value, unsigned char format, unsigned char kind)
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

/// What is the same for types of elements of a fixed length without owned parts, over operations on
/// one element:
///
///     static KoString ToText(const T& element);         // FromText makes the same value of it
///     static void FromText(T& element, const KoString* text);  // null: no text
///     static void PrintOne(KoString& text, const T& element, const char* format);
///     static void ScanOne(T& element, const KoString& text, const char* format);
///     static int ParseOne(T& element, const KoString& text, const char* format,
///                         unsigned& errorAt);
///
/// and over `Store`, `Load` and
///
///     static unsigned FormSize(unsigned char format);  // bytes of an element to compare
///
/// Types whose stored elements have another length than this hide the three sizes.
template <class T, class Ops, KoTypeId id>
struct ElementOps : ValueOps<T, Ops> {
    static_assert(sizeof(T) == kTypeRows[id].memLen);

    static unsigned NullSizeGet(unsigned count) { return Ops::FormSize(KoFMT_LITTLE) * count; }
    static unsigned SizeGet(const void*, unsigned char, unsigned char format, unsigned count)
    {
        return Ops::FormSize(format) * count;
    }
    static unsigned SizeGetFromMemFile(MemFile*, unsigned char format, unsigned count)
    {
        return Ops::FormSize(format) * count;
    }

    static KoTypeConvertData* ConvertTo(void* value, unsigned count)
    {
        const auto* elements = static_cast<const T*>(value);
        return MakeTextRecord(count, [=](KoString& text, unsigned i) {
            const KoString made = Ops::ToText(elements[i]);
            if (made.IsNullValue())
                text.SetNullValue();
            else
                text += made; // in the code set of the new text
        });
    }
    static void* ConvertFrom(KoTypeConvertData* data, unsigned count)
    {
        return ReadTextRecord<Ops, T>(
            data, count, [](T& element, const KoString* text) { Ops::FromText(element, text); });
    }

    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        return TranslateElements<Ops>(sizeof(T), destination, destinationFormat, destinationLength,
                                      source, sourceFormat, sourceLength, count);
    }

    static KoString& Print(KoString& text, void* value, const char* format, unsigned count)
    {
        format = FormatOr(format);
        const auto* elements = static_cast<const T*>(value);
        return PrintElements(
            text, count, [=](KoString& to, unsigned i) { Ops::PrintOne(to, elements[i], format); });
    }
    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        format = FormatOr(format);
        auto* elements = static_cast<T*>(value);
        ScanElements(text, count, [=](const KoString& from, unsigned i) {
            Ops::ScanOne(elements[i], from, format);
        });
        return value;
    }
    static int Parse(void* value, const KoString& text, const char* format, unsigned& errorAt)
    {
        return Ops::ParseOne(*static_cast<T*>(value), text, FormatOr(format), errorAt);
    }

    /// Any bytes are a value; types of which that is not true hide it. Under every format with bit
    /// 3 translating reads elements in memory, also where comparing wants that format alone.
    static int Validate(const void*, std::size_t size, unsigned char format, unsigned count,
                        std::size_t& at)
    {
        const bool memory = (format & KoFMT_MEMORY) != 0;
        const unsigned width = memory ? static_cast<unsigned>(sizeof(T)) : Ops::FormSize(format);
        return ValidateElements(size, width, count, at);
    }

    /// What Store writes and Load reads, which under a format with bit 3 is not the form of memory.
    static int Measure(const void*, std::size_t size, unsigned char format, unsigned count,
                       std::size_t& at)
    {
        return ValidateElements(size, Ops::SizeGetFromMemFile(nullptr, format, 1), count, at);
    }

    static const char* FormatOr(const char* format)
    {
        return format != nullptr ? format : kTypeRows[id].printFormat;
    }
};

} // namespace ko

#endif
