#ifndef KO_STORE_OBJECT_STATISTICS_FEED_H
#define KO_STORE_OBJECT_STATISTICS_FEED_H

#include "object/snapshot.h"
#include "statistics/statistics_builder.h"

#include <cstdint>
#include <memory>

namespace ko::store::inner
{

/// What the counted values of a store may take while its statistics are made.
inline constexpr std::size_t kStatisticsMemory = 8U << 20;

/// The statistics of a store, which its reader serves for as long as they last; null where it has
/// none. Throws Error (ErrorCode::Damaged).
std::unique_ptr<Statistics> StatisticsOf(const Schema& schema, Reader& reader);

/// Reads all rows of the statistics. Throws Error (ErrorCode::Damaged) where one is damaged, is
/// missing, or does not belong to the others.
void ProveStatistics(const Schema& schema, Reader& reader);

/// Adds the objects that are there, from the number `first` on, to statistics. Returns how many
/// there were.
std::uint64_t AddObjects(Snapshot& snapshot, std::uint64_t first, StatisticsBuilder& statistics);

} // namespace ko::store::inner

#endif
