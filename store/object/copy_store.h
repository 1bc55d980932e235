#ifndef KO_STORE_OBJECT_COPY_STORE_H
#define KO_STORE_OBJECT_COPY_STORE_H

#include "object/object_store.h"

#include <cstdint>
#include <string>

namespace ko::store::inner
{

/// Copies a store, between engines as well: every object under its number, dictionaries, large
/// values, indexes and statistics as they are, and the next number. Blocks are made anew where the
/// other engine wants others, and indexes where they were made under another order than this
/// program's. Nobody sees anything of the copy before all of it is there, and memory is bounded.
///
/// Checksums and structure of all that is read are verified: throws Error (ErrorCode::Damaged) for
/// a source that is damaged, ErrorCode::Missing and ErrorCode::Exists for what is not at `from` or
/// at `to` already, and ErrorCode::Io where the system refuses something; there is then no copy.
/// Returns the number of objects.
std::uint64_t CopyStore(const std::string& from, const std::string& to);

/// The same for a store that is open, into a loader. Throws Conflict where the store has no single
/// moments and was changed meanwhile. `scratch` is the path beside which temporary
/// files come and go.
std::uint64_t CopyStore(const ObjectStore& from, Loader& to, const std::string& scratch);

} // namespace ko::store::inner

#endif
