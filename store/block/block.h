#ifndef KO_STORE_BLOCK_BLOCK_H
#define KO_STORE_BLOCK_BLOCK_H

#include "block/column.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The key of a block in Space::Blocks.
inline std::string BlockKey(std::uint64_t block)
{
    std::string key;
    AppendNumber(key, block);
    return key;
}

/// The objects of a block where they lie, without the checksum behind them. An object of this class
/// serves one block after another; one thread uses it at a time.
///
/// Whatever the bytes are, nothing beyond them is read. What forms of varying size are made of is
/// not looked into: bytes whose checksum is right have been written by a BlockBuilder, and `check`
/// asks AreFormsSound as well.
class BlockView
{
public:
    explicit BlockView(const BlockLayout& layout) : m_layout(layout), m_columns(layout.size()) {}

    /// The bytes stay where they are for as long as the view is asked. False where they are no
    /// block of such a layout: it then holds no objects. Columns are looked into when they are
    /// asked for first.
    bool Open(std::string_view bytes);

    /// Slots are numbered from 0; beyond these no object stands.
    unsigned Slots() const { return m_slots; }
    bool Has(unsigned slot) const
    {
        return slot < m_slots && (!m_bits.AreThere() || m_bits.Test(slot));
    }
    /// The slots with an object, in the words that Slots() needs.
    void Objects(SlotBits& bits) const;
    unsigned CountObjects() const { return m_bits.AreThere() ? m_bits.Rank(m_slots) : m_slots; }

    /// The values of an attribute; null where their bytes are damaged.
    const Column* Values(std::size_t attribute);
    /// The value of a slot that Has says holds an object; see Column::At. False: damaged.
    bool At(std::size_t attribute, unsigned slot, Cell& cell, std::string& room)
    {
        const Column* column = Values(attribute);
        if (column != nullptr)
            cell = column->At(slot, room);
        return column != nullptr;
    }

    /// Looks at all columns, and at every form with the type manager: one that is sound may be
    /// handed to any other call. False: damaged.
    bool AreFormsSound(const Schema& schema);

private:
    const BlockLayout& m_layout;
    std::string_view m_bytes; ///< of the columns
    const char* m_ends = nullptr;
    bool m_wideEnds = false;
    unsigned m_slots = 0;
    StoredBits m_bits;
    struct Known {
        Column column;
        std::uint64_t block = 0; ///< what m_block was when the column was opened
    };
    /// Few are asked for where single objects are looked up.
    std::vector<std::unique_ptr<Known>> m_columns;
    std::uint64_t m_block = 0; ///< counts the blocks
};

} // namespace ko::store::inner

#endif
