#include "engine/postgres_address.h"

#include "engine/postgres.h"
#include <kostore.h>

#include <libpq-fe.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::size_t kLongestName = 1024;

struct FreeOptions {
    void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

/// Those that say something.
std::map<std::string, std::string> Said(const PQconninfoOption* options)
{
    std::map<std::string, std::string> said;
    for (; options != nullptr && options->keyword != nullptr; ++options) {
        if (options->val != nullptr && *options->val != '\0')
            said[options->keyword] = options->val;
    }
    return said;
}

/// Those that a variable of the environment says.
std::map<std::string, std::string> OfEnvironment(const PQconninfoOption* options)
{
    std::map<std::string, std::string> said;
    for (; options != nullptr && options->keyword != nullptr; ++options) {
        const char* const value =
            options->envvar != nullptr ? std::getenv(options->envvar) : nullptr;
        if (value != nullptr && *value != '\0')
            said[options->keyword] = value;
    }
    return said;
}

bool IsNear(const std::string& host)
{
    return host.empty() || host[0] == '/' || host[0] == '@' || host == "localhost" ||
           host == "::1" || host.starts_with("127.");
}

} // namespace

Address::Address(const std::string& text)
{
    const std::size_t hash = text.find('#');
    m_store = hash == std::string::npos ? "kotm" : text.substr(hash + 1);
    if (m_store.empty() || m_store.size() > kLongestName || m_store.find('\0') != std::string::npos)
        throw Error(ErrorCode::Usage, "the name of a store in a database has 1 to 1,024 bytes");
    ReadUrl(text.substr(0, hash));
}

void Address::ReadUrl(const std::string& url)
{
    const Options parsed(PQconninfoParse(url.c_str(), nullptr));
    if (!parsed)
        throw Error(ErrorCode::Usage, "the address of the database is no URL of the form "
                                      "postgresql://user@host:port/database#STORE");
    const Options defaults(PQconndefaults());
    auto said = Said(parsed.get());
    const auto environment = OfEnvironment(defaults.get());
    m_parameters.assign(said.begin(), said.end());
    for (const auto& [key, value] : environment)
        said.emplace(key, value);
    const auto add = [&](const char* key, const char* value) {
        if (!said.contains(key))
            m_parameters.emplace_back(key, value);
    };
    const std::string host = said.contains("hostaddr") ? said["hostaddr"] : said["host"];
    // A service file says what it says in place of all that follows.
    if (!said.contains("service")) {
        add("connect_timeout", "10");
        add("keepalives_idle", "30");
        add("keepalives_interval", "10");
        add("keepalives_count", "3");
        add("tcp_user_timeout", "30000");
        add("gssencmode", "disable");
        if (!IsNear(host)) {
            add("sslmode", "verify-full");
            if (PQlibVersion() >= 160000)
                add("sslrootcert", "system");
        }
    }
    m_parameters.emplace_back("fallback_application_name", "kotm");
    std::erase_if(m_parameters, [](const auto& entry) { return entry.first == "client_encoding"; });
    m_parameters.emplace_back("client_encoding", "UTF8");
    m_options = said["options"];
    m_shown = host + (said.contains("port") ? ":" + said["port"] : "") + "/" + said["dbname"] +
              "#" + m_store;
}

std::string NameOfStore(const std::string& address)
{
    return Address(address).Shown();
}

} // namespace ko::store::inner::postgres
