#ifndef KO_ENGINE_LMDB_CALLS_H
#define KO_ENGINE_LMDB_CALLS_H

#include <lmdb.h>

#include <memory>
#include <string>
#include <string_view>

namespace ko::store::inner::lmdb
{

struct CloseCursor {
    void operator()(MDB_cursor* cursor) const { mdb_cursor_close(cursor); }
};
using CursorPointer = std::unique_ptr<MDB_cursor, CloseCursor>;

/// Throws Error for a result code of LMDB that is none of the usual answers.
[[noreturn]] void Fail(int code, const std::string& path);
inline void Check(int code, const std::string& path)
{
    if (code != MDB_SUCCESS)
        Fail(code, path);
}

inline MDB_val Val(std::string_view bytes)
{
    return {bytes.size(), const_cast<char*>(bytes.data())};
}
inline std::string_view View(const MDB_val& bytes)
{
    return {static_cast<const char*>(bytes.mv_data), bytes.mv_size};
}

/// Throws Error (ErrorCode::Io) for a key or a value of a size that no row has.
void CheckSizes(std::string_view key, std::string_view value);

CursorPointer OpenCursor(MDB_txn* transaction, MDB_dbi dbi, const std::string& path);

/// Makes an environment whose faults end in a sentence.
MDB_env* MakeEnvironment(const std::string& path);

} // namespace ko::store::inner::lmdb

#endif
