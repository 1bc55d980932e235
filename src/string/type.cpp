#include "collation/sort_key.h"
#include "core/sort_key.h"
#include "core/translate.h"
#include "core/value_ops.h"
#include "string/estimate.h"
#include "string/print.h"
#include "string/record.h"

#include <kostrcmp.h>

#include <algorithm>

namespace ko
{

namespace
{

/// The string type. `Ops` names the functions in which the two string types differ.
template <class Ops>
struct StringOpsBase : ValueOps<KoString, Ops> {
    static constexpr bool kStepsInEveryForm = true;

    static unsigned Load(void* destination, const void* source, unsigned char format,
                         unsigned count)
    {
        return StringLoad(destination, source, format, count);
    }

    /// Empty strings.
    static unsigned NullSizeGet(unsigned count)
    {
        return count * (kRecordHead + static_cast<unsigned>(sizeof kRecordEnd));
    }

    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        return TranslateRecords<Ops>(destination, destinationFormat, destinationLength, source,
                                     sourceFormat, sourceLength, count);
    }

    static KoTypeConvertData* ConvertTo(void* value, unsigned count)
    {
        return MakeTextRecord(count, [value](KoString& text, unsigned i) {
            text = static_cast<const KoString*>(value)[i];
        });
    }

    static void* ConvertFrom(KoTypeConvertData* data, unsigned count)
    {
        return ReadTextRecord<Ops, KoString>(data, count, [](KoString& value, KoString* text) {
            if (text != nullptr)
                value = *text;
            else
                value.SetNullValue();
        });
    }

    static KoString& Print(KoString& text, void* value, const char* format, unsigned count)
    {
        if (count == 0)
            return text;
        return PrintString(text, *static_cast<const KoString*>(value), format);
    }

    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        if (count != 0)
            ScanString(*static_cast<KoString*>(value), text, format);
        return value;
    }

    /// The keys of the texts in turn; those of the older layout are keys of plain bytes.
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short cmpOp)
    {
        if (!HasSortKeys(cmpOp))
            return 0;
        const bool memory = (format & KoFMT_MEMORY) != 0;
        const auto padding = memory ? TextMemory::kPadded : TextMemory::kExact;
        auto* const out = static_cast<unsigned char*>(key);
        TextWalk walk(format, 0, value, false);
        o_u8b length = 0;
        for (unsigned i = 0; i < count; ++i) {
            KoText text;
            walk.Next(text);
            const bool fits = out != nullptr && length < room;
            length += WriteSortKey(text, cmpOp, fits ? out + length : nullptr,
                                   fits ? room - static_cast<unsigned>(length) : 0, padding);
        }
        return KeyLength(length);
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short cmpOp)
    {
        if (!HasWholeSortKeys(cmpOp))
            return KoRC_NOT_SUPPORTED;
        const auto* const bytes = static_cast<const unsigned char*>(key);
        const unsigned end = key != nullptr ? length : 0;
        for (const bool assigns : {false, true}) {
            unsigned at = 0;
            for (unsigned i = 0; i < count; ++i) {
                SortKeyReader reader;
                if (reader.Read(bytes + at, end - at, cmpOp) != 0)
                    return KoRC_DAMAGED;
                unsigned taken = reader.Taken();
                if (assigns && ReadSortKey(static_cast<KoString*>(value)[i], bytes + at, end - at,
                                           cmpOp, taken) != 0)
                    return KoRC_NO_MEMORY;
                at += taken;
            }
            if (at != length)
                return KoRC_DAMAGED;
        }
        return KoRC_OK;
    }
    static constexpr auto Validate = StringValidate;
    static int Measure(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                       std::size_t& at)
    {
        return MeasureWithin(bytes, size, format, count, at, true);
    }

    static constexpr std::string_view kTextFormat = kWholeText;
    static int Parse(void* value, const KoString& text, const char* format, unsigned& errorAt)
    {
        return ParseString(*static_cast<KoString*>(value), text, format, errorAt);
    }
};

struct StringOps : StringOpsBase<StringOps> {
    static constexpr auto Store = StringStore;
    static constexpr auto SizeGet = StringSizeGet;
    static constexpr auto Bytes = StringBytes;
    static constexpr auto SizeGetFromMemFile = StringFileSize;
    static constexpr auto Cmp = StringCompare;
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateTexts(bounds, op, value, format, count, newBounds, false);
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return HashTexts(format, length, value, count, status, false);
    }
};

/// The older string type writes the layout without code sets and knows no null value.
struct OldStringOps : StringOpsBase<OldStringOps> {
    static constexpr auto Store = OlderStore;
    static constexpr auto SizeGet = OlderSizeGet;
    static constexpr auto Bytes = OlderBytes;
    static constexpr auto SizeGetFromMemFile = OlderFileSize;
    static int Cmp(unsigned char format, unsigned leftSize, void* left, unsigned rightSize,
                   void* right, unsigned short cmpOp, unsigned count, int& status)
    {
        return CompareTexts(format, leftSize, left, rightSize, right, cmpOp, count, status, true);
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateTexts(bounds, op, value, format, count, newBounds, true);
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return HashTexts(format, length, value, count, status, true);
    }
    static constexpr auto Validate = OlderValidate;
    /// Of no texts, too, there is the length that stands before them.
    static int Measure(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                       std::size_t& at)
    {
        return MeasureWithin(bytes, size, format, std::max(count, 1U), at, true);
    }
    static int IsNull(void*) { return 0; }
    static constexpr KoNullFunc SetNull = nullptr;
};

} // namespace

KO_DEFINE_TYPE(koStringDescriptor, StringOps, KoSTRING_T)
KO_DEFINE_TYPE(koOldStringDescriptor, OldStringOps, KoSTRING_T)

} // namespace ko
