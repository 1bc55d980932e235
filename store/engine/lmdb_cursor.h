#ifndef KO_ENGINE_LMDB_CURSOR_H
#define KO_ENGINE_LMDB_CURSOR_H

#include "engine/engine.h"
#include "engine/lmdb_environment.h"

#include <array>
#include <vector>

namespace ko::store::inner::lmdb
{

struct Transaction {
    std::shared_ptr<Environment> environment;
    MDB_txn* transaction; ///< null when it has ended
    bool writes = false;
    std::uint64_t changes = 0; ///< after each of which cursors find their places anew
    /// Cursors of a reader that serve nobody now, by space. They are closed before it ends.
    std::array<std::vector<CursorPointer>, kSpaces> idle;
};

/// The cursor ends before the transaction's reader or writer does.
std::unique_ptr<Cursor> MakeCursor(Transaction& transaction, Space space, const Range& range,
                                   Direction direction);

/// The rows of a range, guessed.
std::uint64_t Guess(const Transaction& transaction, Space space, const Range& range);

} // namespace ko::store::inner::lmdb

#endif
