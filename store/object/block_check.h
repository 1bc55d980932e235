#ifndef KO_STORE_OBJECT_BLOCK_CHECK_H
#define KO_STORE_OBJECT_BLOCK_CHECK_H

#include "object/snapshot.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace ko::store::inner
{

/// Gets the slot and the attribute of a value that stands by itself.
using LargeMet = std::function<void(unsigned slot, std::size_t attribute)>;

/// Looks at all that a block holds: that its objects have numbers that were given out, values that
/// their types write, entries that the dictionaries have, and no value absent that cannot be.
/// Throws Error (ErrorCode::Damaged) with what is wrong first. By attribute, calls `large` for
/// values that stand by themselves, which are for the caller to look for.
void CheckBlock(const Snapshot& snapshot, std::uint64_t number, BlockView& block,
                const LargeMet& large);

} // namespace ko::store::inner

#endif
