#ifndef KO_MANAGER_SLOT_H
#define KO_MANAGER_SLOT_H

#include "core/record.h"

#include <algorithm>
#include <utility>

/// The way from a type id to its record, for the manager alone.

namespace ko
{

/// The slot of an id: ids of 100 and more name the reserved type. Not every slot is in a table: 47
/// to 99 and negative ones are not.
constexpr int SlotOfId(o_char id) noexcept
{
    return id < 100 ? id : std::min(id - 54, static_cast<int>(KoRES_T));
}

/// The record of an id, or null when the table has none.
inline KoTypeDescriptor* FindType(const KoTypeTable& table, o_char id) noexcept
{
    // A negative slot wraps round to a large number, so one comparison guards both ends.
    const auto slot = static_cast<unsigned>(SlotOfId(id));
    return slot < static_cast<unsigned>(KoTYPE_COUNT) ? table.entry[slot] : nullptr;
}

/// The record of an id, or the reserved type's when the table has none.
inline const KoTypeDescriptor& TypeOf(const KoTypeTable& table, o_char id) noexcept
{
    const KoTypeDescriptor* type = FindType(table, id);
    return type != nullptr ? *type : koReservedDescriptor;
}

/// The extension of an id, whatever table a manager uses; the reserved type's where no type has it.
inline const KoTypeExtension& ExtensionOf(o_char id) noexcept
{
    const auto slot = static_cast<unsigned>(SlotOfId(id));
    return *kTypeExtensions[slot < static_cast<unsigned>(KoTYPE_COUNT) ? slot : unsigned{KoRES_T}];
}

/// The extension that goes with TypeOf.
inline const KoTypeExtension& ExtensionOf(const KoTypeTable& table, o_char id) noexcept
{
    const KoTypeDescriptor* type = FindType(table, id);
    if (type == &koOldStringDescriptor)
        return koOldStringDescriptorExt;
    return ExtensionOf(type != nullptr ? id : o_char{KoRES_T});
}

/// A function of a type, or the reserved type's, which does nothing, when the type lacks it.
template <class Function>
Function Slot(const KoTypeDescriptor& type, Function KoTypeDescriptor::*slot) noexcept
{
    return type.*slot != nullptr ? type.*slot : koReservedDescriptor.*slot;
}

/// Calls a function of the type with an id; see Slot.
template <auto slot, class... Arguments>
auto Call(const KoTypeTable& table, o_char id, Arguments&&... arguments)
{
    return Slot(TypeOf(table, id), slot)(std::forward<Arguments>(arguments)...);
}

} // namespace ko

#endif
