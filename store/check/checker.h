#ifndef KO_STORE_CHECK_CHECKER_H
#define KO_STORE_CHECK_CHECKER_H

#include <cstdint>
#include <iosfwd>
#include <string>

namespace ko::store
{

/// Walks everything in a store: every record is taken apart and its values are loaded, every
/// object is looked up in every index, every index entry in the objects; orders and counts are
/// compared. Faults go to `out`, a line each, the first 100 of them. Returns their number. Throws
/// Failure where the store cannot be opened.
std::uint64_t CheckStore(const std::string& path, std::ostream& out);

} // namespace ko::store

#endif
