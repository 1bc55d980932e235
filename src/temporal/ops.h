#ifndef KO_TEMPORAL_OPS_H
#define KO_TEMPORAL_OPS_H

#include "core/element_ops.h"
#include "core/hash_walk.h"
#include "core/whole_text.h"
#include "temporal/axis.h"
#include "temporal/field_list.h"
#include "temporal/fields.h"
#include "temporal/layout.h"

#include <koclock.h>

/// The operations of the temporal types, told for each by a traits struct:
///
///     struct DateType : PackedElements<TemporalLayout<true, 2>> {
///         using Value = KoDate;
///         static constexpr KoTypeId kId = KoDATE_T;
///         static constexpr TemporalKind kKind = TemporalKind::kDate;
///         static TemporalFields ToFields(const KoDate& value);     // of a value that is not null
///         static KoDate FromFields(const TemporalFields& fields);  // likewise
///         static KoDate FromStamp(const KoTimeStampRec& clock);    // where it takes a reading
///     };
///
/// and, where the texts of directives do not make the same value again, by texts of its own:
///
///         static KoString ToText(const T& value);
///         static T FromText(const KoString& text);
///
/// A class with a Compare is compared by it in memory, all others as they are in persistent form.

namespace ko
{

template <class Value>
bool IsNullTemporal([[maybe_unused]] const Value& value)
{
    if constexpr (HasNullValue<Value>)
        return value.IsNullValue() != 0;
    else
        return false;
}

template <class Type>
void PrintWholeText(KoString& out, const typename Type::Value& value);

/// Appends the text of one value.
template <class Type>
void PrintTemporalValue(KoString& out, const typename Type::Value& value, const char* format)
{
    if (IsNullTemporal(value))
        return PrintTemporalNull(out);
    if (IsWholeText(format)) [[unlikely]]
        return PrintWholeText<Type>(out, value);
    // Made here and not assigned to: a copy of fields that were just written waits until they are
    // stored.
    TemporalFields fields = Type::ToFields(value);
    fields.kind = Type::kKind;
    PrintTemporal(out, fields, format);
}

template <class Type>
void SetTemporalValue(typename Type::Value& value, const TemporalFields& fields)
{
    if constexpr (HasNullValue<typename Type::Value>) {
        if (fields.isNull) {
            value.SetNullValue();
            return;
        }
    }
    value = Type::FromFields(fields);
}

/// The text from which FromText makes the same value, which is not null.
template <class Type>
KoString ConvertedText(const typename Type::Value& value)
{
    if constexpr (requires { Type::ToText(value); }) {
        return Type::ToText(value);
    } else {
        KoString text;
        PrintTemporalValue<Type>(text, value, nullptr);
        return text;
    }
}

/// Reads one value strictly.
template <class Type>
int ParseTemporalValue(typename Type::Value& value, const KoString& text, const char* format,
                       unsigned& errorAt)
{
    using Fields = typename Type::Fields;
    if (IsWholeText(format)) {
        if (IsFieldList(text)) {
            unsigned char stored[Fields::kStoredSize];
            const int result = ParseFieldList(stored, FieldShapeOf<Fields>(), text, errorAt);
            if (result == 0)
                CopyTemporal<Fields>(&value, stored, KoFMT_BIG, 1, true);
            return result;
        }
        if constexpr (requires { Type::ParseText(value, text, errorAt); })
            return Type::ParseText(value, text, errorAt);
    }
    TemporalFields fields;
    fields.kind = Type::kKind;
    const int result = ParseTemporal(fields, text, format, errorAt);
    if (result == 0)
        SetTemporalValue<Type>(value, fields);
    return result;
}

/// Most values have the text of a conversion. What strict reading does not take from it, dates that
/// do not exist and hours out of range, is the list of the stored fields.
template <class Type>
void PrintWholeText(KoString& out, const typename Type::Value& value)
{
    using Fields = typename Type::Fields;
    const KoString text = ConvertedText<Type>(value);
    typename Type::Value back = value;
    unsigned errorAt;
    unsigned char stored[2][Fields::kStoredSize];
    CopyTemporal<Fields>(stored[0], &value, KoFMT_BIG, 1, false);
    if (ParseTemporalValue<Type>(back, text, kWholeText, errorAt) == 0) {
        CopyTemporal<Fields>(stored[1], &back, KoFMT_BIG, 1, false);
        if (std::memcmp(stored[0], stored[1], Fields::kStoredSize) == 0) {
            out += text;
            return;
        }
    }
    PrintFieldList(out, stored[0], FieldShapeOf<Fields>());
}

/// Reads one value leniently; the whole text of one strictly, where it is one.
template <class Type>
void ScanTemporalValue(typename Type::Value& value, const KoString& in, const char* format)
{
    if (IsWholeText(format)) {
        unsigned errorAt;
        if (ParseTemporalValue<Type>(value, in, format, errorAt) == 0)
            return;
        format = nullptr;
        if constexpr (requires { Type::FromText(in); }) {
            value = Type::FromText(in);
            return;
        }
    }
    TemporalFields fields;
    fields.kind = Type::kKind;
    // What a text that ends early held is kept all the same.
    ScanTemporal(fields, in, format);
    SetTemporalValue<Type>(value, fields);
}

template <class Type>
struct TemporalOps : ElementOps<typename Type::Value, TemporalOps<Type>, Type::kId> {
    using T = typename Type::Value;
    using Layout = typename Type::Fields;
    static_assert(Layout::kMemorySize == sizeof(T) && std::is_trivially_copyable_v<T>);

    /// The clock is read by default constructors alone: a new element is all zero.
    static void ConstructOne(void* memory) { std::memset(memory, 0, sizeof(T)); }

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return CopyTemporal<Layout>(destination, source, format, count, false);
    }
    static unsigned Load(void* destination, const void* source, unsigned char format,
                         unsigned count)
    {
        return CopyTemporal<Layout>(destination, source, format, count, true);
    }
    static constexpr KoStampFunc Stamp = []() -> KoStampFunc {
        if constexpr (requires(const KoTimeStampRec& clock) { Type::FromStamp(clock); })
            return [](void* value, const KoTimeStampRec& clock) {
                *static_cast<T*>(value) = Type::FromStamp(clock);
            };
        else
            return nullptr;
    }();

    static unsigned FormSize(unsigned char format) { return Layout::Size(format); }

    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short cmpOp, unsigned count, int& status)
    {
        if (count != 1 || (length1 | length2) != 0)
            return CmpArray(format, length1, value1, length2, value2, cmpOp, count, status);
        status = KoRC_OK;
        return WithOrder(format, cmpOp, [=](auto order) {
            return order(static_cast<const unsigned char*>(value1),
                         static_cast<const unsigned char*>(value2));
        });
    }

    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        const bool big = IsBigEndian(format);
        const bool memory = (format & KoFMT_MEMORY) != 0;
        return HashWalk(length, value, Layout::Size(format), count, status,
                        [=](Hasher& hasher, const unsigned char* element) {
                            Type::AddHash(hasher, element, big, memory);
                        });
    }

    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<TemporalAxis<Type>>(bounds, op, value, format, count, newBounds);
    }

    /// Where fields of -1 are wildcards there is no order.
    static bool HasKeys(unsigned short cmpOp)
    {
        return !KindHasWildcards(Type::kKind) || (cmpOp & kKoCmpStrictBit) != 0;
    }
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short cmpOp)
    {
        if (!HasKeys(cmpOp))
            return 0;
        const bool big = IsBigEndian(format);
        const bool memory = (format & KoFMT_MEMORY) != 0;
        return WriteElementKeys<Type::kKeySize>(key, room, value, Layout::Size(format), count,
                                                [=](unsigned char* out, const unsigned char* at) {
                                                    Type::PutKey(out, at, big, memory);
                                                    return Type::kKeySize;
                                                });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short cmpOp)
    {
        if (!HasKeys(cmpOp))
            return KoRC_NOT_SUPPORTED;
        if (key == nullptr || length != o_u8b{count} * Type::kKeySize)
            return length == 0 && count == 0 ? KoRC_OK : KoRC_DAMAGED;
        const auto* at = static_cast<const unsigned char*>(key);
        for (unsigned i = 0; i < count; ++i, at += Type::kKeySize) {
            unsigned char stored[Type::kKeySize];
            Type::FromKey(stored, at);
            Load(static_cast<T*>(value) + i, stored, KoFMT_BIG, 1);
        }
        return KoRC_OK;
    }

    static KoString ToText(const T& value)
    {
        if (!IsNullTemporal(value))
            return ConvertedText<Type>(value);
        KoString text;
        text.SetNullValue();
        return text;
    }
    static void FromText(T& value, const KoString* text)
    {
        TemporalFields null;
        null.isNull = true;
        if (text == nullptr)
            SetTemporalValue<Type>(value, null);
        else if constexpr (requires { Type::FromText(*text); })
            value = Type::FromText(*text);
        else
            ScanTemporalValue<Type>(value, *text, nullptr);
    }
    static constexpr std::string_view kTextFormat = kWholeText;
    static void PrintOne(KoString& text, const T& value, const char* format)
    {
        PrintTemporalValue<Type>(text, value, format);
    }
    static void ScanOne(T& value, const KoString& text, const char* format)
    {
        ScanTemporalValue<Type>(value, text, format);
    }
    static int ParseOne(T& value, const KoString& text, const char* format, unsigned& errorAt)
    {
        return ParseTemporalValue<Type>(value, text, format, errorAt);
    }

private:
    // Apart from Cmp, so that a single stored pair, as most calls have it, does not pay for the
    // registers of a walk and of the fields of a class.

    [[gnu::noinline]] static int CmpArray(unsigned char format, unsigned length1,
                                          const void* value1, unsigned length2, const void* value2,
                                          unsigned short cmpOp, unsigned count, int& status)
    {
        return WithOrder(format, cmpOp, [&](auto order) {
            return CompareWalk(length1, value1, length2, value2, Layout::Size(format), count,
                               status, order);
        });
    }

    [[gnu::noinline]] static int OrderInMemory(const unsigned char* a, const unsigned char* b,
                                               unsigned short cmpOp)
    {
        return ReadValue<T>(a).Compare(ReadValue<T>(b), cmpOp);
    }

    /// Gives `use` the order of two elements of a format.
    template <class Use>
    static int WithOrder(unsigned char format, unsigned short cmpOp, Use use)
    {
        const bool strict = !KindHasWildcards(Type::kKind) || (cmpOp & kKoCmpStrictBit) != 0;
        if constexpr (requires(const T& value) { value.Compare(value, cmpOp); }) {
            if ((format & KoFMT_MEMORY) != 0)
                return use([cmpOp](const unsigned char* a, const unsigned char* b) {
                    return OrderInMemory(a, b, cmpOp);
                });
        }
        const auto stored = [&](auto big) {
            if (strict)
                return use([=](const unsigned char* a, const unsigned char* b) {
                    return Type::template OrderStored<true>(a, b, big.value);
                });
            return use([=](const unsigned char* a, const unsigned char* b) {
                return Type::template OrderStored<false>(a, b, big.value);
            });
        };
        return IsBigEndian(format) ? stored(std::true_type()) : stored(std::false_type());
    }
};

} // namespace ko

#endif
