#ifndef KO_STORE_INTERFACE_TELL_STATISTICS_H
#define KO_STORE_INTERFACE_TELL_STATISTICS_H

#include "object/snapshot.h"
#include <kostore.h>

#include <optional>

namespace ko::store::inner
{

/// The statistics of a store for programs; absent where it has none. Throws Error
/// (ErrorCode::Damaged).
std::optional<StoreStatistics> TellStatistics(Snapshot& snapshot);

} // namespace ko::store::inner

#endif
