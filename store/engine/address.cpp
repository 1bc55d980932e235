#include "engine/engine.h"
#include "engine/lmdb_check.h"
#include "engine/lmdb_store.h"

namespace ko::store
{

// Every address is a path as yet.

std::unique_ptr<Engine> OpenEngine(const std::string& address, Mode mode)
{
    return lmdb::OpenEngine(address, mode);
}

std::unique_ptr<Loader> StartLoad(const std::string& address)
{
    return lmdb::StartLoad(address);
}

bool StoreExists(const std::string& address)
{
    return lmdb::StoreExists(address);
}

void CheckEngine(const std::string& address)
{
    lmdb::CheckPages(address);
}

std::vector<std::string> FilesOfStore(const std::string& address)
{
    return lmdb::FilesOfStore(address);
}

} // namespace ko::store
