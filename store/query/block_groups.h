#ifndef KO_STORE_QUERY_BLOCK_GROUPS_H
#define KO_STORE_QUERY_BLOCK_GROUPS_H

#include "query/block_at.h"

#include <cstdint>
#include <memory>
#include <span>

namespace ko::store::inner
{

/// Objects to look at, block by block in ascending order.
class BlockGroups
{
public:
    virtual ~BlockGroups() = default;
    /// Moves to the next block with any of them; false behind the last one.
    virtual bool Next() = 0;
    /// Keeps the block for Snapshot::Block, where it would not be at hand otherwise.
    virtual void Keep() = 0;

    /// These hold until Next, and until another block is asked for.
    const BlockAt& Block() const { return m_block; }
    /// The slots of the objects, which the caller may change.
    SlotBits& Slots() { return m_slots; }

protected:
    BlockAt m_block;
    SlotBits m_slots;
};

/// All objects with numbers from `first` to `last`. Where these are all of the store, Next throws
/// Error (ErrorCode::Damaged) behind the last block if there were not as many as the store counts.
class AllObjects : public BlockGroups
{
public:
    AllObjects(Snapshot& snapshot, std::uint64_t first, std::uint64_t last);
    bool Next() override;
    void Keep() override { m_snapshot.Keep(*m_walk); }

private:
    Snapshot& m_snapshot;
    std::uint64_t m_first;
    std::uint64_t m_last;
    bool m_isWhole;
    std::uint64_t m_met = 0;
    std::unique_ptr<BlockWalk> m_walk;
};

/// Objects of which an index told the numbers, in ascending order, each once.
class NumberedObjects : public BlockGroups
{
public:
    /// The numbers stay where they are, and so do the attributes that will be asked for.
    NumberedObjects(Snapshot& snapshot, std::span<const std::uint64_t> numbers,
                    std::span<const std::size_t> attributes)
        : m_snapshot(snapshot), m_numbers(numbers), m_attributes(attributes)
    {
    }
    /// Throws Error (ErrorCode::Damaged) for an object that does not exist.
    bool Next() override;
    void Keep() override {} // it was fetched

private:
    Snapshot& m_snapshot;
    std::span<const std::uint64_t> m_numbers; ///< those that are left
    std::span<const std::size_t> m_attributes;
    std::size_t m_fetched = 0; ///< of these
};

} // namespace ko::store::inner

#endif
