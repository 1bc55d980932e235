#ifndef KO_STORE_CHECK_STATISTICS_CHECK_H
#define KO_STORE_CHECK_STATISTICS_CHECK_H

#include "check/fault_list.h"
#include "object/snapshot.h"

namespace ko::store::inner
{

/// Checks the statistics: that every row has its checksum and is one that a store of the schema
/// has, and that their numbers, values and samples belong to each other. Whether they are still
/// true of the objects is no matter of faults.
void CheckStatistics(Snapshot& snapshot, FaultList& faults);

} // namespace ko::store::inner

#endif
