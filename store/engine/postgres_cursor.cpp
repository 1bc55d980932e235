#include "engine/postgres_cursor.h"

#include <algorithm>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::size_t kMostRows = 16'000;
constexpr std::size_t kPageBytes = 1U << 20;
// Before the size of the rows is known.
constexpr std::size_t kMostAtFirst = 1000;
constexpr std::size_t kMostLargeAtFirst = 16;

class PageCursor : public Cursor
{
public:
    PageCursor(PageSource& source, Space space, Range range, Direction direction)
        : m_source(source), m_space(space), m_direction(direction), m_range(std::move(range)),
          m_most(space == Space::Large ? kMostLargeAtFirst : kMostAtFirst)
    {
    }

    std::span<const Row> Next(std::size_t most) override
    {
        if (m_ended)
            return {};
        if (m_changes != m_source.Changes()) {
            m_rows.clear();
            m_at = 0;
            m_isLast = false;
        }
        if (m_at == m_rows.size() && !m_isLast)
            Fetch(most);
        const std::size_t count = std::min(most, m_rows.size() - m_at);
        const std::span<const Row> rows(m_rows.data() + m_at, count);
        m_at += count;
        m_ended = count == 0;
        if (!m_ended)
            Pass(rows.back().key);
        return rows;
    }
    std::optional<Row> Beside() override
    {
        const bool forwards = m_direction == Direction::Forwards;
        if (forwards ? m_range.low.empty() : !m_range.high || m_range.high->empty())
            return {};
        m_answer = forwards ? m_source.Page(m_space, {"", m_range.low}, Direction::Backwards, 1)
                            : m_source.Page(m_space, {*m_range.high, {}}, Direction::Forwards, 1);
        if (m_answer.Rows() == 0)
            return {};
        return Row{m_answer.Bytes(0, 0), m_answer.Bytes(0, 1)};
    }

private:
    /// The rest of the range lies behind a key.
    void Pass(std::string_view key)
    {
        if (m_direction == Direction::Backwards)
            m_range.high.emplace(key);
        else
            m_range.low.assign(key).push_back('\0');
    }

    bool IsEmpty() const { return m_range.high && *m_range.high <= m_range.low; }

    void Fetch(std::size_t most)
    {
        m_rows.clear();
        m_at = 0;
        m_isLast = true;
        m_changes = m_source.Changes();
        if (IsEmpty())
            return;
        const std::size_t limit = std::min(std::max(m_page, most), m_most);
        m_answer = m_source.Page(m_space, m_range, m_direction, limit);
        std::size_t bytes = 0;
        for (std::size_t i = 0; i < m_answer.Rows(); ++i) {
            m_rows.push_back({m_answer.Bytes(i, 0), m_answer.Bytes(i, 1)});
            bytes += m_rows.back().key.size() + m_rows.back().value.size();
            const bool ordered = i == 0 || (m_rows[i - 1].key < m_rows[i].key) ==
                                               (m_direction == Direction::Forwards);
            if (!ordered || m_rows[i].key.empty() || m_rows[i].key < m_range.low ||
                (m_range.high && m_rows[i].key >= *m_range.high))
                m_source.FailDamaged();
        }
        m_isLast = m_rows.size() < limit;
        // The next ones are larger, and no larger than memory takes easily.
        if (!m_rows.empty())
            m_most =
                std::clamp<std::size_t>(kPageBytes / (bytes / m_rows.size() + 1), 1, kMostRows);
        m_page = 4 * limit;
    }

    PageSource& m_source;
    const Space m_space;
    const Direction m_direction;
    Range m_range;          ///< what has not been handed out
    std::size_t m_page = 1; ///< rows of the next page, or more
    std::size_t m_most;     ///< and no more than these
    std::uint64_t m_changes = 0;
    Answer m_answer;
    std::vector<Row> m_rows; ///< of the answer
    std::size_t m_at = 0;
    bool m_isLast = false; ///< nothing comes after the rows
    bool m_ended = false;
};

} // namespace

std::unique_ptr<Cursor> MakeCursor(PageSource& source, Space space, const Range& range,
                                   Direction direction)
{
    return std::make_unique<PageCursor>(source, space, range, direction);
}

} // namespace ko::store::inner::postgres
