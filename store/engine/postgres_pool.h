#ifndef KO_ENGINE_POSTGRES_POOL_H
#define KO_ENGINE_POSTGRES_POOL_H

#include "engine/postgres_catalog.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ko::store::inner::postgres
{

/// What the readers and writers of an engine share: where the store is, and connections that
/// nobody uses. Serves several threads.
class Pool
{
public:
    /// Throws Error where there is no store.
    Pool(const std::string& address, Mode mode);

    const Address& Of() const { return m_address; }
    const Where& Place() const { return m_where; }
    const Generation& Statements() const { return *m_statements; }
    /// Tables are spread over foreign servers.
    bool IsSpread() const { return m_isSpread; }

    /// A connection outside any transaction. Throws Error where none can be had.
    std::unique_ptr<Connection> Take();
    /// Takes one back, whose transaction is over or is ended by this.
    void Give(std::unique_ptr<Connection> connection, bool inTransaction) noexcept;
    /// Closes what nobody uses: a connection has been lost, so others may be.
    void Forget();

    /// Returns how many there have been since the last change was made.
    unsigned NoteConflict() { return ++m_conflicts; }
    /// A mark that no other change has.
    std::string NewMark();
    /// Notes the mark of a change whose outcome is known. Now and then they are erased, many at
    /// once; those of a process that is killed stay until the generation goes.
    void Finish(std::string mark, Connection& connection) noexcept;
    /// Tells whether a change was committed whose connection was lost, and makes sure that it
    /// stays so. Throws Error where that cannot be found out.
    bool WasMade(const std::string& mark);

    [[noreturn]] void FailReplaced() const;

private:
    void Adapt(Connection& connection) const;
    bool ReadMark(Connection& connection, const std::string& mark);

    const Address m_address;
    const Mode m_mode;
    Where m_where;
    bool m_isSpread = false;
    std::unique_ptr<Generation> m_statements;
    std::string m_marks; ///< what all marks begin with
    std::atomic<unsigned> m_conflicts{0};
    std::mutex m_mutex; ///< of what follows
    std::uint64_t m_lastMark = 0;
    std::vector<std::string> m_finished;
    std::vector<std::unique_ptr<Connection>> m_idle;
};

} // namespace ko::store::inner::postgres

#endif
