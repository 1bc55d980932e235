#ifndef KO_ENGINE_POSTGRES_H
#define KO_ENGINE_POSTGRES_H

#include "engine/engine.h"

#include <memory>
#include <string>

namespace ko::store::inner::postgres
{

// The store in a database, through the protocol of PostgreSQL. The functions of engine.h for such
// addresses (see Address); a store is a schema of tables of key and value, one for each space,
// and appears by one row of the catalog, the schema "kotms".
//
// Writers work side by side, those that grow the store as well, and conflict where they meet. A
// lost connection throws Conflict as long as the change can be run again; when it is lost while
// the change is committed, Commit finds out whether it was, or throws Error and says that it
// could not. An engine stays with the generation of the store that it was opened with: when another
// one has replaced it, writers throw Error at once and readers when its tables are gone.

/// Four rows of such a size as its blocks have fill a page of the server.
inline constexpr Traits kTraits{"PostgreSQL", 1980, true, true, false, Reach::Server};

/// Where tables are spread over servers, of which each commits for itself and has its own moments.
inline constexpr Traits kSpreadTraits{"PostgreSQL", 1980, false, false, false, Reach::Server};

/// What a loader does about a store that is there already.
enum class Existing {
    Refuse,
    Replace ///< Publish replaces it; readers that have begun keep what they see
};

std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode);
/// Where the address names a schema (`?schema=NAME`), the store is loaded into that: its tables are
/// empty, have the columns that those of a store have, and are stored as whoever made them wished,
/// partitions on other servers included. Throws Error where they are not such.
std::unique_ptr<Loader> StartLoad(const std::string& address, Existing existing);
bool StoreExists(const std::string& address);
void CheckEngine(const std::string& address);
std::string NameOfStore(const std::string& address);
/// Drops what loaders of this store left behind that were killed, and generations that were
/// replaced a minute ago or earlier; not while a loader is at work. Returns how many were dropped.
std::size_t Clean(const std::string& address);
std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer);

} // namespace ko::store::inner::postgres

#endif
