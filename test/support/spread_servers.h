#ifndef KO_TEST_SUPPORT_SPREAD_SERVERS_H
#define KO_TEST_SUPPORT_SPREAD_SERVERS_H

#include "support/postgres_server.h"
#include "support/socket_proxy.h"

#include <string>
#include <utility>
#include <vector>

/// Two servers behind the shared one, which is their coordinator by its own means.
class SpreadServers
{
public:
    SpreadServers() : m_whyNot(Coordinator().WhyNot())
    {
        if (!m_whyNot.empty())
            return;
        std::string made = Coordinator().Ask("create extension postgres_fdw");
        for (int i = 0; i < 2; ++i) {
            const std::string name = "s" + std::to_string(i);
            made += Coordinator().Ask(
                "create server " + name + " foreign data wrapper postgres_fdw options(host '" +
                (i == 0 ? servers[0].Folder() : proxy.Folder()) +
                "', dbname 'postgres', fetch_size '2000', batch_size '1000', async_capable 'true', "
                "connect_timeout '3'); create user mapping for postgres server " +
                name + " options(user 'postgres')");
        }
        if (!made.empty())
            m_whyNot = "this PostgreSQL has no servers behind others: " + made;
    }
    static PostgresServer& Coordinator() { return PostgresServer::Shared(); }
    static SpreadServers& Shared()
    {
        static SpreadServers servers;
        return servers;
    }
    const std::string& WhyNot() const { return m_whyNot; }

    /// Tables of a store in a schema, of which those of blocks and of entries are spread over the
    /// servers, each with the keys from a bound on at the second one. Returns what went wrong.
    std::string Prepare(const std::string& schema, const std::string& blocksFrom,
                        const std::string& entriesFrom) const
    {
        const std::string keyed = "(key bytea primary key, value bytea not null);\n";
        std::string statements =
            LocalTables(schema, {"description", "texts", "large", "statistics"});
        std::string remote = "create schema " + schema + ";\n";
        for (const auto& [table, from] :
             {std::pair{"blocks", blocksFrom}, {"entries", entriesFrom}}) {
            const std::string name = schema + "." + table;
            statements += "create table " + name +
                          "(key bytea not null, value bytea not null) partition by range(key);\n";
            for (const int i : {0, 1})
                statements +=
                    "create foreign table " + name + std::to_string(i) + " partition of " + name +
                    " for values from (" +
                    (i == 0 ? "minvalue) to ('" + from + "')" : "'" + from + "') to (maxvalue)") +
                    " server s" + std::to_string(i) + " options(schema_name '" + schema +
                    "', table_name '" + table + "');\n";
            remote += "create table " + name + keyed;
        }
        return servers[0].Ask(remote) + servers[1].Ask(remote) + Coordinator().Ask(statements);
    }
    /// Statements that make a schema with some tables of a store, and that of marks.
    static std::string LocalTables(const std::string& schema,
                                   const std::vector<std::string>& tables)
    {
        std::string statements = "create schema " + schema + ";\ncreate table " + schema +
                                 ".marks(mark bytea primary key, made boolean not null);\n";
        for (const std::string& table : tables)
            statements += "create table " + schema + "." + table +
                          "(key bytea primary key, value bytea not null);\n";
        return statements;
    }

    PostgresServer servers[2];
    SocketProxy proxy{servers[1].Socket()}; ///< between the coordinator and the second one

private:
    std::string m_whyNot;
};

#endif
