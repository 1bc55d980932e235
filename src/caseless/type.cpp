#include "caseless/record.h"
#include "core/element_ops.h"
#include "string/print.h"

#include <type_traits>

namespace ko
{

namespace
{

/// The code set whose characters the bytes are.
constexpr unsigned char kBytes = KoCS_WINDOWS_1252;

/// The text as a string of that code set.
KoString Widened(const KoIStringText& text)
{
    KoString string(kBytes, KoString::GetDefaultLanguage());
    StringAccess::Set(string, {text.StrGet(), text.Len(), kBytes, string.Language()});
    return string;
}

/// The byte for a character: that of Windows-1252, a control as it is. False, and "?", for others.
bool Narrowed(const KoText& text, unsigned at, char& byte)
{
    const unsigned character = text.At(at);
    o_u2b unicode = 0;
    o_u2b found = 0;
    byte = '?';
    if (!KoLanguageContext::QueryCodeSet(text.codeSet)
             ->ToUnicode(static_cast<o_u2b>(character), unicode))
        return false;
    if (KoLanguageContext::QueryCodeSet(kBytes)->FromUnicode(unicode, found))
        byte = static_cast<char>(found);
    else if (unicode < 256)
        byte = static_cast<char>(unicode);
    else
        return false;
    return true;
}

/// Makes `text` the string; the number of its first character that has no byte, else its length.
/// Those become "?". Nothing is changed for `onlyWhole` where there is one, and without memory. Of
/// the flag, kAccents stays.
unsigned Narrow(KoIStringText& text, const KoString& string, bool onlyWhole)
{
    const KoText from = StringAccess::Get(string);
    const unsigned length = string.Len();
    unsigned lacking = length;
    const auto accents = static_cast<o_u1b>(text.Flag() & KoIStringText::kAccents);
    if (from.codeSet == KoCS_NONE || from.codeSet == kBytes) {
        CaselessAccess::Set(text, from.bytes, length, accents);
        return length;
    }
    TextRoom room(length + 1);
    if (room.Size() <= length)
        return length;
    for (unsigned i = 0; i < length; ++i) {
        if (!Narrowed(from, i, room.Data()[i]) && lacking == length)
            lacking = i;
    }
    if (lacking == length || !onlyWhole)
        CaselessAccess::Set(text, room.Data(), length, accents);
    return lacking;
}

/// Appends the string. The bytes that Windows-1252 leaves undefined are the controls of their
/// numbers, as reading has it: mapped to another code set they would become "?".
void AppendWhole(KoString& text, const KoString& string)
{
    const KoText from = StringAccess::Get(string);
    const KoCodeSet& set = *KoLanguageContext::QueryCodeSet(kBytes);
    const auto append = [&](unsigned begin, unsigned end) {
        text += string.Copy(static_cast<unsigned short>(begin), static_cast<short>(end - begin));
    };
    unsigned begin = 0;
    for (unsigned i = 0; i < from.units; ++i) {
        o_u2b unit = static_cast<o_u2b>(from.At(i));
        o_u2b unicode;
        if (set.ToUnicode(unit, unicode))
            continue;
        append(begin, i);
        text += KoString(&unit, 1);
        begin = i + 1;
    }
    append(begin, from.units);
}

/// The operations of KoIString and of KoCaseIString.
template <class T, KoTypeId id>
struct IStringOps : ElementOps<T, IStringOps<T, id>, id> {
    static const CaselessWeights& Weights() { return CaselessWeights::Of(T::kIgnoresCase); }

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return StoreCaseless(destination, source, format, count, Weights());
    }
    static constexpr auto Load = LoadCaseless;
    /// A null value is stored as an empty text.
    static unsigned NullSizeGet(unsigned count) { return count * (kIRecordHead + 1); }
    static unsigned SizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                            unsigned count)
    {
        return CaselessSizeGet(value, valueFormat, format, count, Weights());
    }
    static o_u8b Bytes(const void* texts, unsigned char format, unsigned count)
    {
        return CaselessBytes(texts, format, count, Weights());
    }
    static constexpr auto SizeGetFromMemFile = CaselessFileSize;
    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short, unsigned count, int& status)
    {
        return CompareCaseless(format, length1, value1, length2, value2, count, status, Weights());
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateCaselessTexts(bounds, op, value, format, count, newBounds, Weights());
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return HashCaseless(format, length, value, count, status, Weights());
    }
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        return ISortKey(key, room, value, format, count, Weights());
    }
    static int FromSortKey(void*, const void*, unsigned, unsigned, unsigned short)
    {
        return KoRC_NOT_SUPPORTED;
    }
    static constexpr auto Validate = IValidate;
    static int Measure(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                       std::size_t& at)
    {
        return MeasureWithin(bytes, size, format, count, at, false);
    }
    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        return TranslateRecords<IStringOps>(destination, destinationFormat, destinationLength,
                                            source, sourceFormat, sourceLength, count);
    }

    /// The text is in the code set of the bytes, so that all of them come back.
    static KoTypeConvertData* ConvertTo(void* value, unsigned count)
    {
        return MakeTextRecord(count, [value](KoString& text, unsigned i) {
            text = Widened(static_cast<const T*>(value)[i]);
        });
    }
    static void FromText(T& element, const KoString* text)
    {
        Narrow(element, text != nullptr ? *text : KoString::EmptyString(), false);
    }
    static constexpr std::string_view kTextFormat = kWholeText;
    static void PrintOne(KoString& text, const T& element, const char* format)
    {
        if (IsWholeText(format))
            return AppendWhole(text, Widened(element));
        PrintString(text, Widened(element), format);
    }
    static void ScanOne(T& element, const KoString& text, const char* format)
    {
        KoString value;
        if (ScanNonNullString(value, text, format))
            Narrow(element, value, false);
    }
    static int ParseOne(T& element, const KoString& text, const char* format, unsigned& errorAt)
    {
        if (IsWholeText(format))
            format = nullptr; // there is no null value, so every text is itself
        const MemoryWatch memory;
        KoString value;
        unsigned startsAt = 0;
        if (ParseString(value, text, format, errorAt, &startsAt) != 0)
            return -1;
        const unsigned lacking = Narrow(element, value, true);
        if (memory.HasRunOut())
            return KoRC_NO_MEMORY;
        if (lacking == value.Len())
            return 0;
        errorAt = startsAt + lacking;
        return KoREAD_NO_CHARACTER;
    }
};

using PlainOps = IStringOps<KoIString, KoISTRING_T>;
using CaseOps = IStringOps<KoCaseIString, KoCASEISTRING_T>;

} // namespace

KO_DEFINE_TYPE(koIStringDescriptor, PlainOps, KoISTRING_T)
KO_DEFINE_TYPE(koCaseIStringDescriptor, CaseOps, KoCASEISTRING_T)

} // namespace ko

using namespace ko;

int KoIStringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                     void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return PlainOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

int KoCaseIStringCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                         void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return CaseOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}
