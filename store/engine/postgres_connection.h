#ifndef KO_ENGINE_POSTGRES_CONNECTION_H
#define KO_ENGINE_POSTGRES_CONNECTION_H

#include "engine/postgres_address.h"
#include "engine/postgres_limits.h"
#include "engine/postgres_statements.h"

#include <libpq-fe.h>

#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner::postgres
{

/// What a server refused, or class 08 where it is gone or does not answer.
class SqlError : public std::exception
{
public:
    /// `goesOn`: the session that was told so serves further.
    SqlError(std::string state, std::string message, bool goesOn = false)
        : m_state(std::move(state)), m_message(std::move(message)), m_goesOn(goesOn)
    {
    }
    const char* what() const noexcept override { return m_message.c_str(); }
    bool Is(std::string_view state) const { return m_state == state; }
    /// The transaction can be run again.
    bool IsConflict() const;
    /// The connection serves no more, and what became of the last statement is not known.
    bool IsLost() const;
    /// The server tells that it has lost another one, and serves further itself.
    bool IsElsewhere() const { return m_goesOn && TellsOfLoss(); }
    /// The server cannot tell what became of a commit.
    bool IsUnknown() const { return Is("40003") || Is("08007"); }
    /// A table or a schema that is not there.
    bool IsMissing() const { return Is("42P01") || Is("3F000"); }
    /// A sentence for the user, with ErrorCode::Damaged where the server says that its files are.
    [[noreturn]] void Fail(const Address& address) const;

private:
    bool TellsOfLoss() const;

    std::string m_state;
    std::string m_message;
    bool m_goesOn;
};

/// The parameters of a statement, in the binary form. Views and not copies of what they are given.
class Parameters
{
public:
    Parameters& Add(std::string_view bytes);
    Parameters& Add(std::int64_t number);
    Parameters& Add(std::span<const std::string_view> bytes);

private:
    friend class Connection;

    Parameters& Keep(std::string bytes)
    {
        return Add(std::string_view(m_kept.emplace_back(std::move(bytes))));
    }

    std::deque<std::string> m_kept;
    std::vector<const char*> m_values;
    std::vector<int> m_lengths;
};

/// An answer: rows of columns in the binary form.
class Answer
{
public:
    explicit Answer(PGresult* result = nullptr) : m_result(result) {}

    std::size_t Rows() const { return static_cast<std::size_t>(PQntuples(m_result.get())); }
    std::string_view Bytes(std::size_t row, int column) const
    {
        const int at = static_cast<int>(row);
        return {PQgetvalue(m_result.get(), at, column),
                static_cast<std::size_t>(PQgetlength(m_result.get(), at, column))};
    }
    std::int64_t Number(std::size_t row, int column) const;
    /// The rows that a statement changed.
    std::uint64_t Changed() const;
    /// "COMMIT", for instance, or "ROLLBACK" in place of it.
    std::string_view Done() const { return PQcmdStatus(m_result.get()); }

private:
    struct Clear {
        void operator()(PGresult* result) const { PQclear(result); }
    };
    std::unique_ptr<PGresult, Clear> m_result;
};

/// A session. Statements are sent ahead in batches; where one fails, the rest of its batch is not
/// run. All calls throw SqlError.
class Connection
{
public:
    enum class Purpose { Read, Change, Load };

    /// Connects once.
    Connection(const Address& address, Purpose purpose);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Send(const Statement& statement, const Parameters& parameters = {});
    /// Ends a batch.
    void Sync();
    /// The answer to the oldest statement that has had none; its batch must have ended. When it
    /// throws, nothing is left to be received.
    Answer Receive();
    /// Sends one statement by itself and receives its answer.
    Answer Run(const Statement& statement, const Parameters& parameters = {});
    /// Takes answers that nobody asks for. Throws only when the connection is lost.
    void Drain();
    /// Ends a transaction without waiting for it.
    void Abandon();
    /// Nobody asks for the answers that are still to come, or whether there was an error: they are
    /// passed over when they come before another.
    void Forgo();

    void BeginCopy(const Statement& statement);
    void Copy(std::string_view bytes);
    std::uint64_t EndCopy();

    bool IsSound() const { return m_sound && PQstatus(m_connection.get()) == CONNECTION_OK; }

private:
    enum class Expected { Prepared, Answer, Synced };
    struct Expectation {
        Expected what;
        std::string name; ///< of what is prepared
        bool forgone = false;
    };
    struct Finish {
        void operator()(PGconn* connection) const { PQfinish(connection); }
    };

    void Settle(const Address& address, Purpose purpose);
    void Check(int sent);
    SqlError ErrorOf(const PGresult* result);
    Answer Take(const Expectation& expectation);
    PGresult* Next();
    void Wait(bool writing);
    [[noreturn]] void Lose(const char* why);
    [[noreturn]] void Lose() { Lose(PQerrorMessage(m_connection.get())); }

    std::unique_ptr<PGconn, Finish> m_connection;
    std::deque<Expectation> m_expected;
    std::set<std::string, std::less<>> m_prepared;
    bool m_sound = true;
};

/// Waits before something is run again that met another change, longer each time.
void PauseBefore(unsigned attempt);

/// Connects. Where `patient`, it tries again until the limit for that is over: what was served
/// before is refused for a time only. Otherwise it waits for nothing but a server that is starting.
std::unique_ptr<Connection> Connect(const Address& address, Connection::Purpose purpose,
                                    bool patient);

} // namespace ko::store::inner::postgres

#endif
