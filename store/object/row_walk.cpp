#include "object/row_walk.h"

#include "block/checksum.h"

namespace ko::store::inner
{

namespace
{

[[noreturn]] void FailOrder(Space space, std::string_view key)
{
    FailDamaged(space, key, "does not stand in its place");
}

/// The first row from a key on must not be below it.
void ProveFrom(Reader& reader, Space space, const std::string& key)
{
    const auto cursor = reader.Walk(space, {key, {}}, Direction::Forwards);
    for (const Row& row : cursor->Next(1)) {
        Unseal(space, row.key, row.value);
        if (row.key < key)
            FailOrder(space, row.key);
    }
}

/// And the last one before it must be.
void ProveBefore(Reader& reader, Space space, const std::string& key)
{
    const auto cursor = reader.Walk(space, {"", key}, Direction::Backwards);
    for (const Row& row : cursor->Next(1)) {
        Unseal(space, row.key, row.value);
        if (row.key >= key)
            FailOrder(space, row.key);
    }
}

/// The range with no end where a walk ends, so that it meets the row behind.
Range Opened(const Range& range, bool forwards)
{
    return forwards ? Range{range.low, {}} : Range{"", range.high};
}

} // namespace

RowWalk::RowWalk(Reader& reader, Space space, const Range& range, Direction direction,
                 bool provesEnds)
    : m_space(space), m_forwards(direction == Direction::Forwards), m_provesEnds(provesEnds),
      m_range(range),
      m_cursor(reader.Walk(space, provesEnds ? Opened(range, m_forwards) : range, direction))
{
    if (provesEnds)
        ProveStart(reader, range);
}

void RowWalk::ProveStart(Reader& reader, const Range& range) const
{
    if (m_forwards && !range.low.empty())
        ProveBefore(reader, m_space, range.low);
    else if (!m_forwards && range.high)
        ProveFrom(reader, m_space, *range.high);
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
        m_rows = m_cursor->Next(atOnce);
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
    m_last = m_key;
    return !m_hasEnded;
}

void ProveGap(Reader& reader, Space space, std::string_view key)
{
    ProveFrom(reader, space, std::string(key));
    ProveBefore(reader, space, std::string(key));
}

} // namespace ko::store::inner
