#ifndef KO_ENGINE_POSTGRES_SCHEMA_H
#define KO_ENGINE_POSTGRES_SCHEMA_H

#include "engine/postgres_connection.h"

#include <kostore.h>

#include <cstdint>
#include <string>

namespace ko::store::inner::postgres
{

/// Where a store has its tables.
struct Where {
    std::int64_t generation;
    std::string schema;

    static std::string NameOfOwn(std::int64_t generation)
    {
        return "ko_" + std::to_string(generation);
    }
    /// An administrator made the schema: it is emptied and never dropped.
    bool IsPrepared() const { return schema != NameOfOwn(generation); }
};

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
