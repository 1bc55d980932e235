#include "store.h"

#include "failure.h"
#include "pagecheck.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace kotm
{

namespace
{

/// After so many bytes a new store is committed, and room is reserved for an old one that grows.
constexpr std::uint64_t kStep = 1U << 19;

} // namespace

void FailLmdb(int code, const std::string& path)
{
    switch (code) {
    case MDB_MAP_FULL:
        throw MapFull();
    case MDB_KEYEXIST:
        throw Failure(Exit::Io, path + ": values came in another order than their type's");
    case MDB_CORRUPTED:
    case MDB_PAGE_NOTFOUND:
    case MDB_PAGE_FULL:
    case MDB_CURSOR_FULL:
    case MDB_PANIC:
    case MDB_INVALID:
    case MDB_VERSION_MISMATCH:
    case MDB_INCOMPATIBLE:
    case MDB_BAD_TXN: // what comes after one of the others
    case MDB_NOTFOUND:
        throw Failure(Exit::Damaged, path + ": is damaged (" + mdb_strerror(code) + ")");
    case MDB_READERS_FULL:
        throw Failure(Exit::Io, path + ": as many programs read it as it has places for readers: "
                                       "try again when one of them has ended");
    case EIO: // what LMDB makes of a write that found room for a part of it
        throw Failure(Exit::Io, path + ": " + mdb_strerror(code) + ", or no space is left");
    default:
        throw Failure(Exit::Io, path + ": " + mdb_strerror(code));
    }
}

std::unique_ptr<Store> Store::Open(const std::string& path)
{
    return std::unique_ptr<Store>(new Store(path, Mode::Read, 0, nullptr));
}

std::unique_ptr<Store> Store::OpenToAdd(const std::string& path, std::uint64_t mapBytes)
{
    return std::unique_ptr<Store>(new Store(path, Mode::Add, mapBytes, nullptr));
}

std::unique_ptr<Store> Store::Create(const std::string& path, const Schema& schema,
                                     std::uint64_t mapBytes)
{
    return std::unique_ptr<Store>(new Store(path, Mode::Create, mapBytes, &schema));
}

Store::Store(std::string path, Mode mode, std::uint64_t mapBytes, const Schema* schema)
    : m_path(std::move(path)), m_file(mode == Mode::Create ? NewStorePath(m_path) : m_path),
      m_mode(mode)
{
    if (mode == Mode::Create)
        m_schema = *schema;
    else
        m_bytesBefore = CheckStoreFile(m_path);
    if (mode != Mode::Read)
        m_lock.emplace(m_file, mode == Mode::Create);
    if (mode == Mode::Add) {
        m_bytesBefore = CheckStoreFile(m_path); // another import may have ended before the lock
        CheckFreePages(m_path);
    }
    if (mode == Mode::Create)
        m_lock->Resize(0); // what an import that was killed left behind
    try {
        OpenEnvironment(mapBytes);
        OpenDatabases();
    } catch (...) {
        Close();
        throw;
    }
    m_reader.emplace(*m_schema);
    for (std::size_t i = 0; i < m_indexes.size(); ++i) {
        if (m_indexes[i])
            m_reader->Need(i);
    }
    m_previousForms = SetFullForms(this);
}

Store::~Store()
{
    SetFullForms(m_previousForms);
    Close();
}

/// Without Commit the file is as it was: the transaction is given up, a new file goes, an old one
/// loses the room that was taken for more.
void Store::Close() noexcept
{
    m_cursor.reset();
    m_finder.reset();
    if (m_txn != nullptr)
        mdb_txn_abort(std::exchange(m_txn, nullptr));
    const bool open = m_env != nullptr;
    mdb_env_close(std::exchange(m_env, nullptr));
    if (!m_lock)
        return;
    if (m_mode == Mode::Create && m_file != m_path)
        std::remove(m_file.c_str());
    else if (open)
        m_lock->Resize(m_bytesBefore);
    m_lock.reset();
}

void Store::CreateEnvironment()
{
    Check(mdb_env_create(&m_env));
    Check(mdb_env_set_maxdbs(m_env, static_cast<MDB_dbi>(Schema::kMaxAttributes) + 2));
    Check(mdb_env_set_assert(m_env, [](MDB_env*, const char*) { EndOnBrokenPage(); }));
}

void Store::OpenEnvironment(std::uint64_t mapBytes)
{
    CreateEnvironment();
    unsigned flags = MDB_NOSUBDIR;
    switch (m_mode) {
    case Mode::Read:
        flags |= MDB_RDONLY;
        break;
    case Mode::Add:
        // Pages are written in the map: a transaction of any size then costs no memory beyond it.
        flags |= MDB_WRITEMAP | MDB_NORDAHEAD;
        Check(mdb_env_set_mapsize(m_env, std::max(mapBytes, 2 * m_bytesBefore)));
        break;
    case Mode::Create:
        // Nobody else sees the file until it is complete and on disk: what is there may be
        // committed in steps, and pages written to the file take less time than pages of the map.
        flags |= MDB_NORDAHEAD | MDB_NOLOCK | MDB_NOSYNC;
        Check(mdb_env_set_mapsize(m_env, mapBytes));
        break;
    }
    int code = mdb_env_open(m_env, m_file.c_str(), flags, 0666);
    if (code == EACCES && m_mode == Mode::Read) {
        // A reader who may not write the lock file beside the store reads without it.
        mdb_env_close(std::exchange(m_env, nullptr));
        CreateEnvironment();
        code = mdb_env_open(m_env, m_file.c_str(), flags | MDB_NOLOCK, 0666);
    }
    Check(code);
    // Readers that were killed keep their places, and the pages that they saw, until somebody looks
    // for them; LMDB never does by itself. Without the lock file there are none.
    Check(mdb_reader_check(m_env, nullptr));
    const unsigned txnFlags = m_mode == Mode::Read ? MDB_RDONLY : 0;
    code = mdb_txn_begin(m_env, nullptr, txnFlags, &m_txn);
    if (code == MDB_MAP_RESIZED) {
        Check(mdb_env_set_mapsize(m_env, 0));
        code = mdb_txn_begin(m_env, nullptr, txnFlags, &m_txn);
    }
    Check(code);
}

void Store::OpenDatabases()
{
    const unsigned create = m_mode == Mode::Create ? MDB_CREATE : 0;
    const auto open = [&](const std::string& name, MDB_dbi& dbi) {
        const int code = mdb_dbi_open(m_txn, name.c_str(), create, &dbi);
        if (code == MDB_NOTFOUND || code == MDB_INCOMPATIBLE)
            throw Failure(Exit::Damaged,
                          m_path + ": is no store of this program (it has no \"" + name + "\")");
        Check(code);
    };
    open("description", m_description);
    if (m_mode == Mode::Create) {
        WriteDescription();
    } else {
        ReadDescription();
    }
    open("objects", m_objects);
    Check(mdb_set_compare(m_txn, m_objects, CompareObjectKeys));
    m_indexes.resize(m_schema->attributes.size());
    for (std::size_t i = 0; i < m_indexes.size(); ++i) {
        if (!m_schema->attributes[i].index)
            continue;
        MDB_dbi dbi = 0;
        open("index " + std::to_string(i), dbi);
        Check(mdb_set_compare(m_txn, dbi, EntryCallback(i, m_mode == Mode::Create)));
        m_indexes[i] = dbi;
    }
    if (m_mode == Mode::Add)
        CheckCounts();
}

std::uint64_t Store::CountEntries(MDB_dbi dbi) const
{
    MDB_stat stat{};
    Check(mdb_stat(m_txn, dbi, &stat));
    return stat.ms_entries;
}

ObjectFinder& Store::Finder() const
{
    if (!m_finder)
        m_finder.emplace(m_txn, m_objects, m_mode == Mode::Read);
    return *m_finder;
}

bool Store::Find(const char* id, std::string_view& record) const
{
    const int code = Finder().Find(id, record);
    if (code == MDB_NOTFOUND)
        return false;
    Check(code);
    return true;
}

bool Store::Find(std::size_t attribute, const char* id, std::string_view& form)
{
    const std::uint32_t tag = ObjectTag(id);
    if (tag == 1 || tag == 2) {
        form = m_bounds[tag - 1];
        return true;
    }
    // This runs inside LMDB's own search, which no exception may pass through.
    MDB_val key = Val({id, kObjectIdBytes});
    MDB_val value{};
    if (mdb_get(m_txn, m_objects, &key, &value) != MDB_SUCCESS || !m_reader->Read(View(value)))
        return false;
    form = m_reader->Form(attribute);
    return true;
}

std::uint64_t Store::Add(std::string_view record)
{
    if (m_counts.nextNumber > kMaxObjectNumber)
        throw Failure(Exit::Io, m_path + ": the store is full (no object numbers are left)");
    Count(record.size());
    char id[kObjectIdBytes];
    PutObjectId(id, m_counts.nextNumber);
    MDB_val key = Val({id, kObjectIdBytes});
    MDB_val value = Val(record);
    Put(m_objects, key, value, MDB_APPEND);
    ++m_counts.objects;
    return m_counts.nextNumber++;
}

void Store::AddEntries(std::size_t attribute, std::string& entry, const std::uint64_t* objects,
                       std::size_t count, bool inOrder)
{
    const MDB_dbi dbi = Index(attribute);
    const unsigned flags = inOrder ? MDB_APPEND : 0;
    char* const id = entry.data() + entry.size() - kObjectIdBytes;
    for (std::size_t i = 0; i < count; ++i) {
        Count(entry.size());
        PutObjectId(id, objects[i]);
        Put(dbi, Val(entry), Val({}), flags);
    }
}

Store::Cursor Store::OpenCursor(MDB_dbi dbi) const
{
    MDB_cursor* cursor = nullptr;
    Check(mdb_cursor_open(m_txn, dbi, &cursor));
    return Cursor(cursor);
}

std::uint64_t Store::PagesInUse() const
{
    std::uint64_t pages = 0;
    const auto add = [&](MDB_dbi dbi) {
        MDB_stat stat{};
        Check(mdb_stat(m_txn, dbi, &stat));
        pages += stat.ms_branch_pages + stat.ms_leaf_pages + stat.ms_overflow_pages;
    };
    add(m_objects);
    for (const auto& index : m_indexes) {
        if (index)
            add(*index);
    }
    return pages;
}

void Store::Put(MDB_dbi dbi, MDB_val key, MDB_val value, unsigned flags)
{
    if (!m_cursor || mdb_cursor_dbi(m_cursor.get()) != dbi)
        m_cursor = OpenCursor(dbi);
    const int code = mdb_cursor_put(m_cursor.get(), &key, &value, flags);
    if (code == MDB_KEYEXIST && m_mode == Mode::Add)
        throw Failure(Exit::Damaged, m_path + ": is damaged (its keys are out of order)");
    Check(code);
}

void Store::CommitTransaction()
{
    m_cursor.reset();
    m_finder.reset();
    Check(mdb_txn_commit(std::exchange(m_txn, nullptr)));
}

void Store::Count(std::size_t bytes)
{
    m_sinceStep += bytes;
    if (m_sinceStep < kStep)
        return;
    if (m_mode == Mode::Create) {
        CommitTransaction();
        Check(mdb_txn_begin(m_env, nullptr, 0, &m_txn));
    } else {
        Reserve();
    }
    m_sinceStep = 0;
}

/// A page of the map that finds no room on the disk would end the process.
void Store::Reserve()
{
    MDB_stat stat{};
    Check(mdb_env_stat(m_env, &stat));
    // Every page in use may be a new one beside the old. The step lies well within the slack.
    const std::uint64_t most =
        m_bytesBefore + PagesInUse() * stat.ms_psize + m_sinceStep + 4 * kStep;
    MDB_envinfo info{};
    Check(mdb_env_info(m_env, &info));
    m_lock->Reserve(std::min<std::uint64_t>(most, info.me_mapsize));
}

void Store::Commit()
{
    WriteCounts();
    CommitTransaction();
    Check(mdb_env_sync(m_env, 1));
    mdb_env_close(std::exchange(m_env, nullptr));
    m_lock->Resize(CheckStoreFile(m_file));
    if (m_mode == Mode::Create) {
        if (link(m_file.c_str(), m_path.c_str()) != 0)
            throw Failure(Exit::Io, m_path + ": " + std::strerror(errno));
        std::remove(m_file.c_str());
        m_file = m_path;
        SyncDirectoryOf(m_path);
    }
    m_lock.reset();
}

} // namespace kotm
