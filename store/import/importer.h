#ifndef KO_STORE_IMPORT_IMPORTER_H
#define KO_STORE_IMPORT_IMPORTER_H

#include "schema/schema.h"
#include <kostore.h>

#include <iosfwd>

namespace ko::store::inner
{

/// What kostore.h says, with this schema and these messages in place of the request's.
ImportResult Import(const ImportRequest& request, const Schema& schema, std::ostream& messages);

} // namespace ko::store::inner

#endif
