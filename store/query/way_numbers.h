#ifndef KO_STORE_QUERY_WAY_NUMBERS_H
#define KO_STORE_QUERY_WAY_NUMBERS_H

#include "object/snapshot.h"
#include "query/way.h"

#include <cstdint>
#include <vector>

namespace ko::store::inner
{

/// Puts numbers of objects below `end` in ascending order, each once.
void SortNumbers(std::vector<std::uint64_t>& numbers, std::uint64_t end);

/// The numbers of the objects on a way, ascending, each once. Ranges of ids are parts of Way::Both
/// alone, beside others. Throws Error (ErrorCode::Damaged).
std::vector<std::uint64_t> NumbersOf(Snapshot& snapshot, const Way& way);

/// The lowest and the highest number of a range of ids.
struct IdRange {
    std::uint64_t first = 1;
    std::uint64_t last = kMaxObjectNumber;
};
IdRange IdsOf(const IndexRange& range);

} // namespace ko::store::inner

#endif
