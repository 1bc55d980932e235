#include "engine/postgres_address.h"

#include "engine/postgres.h"
#include "engine/url.h"
#include <kostore.h>

#include <libpq-fe.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kLongestSchema = 63;

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

std::string Value(const std::map<std::string, std::string>& said, const char* key)
{
    const auto found = said.find(key);
    return found == said.end() ? "" : found->second;
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

/// A socket or this machine; of several hosts all of them.
bool IsNear(const std::string& hosts)
{
    std::istringstream list(hosts + ",");
    for (std::string host; std::getline(list, host, ',');) {
        const bool isLoopback =
            host.starts_with("127.") && host.find_first_not_of("0123456789.") == std::string::npos;
        if (!host.empty() && host[0] != '/' && host[0] != '@' && host != "localhost" &&
            host != "::1" && !isLoopback)
            return false;
    }
    return true;
}

/// A password with a '@', '/' or '#' in it that is not written as %40, %2F or %23 ends where it
/// should not, and its rest would be shown as a host, a port or the name of a database.
bool MayShowPassword(const std::string& url, const std::string& host, const std::string& port)
{
    for (std::size_t at = host.find('@'); at != std::string::npos; at = host.find('@', at + 1)) {
        if (at > 0 && host[at - 1] != ',')
            return true;
    }
    const std::size_t query = std::min(url.find('?'), url.size());
    const std::size_t path = std::min(url.find('/', url.find("//") + 2), query);
    return url.find('@', path) < query ||
           port.find_first_not_of("0123456789,") != std::string::npos;
}

[[noreturn]] void FailUnescaped()
{
    throw Error(ErrorCode::Usage,
                "in the address of the database, write %40 for a @ in a user, a password or a "
                "name, %2F for a slash, %3F for a ? and %23 for a #");
}

/// Says what is wrong with a URL that the client library does not read, and nothing of a value in
/// it: behind a '@' a key may be part of a password.
[[noreturn]] void FailUnread(const std::string& url, const PQconninfoOption* known)
{
    const auto isKnown = [&](const std::string& key) {
        for (const PQconninfoOption* option = known;
             option != nullptr && option->keyword != nullptr; ++option) {
            if (key == option->keyword)
                return true;
        }
        return key == "ssl";
    };
    const std::size_t query = url.find('?');
    const bool mayTell = query != std::string::npos && url.find('@', query) == std::string::npos;
    for (std::size_t at = query; mayTell && at < url.size();) {
        const std::size_t end = std::min(url.find('&', at + 1), url.size());
        const std::size_t equals = std::min(url.find('=', at), end);
        const std::string key = Unescape(url.substr(at + 1, equals - at - 1));
        if (equals < end && !isKnown(key) &&
            key.find_first_not_of("abcdefghijklmnopqrstuvwxyz_") == std::string::npos)
            throw Error(ErrorCode::Usage, "the address of the database has the parameter \"" + key +
                                              "\", which libpq does not know");
        at = end;
    }
    throw Error(ErrorCode::Usage, "the address of the database is no URL of the form "
                                  "postgresql://user@host:port/database#STORE, or has a parameter "
                                  "that libpq does not know or a wrong %xx");
}

} // namespace

Address::Address(const std::string& text)
{
    const std::size_t hash = text.find('#');
    m_store = hash == std::string::npos ? "kotm" : text.substr(hash + 1);
    if (m_store.empty() || m_store.size() > kLongestName || m_store.find('\0') != std::string::npos)
        throw Error(ErrorCode::Usage, "the name of a store in a database has 1 to 1,024 bytes");
    std::string url = text.substr(0, hash);
    // libpq knows the scheme in lower case.
    const auto scheme =
        url.begin() + static_cast<std::ptrdiff_t>(std::min(url.find(':'), url.size()));
    std::transform(url.begin(), scheme, url.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    // libpq takes a question mark before the end of the user as part of a password.
    if (const std::size_t end = EndOfUser(url); end != std::string::npos && url.find('?') < end)
        FailUnescaped();
    TakeSchema(url);
    ReadUrl(url);
}

/// The one parameter that libpq does not know.
void Address::TakeSchema(std::string& url)
{
    constexpr std::string_view kKey = "schema=";
    std::size_t at = url.find('?');
    while (at != std::string::npos && url.compare(at + 1, kKey.size(), kKey) != 0)
        at = url.find('&', at + 1);
    if (at == std::string::npos)
        return;
    const std::size_t from = at + 1 + kKey.size();
    const std::size_t end = std::min(url.find('&', from), url.size());
    m_schema = Unescape(url.substr(from, end - from));
    if (m_schema.empty() || m_schema.size() > kLongestSchema ||
        m_schema.find('\0') != std::string::npos)
        throw Error(ErrorCode::Usage, "the name of a schema in a database has 1 to 63 bytes");
    // What follows moves to where it stood, behind its question mark.
    url.erase(at + 1, end < url.size() ? end - at : end - at - 1);
    if (url.back() == '?' || url.back() == '&')
        url.pop_back();
}

void Address::ReadUrl(const std::string& text)
{
    const Options defaults(PQconndefaults());
    const Options parsed(PQconninfoParse(text.c_str(), nullptr));
    if (!parsed)
        FailUnread(text, defaults.get());
    if (const auto url = Said(parsed.get());
        MayShowPassword(text, Value(url, "host"), Value(url, "port")))
        FailUnescaped();
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
