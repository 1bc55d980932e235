#include "engine/lmdb_cursor.h"

#include "engine/lmdb_count.h"

#include <cstring>
#include <utility>

namespace ko::store::inner::lmdb
{

namespace
{

constexpr std::size_t kMostIdle = 4;

class Walker : public Cursor
{
public:
    Walker(Transaction& transaction, Space space, Range range, Direction direction)
        : m_transaction(transaction), m_path(transaction.environment->Path()),
          m_range(std::move(range)), m_forwards(direction == Direction::Forwards),
          m_idle(m_transaction.idle[static_cast<std::size_t>(space)]),
          m_changes(m_transaction.changes)
    {
        if (!m_idle.empty()) {
            m_cursor = std::move(m_idle.back());
            m_idle.pop_back();
        } else {
            m_idle.reserve(kMostIdle); // so that nothing throws when it comes back
            m_cursor = OpenCursor(m_transaction.transaction, m_transaction.environment->Dbi(space),
                                  m_path);
        }
    }
    ~Walker() override
    {
        // LMDB closes the cursors of a transaction that writes when it ends.
        if (m_transaction.writes && m_transaction.transaction == nullptr)
            static_cast<void>(m_cursor.release());
        else if (!m_transaction.writes && m_idle.size() < kMostIdle)
            m_idle.push_back(std::move(m_cursor));
    }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    std::span<const Row> Next(std::size_t most) override
    {
        m_many.clear();
        std::size_t count = 0;
        MDB_val key{};
        MDB_val value{};
        const MDB_cursor_op onwards = m_forwards ? MDB_NEXT : MDB_PREV;
        bool found = !m_ended && Step(key, value);
        while (found && !IsOutside(View(key))) {
            if (most <= std::size(m_few))
                m_few[count] = {View(key), View(value)};
            else
                m_many.push_back({View(key), View(value)});
            if (++count == most)
                break;
            found = Get(key, value, onwards);
        }
        m_ended = count < most;
        const std::span<const Row> rows(most <= std::size(m_few) ? m_few : m_many.data(), count);
        if (m_transaction.writes && count != 0)
            m_last = rows.back().key;
        return rows;
    }
    /// Leaves the cursor so that the first step is one onwards.
    std::optional<Row> Beside() override
    {
        MDB_val key{};
        MDB_val value{};
        bool found = false;
        if (m_forwards && !m_range.low.empty())
            found = SeekBelow(key, value, m_range.low);
        else if (!m_forwards && m_range.high && !m_range.high->empty())
            found = Seek(key, value, *m_range.high, false);
        m_started = found; // otherwise the first step seeks
        return found ? std::optional<Row>({View(key), View(value)}) : std::nullopt;
    }

private:
    bool Get(MDB_val& key, MDB_val& value, MDB_cursor_op operation)
    {
        const int code = mdb_cursor_get(m_cursor.get(), &key, &value, operation);
        if (code != MDB_NOTFOUND)
            Check(code, m_path);
        return code == MDB_SUCCESS;
    }

    /// To the first key not below `bound`, or above it.
    bool Seek(MDB_val& key, MDB_val& value, std::string_view bound, bool above)
    {
        if (bound.empty())
            return Get(key, value, MDB_FIRST);
        // No key is as long as a bound that is cut here.
        const std::string_view cut = bound.substr(0, kMaxKey);
        key = Val(cut);
        if (!Get(key, value, MDB_SET_RANGE))
            return false;
        return (!above && cut.size() == bound.size()) || View(key) != cut ||
               Get(key, value, MDB_NEXT);
    }

    /// To the last key below `bound`.
    bool SeekBelow(MDB_val& key, MDB_val& value, std::string_view bound)
    {
        return Get(key, value, Seek(key, value, bound, false) ? MDB_PREV : MDB_LAST);
    }

    bool Step(MDB_val& key, MDB_val& value)
    {
        const bool moved = m_changes != m_transaction.changes;
        m_changes = m_transaction.changes;
        if (m_started && !moved)
            return Get(key, value, m_forwards ? MDB_NEXT : MDB_PREV);
        if (m_started && !m_last.empty())
            return m_forwards ? Seek(key, value, m_last, true) : SeekBelow(key, value, m_last);
        m_started = true;
        if (m_forwards)
            return Seek(key, value, m_range.low, false);
        if (m_range.high && m_range.high->empty())
            return false;
        return m_range.high ? SeekBelow(key, value, *m_range.high) : Get(key, value, MDB_LAST);
    }

    bool IsOutside(std::string_view key) const
    {
        return m_forwards ? m_range.high && key >= *m_range.high : key < m_range.low;
    }

    Transaction& m_transaction;
    const std::string& m_path;
    const Range m_range;
    const bool m_forwards;
    std::vector<CursorPointer>& m_idle; ///< of the transaction
    CursorPointer m_cursor;
    std::uint64_t m_changes;
    bool m_started = false;
    bool m_ended = false;
    std::string m_last; ///< key of a writer's walk
    Row m_few[2];       ///< as many as looking one value up asks for
    std::vector<Row> m_many;
};

} // namespace

std::unique_ptr<Cursor> MakeCursor(Transaction& transaction, Space space, const Range& range,
                                   Direction direction)
{
    return std::make_unique<Walker>(transaction, space, range, direction);
}

std::uint64_t Guess(const Transaction& transaction, Space space, const Range& range)
{
    const Environment& environment = *transaction.environment;
    const std::string& path = environment.Path();
    MDB_stat stat{};
    Check(mdb_stat(transaction.transaction, environment.Dbi(space), &stat), path);
    if (transaction.writes) // its pages are not in the file
        return stat.ms_entries;
    MDB_dbi names = 0;
    Check(mdb_dbi_open(transaction.transaction, nullptr, 0, &names), path);
    MDB_val name = Val(SpaceName(space));
    MDB_val description{};
    Tree tree{};
    Check(mdb_get(transaction.transaction, names, &name, &description), path);
    if (description.mv_size != sizeof tree)
        return stat.ms_entries;
    std::memcpy(&tree, description.mv_data, sizeof tree);
    return CountByPages(File(path), stat.ms_psize, tree, range);
}

} // namespace ko::store::inner::lmdb
