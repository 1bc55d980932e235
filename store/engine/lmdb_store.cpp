#include "engine/lmdb_store.h"

#include "base/same_file.h"
#include "engine/lmdb_cursor.h"
#include "engine/lmdb_environment.h"
#include <kostore.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace ko::store::inner::lmdb
{

namespace
{

constexpr unsigned kPatience = 10'000; // milliseconds, for another writer
/// After so many bytes a change that grows takes more room.
constexpr std::uint64_t kStep = 1U << 19;
constexpr std::size_t kCounted = 100; // rows, before a range is guessed

/// What readers and writers share: one transaction.
template <class Base>
class Access : public Base
{
public:
    Access(const std::shared_ptr<Environment>& environment, MDB_txn* transaction, bool writes)
        : m_environment(*environment), m_transaction{environment, transaction, writes, 0, {}}
    {
    }

    void Get(Space space, std::span<const std::string_view> keys,
             const Reader::Found& found) override
    {
        MDB_cursor* const cursor = CursorOf(space);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            CheckSizes(keys[i], {});
            MDB_val key = Val(keys[i]);
            MDB_val value{};
            const int code = mdb_cursor_get(cursor, &key, &value, MDB_SET_KEY);
            if (code == MDB_SUCCESS)
                found(i, View(value));
            else if (code != MDB_NOTFOUND)
                Check(code, Path());
        }
    }

    std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) override
    {
        return MakeCursor(m_transaction, space, range, direction);
    }

    std::uint64_t CountRoughly(Space space, const Range& range) override
    {
        const auto cursor = Walk(space, range, Direction::Forwards);
        std::uint64_t count = 0;
        while (count <= kCounted) {
            const std::size_t more = cursor->Next(kCounted + 1 - count).size();
            if (more == 0)
                return count;
            count += more;
        }
        return std::max(count, Guess(m_transaction, space, range));
    }

protected:
    const std::string& Path() const { return m_environment.Path(); }
    MDB_cursor* CursorOf(Space space)
    {
        CursorPointer& cursor = m_cursors[static_cast<std::size_t>(space)];
        if (!cursor)
            cursor = OpenCursor(m_transaction.transaction, m_environment.Dbi(space), Path());
        return cursor.get();
    }
    void CloseCursors()
    {
        for (CursorPointer& cursor : m_cursors)
            cursor.reset();
        for (auto& idle : m_transaction.idle)
            idle.clear();
    }

    Environment& m_environment; ///< of the transaction
    Transaction m_transaction;

private:
    CursorPointer m_cursors[kSpaces];
};

class LmdbReader : public Access<Reader>
{
public:
    explicit LmdbReader(const std::shared_ptr<Environment>& environment)
        : Access(environment, environment->BeginReading(), false)
    {
    }
    ~LmdbReader() override
    {
        CloseCursors();
        m_environment.End(std::exchange(m_transaction.transaction, nullptr), nullptr);
    }
    std::uint64_t Moment() const override { return mdb_txn_id(m_transaction.transaction); }
};

class LmdbWriter : public Access<Writer>
{
public:
    LmdbWriter(const std::shared_ptr<Environment>& environment,
               std::shared_ptr<Environment::Claim> claim)
        : Access(environment, environment->BeginWriting(*claim), true), m_claim(std::move(claim))
    {
    }
    ~LmdbWriter() override
    {
        CloseCursors();
        if (m_transaction.transaction != nullptr)
            m_environment.End(std::exchange(m_transaction.transaction, nullptr), m_claim.get());
    }

    void Put(Space space, std::string_view key, std::string_view value) override
    {
        CheckSizes(key, value);
        Count(key.size() + value.size());
        // Pages that are appended to are filled; others are divided in halves.
        std::string& last = Last(space);
        const bool append = last < key;
        MDB_val where = Val(key);
        MDB_val what = Val(value);
        m_environment.CheckWrite(
            mdb_cursor_put(CursorOf(space), &where, &what, append ? MDB_APPEND : 0));
        if (append)
            last = key;
    }

    void Erase(Space space, std::string_view key) override
    {
        CheckSizes(key, {});
        Count(key.size());
        MDB_val where = Val(key);
        MDB_cursor* const cursor = CursorOf(space);
        int code = mdb_cursor_get(cursor, &where, nullptr, MDB_SET);
        if (code == MDB_SUCCESS)
            code = mdb_cursor_del(cursor, 0);
        if (code != MDB_NOTFOUND)
            m_environment.CheckWrite(code);
    }

    void Commit() override
    {
        m_environment.Reserve(*m_claim, m_transaction.transaction, m_sinceStep + 4 * kStep);
        CloseCursors();
        const int code = mdb_txn_commit(std::exchange(m_transaction.transaction, nullptr));
        m_environment.End(nullptr, m_claim.get());
        m_environment.CheckWrite(code);
        m_claim.reset();
    }

private:
    void Count(std::size_t bytes)
    {
        ++m_transaction.changes;
        m_sinceStep += bytes;
        if (m_sinceStep < kStep && m_transaction.changes > 1)
            return;
        m_environment.Reserve(*m_claim, m_transaction.transaction, m_sinceStep + 4 * kStep);
        m_sinceStep = 0;
    }

    /// A key that none of the space is above; empty where there is none.
    std::string& Last(Space space)
    {
        auto& last = m_last[static_cast<std::size_t>(space)];
        if (!last) {
            MDB_val key{};
            MDB_val value{};
            const int code = mdb_cursor_get(CursorOf(space), &key, &value, MDB_LAST);
            if (code != MDB_SUCCESS && code != MDB_NOTFOUND)
                Check(code, Path());
            last.emplace(code == MDB_SUCCESS ? View(key) : std::string_view());
        }
        return *last;
    }

    std::shared_ptr<Environment::Claim> m_claim;
    std::optional<std::string> m_last[kSpaces];
    std::uint64_t m_sinceStep = 0;
};

class LmdbEngine : public Engine
{
public:
    LmdbEngine(const std::string& path, Mode mode)
        : m_environment(Environment::Open(path, mode)), m_mode(mode)
    {
        if (mode == Mode::Grow)
            m_claim = Environment::Wait(m_environment, 0);
    }

    const Traits& About() const override { return kTraits; }
    std::unique_ptr<Reader> Read() override { return std::make_unique<LmdbReader>(m_environment); }
    std::unique_ptr<Writer> Write() override
    {
        if (m_mode == Mode::Read)
            throw Error(ErrorCode::Io, m_environment->Path() + ": was opened for reading only");
        return std::make_unique<LmdbWriter>(
            m_environment, m_claim ? m_claim : Environment::Wait(m_environment, kPatience));
    }

private:
    std::shared_ptr<Environment> m_environment;
    std::shared_ptr<Environment::Claim> m_claim; ///< of an engine that grows the store
    Mode m_mode;
};

} // namespace

std::unique_ptr<Engine> OpenEngine(const std::string& path, Mode mode)
{
    // The lock file of all names of a file stands beside the file itself.
    return std::make_unique<LmdbEngine>(FollowLinks(path), mode);
}

} // namespace ko::store::inner::lmdb
