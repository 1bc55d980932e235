#include "engine/lmdb_calls.h"

#include "engine/broken_page.h"
#include "engine/engine.h"
#include <kostore.h>

#include <cerrno>

namespace ko::store::inner::lmdb
{

namespace
{

constexpr unsigned kMostReaders = 1000;

} // namespace

void Fail(int code, const std::string& path)
{
    switch (code) {
    case MDB_KEYEXIST:
        throw Error(ErrorCode::Io, path + ": keys came in another order than they stand in");
    case MDB_MAP_FULL:
        throw Error(ErrorCode::Io, path + ": no space is left");
    case MDB_PANIC:
        throw Error(ErrorCode::Io, path + ": its head could not be written: open it again");
    case MDB_CORRUPTED:
    case MDB_PAGE_NOTFOUND:
    case MDB_PAGE_FULL:
    case MDB_CURSOR_FULL:
    case MDB_INVALID:
    case MDB_VERSION_MISMATCH:
    case MDB_INCOMPATIBLE:
    case MDB_BAD_TXN: // what comes after one of the others
    case MDB_NOTFOUND:
        throw Error(ErrorCode::Damaged, path + ": is damaged (" + mdb_strerror(code) + ")");
    case MDB_READERS_FULL:
        throw Error(ErrorCode::Io, path +
                                       ": as many readers are at work on it as it has places for: "
                                       "try again when one of them has ended");
    case EIO: // what LMDB makes of a write that found room for a part of it
        throw Error(ErrorCode::Io, path + ": " + mdb_strerror(code) + ", or no space is left");
    default:
        throw Error(ErrorCode::Io, path + ": " + mdb_strerror(code));
    }
}

void CheckSizes(std::string_view key, std::string_view value)
{
    if (key.empty() || key.size() > kMaxKey)
        throw Error(ErrorCode::Io, "a key has " + std::to_string(key.size()) +
                                       " bytes, it may have 1 to " + std::to_string(kMaxKey));
    if (value.size() > kMaxValue)
        throw Error(ErrorCode::Io, "a value has " + std::to_string(value.size()) +
                                       " bytes, it may have " + std::to_string(kMaxValue));
}

MDB_env* MakeEnvironment(const std::string& path)
{
    MDB_env* env = nullptr;
    Check(mdb_env_create(&env), path);
    mdb_env_set_maxdbs(env, kSpaces);
    mdb_env_set_maxreaders(env, kMostReaders);
    mdb_env_set_assert(env, [](MDB_env*, const char*) { MeetBrokenPage(); });
    return env;
}

CursorPointer OpenCursor(MDB_txn* transaction, MDB_dbi dbi, const std::string& path)
{
    MDB_cursor* cursor = nullptr;
    Check(mdb_cursor_open(transaction, dbi, &cursor), path);
    return CursorPointer(cursor);
}

} // namespace ko::store::inner::lmdb
