#ifndef KO_ENGINE_POSTGRES_ACCESS_H
#define KO_ENGINE_POSTGRES_ACCESS_H

#include "engine/postgres_cursor.h"
#include "engine/postgres_pool.h"

#include <memory>
#include <utility>

namespace ko::store::inner::postgres
{

/// What readers and writers share: one transaction of one connection, which is begun by the first
/// statement that is sent, and before which a writer sends what it has gathered.
class Session : public PageSource
{
public:
    Session(std::shared_ptr<Pool> pool, const Statement& begin)
        : m_pool(std::move(pool)), m_begin(begin)
    {
    }
    ~Session() override
    {
        if (m_connection)
            m_pool->Give(std::move(m_connection), m_begun);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Runs calls that throw SqlError and throws what the interface says in its place.
    template <class Call>
    auto Run(Call call)
    {
        try {
            return call();
        } catch (const SqlError& error) {
            Fail(error);
        }
    }

    void Get(Space space, std::span<const std::string_view> keys, const Reader::Found& found);
    std::uint64_t CountRoughly(Space space, const Range& range);
    Answer Page(Space space, const Range& range, Direction direction, std::size_t limit) override;
    std::uint64_t Changes() const override { return 0; }
    [[noreturn]] void FailDamaged() const override;

protected:
    /// Sends what has to come before a statement, but for the beginning of the transaction.
    virtual void SendGathered() {}
    void SendAhead();
    void ReceiveAhead();
    void CountAhead(std::size_t sent) { m_ahead += sent; }
    [[noreturn]] void Fail(const SqlError& error);
    const Generation& Statements() const { return m_pool->Statements(); }

    std::shared_ptr<Pool> m_pool;
    std::unique_ptr<Connection> m_connection;
    bool m_begun = false;

private:
    void ReceivePiece(std::span<const std::string_view> keys, std::size_t offset,
                      const Reader::Found& found);
    std::uint64_t Estimate(Space space, const Range& range);

    const Statement& m_begin;
    std::size_t m_ahead = 0; ///< statements sent of which nobody waits for the answer
};

/// A key or a value of a size that no row has: throws Error (ErrorCode::Io).
void CheckSizes(std::string_view key, std::string_view value);

std::unique_ptr<Reader> MakeReader(std::shared_ptr<Pool> pool);
std::unique_ptr<Writer> MakeWriter(std::shared_ptr<Pool> pool);

} // namespace ko::store::inner::postgres

#endif
