#include "engine/postgres_spread.h"

#include <kostore.h>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

namespace ko::store::inner::postgres
{

std::size_t SendRows(Connection& connection, const Generation& statements, Space space,
                     const Rows& rows)
{
    std::vector<std::string_view> erased;
    std::vector<std::string_view> keys;
    std::vector<std::string_view> values;
    for (const auto& [key, value] : rows) {
        erased.push_back(key);
        if (value) {
            keys.push_back(key);
            values.push_back(*value);
        }
    }
    using Views = std::span<const std::string_view>;
    if (!erased.empty())
        connection.Send(statements.Erase(space), Parameters().Add(Views(erased)));
    if (!keys.empty())
        connection.Send(statements.Insert(space), Parameters().Add(Views(keys)).Add(Views(values)));
    return (erased.empty() ? 0U : 1U) + (keys.empty() ? 0U : 1U);
}

SpreadChange::SpreadChange(std::shared_ptr<Pool> pool)
    : m_pool(std::move(pool)), m_turn(m_pool->Take())
{
    m_turn->Send(kBegin);
    m_turn->Send(m_pool->Statements().TakeTurn());
    m_turn->Sync();
    try {
        m_turn->Receive();
        m_turn->Receive();
    } catch (const SqlError& error) {
        if (!error.Is("55P03"))
            throw;
        throw Error(ErrorCode::Io, m_pool->Of().Shown() + ": another change takes too long");
    }
}

SpreadChange::~SpreadChange()
{
    m_pool->Give(std::move(m_turn), true);
}

void SpreadChange::Note(Space space, std::string_view key, const std::optional<std::string>& value)
{
    if (IsLarge())
        return;
    m_bytes += key.size() + (value ? value->size() : 0);
    m_rows[static_cast<std::size_t>(space)].insert_or_assign(std::string(key), value);
    if (IsLarge()) {
        for (Rows& rows : m_rows)
            rows.clear();
    }
}

bool SpreadChange::KeepsTurn()
{
    try {
        m_turn->Run(kVersion);
        return true;
    } catch (const SqlError&) {
        return false;
    }
}

/// A row of entries that becomes shorter loses numbers; what both gains and loses some counts as
/// gaining.
void SpreadChange::SplitEntries(Connection& connection, Step& added, Step& removed)
{
    Rows& rows = m_rows[static_cast<std::size_t>(Space::Entries)];
    std::vector<std::string_view> keys;
    for (const auto& row : rows)
        keys.push_back(row.first);
    if (keys.empty())
        return;
    const Answer sizes = connection.Run(m_pool->Statements().EntrySizes(),
                                        Parameters().Add(std::span<const std::string_view>(keys)));
    for (std::size_t i = 0; i < sizes.Rows(); ++i) {
        const auto row = rows.find(sizes.Bytes(i, 0));
        if (row == rows.end() ||
            (row->second && row->second->size() >= static_cast<std::size_t>(sizes.Number(i, 1))))
            continue;
        removed[Space::Entries].insert(rows.extract(row));
    }
    std::erase_if(rows, [](const auto& row) { return !row.second; }); // was not there
    added[Space::Entries] = std::move(rows);
}

void SpreadChange::Make(Connection& connection, const Step& step)
{
    const std::string mark = m_pool->NewMark();
    connection.Send(kBegin);
    std::size_t sent = 1;
    for (const auto& [space, rows] : step)
        sent += SendRows(connection, m_pool->Statements(), space, rows);
    connection.Send(
        m_pool->Statements().Mark(),
        Parameters().Add(mark).Add(m_pool->Of().Store()).Add(m_pool->Place().generation));
    connection.Sync();
    for (; sent > 0; --sent)
        connection.Receive();
    if (connection.Receive().Changed() != 1) {
        connection.Abandon();
        m_pool->FailReplaced();
    }
    m_hasBegun = true;
    if (connection.Run(kCommit).Done() != "COMMIT")
        FailInPart("the server has rolled it back");
    m_pool->Finish(mark, connection);
}

void SpreadChange::Commit(Connection& connection)
{
    const auto of = [&](Space space) -> Rows& { return m_rows[static_cast<std::size_t>(space)]; };
    Step entries;
    Step last;
    SplitEntries(connection, entries, last);
    for (const Space space : {Space::Texts, Space::Large}) {
        for (auto row = of(space).begin(); row != of(space).end();) {
            const auto erased = row++;
            if (!erased->second)
                last[space].insert(of(space).extract(erased));
        }
    }
    // Each may refer to those before it.
    const Step steps[] = {
        {{Space::Texts, of(Space::Texts)}},
        {{Space::Description, of(Space::Description)}},
        entries,
        {{Space::Large, of(Space::Large)}},
        {{Space::Blocks, of(Space::Blocks)}, {Space::Statistics, of(Space::Statistics)}},
        last};
    if (!KeepsTurn())
        throw SqlError("08006", "the turn of the change was lost");
    for (const Step& step : steps) {
        const bool isEmpty = std::all_of(step.begin(), step.end(),
                                         [](const auto& rows) { return rows.second.empty(); });
        if (isEmpty)
            continue;
        if (m_hasBegun && !KeepsTurn())
            FailInPart("the connection was lost");
        try {
            Make(connection, step);
        } catch (const SqlError& error) {
            if (!m_hasBegun)
                throw;
            FailInPart(error.what());
        }
    }
}

void SpreadChange::FailInPart(const std::string& why) const
{
    throw Error(ErrorCode::Io, m_pool->Of().Shown() +
                                   ": a change may have been made in part, for " + why +
                                   ": check the store, and make its indexes again");
}

} // namespace ko::store::inner::postgres
