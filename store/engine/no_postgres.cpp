#include "engine/postgres.h"
#include <kostore.h>

namespace ko::store::inner::postgres
{

// In place of the other files where there is no libpq to build with.

namespace
{

[[noreturn]] void Refuse()
{
    throw Error(ErrorCode::Usage, "this program was built without libpq and knows no databases");
}

} // namespace

std::unique_ptr<Engine> OpenEngine(const std::string&, Mode)
{
    Refuse();
}
std::unique_ptr<Loader> StartLoad(const std::string&, Existing)
{
    Refuse();
}
bool StoreExists(const std::string&)
{
    Refuse();
}
void CheckEngine(const std::string&)
{
    Refuse();
}
std::string NameOfStore(const std::string&)
{
    Refuse();
}
std::size_t Clean(const std::string&)
{
    Refuse();
}
std::string GrantStatements(const std::string&, const std::string&, const std::string&)
{
    Refuse();
}

} // namespace ko::store::inner::postgres
