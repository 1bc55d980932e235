#ifndef KO_IDENTITY_OPS_H
#define KO_IDENTITY_OPS_H

#include "core/bounds.h"
#include "core/bytes.h"
#include "core/element_ops.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"
#include "identity/text.h"
#include "string/null_text.h"

#include <bit>

/// The operations of the identity types, told for each by a traits struct:
///
///     struct ObjIdType {
///         using Value = KoObjId;
///         static constexpr KoTypeId kId = KoOBJID_T;
///         static constexpr const IdentityKind& kKind = kObjIdKind;
///         static constexpr const char* kFormat = "...";   // of Print and Scan for a null format
///         static constexpr unsigned kQuads = 2;           // leading fields of 32 bits
///         static constexpr unsigned kPairs = 1;           // stored fields of 16 bits after them
///         static IdentityFields ToFields(const KoObjId& value);
///         static KoObjId FromFields(const IdentityFields& fields);
///         static int OrderStored(const unsigned char* a, const unsigned char* b);
///         static constexpr unsigned kKeySize = 6;
///         static constexpr bool kKeyIsWhole = false;      // the key holds every field
///         static void PutKey(unsigned char* out, const KoObjId& value);
///         static KoObjId FromKey(const unsigned char* key);   // where it does
///         static void AddHash(Hasher& hasher, const KoObjId& value);
///     };
///
/// and, in the place of AddHash, OlderHashBits of a type that keeps an older hash; see
/// OlderHashWalk.
///
/// A value in memory is the stored fields without gaps, and then what is not stored.

namespace ko
{

/// The difference of the highest bytes that differ.
constexpr int FirstByteDifference(o_u8b a, o_u8b b) noexcept
{
    const o_u8b difference = a ^ b;
    if (difference == 0)
        return 0;
    const int shift = (63 - std::countl_zero(difference)) & ~7;
    return static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF);
}

/// Both 32-bit numbers, or all four 16-bit numbers, of a word with their bytes turned round.
constexpr o_u8b SwapQuads(o_u8b word) noexcept
{
    return std::rotl(__builtin_bswap64(word), 32);
}
constexpr o_u8b SwapPairs(o_u8b word) noexcept
{
    return (word >> 8 & 0x00FF00FF00FF00FFULL) | (word & 0x00FF00FF00FF00FFULL) << 8;
}

/// The byte order of identities in a format: that of KoFMT_BIG or, for every other format and on
/// every machine, that of KoFMT_LITTLE.
constexpr KoFormat IdentityOrder(unsigned char format) noexcept
{
    return (format & KoFMT_ORDER_MASK) == KoFMT_BIG ? KoFMT_BIG : KoFMT_LITTLE;
}

/// Copies `count` elements of `kFrom` bytes to elements of `kTo` bytes: two 32-bit fields and
/// `kPairs` 16-bit ones, turned round where `swap`; what the target has beyond them becomes zero.
template <unsigned kPairs, unsigned kFrom, unsigned kTo, bool swap>
void CopyNumberedFields(unsigned char* to, const unsigned char* from, unsigned count) noexcept
{
    constexpr unsigned kUsed = 8 + 2 * kPairs;
    for (unsigned i = 0; i < count; ++i, from += kFrom, to += kTo) {
        o_u8b quads;
        std::memcpy(&quads, from, 8);
        // The eight bytes that end with the last field: no byte outside the element is read.
        o_u8b pairs;
        std::memcpy(&pairs, from + kUsed - 8, 8);
        if constexpr (swap) {
            quads = SwapQuads(quads);
            pairs = SwapPairs(pairs);
        }
        if constexpr (kTo == 16 && kUsed == 14) {
            // The pairs move to the front, and zeros follow them.
            pairs = std::endian::native == std::endian::little ? pairs >> 16 : pairs << 16;
            std::memcpy(to + 8, &pairs, 8);
            std::memcpy(to, &quads, 8);
        } else {
            if constexpr (kTo > kUsed)
                std::memset(to + kUsed, 0, kTo - kUsed);
            // The bytes of 32-bit fields among them are written again.
            std::memcpy(to + kUsed - 8, &pairs, 8);
            std::memcpy(to, &quads, 8);
        }
    }
}

template <class Type>
struct IdentityOps : ElementOps<typename Type::Value, IdentityOps<Type>, Type::kId> {
    using T = typename Type::Value;
    static constexpr unsigned kStored = 4 * Type::kQuads + 2 * Type::kPairs;
    static_assert(std::is_trivially_copyable_v<T> && kStored <= sizeof(T));

    static void ConstructOne(void* memory) { new (memory) T{}; }

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return CopyFields<sizeof(T), kStored>(destination, source, format, count);
    }
    static unsigned Load(void* destination, const void* source, unsigned char format,
                         unsigned count)
    {
        return CopyFields<kStored, sizeof(T)>(destination, source, format, count);
    }
    static unsigned NullSizeGet(unsigned count) { return kStored * count; }
    static unsigned SizeGet(const void*, unsigned char, unsigned char, unsigned count)
    {
        return kStored * count;
    }
    static unsigned SizeGetFromMemFile(MemFile*, unsigned char, unsigned count)
    {
        return kStored * count;
    }

    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short, unsigned count, int& status)
    {
        // Identities in memory have no order, deliberately.
        if (format == KoFMT_MEMORY)
            return CompareWalk(length1, value1, length2, value2, sizeof(T), count, status,
                               [](const unsigned char* a, const unsigned char* b) {
                                   return ReadValue<T>(a) == ReadValue<T>(b) ? 0 : 1;
                               });
        return CompareWalk(length1, value1, length2, value2, kStored, count, status,
                           Type::OrderStored);
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        const unsigned size = FormSize(format);
        const auto read = [format](const unsigned char* element) {
            if (format == KoFMT_MEMORY)
                return ReadValue<T>(element);
            T loaded;
            Load(&loaded, element, format, 1);
            return loaded;
        };
        if constexpr (requires(const T& value) { Type::OlderHashBits(value); })
            return OlderHashWalk(
                length, value, size, count, status,
                [&](const unsigned char* element) { return Type::OlderHashBits(read(element)); });
        else
            return HashWalk(length, value, size, count, status,
                            [&](Hasher& hasher, const unsigned char* element) {
                                Type::AddHash(hasher, read(element));
                            });
    }

    static unsigned FormSize(unsigned char format)
    {
        return format == KoFMT_MEMORY ? static_cast<unsigned>(sizeof(T)) : kStored;
    }
    static T At(const unsigned char* element, unsigned char format)
    {
        if (format == KoFMT_MEMORY)
            return ReadValue<T>(element);
        T loaded;
        Load(&loaded, element, format, 1);
        return loaded;
    }
    static o_u8b NumberAt(const unsigned char* element, unsigned char format)
    {
        return At(element, format).Number();
    }

    /// Keys order as the little-endian stored form is compared: by the numbers.
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        return WriteElementKeys<Type::kKeySize>(
            key, room, value, FormSize(format), count,
            [format](unsigned char* out, const unsigned char* at) {
                Type::PutKey(out, At(at, format));
                return Type::kKeySize;
            });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        if constexpr (!Type::kKeyIsWhole)
            return KoRC_NOT_SUPPORTED;
        else
            return ReadElementKeys<T>(value, key, length, count,
                                      [](T& element, const unsigned char* at, unsigned left) {
                                          if (left < Type::kKeySize)
                                              return 0U;
                                          element = Type::FromKey(at);
                                          return Type::kKeySize;
                                      });
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<NumberAxis<IdentityOps>>(bounds, op, value, format, count, newBounds);
    }

    static KoString ToText(const T& value)
    {
        KoString text;
        if (value.IsNullValue() != 0)
            text.SetNullValue();
        else
            PrintOne(text, value, kTypeRows[Type::kId].printFormat);
        return text;
    }
    static void FromText(T& value, const KoString* text)
    {
        ScanOne(value, text != nullptr ? *text : KoString::EmptyString(),
                kTypeRows[Type::kId].printFormat);
    }

    static KoString& Print(KoString& text, void* value, const char* format, unsigned count)
    {
        return Base::Print(text, value, format != nullptr ? format : Type::kFormat, count);
    }
    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        if (format == nullptr)
            format = Type::kFormat;
        // A comma can be part of an element, but of none that is null.
        const unsigned commas = count == 1 ? 0 : IdentityCommas(Type::kKind, format);
        const auto commasFrom = [&](std::size_t at) {
            if (commas == 0 ||
                MeansNullOrIsEmpty(text.Copy(static_cast<unsigned short>(at), KoString::kRest),
                                   false))
                return 0U;
            return commas;
        };
        ScanElements(
            text, count,
            [=](const KoString& from, unsigned i) {
                ScanOne(static_cast<T*>(value)[i], from, format);
            },
            commasFrom);
        return value;
    }

    /// The whole text names the fields of a null identity, too, unless they are all 0.
    static constexpr std::string_view kTextFormat = kWholeText;

    static void PrintOne(KoString& text, const T& value, const char* format)
    {
        const bool whole = IsWholeText(format);
        const IdentityFields fields = Type::ToFields(value);
        if (whole ? fields == IdentityFields{} : value.IsNullValue() != 0)
            text += KoTypeMgr::GetNullPrintString();
        else
            PrintIdentity(text, Type::kKind, fields, whole ? Type::kFormat : format);
    }
    static void ScanOne(T& value, const KoString& text, const char* format)
    {
        if (MeansNullOrIsEmpty(text, false)) {
            value.SetNullValue();
            return;
        }
        if (IsWholeText(format))
            format = Type::kFormat;
        IdentityFields fields = Type::ToFields(value);
        if (ScanIdentity(fields, Type::kKind, text, format))
            value = Type::FromFields(fields);
    }
    static int ParseOne(T& value, const KoString& text, const char* format, unsigned& errorAt)
    {
        if (MeansNullOrIsEmpty(text, true)) {
            value.SetNullValue();
            return 0;
        }
        if (IsWholeText(format))
            format = Type::kFormat;
        IdentityFields fields;
        const int result = ParseIdentity(fields, Type::kKind, text, format, errorAt);
        if (result == 0)
            value = Type::FromFields(fields);
        return result;
    }

private:
    using Base = ElementOps<T, IdentityOps, Type::kId>;

    template <unsigned kFrom, unsigned kTo>
    static unsigned CopyFields(void* destination, const void* source, unsigned char format,
                               unsigned count)
    {
        const KoFormat order = IdentityOrder(format);
        if constexpr (Type::kQuads == 0) {
            // The memory form is the stored one but for the byte order.
            static_assert(kFrom == kTo);
            return ShortStore(destination, source, order, count * Type::kPairs);
        } else {
            static_assert(Type::kQuads == 2);
            auto* to = static_cast<unsigned char*>(destination);
            const auto* from = static_cast<const unsigned char*>(source);
            if (KoNeedsSwap(order))
                CopyNumberedFields<Type::kPairs, kFrom, kTo, true>(to, from, count);
            else
                CopyNumberedFields<Type::kPairs, kFrom, kTo, false>(to, from, count);
            return kStored * count;
        }
    }
};

} // namespace ko

#endif
