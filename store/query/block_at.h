#ifndef KO_STORE_QUERY_BLOCK_AT_H
#define KO_STORE_QUERY_BLOCK_AT_H

#include "object/snapshot.h"

#include <cstdint>

namespace ko::store::inner
{

/// A block and where it stands among the objects.
struct BlockAt {
    BlockView* view = nullptr;
    std::uint64_t firstObject = 0; ///< the number of the one in slot 0

    unsigned Words() const { return (view->Slots() + 63) / 64; }
};

/// The values of an attribute in a block. Throws Error (ErrorCode::Damaged).
const Column& ColumnOf(const Snapshot& snapshot, const BlockAt& block, std::size_t attribute);

/// For each slot of a block what a condition says of its object. It says false where neither bit is
/// set.
struct TruthBits {
    SlotBits met;
    SlotBits unknown;
};

} // namespace ko::store::inner

#endif
