#include "core/bytes.h"
#include "core/value_ops.h"
#include "manager/slot.h"

#include <bitset>
#include <cstring>
#include <memory>

// ---- conversion records

using namespace ko;

KoTypeConvertData* KoTypeConvertData::Make(o_char typeId, unsigned count, void* data,
                                           const KoTypeMgr* manager)
{
    auto* record = new KoTypeConvertData{manager, data, count, typeId};
    if (record == nullptr)
        KoCallMemoryHandler(sizeof(KoTypeConvertData));
    return record;
}

KoTypeConvertData::~KoTypeConvertData()
{
    // The memory is read after the record's end, so the stores must not be taken for dead ones.
    auto& left = const_cast<volatile KoTypeConvertData&>(*this);
    if (manager != nullptr && data != nullptr) {
        manager->Delete(typeId, data, count);
        left.data = nullptr;
    }
    left.typeId = 100;
    left.count = 0;
}

KoString* KoTypeConvertData::GetString(int index) const
{
    // The comparison is signed: a record of 2^31 texts and more has none to give.
    if (index < 0 || index >= static_cast<int>(count) || typeId != KoSTRING_T || data == nullptr)
        return nullptr;
    return static_cast<KoString*>(data) + index;
}

KoTypeConvertData* KoTypeMgr::ConvertTo(o_char id, void* value, unsigned count) const
{
    KoTypeConvertData* record = Call<&KoTypeDescriptor::convertTo>(*m_table, id, value, count);
    if (record != nullptr)
        record->manager = this;
    return record;
}

void* KoTypeMgr::ConvertFrom(o_char id, KoTypeConvertData* data, unsigned count) const
{
    if (data != nullptr)
        data->manager = this;
    return Call<&KoTypeDescriptor::convertFrom>(*m_table, id, data, count);
}

// ---- text under a format

KoString& KoTypeMgr::PrintToKoString(o_char id, KoString& text, void* value, const char* format,
                                     unsigned count) const
{
    const KoTypeDescriptor* type = FindType(*m_table, id);
    if (type == nullptr || type->printToKoString == nullptr)
        return text;
    const KoPrintFunc print = type->printToKoString;
    if (format == nullptr)
        format = type->printFormat;
    if (count < 2 || print == ExtensionOf(*m_table, id).printsArray)
        return print(text, value, format, count);
    for (unsigned i = 0; i < count; ++i) {
        // The code set is that of the whole text: another one may lack characters that this one
        // has.
        KoString element(text.CodeSet(), text.Language());
        text += print(element, GetArrayElement(id, value, i, count), format, 1);
        if (i + 1 < count)
            text << ',';
    }
    return text;
}

void* KoTypeMgr::ScanFromKoString(o_char id, void* value, KoString& text, const char* format,
                                  unsigned count) const
{
    const KoTypeDescriptor& type = TypeOf(*m_table, id);
    return Slot(type, &KoTypeDescriptor::scanFromKoString)(
        value, text, format != nullptr ? format : type.printFormat, count);
}

int KoTypeMgr::ParseFromKoString(o_char id, void* value, const KoString& text, const char* format,
                                 unsigned& errorAt) const
{
    const KoParseFunc parse = ExtensionOf(*m_table, id).parse;
    if (parse == nullptr) {
        errorAt = 0;
        return KoRC_NOT_SUPPORTED;
    }
    if (format == nullptr)
        format = TypeOf(*m_table, id).printFormat;
    return parse(value, text, format, errorAt) == 0 ? 0 : -1;
}

// ---- self-delimiting text: every element is followed by one delimiter, which therefore is the
// last character

namespace ko
{

namespace
{

/// Character `index` of a text of either width.
unsigned short CharAt(const KoString& text, unsigned index)
{
    if (text.Width() == 1)
        return static_cast<unsigned char>(text.StrGet()[index]);
    return ReadValue<o_u2b>(text.StrGet() + std::size_t{2} * index);
}

/// The smallest character from 1 to 254 that occurs in no text of the record, as the joined text
/// will hold it; a comma when all occur.
char ChooseDelimiter(const KoTypeConvertData& record, unsigned count)
{
    std::bitset<65536> used;
    for (unsigned i = 0; i < count; ++i) {
        const KoString* text = record.GetString(static_cast<int>(i));
        if (text == nullptr)
            continue;
        KoString joined;
        joined += *text;
        const unsigned length = joined.Len();
        for (unsigned at = 0; at < length; ++at)
            used.set(CharAt(joined, at));
    }
    for (unsigned code = 1; code <= 254; ++code) {
        KoString joined;
        joined << static_cast<char>(code);
        if (!used.test(CharAt(joined, 0)))
            return static_cast<char>(code);
    }
    return ',';
}

/// Characters `begin` to `end` of a text, in its code set and language.
KoString Piece(const KoString& text, unsigned begin, unsigned end)
{
    const auto length = static_cast<unsigned short>(end - begin);
    const char* start = text.StrGet() + std::size_t{begin} * text.Width();
    KoString piece = text.Width() == 1
                         ? KoString(start, length)
                         : KoString(reinterpret_cast<const unsigned short*>(start), length);
    piece.SetCodeSetCode(text.CodeSet());
    piece.SetLanguage(text.Language());
    return piece;
}

} // namespace

} // namespace ko

KoString* KoTypeMgr::ConvertToKoStringOld(void* value, o_char id, unsigned count) const
{
    const MemoryWatch memory;
    const std::unique_ptr<KoTypeConvertData> record(ConvertTo(id, value, count));
    if (record == nullptr)
        return nullptr;
    auto* joined = static_cast<KoString*>(Create(KoSTRING_T, 1));
    if (joined == nullptr)
        return nullptr;
    const char delimiter = ChooseDelimiter(*record, count);
    for (unsigned i = 0; i < count; ++i) {
        const KoString* text = record->GetString(static_cast<int>(i));
        const unsigned length = joined->Len() + (text == nullptr ? 0U : text->Len()) + 1U;
        if (text != nullptr)
            *joined += *text;
        *joined << delimiter;
        if (joined->Len() != length || memory.HasRunOut()) { // cut off, or without memory
            Delete(KoSTRING_T, joined, 1);
            return nullptr;
        }
    }
    return joined;
}

void* KoTypeMgr::ConvertFromKoStringOld(KoString* text, o_char id, unsigned count) const
{
    const MemoryWatch memory;
    const unsigned length = text->Len();
    const unsigned short delimiter = length == 0 ? ',' : CharAt(*text, length - 1);
    unsigned pieces = 1;
    for (unsigned at = 0; at < length; ++at)
        pieces += CharAt(*text, at) == delimiter ? 1 : 0;

    KoTypeConvertData record{this, Create(KoSTRING_T, pieces), pieces, KoSTRING_T};
    auto* next = static_cast<KoString*>(record.data);
    if (next == nullptr)
        return nullptr;
    unsigned begin = 0;
    for (unsigned at = 0; at < length; ++at) {
        if (CharAt(*text, at) != delimiter)
            continue;
        *next++ = Piece(*text, begin, at);
        begin = at + 1;
    }
    void* const made = Call<&KoTypeDescriptor::convertFrom>(*m_table, id, &record, count);
    if (memory.HasRunOut())
        return Delete(id, made, count);
    // The last character is a delimiter, so every character has been taken.
    text->Cut(0, static_cast<short>(KoString::kToEnd));
    return made;
}
