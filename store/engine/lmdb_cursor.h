#ifndef KO_ENGINE_LMDB_CURSOR_H
#define KO_ENGINE_LMDB_CURSOR_H

#include "engine/engine.h"
#include "engine/lmdb_environment.h"

namespace ko::store::lmdb
{

struct Transaction {
    MDB_txn* transaction;
    bool writes = false;
    std::uint64_t changes = 0; ///< after each of which cursors find their places anew
};

/// A walk. The environment and the transaction outlast it.
std::unique_ptr<Cursor> MakeCursor(const Environment& environment, const Transaction& transaction,
                                   Space space, const Range& range, Direction direction);

/// The rows of a range, guessed.
std::uint64_t Guess(const Environment& environment, const Transaction& transaction, Space space,
                    const Range& range);

} // namespace ko::store::lmdb

#endif
