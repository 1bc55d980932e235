#ifndef KO_STORE_QUERY_RANGE_WALK_H
#define KO_STORE_QUERY_RANGE_WALK_H

#include "object/snapshot.h"
#include "query/index_range.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// An index names an object that does not exist. Ends with Error (ErrorCode::Damaged), or where the
/// object may have gone meanwhile with Conflict.
[[noreturn]] void FailNoObject(const Snapshot& snapshot, std::uint64_t number);

/// Walks the entries of an index range.
///
/// Where the key of an edge was cut, entries with the same key may lie on either side of the edge:
/// there the objects' values decide. They decide as well in which order objects come whose keys
/// were cut to the same one. Where a snapshot is not one moment, objects that are gone or have
/// another value are passed over.
class RangeWalk
{
public:
    /// `range` outlives the walk. Throws Error (ErrorCode::Damaged) where the store's indexes were
    /// made under another order.
    RangeWalk(Snapshot& snapshot, const IndexRange& range, ScanOrder order);

    /// Appends the objects of the next entries, maybe none; false at the end. Those of equal values
    /// come by their numbers, for ScanOrder::Backwards from the highest on.
    bool Next(std::vector<std::uint64_t>& numbers);
    /// Appends all that are left.
    void Collect(std::vector<std::uint64_t>& numbers);
    /// Many rows will be wanted: they are asked for together from now on.
    void ReadMany() { m_walk->ReadMany(); }
    /// Counts the objects that are left, up to a row of entries more than `most`.
    std::uint64_t Count(std::uint64_t most);
    /// Counts the objects where fewer than a thousand rows of entries hold them all, which one
    /// round trip reads; absent where they are more. Those at cut edges count whether they lie
    /// inside or not. Afterwards the walk serves no more.
    std::optional<std::uint64_t> CountFew();

private:
    Range Keys();
    bool Advance();
    bool IsAtCutEdge() const;
    bool IsInside(std::string_view form) const;
    std::optional<std::string_view> FormOf(std::uint64_t number);
    void GatherKey();
    void TakeAlikes(std::vector<std::uint64_t>& numbers);

    Snapshot& m_snapshot;
    const IndexRange& m_range;
    ScanOrder m_order;
    o_char m_type;
    ValueKeys m_keys;
    std::string m_cutLow; ///< value's key of the low edge; empty where it was not cut
    std::string m_cutHigh;
    std::unique_ptr<EntryWalk> m_walk;
    bool m_isAhead = false; ///< the row that the walk is at was not looked at
    std::vector<std::uint64_t> m_row;
    std::string m_room;
};

} // namespace ko::store::inner

#endif
