#ifndef KO_SCALAR_NULLABLE_H
#define KO_SCALAR_NULLABLE_H

#include "core/memory_watch.h"
#include "core/sort_key.h"
#include "scalar/ops.h"
#include "string/null_text.h"

#include <_konulty.h>

namespace ko
{

/// Where the parts of one null-capable element stand, in the form that a format byte names for
/// comparing and hashing: elements as they lie in memory (bit 3), or persistent ones.
template <class Base>
struct NullElementForm {
    using Element = KoNull<typename Base::Value>;

    explicit NullElementForm(unsigned char format)
        : memory((format & KoFMT_MEMORY) != 0), swap(KoNeedsSwap(format)),
          size(memory ? static_cast<unsigned>(sizeof(Element)) : Base::kSize + 1)
    {
    }

    bool IsNull(const unsigned char* element) const
    {
        // On disk 1 alone means null; in memory everything but 0.
        return memory ? element[Base::kSize] != 0 : element[0] == 1;
    }
    typename Base::Value Value(const unsigned char* element) const
    {
        return Base::Read(memory ? element : element + 1, swap);
    }

    bool memory;
    bool swap;
    unsigned size;
};

/// The operations of a null-capable scalar over those of its base type.
///
/// A persistent element is the value in the base type's form and an indicator byte, 1 or 0. The
/// indicator stands first; under a format with bit 3 it stands last.
template <class Base, KoTypeId id>
struct NullOps : ElementOps<KoNull<typename Base::Value>, NullOps<Base, id>, id> {
    using T = typename Base::Value;
    using Element = KoNull<T>;
    using Text = ScalarText<Base>;
    using Encoder = typename Base::Encoder;
    static constexpr unsigned kStoredSize = Base::kSize + 1;
    static constexpr std::string_view kTextFormat = Text::kTextFormat;
    static_assert(sizeof(T) == Base::kSize);
    static_assert(alignof(Element) == alignof(T) && offsetof(Element, null) == sizeof(T));

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        const bool valueFirst = (format & KoFMT_MEMORY) != 0;
        const auto* elements = static_cast<const Element*>(source);
        auto* out = static_cast<unsigned char*>(destination);
        for (unsigned i = 0; i < count; ++i, out += kStoredSize) {
            Encoder::Store(out + (valueFirst ? 0 : 1), &elements[i].value,
                           format & KoFMT_ORDER_MASK, 1);
            out[valueFirst ? Base::kSize : 0] = elements[i].null != 0 ? 1 : 0;
        }
        return count * kStoredSize;
    }
    static unsigned Load(void* destination, const void* source, unsigned char format,
                         unsigned count)
    {
        const bool valueFirst = (format & KoFMT_MEMORY) != 0;
        auto* elements = static_cast<Element*>(destination);
        const auto* in = static_cast<const unsigned char*>(source);
        for (unsigned i = 0; i < count; ++i, in += kStoredSize) {
            // Stored data exists with indicators other than 0 and 1: they are not null.
            if (in[valueFirst ? Base::kSize : 0] == 1) {
                elements[i].SetNullValue();
                continue;
            }
            Encoder::Load(&elements[i].value, in + (valueFirst ? 0 : 1), format & KoFMT_ORDER_MASK,
                          1);
            elements[i].null = 0;
        }
        return count * kStoredSize;
    }
    static unsigned NullSizeGet(unsigned count)
    {
        return Encoder::SizeGet(nullptr, 0, 0, count) + count;
    }
    static unsigned SizeGet(const void*, unsigned char, unsigned char, unsigned count)
    {
        return NullSizeGet(count);
    }
    static unsigned SizeGetFromMemFile(MemFile*, unsigned char, unsigned count)
    {
        return NullSizeGet(count);
    }

    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short, unsigned count, int& status)
    {
        const NullElementForm<Base> form(format);
        return CompareWalk(length1, value1, length2, value2, form.size, count, status,
                           [&form](const unsigned char* a, const unsigned char* b) {
                               const bool null1 = form.IsNull(a);
                               const bool null2 = form.IsNull(b);
                               if (null1 != null2)
                                   return KoNullRelationOrder(null1 ? KoNULL_FIRST : KoNULL_SECOND);
                               return null1 ? 0 : Base::Order(form.Value(a), form.Value(b));
                           });
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        const NullElementForm<Base> form(format);
        return HashWalk(length, value, form.size, count, status,
                        [&form](Hasher& hasher, const unsigned char* element) {
                            if (form.IsNull(element))
                                hasher.Add(kHashWordOfNull);
                            else
                                Base::AddHash(hasher, form.Value(element));
                        });
    }

    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        if (count == 0)
            return 0.0F;
        using Axis = ScalarAxis<Base>;
        const NullElementForm<Base> form(format);
        const unsigned bits = op & kQueryMask;
        double estimate = 0.0;
        if (bounds != nullptr) {
            const auto point = [&form](const void* at) {
                const auto* element = static_cast<const unsigned char*>(at);
                return NullPoint{Axis::From(form.Value(element)), form.IsNull(element)};
            };
            // Null comes first, so an open low end is null.
            const NullPoint low =
                bounds->low != nullptr ? point(bounds->low) : NullPoint{0.0, true};
            const NullPoint high = bounds->high != nullptr
                                       ? point(bounds->high)
                                       : NullPoint{Axis::From(Axis::Highest()), false};
            estimate =
                NullRangeCount(bits, point(value), low, high) / (high.number - low.number + 1.0);
        }
        NarrowBounds(newBounds, bits, value, form.size * count);
        return ShareOf(estimate);
    }

    /// One byte before the key of the value, and alone for null.
    static constexpr unsigned char kKeyOfNull = 0x00;
    static constexpr unsigned char kKeyOfValue = 0x01;

    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        const NullElementForm<Base> form(format);
        return WriteElementKeys<kStoredSize>(key, room, value, form.size, count,
                                             [&form](unsigned char* out, const unsigned char* at) {
                                                 const bool null = form.IsNull(at);
                                                 *out = null ? kKeyOfNull : kKeyOfValue;
                                                 if (!null)
                                                     PutKeyWord(out + 1,
                                                                Base::KeyBits(form.Value(at)));
                                                 return null ? 1U : kStoredSize;
                                             });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<Element>(
            value, key, length, count,
            [](Element& element, const unsigned char* at, unsigned left) {
                element.null = left > 0 && *at == kKeyOfNull ? 1 : 0;
                if (element.null != 0)
                    return 1U;
                const bool begins = left > 0 && *at == kKeyOfValue;
                return begins && ReadNumberKey<Base>(element.value, at + 1, left - 1) != 0
                           ? kStoredSize
                           : 0U;
            });
    }
    /// The indicator of a persistent element is 0 or 1; in memory it is any number.
    static int Validate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                        std::size_t& at)
    {
        const NullElementForm<Base> form(format);
        if (form.memory)
            return ValidateElements(size, form.size, count, at);
        return ValidateElements(
            bytes, size, form.size, count, at,
            [&form](const unsigned char* element) { return *element <= 1 ? form.size : 0; });
    }

    static KoString ToText(const Element& element)
    {
        if (element.null == 0)
            return Text::ToText(element.value);
        KoString text;
        text.SetNullValue();
        return text;
    }
    static void FromText(Element& element, const KoString* text)
    {
        if (text == nullptr || text->IsEmpty())
            element.SetNullValue();
        else
            element = Element{Text::FromText(*text), 0};
    }
    static void PrintOne(KoString& text, const Element& element, const char* format)
    {
        if (element.null != 0)
            text += KoTypeMgr::GetNullPrintString();
        else
            Text::Print(text, element.value, format);
    }
    static void ScanOne(Element& element, const KoString& text, const char* format)
    {
        // A null print string may begin as numbers do: "-" must not take "-5" for null.
        const MemoryWatch memory;
        const bool isNull = MeansNullOrIsEmpty(text, true);
        if (memory.HasRunOut()) // whether it is cannot be told
            return;
        if (!isNull && Text::Scan(element.value, text, format))
            element.null = 0;
        else if (isNull || MeansNullOrIsEmpty(text, false))
            element.SetNullValue();
    }
    /// What begins as the null print string does is left to the reader of strings.
    static constexpr KoParseAsciiFunc ParseAscii = []() -> KoParseAsciiFunc {
        if constexpr (Text::kIsByte)
            return nullptr;
        else
            return [](void* value, const char* text, std::size_t length, const char* format) {
                auto& element = *static_cast<Element*>(value);
                const KoString& nullText = KoTypeMgr::GetNullPrintString();
                if (length == 0 || nullText.Width() != 1 || *text == *nullText.StrGet() ||
                    !Text::ParseAscii(element.value, text, length, format))
                    return false;
                element.null = 0;
                return true;
            };
    }();
    static int ParseOne(Element& element, const KoString& text, const char* format,
                        unsigned& errorAt)
    {
        if (MeansNullOrIsEmpty(text, true)) {
            element.SetNullValue();
            return 0;
        }
        const int result = Text::Parse(element.value, text, format, errorAt);
        if (result == 0)
            element.null = 0;
        return result;
    }
};

} // namespace ko

#endif
