#include "core/translate.h"
#include "core/value_ops.h"
#include "string/estimate.h"
#include "string/print.h"
#include "string/record.h"

#include <kostrcmp.h>

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
    static int IsNull(void*) { return 0; }
    static constexpr KoNullFunc SetNull = nullptr;
};

} // namespace

KO_DEFINE_TYPE(koStringDescriptor, StringOps, KoSTRING_T)
constinit KoTypeDescriptor koOldStringDescriptor = Describe<OldStringOps>(KoSTRING_T);

} // namespace ko
