#ifndef KO_ENGINE_POSTGRES_PREPARED_H
#define KO_ENGINE_POSTGRES_PREPARED_H

#include "engine/postgres_catalog.h"

#include <kostore.h>

#include <string>

namespace ko::store::inner::postgres
{

// Schemas whose tables somebody else made, partitioned or spread over servers as it suited them.
// All throw SqlError.

/// Throws Error with the code where a schema has not the tables of a store, with the columns and
/// types that they have.
void CheckTables(Connection& connection, const Address& address, const std::string& schema,
                 ErrorCode otherwise);
bool AreEmpty(Connection& connection, const Generation& statements);
/// True where some of the tables, or partitions of them, are those of other servers.
bool IsSpreadOverServers(Connection& connection, const std::string& schema);
/// Drops a schema, or empties it where it was prepared, and forgets its generation.
void Clear(Connection& connection, const Where& where);

} // namespace ko::store::inner::postgres

#endif
