#include "kostringprint.h"
#include "kostringrecord.h"
#include "kotranslate.h"
#include "kovalueops.h"

#include <kostrcmp.h>

namespace
{

constexpr int kTranslateLine = 1745;

void AssertTranslate(bool holds, const char* text)
{
    if (!holds)
        KORA_assert(text, "src\\kotypes", kTranslateLine);
}

/// The string type. `Ops` names the functions in which the two string types differ.
template <class Ops>
struct StringOpsBase : ValueOps<KoString, Ops> {
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

    /// A destination length of 0 is no bound. Where the strings do not fit, nothing is written.
    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        const bool fromMemory = (sourceFormat & KoFMT_MEMORY) != 0;
        if ((destinationFormat & KoFMT_MEMORY) != 0) {
            if (!fromMemory)
                return Ops::Load(destination, source, sourceFormat, count);
            Ops::Assign(destination, source, count, 0);
            return count * static_cast<unsigned>(sizeof(KoString));
        }
        if (fromMemory) {
            const unsigned char format = destinationFormat & KoFMT_ORDER_MASK;
            const o_u8b nLen = Ops::Bytes(source, format, count);
            const auto length = static_cast<o_u4b>(nLen);
            AssertTranslate(length == nLen, "(o_u4b)_nLen == nLen");
            if (length != nLen || (destinationLength != 0 && length > destinationLength))
                return 0;
            return Ops::Store(destination, source, format, count);
        }
        if (destinationFormat != sourceFormat) {
            AssertTranslate(false, "format combination not supported");
            return 0;
        }
        return KoCopyPersistent(destination, destinationLength, source, sourceLength);
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
