#ifndef KO_STORE_IMPORT_IMPORTER_H
#define KO_STORE_IMPORT_IMPORTER_H

#include "schema/schema.h"
#include <kostore.h>

#include <chrono>
#include <iosfwd>

namespace ko::store::inner
{

/// How long an import tries to open its store again after a run that ended in a conflict: its
/// server may be starting. Tests shorten it, before anything is imported.
inline std::chrono::milliseconds& PatienceInForce()
{
    static std::chrono::milliseconds patience{30'000};
    return patience;
}

/// What kostore.h says, with this schema and these messages in place of the request's.
ImportResult Import(const ImportRequest& request, const Schema& schema, std::ostream& messages);

} // namespace ko::store::inner

#endif
