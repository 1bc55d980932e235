#ifndef KO_ENGINE_LMDB_ENVIRONMENT_H
#define KO_ENGINE_LMDB_ENVIRONMENT_H

#include "engine/engine.h"
#include "engine/lmdb_calls.h"
#include "engine/locked_file.h"

#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace ko::store::inner::lmdb
{

/// How large maps are at least when a file is opened; tests take less. A map costs nothing but
/// addresses; one that is written takes the file's length as well.
struct FirstMap {
    static inline std::uint64_t plain = std::uint64_t{16} << 30;
    static inline std::uint64_t written = std::uint64_t{4} << 30;
};

using Spaces = std::array<MDB_dbi, kSpaces>;

/// LMDB's open file. LMDB knows of a process's readers by locks that go with the first of its open
/// files that is closed: a file is opened once in a process, by whoever comes first, and all share
/// it.
class Environment
{
public:
    /// The right to write, against other threads and other processes. Gone with the object, and
    /// then the file has no room left behind its pages.
    class Claim
    {
    public:
        ~Claim();
        Claim(const Claim&) = delete;
        Claim& operator=(const Claim&) = delete;

    private:
        friend class Environment;
        Claim(std::shared_ptr<Environment> environment, unsigned milliseconds);

        std::shared_ptr<Environment> m_environment;
        std::unique_ptr<LockedFile> m_lock;
        std::uint64_t m_bytesBefore = 0; ///< that all pages took before the transaction
        bool m_writes = false;           ///< a transaction is open
    };

    /// Throws Error as OpenEngine does.
    static std::shared_ptr<Environment> Open(const std::string& path, Mode mode);
    /// Of LMDB's lock file for a store.
    static std::string LockPath(const std::string& path);
    /// Throws Error (ErrorCode::Io) where something else has this name.
    static void CheckLockFile(const std::string& path);
    ~Environment();
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    const std::string& Path() const { return m_path; }
    MDB_dbi Dbi(Space space) const { return m_spaces[static_cast<std::size_t>(space)]; }

    static std::shared_ptr<Claim> Wait(const std::shared_ptr<Environment>& environment,
                                       unsigned milliseconds)
    {
        return std::shared_ptr<Claim>(new Claim(environment, milliseconds));
    }

    MDB_txn* BeginReading() { return Begin(MDB_RDONLY); }
    /// One at a time under a claim.
    MDB_txn* BeginWriting(Claim& claim);
    /// Aborts where the transaction is still there. `claim`: of a writer.
    void End(MDB_txn* transaction, Claim* claim) noexcept;
    /// Before `bytes` more are put.
    void Reserve(Claim& claim, MDB_txn* transaction, std::uint64_t bytes);
    /// Throws for a code that a write has brought: Conflict where the map was too small, which the
    /// next transaction finds larger.
    void CheckWrite(int code);

private:
    Environment(std::string path, Mode mode);
    void OpenFile(Mode mode, std::uint64_t bytes);
    int TryOpen(unsigned flags, std::uint64_t bytes);
    void OpenSpaces();
    void CheckNames(MDB_txn* transaction) const;
    MDB_txn* Begin(unsigned flags);
    void Map(std::uint64_t bytes);
    std::uint64_t PagesInUse(MDB_txn* transaction) const;
    void CutOff(LockedFile& file) const noexcept;
    bool IsLarge() const { return (m_flags & MDB_WRITEMAP) != 0; }

    std::string m_path;
    MDB_env* m_env = nullptr;
    unsigned m_flags = 0;
    Spaces m_spaces{};
    std::unique_ptr<LockedFile> m_firstLock; ///< for the claim of who opened the file to grow

    std::mutex m_mutex; ///< for all below
    std::condition_variable m_ended;
    unsigned m_active = 0; ///< transactions of this process
    bool m_claimed = false;
    bool m_trusted = false; ///< the list of free pages was looked at
    std::uint64_t m_map = 0;
    std::uint64_t m_wanted = 0; ///< a larger map, when no transaction is open
};

} // namespace ko::store::inner::lmdb

#endif
