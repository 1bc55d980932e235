#ifndef KO_ENGINE_LMDB_CURSOR_H
#define KO_ENGINE_LMDB_CURSOR_H

#include "engine/engine.h"
#include "engine/lmdb_environment.h"

namespace ko::store::inner::lmdb
{

struct Transaction {
    std::shared_ptr<Environment> environment;
    MDB_txn* transaction; ///< null when it has ended
    bool writes = false;
    std::uint64_t changes = 0; ///< after each of which cursors find their places anew
};

std::unique_ptr<Cursor> MakeCursor(std::shared_ptr<const Transaction> transaction, Space space,
                                   const Range& range, Direction direction);

/// The rows of a range, guessed.
std::uint64_t Guess(const Transaction& transaction, Space space, const Range& range);

} // namespace ko::store::inner::lmdb

#endif
