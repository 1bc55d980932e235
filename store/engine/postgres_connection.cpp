#include "engine/postgres_connection.h"

#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <random>
#include <thread>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

constexpr int kBinary = 1;
/// Until a pooler has been met that mixes up sessions.
std::atomic<bool> g_prepares{true};

std::string FirstLine(const char* message)
{
    std::string line = message;
    line.resize(std::min(line.find('\n'), line.size()));
    return line;
}

/// Whatever the client library and the server say about a connection that fails.
std::string WithoutPassword(std::string message, const PGconn* connection)
{
    const char* const password = PQpass(connection);
    const std::string_view hidden = password != nullptr ? password : "";
    for (std::size_t at = 0;
         !hidden.empty() && (at = message.find(hidden, at)) != std::string::npos; ++at)
        message.replace(at, hidden.size(), "*");
    return message;
}

} // namespace

Connection::Connection(const Address& address, Purpose purpose)
{
    std::vector<const char*> keys;
    std::vector<const char*> values;
    const auto add = [&](const char* key, const char* value) {
        keys.push_back(key);
        values.push_back(value);
    };
    for (const auto& [key, value] : address.Parameters())
        add(key.c_str(), value.c_str());
    const bool said = std::any_of(keys.begin(), keys.end(), [](std::string_view key) {
        return key == "target_session_attrs";
    });
    if (!said && purpose != Purpose::Read)
        add("target_session_attrs", "read-write");
    add(nullptr, nullptr);
    m_connection.reset(PQconnectdbParams(keys.data(), values.data(), 0));
    PGconn* const connection = m_connection.get();
    if (PQstatus(connection) != CONNECTION_OK) {
        // Whether the server is there, refuses us, or has not started yet.
        const PGPing ping = PQpingParams(keys.data(), values.data(), 0);
        throw SqlError(ping == PQPING_OK       ? "08004"
                       : ping == PQPING_REJECT ? "57P03"
                                               : "08001",
                       WithoutPassword(FirstLine(PQerrorMessage(connection)), connection));
    }
    PQsetNoticeProcessor(
        connection, [](void*, const char*) {}, nullptr);
    if (PQsetnonblocking(connection, 1) != 0 || PQenterPipelineMode(connection) != 1)
        Lose();
    Settle(address, purpose);
}

Connection::~Connection() = default;

void Connection::Settle(const Address& address, Purpose purpose)
{
    const auto set = [&](const Statement& statement, const char* name) {
        if (address.HasOption(name))
            return;
        Send(statement);
        Sync();
    };
    const bool loads = purpose == Purpose::Load;
    set(kSetPath, "search_path");
    set(loads ? kSetShortLockPatience : kSetLockPatience, "lock_timeout");
    set(loads ? kSetEndlessPatience : kSetPatience, "statement_timeout");
    set(purpose == Purpose::Read ? kSetIdleReading : kSetIdle,
        "idle_in_transaction_session_timeout");
    if (!loads) {
        set(kSetNoScans, "enable_seqscan");
        set(kSetGenericPlans, "plan_cache_mode");
    }
    Drain();
}

void Connection::Check(int sent)
{
    if (sent != 1)
        Lose();
}

void Connection::Send(const Statement& statement, const Parameters& parameters)
{
    PGconn* const connection = m_connection.get();
    const int count = static_cast<int>(parameters.m_values.size());
    const std::vector<int> formats(parameters.m_values.size(), kBinary);
    const std::string name(g_prepares ? statement.Name() : std::string_view());
    if (name.empty()) {
        Check(PQsendQueryParams(connection, statement.Text().data(), count, nullptr,
                                parameters.m_values.data(), parameters.m_lengths.data(),
                                formats.data(), kBinary));
    } else {
        if (m_prepared.insert(name).second) {
            Check(PQsendPrepare(connection, name.c_str(), statement.Text().data(), 0, nullptr));
            m_expected.push_back({Expected::Prepared, name});
        }
        Check(PQsendQueryPrepared(connection, name.c_str(), count, parameters.m_values.data(),
                                  parameters.m_lengths.data(), formats.data(), kBinary));
    }
    m_expected.push_back({Expected::Answer, {}});
}

void Connection::Sync()
{
    Check(PQpipelineSync(m_connection.get()));
    m_expected.push_back({Expected::Synced, {}});
}

Answer Connection::Receive()
{
    for (;;) {
        if (m_expected.empty())
            Lose("the server was asked nothing");
        const Expectation expectation = m_expected.front();
        m_expected.pop_front();
        try {
            Answer answer = Take(expectation);
            if (expectation.what == Expected::Answer && !expectation.forgone)
                return answer;
        } catch (const SqlError&) {
            if (!IsSound())
                throw;
            if (expectation.forgone)
                continue;
            Drain();
            throw;
        }
    }
}

Answer Connection::Run(const Statement& statement, const Parameters& parameters)
{
    Drain();
    Send(statement, parameters);
    Sync();
    return Receive();
}

void Connection::Drain()
{
    while (!m_expected.empty()) {
        const Expectation expectation = m_expected.front();
        m_expected.pop_front();
        try {
            Take(expectation);
        } catch (const SqlError&) {
            if (!IsSound())
                throw;
        }
    }
}

void Connection::Abandon()
{
    Send(kRollback);
    Sync();
    if (PQflush(m_connection.get()) < 0)
        Lose();
}

void Connection::Forgo()
{
    for (Expectation& expectation : m_expected)
        expectation.forgone = true;
}

SqlError Connection::ErrorOf(const PGresult* result)
{
    const char* const state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    const char* const message = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
    const char* const severity = PQresultErrorField(result, PG_DIAG_SEVERITY_NONLOCALIZED);
    SqlError error(state != nullptr ? state : "08006",
                   FirstLine(message != nullptr ? message : PQresultErrorMessage(result)),
                   severity != nullptr && std::string_view(severity) == "ERROR");
    if (error.IsLost() || PQstatus(m_connection.get()) != CONNECTION_OK)
        m_sound = false;
    if (error.Is("26000") || error.Is("42P05"))
        g_prepares = false;
    return error;
}

Answer Connection::Take(const Expectation& expectation)
{
    PGresult* const result = Next();
    Answer answer(result);
    if (result == nullptr)
        Lose("the server has ended the connection");
    const ExecStatusType status = PQresultStatus(result);
    if (expectation.what == Expected::Synced) {
        if (status == PGRES_FATAL_ERROR)
            throw ErrorOf(result);
        if (status != PGRES_PIPELINE_SYNC)
            Lose("the server has answered out of order");
        return answer;
    }
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) {
        if (PGresult* const more = Next(); more != nullptr) {
            PQclear(more);
            Lose("the server has answered twice");
        }
        return answer;
    }
    if (expectation.what == Expected::Prepared)
        m_prepared.erase(expectation.name);
    const SqlError error = status == PGRES_PIPELINE_ABORTED
                               ? SqlError("25P02", "a statement before this one has failed")
                               : ErrorOf(result);
    if (IsSound())
        PQclear(Next());
    throw SqlError(error);
}

PGresult* Connection::Next()
{
    PGconn* const connection = m_connection.get();
    for (;;) {
        const int unsent = PQflush(connection);
        if (unsent < 0)
            Lose();
        if (PQisBusy(connection) == 0)
            return PQgetResult(connection);
        Wait(unsent > 0);
        if (PQconsumeInput(connection) == 0)
            Lose();
    }
}

void Connection::Wait(bool writing)
{
    pollfd socket{PQsocket(m_connection.get()),
                  static_cast<short>(writing ? POLLIN | POLLOUT : POLLIN), 0};
    const int patience = static_cast<int>(LimitsInForce().silence.count());
    int ready = 0;
    do
        ready = poll(&socket, 1, patience);
    while (ready < 0 && errno == EINTR);
    if (ready == 0)
        Lose("the server has been silent for too long");
    if (ready < 0)
        Lose("the server cannot be waited for");
}

void Connection::Lose(const char* why)
{
    m_sound = false;
    throw SqlError("08006", FirstLine(why));
}

// Copying knows no pipelines.

void Connection::BeginCopy(const Statement& statement)
{
    Drain();
    PGconn* const connection = m_connection.get();
    Check(PQexitPipelineMode(connection));
    Check(PQsendQueryParams(connection, statement.Text().data(), 0, nullptr, nullptr, nullptr,
                            nullptr, kBinary));
    PGresult* const result = Next();
    const Answer answer(result);
    if (result == nullptr)
        Lose();
    if (PQresultStatus(result) == PGRES_COPY_IN)
        return;
    const SqlError error = ErrorOf(result);
    m_sound = false; // a loader that failed goes on with nothing
    throw SqlError(error);
}

void Connection::Copy(std::string_view bytes)
{
    PGconn* const connection = m_connection.get();
    if (PQputCopyData(connection, bytes.data(), static_cast<int>(bytes.size())) != 1)
        Lose();
    for (int unsent = PQflush(connection); unsent != 0; unsent = PQflush(connection)) {
        if (unsent < 0)
            Lose();
        Wait(true);
        if (PQconsumeInput(connection) == 0)
            Lose();
    }
}

std::uint64_t Connection::EndCopy()
{
    PGconn* const connection = m_connection.get();
    Check(PQputCopyEnd(connection, nullptr));
    PGresult* const result = Next();
    const Answer answer(result);
    if (result == nullptr)
        Lose();
    if (PQresultStatus(result) != PGRES_COMMAND_OK) {
        const SqlError error = ErrorOf(result);
        m_sound = false;
        throw SqlError(error);
    }
    PQclear(Next());
    Check(PQenterPipelineMode(connection));
    return answer.Changed();
}

void PauseBefore(unsigned attempt)
{
    thread_local std::mt19937 random(std::random_device{}());
    const unsigned most = std::min(1U << std::min(attempt, 10U), 1000U);
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % (most + 1)));
}

std::unique_ptr<Connection> Connect(const Address& address, Connection::Purpose purpose,
                                    bool patient)
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + LimitsInForce().reconnect;
    for (unsigned attempt = 1;; ++attempt) {
        try {
            return std::make_unique<Connection>(address, purpose);
        } catch (const SqlError& error) {
            const bool mayHelp = error.Is("57P03") || (patient && error.IsLost());
            if (!mayHelp || steady_clock::now() > end)
                throw;
        }
        PauseBefore(attempt);
    }
}

} // namespace ko::store::inner::postgres
