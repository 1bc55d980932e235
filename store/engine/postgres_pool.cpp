#include "engine/postgres_pool.h"

#include <kostore.h>

#include <random>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

constexpr int kAttempts = 3;
constexpr std::size_t kMostIdle = 16;
constexpr std::size_t kMostFinished = 64;

Connection::Purpose PurposeOf(Mode mode)
{
    return mode == Mode::Read ? Connection::Purpose::Read : Connection::Purpose::Change;
}

} // namespace

Pool::Pool(const std::string& address, Mode mode) : m_address(address), m_mode(mode)
{
    try {
        auto connection = Connect(m_address, PurposeOf(mode), false);
        m_where = NeedStore(*connection, m_address);
        // Every schema of the other kind was made by a loader, on this server.
        m_isSpread = m_where.IsPrepared() && IsSpreadOverServers(*connection, m_where.schema);
        Adapt(*connection);
        m_statements = std::make_unique<Generation>(m_where.schema);
        m_idle.push_back(std::move(connection));
    } catch (const SqlError& error) {
        error.Fail(m_address);
    }
    std::random_device random;
    for (int i = 0; i < 4; ++i)
        m_marks += std::to_string(random()) + ".";
}

void Pool::Adapt(Connection& connection) const
{
    if (m_isSpread && !m_address.HasOption("plan_cache_mode"))
        connection.Run(kSetPlansByValues);
}

std::unique_ptr<Connection> Pool::Take()
{
    {
        const std::lock_guard guard(m_mutex);
        if (!m_idle.empty()) {
            auto connection = std::move(m_idle.back());
            m_idle.pop_back();
            return connection;
        }
    }
    for (int attempt = 1;; ++attempt) {
        try {
            auto connection = Connect(m_address, PurposeOf(m_mode), true);
            Adapt(*connection);
            return connection;
        } catch (const SqlError& error) {
            if (!error.IsLost() || attempt == kAttempts)
                error.Fail(m_address);
        }
    }
}

void Pool::Give(std::unique_ptr<Connection> connection, bool inTransaction) noexcept
{
    try {
        if (!connection || !connection->IsSound())
            return;
        if (inTransaction)
            connection->Abandon();
        connection->Forgo(); // to wait for it would be a round trip
        const std::lock_guard guard(m_mutex);
        if (m_idle.size() < kMostIdle)
            m_idle.push_back(std::move(connection));
    } catch (const std::exception&) {
        // It is closed.
    }
}

void Pool::Forget()
{
    std::vector<std::unique_ptr<Connection>> idle;
    const std::lock_guard guard(m_mutex);
    idle.swap(m_idle);
}

std::string Pool::NewMark()
{
    const std::lock_guard guard(m_mutex);
    return m_marks + std::to_string(++m_lastMark);
}

void Pool::Finish(std::string mark, Connection& connection) noexcept
{
    m_conflicts = 0;
    try {
        std::vector<std::string> finished;
        {
            const std::lock_guard guard(m_mutex);
            m_finished.push_back(std::move(mark));
            if (m_finished.size() < kMostFinished)
                return;
            finished.swap(m_finished);
        }
        // By itself: within a serializable change it would conflict with other changes' marks.
        const std::vector<std::string_view> marks(finished.begin(), finished.end());
        connection.Send(m_statements->EraseMarks(),
                        Parameters().Add(std::span<const std::string_view>(marks)));
        connection.Sync();
    } catch (const std::exception&) {
        // Marks that stay are harmless.
    }
}

/// Writes that the change was not made, which the change itself makes impossible when it was, and
/// which makes the change impossible when it may still come.
bool Pool::ReadMark(Connection& connection, const std::string& mark)
{
    try {
        connection.Run(m_statements->Unmark(), Parameters().Add(mark));
        return false;
    } catch (const SqlError& error) {
        if (!error.Is("23505"))
            throw;
    }
    const Answer answer = connection.Run(m_statements->ReadMark(), Parameters().Add(mark));
    if (answer.Rows() != 1)
        throw SqlError("XX000", "the mark of a change has gone");
    return answer.Bytes(0, 0) != std::string_view("\0", 1);
}

bool Pool::WasMade(const std::string& mark)
{
    const auto end = std::chrono::steady_clock::now() + LimitsInForce().reconnect;
    Forget();
    for (;;) {
        try {
            auto connection = Take();
            const bool made = ReadMark(*connection, mark);
            Give(std::move(connection), false);
            return made;
        } catch (const SqlError& error) {
            const bool mayHelp = error.IsConflict() || error.IsLost();
            if (!mayHelp || std::chrono::steady_clock::now() > end)
                break;
        } catch (const Error&) {
            break;
        }
    }
    throw Error(ErrorCode::Io, m_address.Shown() +
                                   ": the connection was lost while a change was committed, and "
                                   "whether it was is not known: look before making it again");
}

void Pool::FailReplaced() const
{
    throw Error(ErrorCode::Io,
                m_address.Shown() + ": the store has been replaced meanwhile: open it again");
}

} // namespace ko::store::inner::postgres
