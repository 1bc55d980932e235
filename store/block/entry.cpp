#include "block/entry.h"

#include "base/short_bytes.h"

#include <array>
#include <cstring>
#include <utility>

namespace ko::store
{

namespace
{

/// The bytes of an entry with a cut form, which does not say whether two values are one.
constexpr std::size_t kCutEntry = kEntryHead + kCutForm + kObjectIdBytes;

FullForms* g_fullForms = nullptr;

int CompareBytes(std::string_view a, std::string_view b)
{
    return a.compare(b);
}

std::string_view Whole(std::size_t attribute, const EntryView& entry)
{
    std::string_view whole;
    const bool found = LooksCut(entry.form) && g_fullForms != nullptr &&
                       g_fullForms->Find(attribute, entry.id, whole);
    // An object without a value stands behind such an entry in a damaged store only.
    return found && !whole.empty() ? whole : entry.form;
}

/// The values of two entries, one of which at least is cut and says nothing about what is gone.
int CutFormOrder(std::size_t attribute, const EntryView& a, const EntryView& b)
{
    int status = 0;
    return ComparePersistent(a.type, Whole(attribute, a), Whole(attribute, b), a.cmpOp, status);
}

inline int FormOrder(std::size_t attribute, const EntryView& a, const EntryView& b)
{
    if (a.form.empty() || b.form.empty())
        return Sign(a.form.size(), b.form.size());
    int status = 0;
    const int order = ComparePersistent(a.type, a.form, b.form, a.cmpOp, status);
    const bool cut = LooksCut(a.form) || LooksCut(b.form);
    return status == 0 && (order != 0 || !cut) ? order : CutFormOrder(attribute, a, b);
}

/// One callback for every attribute: which one a callback serves is all it can know.
template <std::size_t Attribute>
int EntryOrder(const MDB_val* a, const MDB_val* b)
{
    return CompareEntries(Attribute, View(*a), View(*b));
}

/// The same order, found sooner where both have one value and only their objects differ.
template <std::size_t Attribute>
int AppendedOrder(const MDB_val* a, const MDB_val* b)
{
    const std::string_view left = View(*a);
    const std::string_view right = View(*b);
    if (left.size() >= kEntryHead + kObjectIdBytes && left.size() < kCutEntry) {
        const std::size_t value = left.size() - kObjectIdBytes;
        if (left.size() == right.size() && SameBytes(left.substr(0, value), right.substr(0, value)))
            return CompareObjectIds(left.data() + value, right.data() + value);
    }
    return CompareEntries(Attribute, left, right);
}

struct Callbacks {
    MDB_cmp_func* any;
    MDB_cmp_func* appended;
};

template <std::size_t... Attributes>
constexpr std::array<Callbacks, sizeof...(Attributes)>
MakeCallbacks(std::index_sequence<Attributes...>)
{
    return {{{EntryOrder<Attributes>, AppendedOrder<Attributes>}...}};
}

} // namespace

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
    return FormOrder(attribute, a, b);
}

int CompareEntries(std::size_t attribute, std::string_view a, std::string_view b)
{
    const EntryView left(a);
    const EntryView right(b);
    // Bytes that are no entry, and entries of another type, stand in a damaged index only.
    if (left.id == nullptr || right.id == nullptr || left.type != right.type)
        return CompareBytes(a, b);
    const int order = FormOrder(attribute, left, right);
    return order != 0 ? order : CompareObjectIds(left.id, right.id);
}

int CompareObjectKeys(const MDB_val* a, const MDB_val* b)
{
    if (a->mv_size != kObjectIdBytes || b->mv_size != kObjectIdBytes)
        return Sign(a->mv_size, b->mv_size);
    return CompareObjectIds(static_cast<const char*>(a->mv_data),
                            static_cast<const char*>(b->mv_data));
}

MDB_cmp_func* EntryCallback(std::size_t attribute, bool appended)
{
    static constexpr auto kCallbacks =
        MakeCallbacks(std::make_index_sequence<Schema::kMaxAttributes>());
    return appended ? kCallbacks[attribute].appended : kCallbacks[attribute].any;
}

} // namespace ko::store
