#ifndef KO_ENGINE_POSTGRES_SPREAD_H
#define KO_ENGINE_POSTGRES_SPREAD_H

#include "engine/postgres_pool.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace ko::store::inner::postgres
{

/// The rows that a change puts, and those that it erases, which have no value.
using Rows = std::map<std::string, std::optional<std::string>, std::less<>>;

/// Sends rows, as two statements at the most; returns how many. What is put is erased and inserted:
/// two plain statements, of which one serves for what is erased anyway, and which engines take that
/// know no "on conflict do update" for tables spread over servers. Keys ascend, so that two writers
/// lock what both change in one order.
std::size_t SendRows(Connection& connection, const Generation& statements, Space space,
                     const Rows& rows);

/// A change of a store that is spread over servers. Its transaction shows it what it wrote and is
/// then rolled back, for a commit of it could be made by one server and not by the next. What was
/// written is committed in steps instead, so that one that is broken off leaves entries too many,
/// which readers pass over, and counts that no number is given twice by. Meanwhile it has the turn,
/// and other changes wait.
class SpreadChange
{
public:
    /// Takes the turn. Throws SqlError, and Error where another change has it for too long.
    explicit SpreadChange(std::shared_ptr<Pool> pool);
    ~SpreadChange();
    SpreadChange(const SpreadChange&) = delete;
    SpreadChange& operator=(const SpreadChange&) = delete;

    void Note(Space space, std::string_view key, const std::optional<std::string>& value);
    /// True where the change has become too large to be kept in memory: it is committed at once.
    bool IsLarge() const { return m_bytes > kMostBytes; }
    /// Makes the change, by a connection outside of transactions. Throws SqlError as long as
    /// nothing has been made of it, and then Error.
    void Commit(Connection& connection);
    /// Throws the Error for a change that some servers may have made.
    [[noreturn]] void FailInPart(const std::string& why) const;

private:
    static constexpr std::size_t kMostBytes = 64U << 20;
    using Step = std::map<Space, Rows>;

    bool KeepsTurn();
    void SplitEntries(Connection& connection, Step& added, Step& removed);
    void Make(Connection& connection, const Step& step);

    std::shared_ptr<Pool> m_pool;
    std::unique_ptr<Connection> m_turn;
    Rows m_rows[kSpaces];
    std::size_t m_bytes = 0;
    bool m_hasBegun = false; ///< some of it may have been made
};

} // namespace ko::store::inner::postgres

#endif
