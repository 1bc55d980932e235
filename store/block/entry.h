#ifndef KO_STORE_BLOCK_ENTRY_H
#define KO_STORE_BLOCK_ENTRY_H

#include "base/object_id.h"
#include "base/object_number.h"
#include "schema/schema.h"
#include "schema/value_type.h"

#include <lmdb.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace ko::store
{

/// A number with its least significant byte first in memory, and back.
template <class Number>
constexpr Number Little(Number number)
{
    if constexpr (std::endian::native == std::endian::big) {
        Number turned = 0;
        for (std::size_t i = 0; i < sizeof number; ++i)
            turned = static_cast<Number>(turned << 8 | (number >> 8 * i & 0xFF));
        return turned;
    }
    return number;
}

template <class Number>
Number LittleEndian(const char* bytes)
{
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return Little(number);
}

template <class Number>
int Sign(Number a, Number b)
{
    return a < b ? -1 : a > b ? 1 : 0;
}

/// The order of object ids: by number, as the identity type itself orders stored ones, then tag.
inline int CompareObjectIds(const char* a, const char* b)
{
    const int order = Sign(ObjectNumber(a), ObjectNumber(b));
    return order != 0 ? order : Sign(ObjectTag(a), ObjectTag(b));
}

inline std::string_view View(const MDB_val& value)
{
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

inline MDB_val Val(std::string_view bytes)
{
    return {bytes.size(), const_cast<char*>(bytes.data())};
}

/// An index entry: type id (1 byte), comparison operator word (2, most significant byte first),
/// the persistent form of the value, object id (10). The form is empty for an absent value, which
/// comes before every other. A form that leaves no room for the rest within LMDB's 511 bytes is
/// cut, and short enough that a cut text is still compared; the object's record has it whole.
inline constexpr std::size_t kEntryHead = 3;
inline constexpr std::size_t kMaxEntry = 511;
inline constexpr std::size_t kMaxWholeForm = kMaxEntry - kEntryHead - kObjectIdBytes;
inline constexpr std::size_t kCutForm = 256;

struct EntryView {
    o_char type = 0;
    unsigned short cmpOp = 0;
    std::string_view form;
    const char* id = nullptr; ///< null for bytes that are no entry

    explicit EntryView(std::string_view bytes)
    {
        if (bytes.size() < kEntryHead + kObjectIdBytes)
            return;
        type = static_cast<o_char>(bytes[0]);
        cmpOp = static_cast<unsigned short>(static_cast<unsigned char>(bytes[1]) << 8 |
                                            static_cast<unsigned char>(bytes[2]));
        form = bytes.substr(kEntryHead, bytes.size() - kEntryHead - kObjectIdBytes);
        id = form.data() + form.size();
    }
};

inline bool IsCut(std::string_view form)
{
    return form.size() > kMaxWholeForm;
}

/// True for a cut form in an entry, and for every form whose entry looks like that of a cut one.
inline bool LooksCut(std::string_view form)
{
    return form.size() == kCutForm || IsCut(form);
}

/// What of a form stands in an entry.
inline std::string_view EntryForm(std::string_view form)
{
    return IsCut(form) ? form.substr(0, kCutForm) : form;
}

/// Writes the entry of a whole form, at most kMaxEntry bytes, and returns their number.
std::size_t PutEntry(char* entry, o_char type, std::string_view form, std::uint64_t number,
                     std::uint32_t tag = 0);
/// Writes the entry of a whole form over `entry`.
void MakeEntry(std::string& entry, o_char type, std::string_view form, std::uint64_t number);

/// Finds the whole form behind an entry that holds a cut one.
class FullForms
{
public:
    virtual ~FullForms() = default;
    /// The form of attribute `attribute` of the object; false where there is none.
    virtual bool Find(std::size_t attribute, const char* id, std::string_view& form) = 0;
};

/// LMDB hands its comparison callbacks no context, so the process has one source of whole forms:
/// that of the open store. Returns the one before.
FullForms* SetFullForms(FullForms* source);

/// Order of the values of two entries of the index on `attribute`, object ids left out.
int CompareForms(std::size_t attribute, const EntryView& a, const EntryView& b);

/// Order of two entries: their values, equal ones by their object ids.
int CompareEntries(std::size_t attribute, std::string_view a, std::string_view b);

/// The callbacks for LMDB: that of the objects, and those of the index on each attribute, one for
/// any use and one that is fast where most entries come after another with the same value.
int CompareObjectKeys(const MDB_val* a, const MDB_val* b);
MDB_cmp_func* EntryCallback(std::size_t attribute, bool appended);

} // namespace ko::store

#endif
