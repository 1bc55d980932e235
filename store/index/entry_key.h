#ifndef KO_STORE_INDEX_ENTRY_KEY_H
#define KO_STORE_INDEX_ENTRY_KEY_H

#include "base/bytes.h"
#include "schema/schema.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ko::store::inner
{

// The keys of Space::Entries: attribute (2 bytes, most significant first), sort key of the value,
// number of the row's first object (6 bytes, most significant first). Attribute and sort key are
// the value's key. A long sort key is cut: that of another value may then be the same, and order
// and equality are for the objects to decide.

inline constexpr std::size_t kAttributeBytes = 2;
inline constexpr std::size_t kMostEntryKey = 511;
inline constexpr std::size_t kMostSortKey = kMostEntryKey - kAttributeBytes - kNumberBytes;

/// Makes the value's keys of one attribute.
class ValueKeys
{
public:
    /// The type stays where it is.
    ValueKeys(std::size_t attribute, const ValueType& type);
    ValueKeys(std::size_t, ValueType&&) = delete;

    /// The value's key of a form, or of an absent value for an empty one: that is the key of the
    /// type's null value. A type without one has no absent values: Error (ErrorCode::Damaged).
    /// Valid until the next call.
    std::string_view Of(std::string_view form);
    /// True for a key that was cut, or is as long as one that was.
    static bool MayBeCut(std::string_view valueKey)
    {
        return valueKey.size() >= kAttributeBytes + kMostSortKey;
    }

private:
    std::size_t Fill(std::string_view form);
    std::size_t FillAbsent();

    const ValueType& m_type;
    std::string m_absent; ///< the null value's form, as soon as it was asked for
    char m_key[kAttributeBytes + kMostSortKey];
};

/// A key of Space::Entries in parts.
struct EntryKey {
    std::string_view valueKey;
    std::uint64_t first = 0;

    /// False for bytes that are no such key; nothing beyond them is read.
    bool Open(std::string_view key);
    std::size_t Attribute() const { return GetBig<std::uint16_t>(valueKey.data()); }
    std::string_view SortKey() const { return valueKey.substr(kAttributeBytes); }
    bool MayBeCut() const { return ValueKeys::MayBeCut(valueKey); }
};

inline std::string MakeEntryKey(std::string_view valueKey, std::uint64_t first)
{
    std::string key(valueKey);
    AppendNumber(key, first);
    return key;
}

// Ends of ranges: no entry's key is equal to one of these.

/// Before all entries of a value, and behind those of any lesser one.
inline std::string BeforeValue(std::string_view valueKey)
{
    return MakeEntryKey(valueKey, 0);
}
/// Behind all entries of a value, and before those of any greater one.
inline std::string BehindValue(std::string_view valueKey)
{
    return MakeEntryKey(valueKey, (std::uint64_t{1} << 48) - 1);
}
inline std::string BeforeAttribute(std::size_t attribute)
{
    std::string key;
    AppendBig(key, static_cast<std::uint16_t>(attribute));
    return key;
}
inline std::string BehindAttribute(std::size_t attribute)
{
    return BeforeAttribute(attribute + 1);
}

} // namespace ko::store::inner

#endif
