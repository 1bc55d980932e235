#include "engine/postgres.h"
#include "engine/postgres_catalog.h"
#include <kostore.h>

namespace ko::store::inner::postgres
{

// A reader sees where the store is and what is in it. A writer has rows erased and inserted, never
// updated, and marks of changes among them. Neither makes or drops a table.
std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer)
{
    const Address where(address);
    std::string schema;
    try {
        const auto connection = Connect(where, Connection::Purpose::Read, false);
        schema = QuoteName(NeedStore(*connection, where).schema);
    } catch (const SqlError& error) {
        error.Fail(where);
    }
    std::string text;
    const auto grant = [&](const std::string& what, const std::string& role) {
        if (!role.empty())
            text += "grant " + what + " to " + QuoteName(role) + ";\n";
    };
    for (const std::string& role : {reader, writer}) {
        grant("usage on schema kotms", role);
        grant("select on kotms.stores", role);
        grant("usage on schema " + schema, role);
        grant("select on all tables in schema " + schema, role);
    }
    grant("insert, delete on all tables in schema " + schema, writer);
    return text;
}

} // namespace ko::store::inner::postgres
