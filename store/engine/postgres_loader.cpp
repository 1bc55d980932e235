#include "engine/postgres.h"
#include "engine/postgres_access.h"
#include "engine/postgres_catalog.h"
#include "engine/postgres_schema.h"
#include <kostore.h>

#include <chrono>
#include <utility>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::size_t kBuffer = 1U << 20;         // of a space
constexpr std::size_t kInserted = 5000;           // rows at once
constexpr std::uint64_t kTransaction = 64U << 20; // bytes
constexpr std::string_view kCopyHead("PGCOPY\n\377\r\n\0\0\0\0\0\0\0\0\0", 19);
constexpr std::string_view kCopyEnd("\377\377", 2);
constexpr std::string_view kTwoFields("\0\2", 2);

void AppendField(std::string& to, std::string_view bytes)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        to += static_cast<char>(bytes.size() >> shift);
    to += bytes;
}

/// The reverse.
std::string_view TakeField(std::string_view& from)
{
    std::size_t size = 0;
    for (int i = 0; i < 4; ++i)
        size = size << 8 | static_cast<unsigned char>(from[static_cast<std::size_t>(i)]);
    const std::string_view bytes = from.substr(4, size);
    from.remove_prefix(4 + size);
    return bytes;
}

/// A table is copied to at a time, so rows of each space are gathered. Each transaction renews the
/// lease, which protects what it writes.
class PostgresLoader : public Loader
{
public:
    PostgresLoader(const std::string& address, Existing existing)
        : m_address(address), m_replaces(existing == Existing::Replace)
    {
        Run([&] {
            {
                const auto connection = Connect(m_address, Connection::Purpose::Load, false);
                if (!m_replaces && FindStore(*connection, m_address))
                    throw Error(ErrorCode::Exists,
                                m_address.Shown() + ": there is a store already");
            }
            m_lease = std::make_unique<Lease>(m_address, true);
        });
    }

    const Traits& About() const override { return m_lease->IsSpread() ? kSpreadTraits : kTraits; }

    void Append(Space space, std::string_view key, std::string_view value) override
    {
        CheckSizes(key, value);
        Buffer& buffer = m_buffers[static_cast<std::size_t>(space)];
        if (key <= buffer.last)
            throw Error(ErrorCode::Io,
                        m_address.Shown() + ": keys came in another order than they stand in");
        buffer.last = key;
        buffer.rows += kTwoFields;
        AppendField(buffer.rows, key);
        AppendField(buffer.rows, value);
        if (buffer.rows.size() >= kBuffer)
            Run([&] { Send(space); });
    }

    void Publish() override
    {
        Run([&] {
            for (std::size_t i = 0; i < kSpaces; ++i) {
                if (!m_buffers[i].rows.empty())
                    Send(static_cast<Space>(i));
            }
            Commit();
            m_lease->Analyze();
            m_lease->Publish(m_replaces);
            m_lease.reset();
        });
    }

private:
    struct Buffer {
        std::string last; ///< key
        std::string rows; ///< as they are sent
    };
    enum class State { Idle, Begun, Copying };
    using Clock = std::chrono::steady_clock;

    template <class Call>
    void Run(Call call)
    {
        try {
            call();
        } catch (const SqlError& error) {
            error.Fail(m_address);
        }
    }

    void Send(Space space)
    {
        Connection& connection = m_lease->Session();
        if (m_state == State::Idle) {
            connection.Run(kBegin);
            m_state = State::Begun;
        }
        std::string& rows = m_buffers[static_cast<std::size_t>(space)].rows;
        if (m_lease->IsSpread())
            Insert(space, rows);
        else
            Copy(space, rows);
        m_sinceCommit += rows.size();
        rows.clear();
        if (m_sinceCommit >= kTransaction || Clock::now() > m_renewed + LimitsInForce().lease / 4)
            Commit();
    }

    void Copy(Space space, const std::string& rows)
    {
        Connection& connection = m_lease->Session();
        if (m_state == State::Copying && space != m_copied)
            EndCopy();
        if (m_state == State::Begun) {
            connection.BeginCopy(m_lease->Statements().Copy(space));
            connection.Copy(kCopyHead);
            m_state = State::Copying;
            m_copied = space;
        }
        connection.Copy(rows);
    }

    /// What is copied to tables of other servers is sent on row by row; what is inserted is not.
    void Insert(Space space, std::string_view rows)
    {
        while (!rows.empty()) {
            std::vector<std::string_view> keys;
            std::vector<std::string_view> values;
            while (!rows.empty() && keys.size() < kInserted) {
                rows.remove_prefix(kTwoFields.size());
                keys.push_back(TakeField(rows));
                values.push_back(TakeField(rows));
            }
            using Views = std::span<const std::string_view>;
            m_lease->Session().Run(m_lease->Statements().Insert(space),
                                   Parameters().Add(Views(keys)).Add(Views(values)));
        }
    }

    void EndCopy()
    {
        m_lease->Session().Copy(kCopyEnd);
        m_lease->Session().EndCopy();
        m_state = State::Begun;
    }

    void Commit()
    {
        if (m_state == State::Copying)
            EndCopy();
        m_lease->Renew();
        if (m_state == State::Begun)
            m_lease->Session().Run(kCommit);
        m_state = State::Idle;
        m_sinceCommit = 0;
        m_renewed = Clock::now();
    }

    const Address m_address;
    const bool m_replaces;
    std::unique_ptr<Lease> m_lease;
    Buffer m_buffers[kSpaces];
    State m_state = State::Idle;
    Space m_copied{}; ///< while copying
    std::uint64_t m_sinceCommit = 0;
    Clock::time_point m_renewed = Clock::now();
};

/// Runs a call with a connection for reading.
template <class Call>
auto Look(const Address& address, Call call)
{
    try {
        const auto connection = Connect(address, Connection::Purpose::Load, false);
        return call(*connection);
    } catch (const SqlError& error) {
        error.Fail(address);
    }
}

} // namespace

std::unique_ptr<Loader> StartLoad(const std::string& address, Existing existing)
{
    return std::make_unique<PostgresLoader>(address, existing);
}

bool StoreExists(const std::string& text)
{
    const Address address(text);
    return Look(address,
                [&](Connection& connection) { return FindStore(connection, address).has_value(); });
}

// The server answers for its files; that tables are those that a loader made is looked at here.
void CheckEngine(const std::string& text)
{
    const Address address(text);
    Look(address, [&](Connection& connection) {
        const Where found = NeedStore(connection, address);
        const Generation generation(found.schema);
        CheckTables(connection, address, found.schema, ErrorCode::Damaged);
        for (std::size_t i = 0; i < kSpaces; ++i) {
            const auto space = static_cast<Space>(i);
            if (connection.Run(generation.CountBadKeys(space)).Number(0, 0) != 0)
                throw Error(ErrorCode::Damaged, address.Shown() + ": its table of " +
                                                    SpaceName(space) +
                                                    " has keys of a length that none has");
        }
        return true;
    });
}

std::size_t Clean(const std::string& text)
{
    const Address address(text);
    try {
        return Lease(address, false).Dropped();
    } catch (const SqlError& error) {
        error.Fail(address);
    }
}

} // namespace ko::store::inner::postgres
