#include "object/row_walk.h"

#include "block/checksum.h"

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

namespace
{

[[noreturn]] void FailOrder(Space space, std::string_view key)
{
    FailDamaged(space, key, "does not stand in its place");
}

/// The range with no end where a walk ends, so that it meets the row behind.
Range Opened(const Range& range, bool forwards)
{
    return forwards ? Range{range.low, {}} : Range{"", range.high};
}

} // namespace

RowWalk::RowWalk(Reader& reader, Space space, Range range, Direction direction, bool provesEnds)
    : m_space(space), m_forwards(direction == Direction::Forwards), m_provesEnds(provesEnds),
      m_range(std::move(range)),
      m_cursor(reader.Walk(space, provesEnds ? Opened(m_range, m_forwards) : m_range, direction))
{
    if (provesEnds)
        ProveStart();
}

void RowWalk::ProveStart()
{
    const auto beside = m_cursor->Beside();
    if (!beside)
        return;
    Unseal(m_space, beside->key, beside->value);
    if (m_forwards ? beside->key >= m_range.low : beside->key < *m_range.high)
        FailOrder(m_space, beside->key);
}

/// Whether the row is the one behind the range.
bool RowWalk::IsBehind() const
{
    return m_forwards ? m_range.high && m_key >= *m_range.high : m_key < m_range.low;
}

bool RowWalk::Next(std::size_t atOnce)
{
    if (m_hasEnded)
        return false;
    if (m_at == m_rows.size()) {
        const std::size_t few = m_provesEnds ? std::min(m_nextFew, atOnce) : atOnce;
        m_rows = m_cursor->Next(few);
        m_nextFew = 2 * few;
        m_at = 0;
    }
    if (m_rows.empty()) {
        m_hasEnded = true;
        return false;
    }
    const Row& row = m_rows[m_at++];
    m_key = row.key;
    m_bytes = Unseal(m_space, m_key, row.value);
    const bool isFirst = m_last.empty(); // no key is
    const bool inOrder = m_forwards
                             ? (isFirst ? m_key >= m_range.low : m_key > m_last)
                             : (isFirst ? !m_range.high || m_key < *m_range.high : m_key < m_last);
    if (!inOrder)
        FailOrder(m_space, m_key);
    m_hasEnded = m_provesEnds && IsBehind();
    m_last = m_provesEnds ? m_key : std::string_view(m_room.assign(m_key));
    return !m_hasEnded;
}

void ProveGap(Reader& reader, Space space, std::string_view key)
{
    RowWalk behind(reader, space, {std::string(key), {}}, Direction::Forwards, true);
    behind.Next(1);
}

} // namespace ko::store::inner
