#ifndef KO_STORE_CHECK_CHECKER_H
#define KO_STORE_CHECK_CHECKER_H

#include "object/snapshot.h"
#include <kostore.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace ko::store::inner
{

/// Checks what the engine is built of, then every row of a store: checksums, the layout of blocks
/// and the values in them, dictionaries, large values, counts, and that each index has the value of
/// every object once and nothing else. Faults go to `out`, a line each, with the row that has them,
/// the first 100 of them. Throws Conflict where faults may be those of a change that came between,
/// in a store that has no single moments, and Error where the store cannot be opened, or the
/// engine's own parts are damaged.
CheckResult CheckStore(const std::string& address, std::ostream& out);

/// The same for the rows alone, of which it returns the number of faults; `scratch` is the path
/// beside which temporary files come and go.
std::uint64_t CheckRows(Snapshot& snapshot, const std::string& scratch, std::ostream& out);

} // namespace ko::store::inner

#endif
