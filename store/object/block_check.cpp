#include "object/block_check.h"

#include "block/checksum.h"

namespace ko::store::inner
{

namespace
{

class BlockCheck
{
public:
    BlockCheck(const Snapshot& snapshot, std::uint64_t number, BlockView& block)
        : m_snapshot(snapshot), m_number(number), m_block(block)
    {
    }

    void Do(const LargeMet& large)
    {
        const std::uint64_t end = m_number * m_snapshot.SlotsOfBlock() + m_block.Slots();
        if (!m_block.Has(m_block.Slots() - 1))
            Fail("ends without an object");
        if (end > m_snapshot.GetCounts().nextNumber || (m_number == 0 && m_block.Has(0)))
            Fail("holds an object of a number that was never given out");
        if (!m_block.AreFormsSound(m_snapshot.GetSchema()))
            Fail("holds a value that its type does not write");
        for (std::size_t i = 0; i < m_snapshot.GetSchema().attributes.size(); ++i)
            CheckCells(i, large);
    }

private:
    /// Those whose forms stand elsewhere, and those that are absent where they must not be.
    void CheckCells(std::size_t attribute, const LargeMet& large)
    {
        const Column& column = *m_block.Values(attribute);
        const bool hasNull = m_snapshot.GetSchema().attributes[attribute].type.HasNull();
        if (column.IsFixed() && hasNull)
            return;
        for (unsigned slot = 0; slot < m_block.Slots(); ++slot) {
            if (!m_block.Has(slot))
                continue;
            const Cell cell = column.At(slot, m_room);
            if (cell.kind == Cell::Kind::Absent && !hasNull)
                Fail("lacks a value that cannot be absent");
            if (cell.kind == Cell::Kind::Entry && cell.entry >= m_snapshot.Texts(attribute))
                Fail("holds an entry that no dictionary has");
            if (cell.kind == Cell::Kind::Large)
                large(slot, attribute);
        }
    }

    [[noreturn]] void Fail(const char* how) const
    {
        FailDamaged(Space::Blocks, BlockKey(m_number), how);
    }

    const Snapshot& m_snapshot;
    std::uint64_t m_number;
    BlockView& m_block;
    std::string m_room;
};

} // namespace

void CheckBlock(const Snapshot& snapshot, std::uint64_t number, BlockView& block,
                const LargeMet& large)
{
    BlockCheck(snapshot, number, block).Do(large);
}

} // namespace ko::store::inner
