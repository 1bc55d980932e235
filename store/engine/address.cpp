#include "engine/engine.h"
#include "engine/lmdb_check.h"
#include "engine/lmdb_store.h"
#include "engine/postgres.h"
#include "engine/url.h"
#include <kostore.h>

#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <string>

namespace ko::store::inner
{

namespace
{

/// An address is a connection URL or else a path. Throws Error for what must be meant as a URL: as
/// a path it would stand in messages, with its password.
bool IsDatabase(const std::string& address)
{
    if (LooksLikeDatabase(address))
        throw Error(ErrorCode::Usage, "this looks like the address of a database, which begins "
                                      "with postgresql://");
    return IsUrl(address);
}

} // namespace

std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode)
{
    if (IsDatabase(address))
        return postgres::OpenEngine(address, mode);
    return lmdb::OpenEngine(address, mode);
}

std::unique_ptr<Loader> StartLoad(const std::string& address)
{
    if (IsDatabase(address))
        return postgres::StartLoad(address, postgres::Existing::Refuse);
    return lmdb::StartLoad(address);
}

bool HidePassword(char* address)
{
    address += std::strspn(address, " \t\n\r\f\v");
    const std::string url = address;
    if (!IsUrl(url))
        return false;
    const auto hide = [&](std::size_t from, std::size_t to) {
        std::fill(address + from, address + to, '*');
    };
    // A '@', '/', '?' or '#' that should have been written as %40, %2F, %3F or %23 is hidden as
    // well, with all that may belong to a password.
    const std::size_t user = BehindScheme(url);
    const std::size_t userEnd = EndOfUser(url);
    const std::size_t query =
        std::min(url.find('?', userEnd == std::string::npos ? user : userEnd), url.size());
    const std::size_t host = url.substr(0, query).rfind('@');
    const std::size_t colon = url.find(':', user);
    if (host != std::string::npos && colon < host)
        hide(colon + 1, host);
    // Each parameter behind any question mark.
    for (std::size_t at = url.find('?', user); at < url.size();) {
        const std::size_t end = std::min(url.find_first_of("?&#", at + 1), url.size());
        const std::size_t equals = url.find('=', at);
        const std::string key =
            equals < end ? Unescape(url.substr(at + 1, equals - at - 1)) : std::string();
        if (key == "password" || key == "sslpassword") {
            const std::size_t valueEnd = std::min(url.find_first_of("&#", equals), url.size());
            hide(equals + 1, valueEnd);
        }
        at = end < url.size() && url[end] == '#' ? url.size() : end;
    }
    return url != address;
}

bool StoreExists(const std::string& address)
{
    return IsDatabase(address) ? postgres::StoreExists(address) : lmdb::StoreExists(address);
}

void CheckEngine(const std::string& address)
{
    if (IsDatabase(address))
        postgres::CheckEngine(address);
    else
        lmdb::CheckPages(address);
}

std::vector<std::string> FilesOfStore(const std::string& address)
{
    return IsDatabase(address) ? std::vector<std::string>() : lmdb::FilesOfStore(address);
}

std::size_t Clean(const std::string& address)
{
    return IsDatabase(address) ? postgres::Clean(address) : lmdb::Clean(address);
}

std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer)
{
    if (IsDatabase(address))
        return postgres::GrantStatements(address, reader, writer);
    throw Error(ErrorCode::Usage, address + ": is a file, whose permissions say who may read it");
}

std::string NameOfStore(const std::string& address)
{
    return IsDatabase(address) ? postgres::NameOfStore(address) : address;
}

std::string ScratchOfStore(const std::string& address)
{
    if (!IsDatabase(address))
        return address;
    const char* const folder = std::getenv("TMPDIR");
    return std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/kostore";
}

} // namespace ko::store::inner
