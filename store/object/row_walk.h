#ifndef KO_STORE_OBJECT_ROW_WALK_H
#define KO_STORE_OBJECT_ROW_WALK_H

#include "engine/engine.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// A walk over rows whose checksums are proved, and which must stand in order. With `provesEnds`
/// the rows beside the range are proved as well: one whose key was damaged may have left the range.
/// Throws Error (ErrorCode::Damaged).
class RowWalk
{
public:
    /// `provesEnds` is for readers whose views last.
    RowWalk(Reader& reader, Space space, Range range, Direction direction, bool provesEnds);
    RowWalk(const RowWalk&) = delete;
    RowWalk& operator=(const RowWalk&) = delete;

    /// Moves to the next row; false behind the last one. `atOnce`: rows to ask the engine for.
    bool Next(std::size_t atOnce);
    /// Of the row, without its checksum. Valid until Next.
    std::string_view Key() const { return m_key; }
    std::string_view Bytes() const { return m_bytes; }
    /// The same with it.
    std::string_view Sealed() const { return m_rows[m_at - 1].value; }

private:
    void ProveStart();
    bool IsBehind() const;

    Space m_space;
    bool m_forwards;
    bool m_provesEnds;
    Range m_range;
    std::unique_ptr<Cursor> m_cursor;
    std::span<const Row> m_rows;
    std::size_t m_at = 0;
    bool m_hasEnded = false;
    std::size_t m_nextFew = 2; ///< rows that are asked for, where asking costs no round trip
    std::string_view m_last;   ///< key of the row before
    std::string m_room;        ///< for it, where the reader's does not stay
    std::string_view m_key;
    std::string_view m_bytes;
};

/// Calls each(row) for every row of a range as it stands, nothing proved.
template <class Each>
void EachRow(Reader& reader, Space space, const Each& each, const Range& range = {})
{
    constexpr std::size_t kAtOnce = 64;
    const auto cursor = reader.Walk(space, range, Direction::Forwards);
    for (auto rows = cursor->Next(kAtOnce); !rows.empty(); rows = cursor->Next(kAtOnce)) {
        for (const Row& row : rows)
            each(row);
    }
}

/// Proves the rows beside a key that is not there.
void ProveGap(Reader& reader, Space space, std::string_view key);

} // namespace ko::store::inner

#endif
