#include "engine/postgres_schema.h"

#include <string_view>

namespace ko::store::inner::postgres
{

void CheckTables(Connection& connection, const Address& address, const std::string& schema,
                 ErrorCode otherwise)
{
    const Answer columns = connection.Run(kDescribeTables, Parameters().Add(schema));
    const auto has = [&](std::string_view table, std::string_view column, std::string_view type) {
        for (std::size_t row = 0; row < columns.Rows(); ++row) {
            if (columns.Bytes(row, 0) == table && columns.Bytes(row, 1) == column &&
                columns.Bytes(row, 2) == type)
                return true;
        }
        return false;
    };
    const auto check = [&](bool sound, const char* table, const char* what) {
        if (!sound)
            throw Error(otherwise, address.Shown() + ": the table of " + table + " in the schema " +
                                       schema + " has no columns of " + what);
    };
    for (std::size_t i = 0; i < kSpaces; ++i) {
        const char* const table = SpaceName(static_cast<Space>(i));
        check(has(table, "key", "bytea") && has(table, "value", "bytea"), table, "key and value");
    }
    check(has("marks", "mark", "bytea") && has("marks", "made", "boolean"), "marks",
          "mark and made");
}

bool AreEmpty(Connection& connection, const Generation& statements)
{
    for (std::size_t i = 0; i < kSpaces; ++i) {
        const Statement& first = statements.Page(static_cast<Space>(i), Direction::Forwards, false);
        const Answer row =
            connection.Run(first, Parameters().Add(std::string_view()).Add(std::int64_t{1}));
        if (row.Rows() > 0)
            return false;
    }
    return true;
}

bool IsSpreadOverServers(Connection& connection, const std::string& schema)
{
    return connection.Run(kCountForeignTables, Parameters().Add(schema)).Number(0, 0) > 0;
}

void Clear(Connection& connection, const Where& where)
{
    const Generation statements(where.schema);
    if (where.IsPrepared()) {
        for (std::size_t i = 0; i < kSpaces; ++i)
            connection.Run(statements.Empty(static_cast<Space>(i)));
    } else {
        connection.Run(statements.Drop());
    }
    connection.Run(kForgetGeneration, Parameters().Add(where.generation));
}

} // namespace ko::store::inner::postgres
