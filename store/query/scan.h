#ifndef KO_STORE_QUERY_SCAN_H
#define KO_STORE_QUERY_SCAN_H

#include "query/block_filter.h"
#include "query/block_groups.h"
#include "query/range_walk.h"
#include "query/way_numbers.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ko::store::inner
{

/// Finds objects: all of a store or those of an index range, and of these the ones that meet a
/// condition.
class Scan
{
public:
    /// Most objects that an answer in the order of an index looks at together.
    static constexpr std::size_t kMostTogether = 4096;

    /// A null range: all objects, in the order of their numbers. A null test: they all meet it.
    /// What is handed over outlives the scan.
    Scan(Snapshot& snapshot, const IndexRange* range, ScanOrder order, const Condition* test);
    /// The objects on a way, in the order of their numbers. A null way: all objects.
    Scan(Snapshot& snapshot, const Way* way, const Condition* test);

    /// The numbers of the next objects in the order of the scan, at least one and at most `most`;
    /// none at the end. Valid until the next call. This and Count throw Error (ErrorCode::Damaged).
    /// An index of a damaged store may name objects that do not exist: they are noticed where
    /// something is tested, and otherwise left to whoever reads them.
    std::span<const std::uint64_t> Next(std::size_t most);
    /// How many are left, but at most `most`. Entries are enough for it where nothing is tested.
    std::uint64_t Count(std::uint64_t most);
    /// Hands over all objects that are left, of which Next was not asked: blocks in ascending
    /// order, and in each the slots of objects. `attribute` is one that the caller will look at.
    using Take = std::function<void(const BlockAt& block, const SlotBits& slots)>;
    void Each(std::size_t attribute, const Take& take);
    /// The objects that the scan has looked at.
    std::uint64_t Looked() const { return m_looked; }

private:
    bool IsByIndex() const { return m_walk.has_value() || m_way != nullptr; }
    void SetTest(const Condition* test);
    void StartOfIds(const IndexRange* range);
    void CollectNumbers();
    void StartGroups();
    bool NextFound(std::size_t most);
    bool NextBlock();
    bool NextBlocksBackwards();
    bool NextInOrder(std::size_t most);
    void Append(BlockGroups& group);
    std::uint64_t Test(BlockGroups& group);

    Snapshot& m_snapshot;
    ScanOrder m_order;
    std::optional<BlockFilter> m_filter;
    std::vector<std::size_t> m_tested;     ///< attributes
    std::optional<RangeWalk> m_walk;       ///< of an index
    const Way* m_way = nullptr;            ///< of several ranges
    std::unique_ptr<BlockGroups> m_groups; ///< once it is known which objects to look at
    std::vector<std::uint64_t> m_candidates;
    std::uint64_t m_first = 1; ///< of a range of ids, what is left of it
    std::uint64_t m_last = kMaxObjectNumber;
    std::uint64_t m_window = 1; ///< blocks that are looked at before their objects are turned round
    std::uint64_t m_looked = 0;
    std::vector<std::uint64_t> m_found;
    std::size_t m_taken = 0; ///< of these
};

} // namespace ko::store::inner

#endif
