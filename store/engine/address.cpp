#include "engine/engine.h"
#include "engine/lmdb_check.h"
#include "engine/lmdb_store.h"
#include "engine/postgres.h"
#include <kostore.h>

#include <cstdlib>

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
