#ifndef KO_ENGINE_POSTGRES_ADDRESS_H
#define KO_ENGINE_POSTGRES_ADDRESS_H

#include <string>
#include <utility>
#include <vector>

namespace ko::store::inner::postgres
{

/// A store in a database: a connection URL of libpq, `#`, and the store's name, which is any text
/// of 1 to 1,024 bytes without a zero byte as it stands, and "kotm" where it is left out. A `#` of
/// the URL itself is written %23. Among the parameters of the URL may be `schema`, the name of a
/// schema that is prepared for a new store: see StartLoad.
class Address
{
public:
    /// Throws Error (ErrorCode::Usage); its sentence has nothing of the URL, which may hold a
    /// password.
    explicit Address(const std::string& text);

    const std::string& Store() const { return m_store; }
    /// The schema for a new store that the URL names, or empty.
    const std::string& Schema() const { return m_schema; }
    /// For messages: host, database and store, never user or password.
    const std::string& Shown() const { return m_shown; }
    /// What libpq is to be given: what the URL says, and what is better than libpq's own defaults
    /// where neither the URL nor the environment nor a service file says anything.
    const std::vector<std::pair<std::string, std::string>>& Parameters() const
    {
        return m_parameters;
    }
    /// True where the user gave options of the server in which the word stands.
    bool HasOption(const std::string& word) const
    {
        return m_options.find(word) != std::string::npos;
    }

private:
    void TakeSchema(std::string& url);
    void ReadUrl(const std::string& text);

    std::vector<std::pair<std::string, std::string>> m_parameters;
    std::string m_options;
    std::string m_store;
    std::string m_schema;
    std::string m_shown;
};

} // namespace ko::store::inner::postgres

#endif
