#include "kostringeval.h"
#include "kostringprint.h"
#include "kostringrecord.h"
#include "kotranslate.h"
#include "kovalueops.h"

#include <kostrcmp.h>

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
        return KoTranslateRecords<Ops>(destination, destinationFormat, destinationLength, source,
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
        return KoPrintString(text, *static_cast<const KoString*>(value), format);
    }

    static void* Scan(void* value, KoString& text, const char* format, unsigned count)
    {
        if (count != 0)
            KoScanString(*static_cast<KoString*>(value), text, format);
        return value;
    }

    static constexpr auto Validate = KoStringValidate;

    static int Parse(void* value, const KoString& text, const char* format, unsigned& errorAt)
    {
        return KoParseString(*static_cast<KoString*>(value), text, format, errorAt);
    }
};

struct StringOps : StringOpsBase<StringOps> {
    static constexpr auto Store = StringStore;
    static constexpr auto SizeGet = StringSizeGet;
    static constexpr auto Bytes = KoStringBytes;
    static constexpr auto SizeGetFromMemFile = KoStringFileSize;
    static constexpr auto Cmp = StringCompare;
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return KoEvaluateTexts(bounds, op, value, format, count, newBounds, false);
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return KoHashTexts(format, length, value, count, status, false);
    }
};

/// The older string type writes the layout without code sets and knows no null value.
struct OldStringOps : StringOpsBase<OldStringOps> {
    static constexpr auto Store = KoOlderStore;
    static constexpr auto SizeGet = KoOlderSizeGet;
    static constexpr auto Bytes = KoOlderBytes;
    static constexpr auto SizeGetFromMemFile = KoOlderFileSize;
    static int Cmp(unsigned char format, unsigned leftSize, void* left, unsigned rightSize,
                   void* right, unsigned short cmpOp, unsigned count, int& status)
    {
        return KoCompareTexts(format, leftSize, left, rightSize, right, cmpOp, count, status, true);
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return KoEvaluateTexts(bounds, op, value, format, count, newBounds, true);
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return KoHashTexts(format, length, value, count, status, true);
    }
    static int IsNull(void*) { return 0; }
    static constexpr KoNullFunc SetNull = nullptr;
};

} // namespace

KO_DEFINE_TYPE(koStringDescriptor, StringOps, KoSTRING_T)
constinit KoTypeDescriptor koOldStringDescriptor = Describe<OldStringOps>(KoSTRING_T);
