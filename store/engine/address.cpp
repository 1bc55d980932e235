#include "engine/engine.h"
#include "engine/lmdb_check.h"
#include "engine/lmdb_store.h"
#include "engine/postgres.h"
#include <kostore.h>

#include <cstdlib>

#include <algorithm>
#include <string_view>

namespace ko::store::inner
{

// An address is a connection URL or else a path.

std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode)
{
    if (postgres::IsAddress(address))
        return postgres::OpenEngine(address, mode);
    return lmdb::OpenEngine(address, mode);
}

std::unique_ptr<Loader> StartLoad(const std::string& address)
{
    if (postgres::IsAddress(address))
        return postgres::StartLoad(address, postgres::Existing::Refuse);
    return lmdb::StartLoad(address);
}

bool HidePassword(char* address)
{
    if (!postgres::IsAddress(address))
        return false;
    const std::string_view url = address;
    bool any = false;
    const auto hide = [&](std::size_t from, std::string_view ends) {
        for (std::size_t i = from; i < url.size() && ends.find(url[i]) == std::string_view::npos;
             ++i) {
            address[i] = '*';
            any = true;
        }
    };
    // A '@', '/' or '#' that should have been written as %40, %2F or %23 is hidden as well, with
    // all that may belong to a password.
    const std::size_t user = url.find("//") + 2;
    const std::size_t query = std::min(url.find('?', user), url.size());
    const std::size_t host = url.substr(0, query).rfind('@');
    const std::size_t colon = url.find(':', user);
    if (host != std::string_view::npos && colon < host) {
        std::fill(address + colon + 1, address + host, '*');
        any = host > colon + 1;
    }
    for (const std::string_view key : {"password=", "sslpassword="}) {
        for (std::size_t at = url.find(key, query); at != std::string_view::npos;
             at = url.find(key, at + 1)) {
            if (url[at - 1] == '?' || url[at - 1] == '&')
                hide(at + key.size(), "&#");
        }
    }
    return any;
}

bool StoreExists(const std::string& address)
{
    return postgres::IsAddress(address) ? postgres::StoreExists(address)
                                        : lmdb::StoreExists(address);
}

void CheckEngine(const std::string& address)
{
    if (postgres::IsAddress(address))
        postgres::CheckEngine(address);
    else
        lmdb::CheckPages(address);
}

std::vector<std::string> FilesOfStore(const std::string& address)
{
    return postgres::IsAddress(address) ? std::vector<std::string>() : lmdb::FilesOfStore(address);
}

std::size_t Clean(const std::string& address)
{
    return postgres::IsAddress(address) ? postgres::Clean(address) : lmdb::Clean(address);
}

std::string GrantStatements(const std::string& address, const std::string& reader,
                            const std::string& writer)
{
    if (postgres::IsAddress(address))
        return postgres::GrantStatements(address, reader, writer);
    throw Error(ErrorCode::Usage, address + ": is a file, whose permissions say who may read it");
}

std::string NameOfStore(const std::string& address)
{
    return postgres::IsAddress(address) ? postgres::NameOfStore(address) : address;
}

std::string ScratchOfStore(const std::string& address)
{
    if (!postgres::IsAddress(address))
        return address;
    const char* const folder = std::getenv("TMPDIR");
    return std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") + "/kostore";
}

} // namespace ko::store::inner
