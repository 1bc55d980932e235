#ifndef KO_STORE_IMPORT_IMPORTER_H
#define KO_STORE_IMPORT_IMPORTER_H

#include "schema/schema.h"

#include <cstdint>
#include <iosfwd>
#include <string>

namespace ko::store::inner
{

struct ImportRequest {
    std::string store;
    std::string csv;
    std::string rejects; ///< a file for rejected rows; empty: none
    bool progress = false;
    std::string schema{}; ///< the file that the schema was read from; empty: none
};

/// Every row read was stored or rejected.
struct ImportResult {
    std::uint64_t stored = 0;
    std::uint64_t rejected = 0;
    std::uint64_t Read() const { return stored + rejected; }
};

/// Imports a CSV file into a store, which is made where there is none, as one transaction. What
/// the user is told on the way goes to `messages`. Throws Error, with the store and the file for
/// rejected rows as they were, for a file without a header or without a column of the schema, a
/// schema that is not the store's, an output that is an input too, and faults of files. Where only
/// that last file cannot get its name, the rows are stored, and the sentence says so.
ImportResult Import(const ImportRequest& request, const Schema& schema, std::ostream& messages);

} // namespace ko::store::inner

#endif
