#include "engine/postgres.h"
#include "engine/postgres_access.h"
#include "engine/postgres_spread.h"
#include <kostore.h>

#include <optional>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

/// What a writer gathers before it sends it.
constexpr std::size_t kMostGathered = 4U << 20;
constexpr int kAttempts = 10;

class PostgresReader : public Reader, private Session
{
public:
    explicit PostgresReader(std::shared_ptr<Pool> pool) : Session(std::move(pool), kBeginReading)
    {
        // The moment of the first statement is the one that is seen. A pooled connection may be
        // one of a server that has been started again since.
        for (int attempt = 1;; ++attempt) {
            m_connection = m_pool->Take();
            try {
                Begin();
                return;
            } catch (const SqlError& error) {
                if (!error.IsLost() || attempt == kAttempts)
                    Fail(error);
                m_pool->Forget();
            }
        }
    }

    void Get(Space space, std::span<const std::string_view> keys, const Found& found) override
    {
        if (space == Space::Description && m_description.Rows() < kDescription)
            GetDescription(keys, found);
        else
            Run([&] { Session::Get(space, keys, found); });
    }
    std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) override
    {
        return MakeCursor(*this, space, range, direction);
    }
    std::uint64_t CountRoughly(Space space, const Range& range) override
    {
        return Run([&] { return Session::CountRoughly(space, range); });
    }

private:
    /// Rows that a description mostly has fewer of.
    static constexpr std::size_t kDescription = 8;

    /// Everybody asks for the description first: it comes with the beginning.
    void Begin()
    {
        m_begun = true;
        m_connection->Send(kBeginReading);
        m_connection->Send(Statements().Touch());
        m_connection->Send(
            Statements().Page(Space::Description, Direction::Forwards, false),
            Parameters().Add(std::string_view("")).Add(static_cast<std::int64_t>(kDescription)));
        m_connection->Sync();
        m_connection->Receive();
        m_connection->Receive();
        m_description = m_connection->Receive();
    }

    void GetDescription(std::span<const std::string_view> keys, const Found& found) const
    {
        for (std::size_t i = 0; i < keys.size(); ++i) {
            CheckSizes(keys[i], {});
            for (std::size_t row = 0; row < m_description.Rows(); ++row) {
                if (m_description.Bytes(row, 0) == keys[i])
                    found(i, m_description.Bytes(row, 1));
            }
        }
    }

    Answer m_description; ///< its first rows
};

class PostgresWriter : public Writer, private Session
{
public:
    explicit PostgresWriter(std::shared_ptr<Pool> pool) : Session(std::move(pool), kBeginChange)
    {
        if (m_pool->IsSpread())
            Run([&] { m_spread = std::make_unique<SpreadChange>(m_pool); });
    }

    void Get(Space space, std::span<const std::string_view> keys, const Found& found) override
    {
        Run([&] { Session::Get(space, keys, found); });
    }
    std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) override
    {
        return MakeCursor(*this, space, range, direction);
    }
    std::uint64_t CountRoughly(Space space, const Range& range) override
    {
        return Run([&] { return Session::CountRoughly(space, range); });
    }
    void Put(Space space, std::string_view key, std::string_view value) override
    {
        CheckSizes(key, value);
        Gather(space, key, std::string(value));
    }
    void Erase(Space space, std::string_view key) override
    {
        CheckSizes(key, {});
        Gather(space, key, std::nullopt);
    }
    void Commit() override;

private:
    std::uint64_t Changes() const override { return m_changes; }
    void SendGathered() override;
    void Gather(Space space, std::string_view key, std::optional<std::string> value);
    bool TryCommit(const std::string& mark);

    void CommitSpread();

    std::unique_ptr<SpreadChange> m_spread; ///< of a store that is spread over servers
    Rows m_gathered[kSpaces];
    std::size_t m_bytes = 0; ///< of what is gathered
    std::uint64_t m_changes = 0;
};

void PostgresWriter::Gather(Space space, std::string_view key, std::optional<std::string> value)
{
    ++m_changes;
    m_bytes += key.size() + (value ? value->size() : 0);
    if (m_spread)
        m_spread->Note(space, key, value);
    m_gathered[static_cast<std::size_t>(space)].insert_or_assign(std::string(key),
                                                                 std::move(value));
    if (m_bytes < kMostGathered)
        return;
    Run([&] {
        SendAhead();
        m_connection->Sync();
        ReceiveAhead();
    });
}

void PostgresWriter::SendGathered()
{
    for (std::size_t i = 0; i < kSpaces; ++i) {
        CountAhead(SendRows(*m_connection, Statements(), static_cast<Space>(i), m_gathered[i]));
        m_gathered[i].clear();
    }
    m_bytes = 0;
}

void PostgresWriter::CommitSpread()
{
    if (!m_connection)
        m_connection = m_pool->Take();
    if (m_begun)
        m_connection->Run(kRollback);
    m_begun = true; // whatever of it is left when this fails
    m_spread->Commit(*m_connection);
    m_begun = false;
    m_spread.reset();
}

void PostgresWriter::Commit()
{
    Run([&] {
        if (m_spread && !m_spread->IsLarge())
            return CommitSpread();
        const std::string mark = m_pool->NewMark();
        const bool current = TryCommit(mark);
        m_begun = false;
        m_pool->Finish(mark, *m_connection);
        if (!current)
            m_pool->FailReplaced();
    });
}

/// Returns whether the store was still the one that is changed.
bool PostgresWriter::TryCommit(const std::string& mark)
{
    SendAhead();
    m_connection->Send(
        Statements().Mark(),
        Parameters().Add(mark).Add(m_pool->Of().Store()).Add(m_pool->Place().generation));
    m_connection->Send(kCommit);
    try {
        m_connection->Sync();
        ReceiveAhead();
        const bool current = m_connection->Receive().Changed() == 1;
        if (m_connection->Receive().Done() != "COMMIT")
            throw Conflict();
        return current;
    } catch (const SqlError& error) {
        if (m_spread && error.IsElsewhere())
            m_spread->FailInPart(error.what());
        if (m_connection->IsSound() && !error.IsUnknown())
            throw;
    }
    if (!m_pool->WasMade(mark))
        throw Conflict(Conflict::Cause::LostConnection);
    return true;
}

class PostgresEngine : public Engine
{
public:
    PostgresEngine(const std::string& address, Mode mode)
        : m_pool(std::make_shared<Pool>(address, mode)), m_mode(mode)
    {
    }
    const Traits& About() const override { return m_pool->IsSpread() ? kSpreadTraits : kTraits; }
    std::unique_ptr<Reader> Read() override { return std::make_unique<PostgresReader>(m_pool); }
    std::unique_ptr<Writer> Write() override
    {
        if (m_mode == Mode::Read)
            throw Error(ErrorCode::Io, m_pool->Of().Shown() + ": was opened for reading only");
        return std::make_unique<PostgresWriter>(m_pool);
    }

private:
    std::shared_ptr<Pool> m_pool;
    Mode m_mode;
};

} // namespace

std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode)
{
    return std::make_unique<PostgresEngine>(address, mode);
}

} // namespace ko::store::inner::postgres
