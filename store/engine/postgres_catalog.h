#ifndef KO_ENGINE_POSTGRES_CATALOG_H
#define KO_ENGINE_POSTGRES_CATALOG_H

#include "engine/postgres_schema.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ko::store::inner::postgres
{

/// Absent where there is no such store, or no catalog. Throws SqlError.
std::optional<Where> FindStore(Connection& connection, const Address& address);
/// Throws Error (ErrorCode::Missing) instead.
Where NeedStore(Connection& connection, const Address& address);

/// The right to load a store, which one loader has at a time, and the schema that it fills. It is
/// given back by the destructor, and the schema dropped, or emptied, with it unless it was
/// published.
class Lease
{
public:
    /// Claims the lease, drops what loaders before left behind, and makes the tables if it
    /// `loads`, or looks at those of the schema that the address names. Throws SqlError, and Error
    /// where another loader is at work.
    Lease(const Address& address, bool loads);
    ~Lease() { GiveBack(); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    Connection& Session() { return *m_connection; }
    /// Tables of the schema are spread over foreign servers.
    bool IsSpread() const { return m_isSpread; }
    const Generation& Statements() const { return *m_statements; }
    /// Within a transaction of what it protects. Throws Error where another loader has taken it.
    void Renew();
    /// Has the server look at the tables, for its plans; outside of transactions.
    void Analyze();
    /// Publishes the schema and gives the lease back. Throws Error where there is a store and
    /// `replace` does not allow for it, and where what became of it cannot be found out.
    void Publish(bool replace);
    /// How many leftovers the constructor has dropped.
    std::size_t Dropped() const { return m_dropped; }

private:
    void Claim();
    void DropLeftovers();
    void MakeTables();
    void TakePrepared();
    void NoteGeneration();
    void RunAll(const std::vector<const Statement*>& statements);
    void TryPublish(bool replace);
    void FindOutcome();
    [[noreturn]] void FailClaimed();
    [[noreturn]] void FailTaken() const;
    void GiveBack() noexcept;

    const Address m_address;
    std::unique_ptr<Connection> m_connection;
    Where m_where;
    std::string m_owner;
    std::unique_ptr<Generation> m_statements;
    std::size_t m_dropped = 0;
    bool m_isNoted = false; ///< in the catalog, for whoever clears away
    bool m_isSpread = false;
    bool m_keeps = false; ///< the schema is, or may be, the store's
};

} // namespace ko::store::inner::postgres

#endif
