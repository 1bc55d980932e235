#ifndef KO_STORE_BLOCK_LAYOUT_H
#define KO_STORE_BLOCK_LAYOUT_H

#include "schema/schema.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Objects stand in blocks: that of a number is the number divided by how many a block may hold, a
/// power of two, and its slot there is what is left.
inline constexpr unsigned kFewestSlots = 16;
inline constexpr unsigned kMostSlots = 4096;

/// How many objects of a size a block may hold so that it has up to `blockBytes` bytes.
inline unsigned SlotsFor(std::size_t blockBytes, std::size_t objectBytes)
{
    unsigned slots = kFewestSlots;
    while (slots < kMostSlots && std::size_t{slots} * 2 * objectBytes <= blockBytes)
        slots *= 2;
    return slots;
}

/// A form with more bytes stands by itself, in Space::Large.
inline constexpr std::size_t kMostInline = 1024;

/// What a value's code says where its forms are of variable size.
inline constexpr std::uint16_t kAbsentCode = 0;
inline constexpr std::uint16_t kInlineCode = 1; ///< the form stands in the block
inline constexpr std::uint16_t kLargeCode = 2;  ///< it stands in Space::Large
inline constexpr std::uint16_t kFirstCode = 3;  ///< of entry 0 of the attribute's dictionary

/// Most entries of a dictionary: every one has a code of two bytes.
inline constexpr std::uint32_t kMostEntries = 65'000;

/// A value in a block.
struct Cell {
    enum class Kind : std::uint8_t { Absent, Form, Entry, Large };
    Kind kind = Kind::Absent;
    std::uint16_t entry = 0; ///< of the dictionary
    std::string_view form;   ///< of Kind::Form

    /// No form is empty: that stands for an absent value.
    static Cell OfForm(std::string_view form)
    {
        return {form.empty() ? Kind::Absent : Kind::Form, 0, form};
    }
    static Cell OfEntry(std::uint32_t entry)
    {
        return {Kind::Entry, static_cast<std::uint16_t>(entry), {}};
    }
    static Cell OfLarge() { return {Kind::Large, 0, {}}; }
};

/// What blocks must know of each attribute: the bytes of every form, 0 where they vary.
using BlockLayout = std::vector<std::uint16_t>;

inline BlockLayout LayoutOf(const Schema& schema)
{
    BlockLayout layout;
    for (const Attribute& attribute : schema.attributes)
        layout.push_back(static_cast<std::uint16_t>(attribute.type.FixedSize()));
    return layout;
}

} // namespace ko::store::inner

#endif
