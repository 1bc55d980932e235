#include "entry.h"

#include <array>
#include <cstring>
#include <utility>

namespace kotm
{

namespace
{

FullForms* g_fullForms = nullptr;

std::string_view View(const MDB_val* value)
{
    return {static_cast<const char*>(value->mv_data), value->mv_size};
}

int CompareBytes(std::string_view a, std::string_view b)
{
    return a.compare(b);
}

std::string_view Whole(std::size_t attribute, const EntryView& entry)
{
    std::string_view form = entry.form;
    if (form.size() == kCutForm && g_fullForms != nullptr)
        g_fullForms->Find(attribute, entry.id, form);
    return form;
}

/// One callback for every attribute: which one a callback serves is all it can know.
template <std::size_t Attribute>
int EntryOrder(const MDB_val* a, const MDB_val* b)
{
    return CompareEntries(Attribute, View(a), View(b));
}

template <std::size_t... Attributes>
constexpr std::array<MDB_cmp_func*, sizeof...(Attributes)>
MakeCallbacks(std::index_sequence<Attributes...>)
{
    return {EntryOrder<Attributes>...};
}

} // namespace

void PutObjectId(char* bytes, std::uint64_t number, std::uint32_t tag)
{
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(tag >> (8 * i) & 0xFF);
    for (unsigned i = 0; i < 6; ++i)
        bytes[4 + i] = static_cast<char>(number >> (8 * i) & 0xFF);
}

std::size_t PutEntry(char* entry, o_char type, std::string_view form, std::uint64_t number,
                     std::uint32_t tag)
{
    const std::string_view held = EntryForm(form);
    entry[0] = static_cast<char>(type);
    entry[1] = static_cast<char>(kPlainOperator >> 8);
    entry[2] = static_cast<char>(kPlainOperator & 0xFF);
    held.copy(entry + kEntryHead, held.size());
    PutObjectId(entry + kEntryHead + held.size(), number, tag);
    return kEntryHead + held.size() + kObjectIdBytes;
}

void MakeEntry(std::string& entry, o_char type, std::string_view form, std::uint64_t number)
{
    entry.resize(kEntryHead + EntryForm(form).size() + kObjectIdBytes);
    PutEntry(entry.data(), type, form, number);
}

FullForms* SetFullForms(FullForms* source)
{
    return std::exchange(g_fullForms, source);
}

int CompareForms(std::size_t attribute, const EntryView& a, const EntryView& b)
{
    if (a.form.empty() || b.form.empty())
        return Sign(a.form.size(), b.form.size());
    int status = 0;
    const int order = ComparePersistent(a.type, a.form, b.form, a.cmpOp, status);
    // A cut form says nothing about the bytes that are gone.
    const bool cut = a.form.size() == kCutForm || b.form.size() == kCutForm;
    if (status == 0 && (order != 0 || !cut))
        return order;
    return ComparePersistent(a.type, Whole(attribute, a), Whole(attribute, b), a.cmpOp, status);
}

int CompareEntries(std::size_t attribute, std::string_view a, std::string_view b)
{
    const EntryView left(a);
    const EntryView right(b);
    // Bytes that are no entry, and entries of another type, stand in a damaged index only.
    if (left.id == nullptr || right.id == nullptr || left.type != right.type)
        return CompareBytes(a, b);
    const int order = CompareForms(attribute, left, right);
    return order != 0 ? order : CompareObjectIds(left.id, right.id);
}

int CompareObjectKeys(const MDB_val* a, const MDB_val* b)
{
    if (a->mv_size != kObjectIdBytes || b->mv_size != kObjectIdBytes)
        return Sign(a->mv_size, b->mv_size);
    return CompareObjectIds(static_cast<const char*>(a->mv_data),
                            static_cast<const char*>(b->mv_data));
}

MDB_cmp_func* EntryCallback(std::size_t attribute)
{
    static constexpr auto kCallbacks =
        MakeCallbacks(std::make_index_sequence<Schema::kMaxAttributes>());
    return kCallbacks[attribute];
}

} // namespace kotm
