#include "engine/lmdb_environment.h"

#include "engine/lmdb_check.h"
#include "engine/lmdb_file.h"
#include "engine/unfinished_file.h"
#include <kostore.h>

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <map>
#include <utility>

namespace ko::store::inner::lmdb
{

namespace
{

constexpr auto kPatience = std::chrono::seconds(10);
constexpr std::uint64_t kLargestMap = std::uint64_t{1} << 46;

std::uint64_t Rounded(std::uint64_t bytes)
{
    constexpr std::uint64_t kUnit = 1U << 20;
    return (bytes + kUnit - 1) / kUnit * kUnit;
}

std::uint64_t LongestFile()
{
    rlimit limit{};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY ? limit.rlim_cur
                                                                                   : kLargestMap;
}

/// The environments of this process by the device and the number of their files. One that is
/// closing keeps its place until it is closed.
struct Register {
    using Key = std::pair<dev_t, ino_t>;
    struct Entry {
        std::weak_ptr<Environment> environment;
        std::string path;
        Key lock; ///< the file through which LMDB knows of readers
    };

    std::mutex mutex;
    std::condition_variable closed;
    std::map<Key, Entry> entries;

    static bool Find(const std::string& path, Key& key)
    {
        struct stat info {
        };
        if (stat(path.c_str(), &info) != 0)
            return false;
        key = {info.st_dev, info.st_ino};
        return true;
    }
    /// A file that took the name of one that is still open here must not share its lock file.
    bool IsLockInUse(const std::string& path) const
    {
        Key lock;
        return Find(Environment::LockPath(path), lock) &&
               std::any_of(entries.begin(), entries.end(),
                           [&](const auto& entry) { return entry.second.lock == lock; });
    }
};

Register& TheRegister()
{
    static Register instance;
    return instance;
}

} // namespace

std::shared_ptr<Environment> Environment::Open(const std::string& path, Mode mode)
{
    CheckHeads(path);
    Register& all = TheRegister();
    Register::Key key;
    if (!Register::Find(path, key))
        throw Error(ErrorCode::Missing, path + ": is gone");
    std::unique_lock lock(all.mutex);
    for (auto found = all.entries.find(key); found != all.entries.end();
         found = all.entries.find(key)) {
        if (auto open = found->second.environment.lock())
            return open;
        all.closed.wait(lock);
    }
    if (all.IsLockInUse(path))
        throw Error(ErrorCode::Io, path + ": an earlier store of this name is still open here");
    const auto close = [key](Environment* environment) {
        Register& from = TheRegister();
        const std::lock_guard guard(from.mutex);
        delete environment;
        from.entries.erase(key);
        from.closed.notify_all();
    };
    auto* const made = new Environment(path, mode);
    Register::Entry& entry = all.entries[key];
    Register::Find(LockPath(path), entry.lock);
    std::shared_ptr<Environment> result(made, close);
    entry.environment = result;
    return result;
}

std::string Environment::LockPath(const std::string& path)
{
    return path + "-lock";
}

void Environment::CheckLockFile(const std::string& path)
{
    Register& all = TheRegister();
    const std::lock_guard guard(all.mutex);
    // One that is open here must not be opened to look at: LMDB's locks go with the first of its
    // openings that is closed.
    if (!all.IsLockInUse(path))
        RequireLockFile(LockPath(path));
}

Environment::Environment(std::string path, Mode mode) : m_path(std::move(path))
{
    if (mode == Mode::Grow)
        m_firstLock = std::make_unique<LockedFile>(m_path, false);
    try {
        OpenFile(mode, CheckHeads(m_path)); // which may have grown before the lock
        OpenSpaces();
    } catch (...) {
        mdb_env_close(m_env);
        if (m_firstLock)
            CutOff(*m_firstLock);
        throw;
    }
}

Environment::~Environment()
{
    mdb_env_close(m_env);
}

/// Opens so that any part of the process may write, for there is no second opening: as long as
/// nobody does, the file is not changed. Who may not write reads without.
void Environment::OpenFile(Mode mode, std::uint64_t bytes)
{
    constexpr unsigned kFlags = MDB_NOSUBDIR | MDB_NOTLS;
    const auto isRefused = [](int code) {
        return code == EACCES || code == EROFS || code == EPERM;
    };
    RequireLockFile(LockPath(m_path));
    int code = MDB_INVALID;
    // Pages are written in the map: a transaction of any size then costs no memory beyond it.
    if (mode == Mode::Grow)
        code = TryOpen(kFlags | MDB_WRITEMAP | MDB_NORDAHEAD, bytes);
    // Where files have no holes, or are not as long, pages of memory must do.
    if (code != MDB_SUCCESS)
        code = TryOpen(kFlags, bytes);
    if (isRefused(code) && mode == Mode::Read) {
        code = TryOpen(kFlags | MDB_RDONLY, bytes);
        // A reader who may not write the lock file beside the store reads without it.
        if (isRefused(code))
            code = TryOpen(kFlags | MDB_RDONLY | MDB_NOLOCK, bytes);
    }
    Check(code, m_path);
    MDB_envinfo info{};
    Check(mdb_env_info(m_env, &info), m_path);
    m_map = info.me_mapsize;
    // Readers that were killed keep their places, and the pages that they saw, until somebody looks
    // for them; LMDB never does by itself. Without the lock file there are none.
    Check(mdb_reader_check(m_env, nullptr), m_path);
}

/// Takes a smaller map where addresses are short.
int Environment::TryOpen(unsigned flags, std::uint64_t bytes)
{
    const bool large = (flags & MDB_WRITEMAP) != 0;
    std::uint64_t map = Rounded(std::max(8 * bytes, large ? FirstMap::written : FirstMap::plain));
    if (large)
        map = std::max(std::min(map, LongestFile()), bytes);
    int code;
    do {
        mdb_env_close(std::exchange(m_env, nullptr));
        m_env = MakeEnvironment(m_path);
        Check(mdb_env_set_mapsize(m_env, map), m_path);
        code = mdb_env_open(m_env, m_path.c_str(), flags, 0666);
        map /= 2;
    } while (code == ENOMEM && map > bytes);
    m_flags = flags;
    return code;
}

void Environment::OpenSpaces()
{
    MDB_txn* const transaction = BeginReading();
    try {
        for (std::size_t i = 0; i < kSpaces; ++i) {
            const char* const name = SpaceName(static_cast<Space>(i));
            unsigned flags = 0;
            int code = mdb_dbi_open(transaction, name, 0, &m_spaces[i]);
            if (code == MDB_NOTFOUND)
                CheckNames(transaction);
            if (code == MDB_SUCCESS)
                code = mdb_dbi_flags(transaction, m_spaces[i], &flags);
            if (code == MDB_NOTFOUND || code == MDB_INCOMPATIBLE || flags != 0)
                throw Error(ErrorCode::Damaged,
                            m_path + ": is no store of this program (it has no \"" + name + "\")");
            Check(code, m_path);
        }
    } catch (...) {
        End(transaction, nullptr);
        throw;
    }
    const int code = mdb_txn_commit(transaction); // for the handles to stay
    End(nullptr, nullptr);
    Check(code, m_path);
}

/// A store of another format has other names.
void Environment::CheckNames(MDB_txn* transaction) const
{
    MDB_dbi names = 0;
    Check(mdb_dbi_open(transaction, nullptr, 0, &names), m_path);
    const CursorPointer cursor = OpenCursor(transaction, names, m_path);
    MDB_val name{};
    MDB_val tree{};
    while (mdb_cursor_get(cursor.get(), &name, &tree, MDB_NEXT) == MDB_SUCCESS)
        CheckSpaceName(View(name), m_path);
}

void Environment::Map(std::uint64_t bytes)
{
    // A map that failed to grow would be gone.
    void* const room =
        mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED)
        throw Error(ErrorCode::Io, m_path + ": has outgrown the addresses of this process");
    munmap(room, bytes);
    Check(mdb_env_set_mapsize(m_env, bytes), m_path);
    MDB_envinfo info{};
    Check(mdb_env_info(m_env, &info), m_path);
    m_map = info.me_mapsize;
}

/// The map is changed while no transaction looks at it.
MDB_txn* Environment::Begin(unsigned flags)
{
    std::unique_lock lock(m_mutex);
    const auto waitForOthers = [&] {
        if (!m_ended.wait_for(lock, kPatience, [&] { return m_active == 0; }))
            throw Error(ErrorCode::Io, m_path + ": has outgrown its map, which readers here hold");
    };
    if (m_wanted > m_map && flags == 0) {
        waitForOthers();
        Map(m_wanted);
    }
    MDB_txn* transaction = nullptr;
    // Who writes takes LMDB's lock of writers before this mutex, here as later.
    const auto begin = [&] {
        if (flags != 0)
            return mdb_txn_begin(m_env, nullptr, flags, &transaction);
        ++m_active;
        lock.unlock();
        const int code = mdb_txn_begin(m_env, nullptr, flags, &transaction);
        lock.lock();
        --m_active;
        return code;
    };
    int code = begin();
    if (code == MDB_MAP_RESIZED) { // by another process
        waitForOthers();
        Map(8 * CheckHeads(m_path));
        code = begin();
    }
    if (code == MDB_READERS_FULL && mdb_reader_check(m_env, nullptr) == MDB_SUCCESS)
        code = begin();
    Check(code, m_path);
    ++m_active;
    return transaction;
}

MDB_txn* Environment::BeginWriting(Claim& claim)
{
    if (claim.m_writes)
        throw Error(ErrorCode::Io, m_path + ": another change by this opening is under way");
    Check(mdb_reader_check(m_env, nullptr), m_path);
    claim.m_bytesBefore = CheckHeads(m_path);
    if (IsLarge()) {
        const std::lock_guard guard(m_mutex);
        // Another process may have cut off what lay behind the pages.
        const std::uint64_t map = std::max(m_map, m_wanted);
        if (claim.m_lock->Size() < map)
            claim.m_lock->Resize(map);
    }
    MDB_txn* const transaction = Begin(0);
    claim.m_writes = true;
    return transaction;
}

void Environment::End(MDB_txn* transaction, Claim* claim) noexcept
{
    if (transaction != nullptr)
        mdb_txn_abort(transaction);
    if (claim != nullptr)
        claim->m_writes = false;
    const std::lock_guard guard(m_mutex);
    --m_active;
    m_ended.notify_all();
}

std::uint64_t Environment::PagesInUse(MDB_txn* transaction) const
{
    std::uint64_t pages = 0;
    for (const MDB_dbi dbi : m_spaces) {
        MDB_stat stat{};
        Check(mdb_stat(transaction, dbi, &stat), m_path);
        pages += stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages;
    }
    return pages;
}

/// A page of the map that finds no room on the disk would end the process.
void Environment::Reserve(Claim& claim, MDB_txn* transaction, std::uint64_t bytes)
{
    if (!IsLarge())
        return;
    MDB_stat stat{};
    Check(mdb_env_stat(m_env, &stat), m_path);
    // Every page in use may be a new one beside the old, and is then listed as free.
    const std::uint64_t pages = PagesInUse(transaction);
    const std::uint64_t most =
        claim.m_bytesBefore + pages * (stat.ms_psize + 2 * sizeof(std::uint64_t)) + bytes;
    const std::lock_guard guard(m_mutex);
    claim.m_lock->Reserve(std::min<std::uint64_t>(most, m_map));
}

void Environment::CheckWrite(int code)
{
    if (code == MDB_MAP_FULL) {
        const std::lock_guard guard(m_mutex);
        m_wanted = std::min(4 * m_map, IsLarge() ? LongestFile() : kLargestMap);
        if (m_wanted > m_map)
            throw Conflict();
    }
    Check(code, m_path);
}

/// Takes away what a map of the file made it longer than its pages.
void Environment::CutOff(LockedFile& file) const noexcept
{
    try {
        const std::uint64_t bytes = CheckHeads(m_path);
        if (file.Size() > bytes)
            file.Resize(bytes);
    } catch (const Error&) {
        // Room that is left behind the pages does no harm.
    }
}

Environment::Claim::Claim(std::shared_ptr<Environment> environment, unsigned milliseconds)
    : m_environment(std::move(environment))
{
    Environment& of = *m_environment;
    {
        std::unique_lock lock(of.m_mutex);
        const auto isFree = [&] { return !of.m_claimed; };
        if (!of.m_ended.wait_for(lock, std::chrono::milliseconds(milliseconds), isFree))
            throw Error(ErrorCode::Io, of.m_path + ": another change of it is under way");
        of.m_claimed = true;
    }
    try {
        m_lock = std::move(of.m_firstLock);
        if (!m_lock)
            m_lock = std::make_unique<LockedFile>(of.m_path, false, milliseconds);
        // Large changes write into the map of the file, where a damaged page leads anywhere.
        if (!std::exchange(of.m_trusted, true)) {
            if (of.IsLarge())
                CheckPages(of.m_path);
            else
                CheckFreePages(of.m_path);
        }
    } catch (...) {
        if (m_lock)
            of.CutOff(*m_lock);
        const std::lock_guard guard(of.m_mutex);
        of.m_claimed = of.m_trusted = false;
        of.m_ended.notify_all();
        throw;
    }
}

Environment::Claim::~Claim()
{
    m_environment->CutOff(*m_lock);
    m_lock.reset();
    const std::lock_guard guard(m_environment->m_mutex);
    m_environment->m_claimed = false;
    m_environment->m_ended.notify_all();
}

} // namespace ko::store::inner::lmdb
