#include "base/same_file.h"
#include "engine/lmdb_calls.h"
#include "engine/lmdb_environment.h"
#include "engine/lmdb_file.h"
#include "engine/lmdb_store.h"
#include "engine/unfinished_file.h"
#include <kostore.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace ko::store::inner::lmdb
{

namespace
{

std::string NewPath(const std::string& path)
{
    return path + ".new";
}

/// Nobody else sees the file until it is complete and on disk: what is there is committed in small
/// steps without waiting for the disk, so that pages are reused while they are warm, and pages
/// written to the file take less time than pages of the map.
class LmdbLoader : public Loader
{
public:
    explicit LmdbLoader(const std::string& path)
        : m_path(path), m_file(NewPath(path)), m_lock(Claim())
    {
        try {
            m_lock->Resize(0); // what a loader that was killed left behind
            Open();
        } catch (...) {
            Clear();
            throw;
        }
    }
    ~LmdbLoader() override { Clear(); }
    LmdbLoader(const LmdbLoader&) = delete;
    LmdbLoader& operator=(const LmdbLoader&) = delete;

    const Traits& About() const override { return kTraits; }

    void Append(Space space, std::string_view key, std::string_view value) override
    {
        CheckSizes(key, value);
        m_sinceStep += key.size() + value.size();
        if (m_sinceStep >= kStep)
            Step();
        const auto index = static_cast<std::size_t>(space);
        CursorPointer& cursor = m_cursors[index];
        if (!cursor)
            cursor = OpenCursor(m_transaction, m_spaces[index], m_file);
        MDB_val where = Val(key);
        MDB_val what = Val(value);
        Call(mdb_cursor_put(cursor.get(), &where, &what, MDB_APPEND));
    }

    void Publish() override
    {
        Commit();
        Call(mdb_env_sync(m_env, 1));
        mdb_env_close(std::exchange(m_env, nullptr));
        m_lock->Resize(CheckHeads(m_file));
        RequireFreeName();
        // One that is left belongs to a store that had this name, and maybe still has readers.
        std::remove(Environment::LockPath(m_path).c_str());
        SetMark(*m_lock, Mark::Naming);
        m_lock->TakeName(m_path);
        m_published = true;
        try {
            SetMark(*m_lock, Mark::None);
            m_lock->Sync();
        } catch (const Error&) {
            // The store is there, and under its own name the mark means nothing.
        }
    }

private:
    static constexpr std::uint64_t kStep = 1U << 19;
    static constexpr std::uint64_t kFirstMap = 64U << 20;
    static constexpr std::uint64_t kRoom = 16U << 20; ///< that a step never fills

    void Call(int code) const { Check(code, m_file); }

    std::unique_ptr<LockedFile> Claim() const
    {
        RequireFreeName();
        return ClaimUnfinished(m_file, true);
    }

    void RequireFreeName() const
    {
        if (lmdb::StoreExists(m_path))
            throw Error(ErrorCode::Exists, m_path + ": " + std::strerror(EEXIST));
        Environment::CheckLockFile(m_path);
    }

    void Open()
    {
        m_env = MakeEnvironment(m_file);
        Call(mdb_env_set_mapsize(m_env, m_map));
        Call(mdb_env_open(m_env, m_file.c_str(),
                          MDB_NOSUBDIR | MDB_NORDAHEAD | MDB_NOLOCK | MDB_NOSYNC, 0666));
        SetMark(*m_lock, Mark::Unfinished);
        Begin();
        for (std::size_t i = 0; i < kSpaces; ++i)
            Call(mdb_dbi_open(m_transaction, SpaceName(static_cast<Space>(i)), MDB_CREATE,
                              &m_spaces[i]));
    }

    /// With room in the map for all that comes before the next step.
    void Begin()
    {
        MDB_envinfo info{};
        MDB_stat stat{};
        Call(mdb_env_info(m_env, &info));
        Call(mdb_env_stat(m_env, &stat));
        const std::uint64_t needed =
            (std::uint64_t{info.me_last_pgno} + 1) * stat.ms_psize + m_sinceStep + kRoom;
        if (needed > m_map) {
            m_map = std::max(2 * m_map, needed);
            Call(mdb_env_set_mapsize(m_env, m_map));
        }
        Call(mdb_txn_begin(m_env, nullptr, 0, &m_transaction));
    }

    void Commit()
    {
        for (CursorPointer& cursor : m_cursors)
            cursor.reset();
        Call(mdb_txn_commit(std::exchange(m_transaction, nullptr)));
    }

    void Step()
    {
        Commit();
        Begin();
        m_sinceStep = 0;
    }

    void Clear() noexcept
    {
        for (CursorPointer& cursor : m_cursors)
            cursor.reset();
        if (m_transaction != nullptr)
            mdb_txn_abort(std::exchange(m_transaction, nullptr));
        mdb_env_close(std::exchange(m_env, nullptr));
        if (!m_published)
            std::remove(m_file.c_str());
    }

    std::string m_path;
    std::string m_file; ///< where it is written
    std::unique_ptr<LockedFile> m_lock;
    MDB_env* m_env = nullptr;
    MDB_txn* m_transaction = nullptr;
    MDB_dbi m_spaces[kSpaces] = {};
    CursorPointer m_cursors[kSpaces];
    std::uint64_t m_map = kFirstMap;
    std::uint64_t m_sinceStep = 0;
    bool m_published = false;
};

} // namespace

std::unique_ptr<Loader> StartLoad(const std::string& path)
{
    return std::make_unique<LmdbLoader>(path);
}

bool StoreExists(const std::string& path)
{
    struct stat info {
    };
    return lstat(path.c_str(), &info) == 0;
}

std::vector<std::string> FilesOfStore(const std::string& path)
{
    return {path, NewPath(path), Environment::LockPath(FollowLinks(path))};
}

std::size_t Clean(const std::string& path)
{
    const std::string file = NewPath(path);
    if (!StoreExists(file))
        return 0;
    const auto lock = ClaimUnfinished(file, false);
    if (std::remove(file.c_str()) != 0)
        throw Error(ErrorCode::Io, file + ": " + std::strerror(errno));
    return 1;
}

} // namespace ko::store::inner::lmdb
