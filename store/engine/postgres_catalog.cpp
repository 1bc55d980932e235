#include "engine/postgres_catalog.h"

#include <kostore.h>

#include <random>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

constexpr unsigned kAttempts = 10;

std::uint64_t RandomNumber()
{
    std::random_device random;
    return std::uint64_t{random()} << 32 | random();
}

std::int64_t Milliseconds(std::chrono::milliseconds time)
{
    return time.count();
}

/// Statements that are transactions by themselves.
Answer RunAgain(Connection& connection, const Statement& statement, const Parameters& parameters)
{
    for (unsigned attempt = 1;; ++attempt) {
        try {
            return connection.Run(statement, parameters);
        } catch (const SqlError& error) {
            if (!error.IsConflict() || attempt == kAttempts)
                throw;
        }
        PauseBefore(attempt);
    }
}

/// One after another, what is there already left as it is: two may make it at once.
void MakeCatalog(Connection& connection)
{
    for (const Statement& statement : kMakeCatalog) {
        try {
            connection.Run(statement);
        } catch (const SqlError& error) {
            if (!error.Is("42P06") && !error.Is("42P07") && !error.Is("23505"))
                throw;
        }
    }
}

} // namespace

std::optional<Where> FindStore(Connection& connection, const Address& address)
{
    try {
        const Answer answer = connection.Run(kFindStore, Parameters().Add(address.Store()));
        if (answer.Rows() == 0)
            return std::nullopt;
        return Where{answer.Number(0, 0), std::string(answer.Bytes(0, 1))};
    } catch (const SqlError& error) {
        if (error.IsMissing())
            return std::nullopt;
        throw;
    }
}

Where NeedStore(Connection& connection, const Address& address)
{
    if (auto found = FindStore(connection, address))
        return *std::move(found);
    throw Error(ErrorCode::Missing, address.Shown() + ": there is no such store in the database");
}

Lease::Lease(const Address& address, bool loads)
    : m_address(address), m_connection(Connect(address, Connection::Purpose::Load, false)),
      m_where{static_cast<std::int64_t>(RandomNumber() >> 2), {}},
      m_owner(std::to_string(RandomNumber()) + std::to_string(RandomNumber()))
{
    m_where.schema =
        address.Schema().empty() ? Where::NameOfOwn(m_where.generation) : address.Schema();
    const Answer version = m_connection->Run(kVersion);
    const std::string_view product = version.Bytes(0, 0);
    const bool spreads = product.find("CockroachDB") != std::string_view::npos ||
                         product.find("-YB-") != std::string_view::npos;
    m_statements = std::make_unique<Generation>(m_where.schema, spreads);
    Claim();
    try {
        DropLeftovers();
        if (loads)
            m_where.IsPrepared() ? TakePrepared() : MakeTables();
    } catch (...) {
        GiveBack();
        throw;
    }
}

void Lease::Claim()
{
    Parameters parameters;
    parameters.Add(m_address.Store()).Add(m_where.generation).Add(m_owner);
    parameters.Add(Milliseconds(LimitsInForce().lease));
    std::uint64_t claimed = 0;
    try {
        claimed = RunAgain(*m_connection, kClaim, parameters).Changed();
    } catch (const SqlError& error) {
        if (!error.IsMissing())
            throw;
        MakeCatalog(*m_connection);
        claimed = RunAgain(*m_connection, kClaim, parameters).Changed();
    }
    if (claimed == 0)
        FailClaimed();
}

/// Whether the other one was killed nobody knows before its lease ends.
void Lease::FailClaimed()
{
    const Answer ends = RunAgain(*m_connection, kLeaseEnds, Parameters().Add(m_address.Store()));
    throw Error(ErrorCode::Io,
                m_address.Shown() + ": another import of the store is under way" +
                    (ends.Rows() == 0 ? std::string()
                                      : "; if it was killed, its place is free in " +
                                            std::to_string(ends.Number(0, 0)) + " s"));
}

/// One that somebody still reads is left for the next time.
void Lease::DropLeftovers()
{
    const Answer leftovers =
        m_connection->Run(kLeftovers, Parameters()
                                          .Add(m_address.Store())
                                          .Add(m_where.generation)
                                          .Add(Milliseconds(LimitsInForce().replaced)));
    for (std::size_t i = 0; i < leftovers.Rows(); ++i) {
        const Where left{leftovers.Number(i, 0), std::string(leftovers.Bytes(i, 1))};
        try {
            Clear(*m_connection, left);
            ++m_dropped;
        } catch (const SqlError& error) {
            if (!error.IsConflict() && !error.Is("42501"))
                throw;
        }
    }
}

void Lease::NoteGeneration()
{
    RunAgain(*m_connection, kNoteGeneration,
             Parameters().Add(m_where.generation).Add(m_address.Store()).Add(m_where.schema));
    m_isNoted = true;
}

/// Nothing of it is changed before it is known that nobody else has it.
void Lease::TakePrepared()
{
    try {
        CheckTables(*m_connection, m_address, m_where.schema, ErrorCode::Io);
        NoteGeneration();
    } catch (const SqlError& error) {
        if (!error.Is("23505"))
            throw;
        throw Error(ErrorCode::Io, m_address.Shown() + ": the schema " + m_where.schema +
                                       " has another store, or what is left of one");
    }
    if (!AreEmpty(*m_connection, *m_statements)) {
        m_connection->Run(kForgetGeneration, Parameters().Add(m_where.generation));
        m_isNoted = false;
        throw Error(ErrorCode::Io, m_address.Shown() + ": the tables of the schema " +
                                       m_where.schema + " are not empty");
    }
    m_isSpread = IsSpreadOverServers(*m_connection, m_where.schema);
}

void Lease::MakeTables()
{
    NoteGeneration();
    std::vector<const Statement*> makes{&m_statements->MakeSchema(), &m_statements->MakeMarks()};
    for (std::size_t i = 0; i < kSpaces; ++i)
        makes.push_back(&m_statements->MakeTable(static_cast<Space>(i)));
    RunAll(makes);
    for (std::size_t i = 0; i < kSpaces; ++i) {
        m_connection->Send(m_statements->KeepInRow(static_cast<Space>(i)));
        m_connection->Sync();
    }
    m_connection->Drain(); // engines that cannot do without
}

void Lease::Analyze()
{
    std::vector<const Statement*> analyzes;
    for (std::size_t i = 0; i < kSpaces; ++i)
        analyzes.push_back(&m_statements->Analyze(static_cast<Space>(i)));
    RunAll(analyzes);
}

/// Each by itself, in one round trip.
void Lease::RunAll(const std::vector<const Statement*>& statements)
{
    for (const Statement* const statement : statements) {
        m_connection->Send(*statement);
        m_connection->Sync();
    }
    for (std::size_t i = 0; i < statements.size(); ++i)
        m_connection->Receive();
}

void Lease::FailTaken() const
{
    throw Error(ErrorCode::Io,
                m_address.Shown() +
                    ": another import of the store has begun, this one took too long");
}

void Lease::Renew()
{
    Parameters parameters;
    parameters.Add(m_address.Store()).Add(m_owner).Add(Milliseconds(LimitsInForce().lease));
    if (m_connection->Run(kRenew, parameters).Changed() != 1)
        FailTaken();
}

void Lease::Publish(bool replace)
{
    for (unsigned attempt = 1;; ++attempt) {
        try {
            TryPublish(replace);
            m_keeps = true;
            return;
        } catch (const SqlError& error) {
            if (error.Is("23505"))
                throw Error(ErrorCode::Exists, m_address.Shown() + ": there is a store already");
            if (m_keeps) { // the outcome was not told
                FindOutcome();
                return;
            }
            if (!error.IsConflict() || attempt == kAttempts)
                throw;
            m_connection->Run(kRollback);
            PauseBefore(attempt);
        }
    }
}

void Lease::TryPublish(bool replace)
{
    Connection& connection = *m_connection;
    Parameters mine;
    mine.Add(m_address.Store()).Add(m_owner);
    connection.Send(kBegin);
    connection.Send(kRelease, mine);
    connection.Sync();
    connection.Receive();
    if (connection.Receive().Changed() != 1) {
        connection.Abandon();
        FailTaken();
    }
    if (replace)
        connection.Send(kNoteReplaced, Parameters().Add(m_address.Store()));
    Parameters row;
    row.Add(m_address.Store()).Add(m_where.generation).Add(m_where.schema);
    connection.Send(replace ? kReplace : kPublish, row);
    connection.Send(kCommit);
    m_keeps = true;
    try {
        connection.Sync();
        if (replace)
            connection.Receive();
        connection.Receive();
        connection.Receive();
    } catch (const SqlError& error) {
        m_keeps = !connection.IsSound() || error.IsUnknown();
        throw;
    }
}

/// The transaction has erased the lease: whoever can still erase it knows that the transaction came
/// to nothing, and ends the matter by it.
void Lease::FindOutcome()
{
    try {
        m_connection = Connect(m_address, Connection::Purpose::Load, true);
        Parameters mine;
        mine.Add(m_address.Store()).Add(m_owner);
        if (RunAgain(*m_connection, kRelease, mine).Changed() == 1)
            m_keeps = false;
        const auto found = FindStore(*m_connection, m_address);
        if (found && found->generation == m_where.generation)
            return;
    } catch (const SqlError&) {
    }
    throw Error(ErrorCode::Io,
                m_address.Shown() + (m_keeps ? ": the connection was lost while the store was "
                                               "published, and whether it was is not known"
                                             : ": the connection was lost before the store was "
                                               "published"));
}

void Lease::GiveBack() noexcept
{
    if (m_keeps || !m_connection)
        return;
    try {
        // One in the middle of something has that rolled back when it is closed.
        m_connection.reset();
        m_connection = Connect(m_address, Connection::Purpose::Load, false);
        if (m_isNoted)
            Clear(*m_connection, m_where);
    } catch (const std::exception&) {
        // The next loader finds what is left in the catalog.
    }
    try {
        Parameters mine;
        mine.Add(m_address.Store()).Add(m_owner);
        if (m_connection && m_connection->IsSound())
            m_connection->Run(kRelease, mine);
    } catch (const std::exception&) {
        // The lease ends by itself.
    }
}

} // namespace ko::store::inner::postgres
