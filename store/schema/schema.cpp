#include "schema/schema.h"

#include "base/listed.h"
#include "base/visible.h"

#include <kointl.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <set>

namespace ko::store::inner
{

namespace
{

using nlohmann::json;

/// Reads one object of the schema and says where a fault stands.
class Reader
{
public:
    Reader(const json& object, std::string where, ErrorCode code)
        : m_object(object), m_where(std::move(where)), m_code(code)
    {
        if (!object.is_object())
            Fail("an object is expected");
    }

    [[noreturn]] void Fail(const std::string& reason) const
    {
        throw Error(m_code, m_where + ": " + reason);
    }

    void OnlyKeys(std::initializer_list<const char*> keys) const
    {
        for (const auto& item : m_object.items()) {
            if (std::find(keys.begin(), keys.end(), item.key()) == keys.end())
                Fail("unknown key \"" + item.key() + "\"");
        }
    }

    std::string Text(const char* key) const
    {
        const auto found = m_object.find(key);
        if (found == m_object.end())
            Fail(std::string("the key \"") + key + "\" is missing");
        if (!found->is_string() || found->get_ref<const std::string&>().empty())
            Fail(std::string("\"") + key + "\" is no text, or an empty one");
        return found->get<std::string>();
    }

    const json* Optional(const char* key) const
    {
        const auto found = m_object.find(key);
        return found == m_object.end() ? nullptr : &*found;
    }

private:
    const json& m_object;
    std::string m_where;
    ErrorCode m_code;
};

/// Names can stand in a predicate without quotes.
bool IsName(const std::string& name)
{
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && std::isalnum(byte) == 0 && c != '_')
            return false;
    }
    if (name.empty() || name.size() > 200 || std::isdigit(static_cast<unsigned char>(name[0])) != 0)
        return false;
    // Predicates take their words in any case.
    std::string word;
    for (const char c : name)
        word.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    for (const char* known : {"and", "or", "not", "is", "null", "true", "false"}) {
        if (word == known)
            return false;
    }
    return true;
}

json ParseJson(const std::string& text, const std::string& source, ErrorCode code)
{
    std::vector<std::set<std::string>> open;
    const auto noteKeys = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start)
            open.emplace_back();
        else if (event == json::parse_event_t::object_end)
            open.pop_back();
        else if (event == json::parse_event_t::key &&
                 !open.back().insert(parsed.get<std::string>()).second)
            throw Error(code,
                        source + ": the key \"" + parsed.get<std::string>() + "\" stands twice");
        return true;
    };
    try {
        return json::parse(text, noteKeys);
    } catch (const json::parse_error& error) {
        std::size_t line = 1;
        std::size_t column = 1;
        for (std::size_t i = 0; i + 1 < error.byte && i < text.size(); ++i) {
            column = text[i] == '\n' ? 1 : column + 1;
            line += text[i] == '\n' ? 1 : 0;
        }
        throw Error(code, source + ": line " + std::to_string(line) + ", column " +
                              std::to_string(column) + ": no JSON");
    } catch (const json::out_of_range&) {
        throw Error(code, source + ": a number in it is out of range");
    }
}

unsigned char ReadCodeSet(const json& value, const Reader& reader)
{
    const std::uint64_t number = value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
    if (number < 1 || number > KoCS_UNICODE)
        reader.Fail("\"codeSet\" is no number from 1 to 253");
    const auto codeSet = static_cast<unsigned char>(number);
    // A code set without a table of its own converts like ISO 8859-1 or Unicode.
    const auto table = [](unsigned char id) {
        return KoLanguageContext::QueryCodeSet(id)->UnicodeTable();
    };
    const bool stands = codeSet == KoCS_LATIN1 || codeSet == KoCS_UNICODE ||
                        (table(codeSet) != nullptr && table(codeSet) != table(KoCS_LATIN1));
    if (!stands)
        reader.Fail("there is no code set " + std::to_string(number));
    return codeSet;
}

Attribute ReadAttribute(const json& object, const std::string& where, ErrorCode code)
{
    const Reader reader(object, where, code);
    reader.OnlyKeys({"name", "column", "type", "format", "index", "codeSet"});
    const std::string name = reader.Text("name");
    const Reader named(object, where + " (\"" + name + "\")", code);
    if (!IsName(name))
        named.Fail("a name is letters, digits and _, no digit first, and no word of a predicate");
    const std::string typeName = named.Text("type");
    std::optional<ValueType> type;
    try {
        type = ValueType::Named(typeName);
    } catch (const Error& failure) {
        named.Fail(failure.what());
    }
    Attribute attribute{name, named.Text("column"), *type, std::nullopt, false, 0};
    if (named.Optional("format") != nullptr)
        attribute.format = named.Text("format");
    if (const json* index = named.Optional("index")) {
        if (!index->is_boolean())
            named.Fail("\"index\" is neither true nor false");
        attribute.index = index->get<bool>();
    }
    if (const json* codeSet = named.Optional("codeSet")) {
        if (!attribute.type.IsText())
            named.Fail("\"codeSet\" for a type that holds no text");
        attribute.codeSet = ReadCodeSet(*codeSet, named);
    }
    return attribute;
}

} // namespace

void Attribute::RequireForm(std::string_view form) const
{
    if (form.empty() && !type.HasNull())
        throw Error(ErrorCode::Usage, name + ": there is no null value in the type " + type.Name());
    if (!form.empty() && !type.IsForm(form))
        throw Error(ErrorCode::Usage, name + ": the bytes are no value of the type " + type.Name());
}

Schema Schema::FromJson(const std::string& text, const std::string& source, ErrorCode code)
{
    const json document = ParseJson(text, source, code);
    const Reader reader(document, source, code);
    reader.OnlyKeys({"class", "attributes"});
    Schema schema;
    schema.name = reader.Text("class");
    const json* list = reader.Optional("attributes");
    if (list == nullptr || !list->is_array() || list->empty())
        reader.Fail("\"attributes\" is missing, no array or empty");
    if (list->size() > kMaxAttributes)
        reader.Fail("more than " + std::to_string(kMaxAttributes) + " attributes");
    for (const json& object : *list) {
        const std::string where =
            source + ": attribute " + std::to_string(schema.attributes.size() + 1);
        Attribute attribute = ReadAttribute(object, where, code);
        if (schema.Find(attribute.name) != nullptr)
            throw Error(code, where + ": \"" + attribute.name + "\" stands twice");
        schema.attributes.push_back(std::move(attribute));
    }
    return schema;
}

std::string Schema::ToJson() const
{
    json list = json::array();
    for (const Attribute& attribute : attributes) {
        json object = {{"name", attribute.name},
                       {"column", attribute.column},
                       {"type", attribute.type.Name()},
                       {"index", attribute.index}};
        if (attribute.format)
            object["format"] = *attribute.format;
        if (attribute.codeSet != 0)
            object["codeSet"] = attribute.codeSet;
        list.push_back(std::move(object));
    }
    return json{{"class", name}, {"attributes", std::move(list)}}.dump();
}

const Attribute* Schema::Find(const std::string& attribute) const
{
    for (const Attribute& candidate : attributes) {
        if (candidate.name == attribute)
            return &candidate;
    }
    return nullptr;
}

std::string Schema::NoAttribute(const std::string& attribute) const
{
    std::vector<std::string> names;
    names.reserve(attributes.size());
    for (const Attribute& candidate : attributes)
        names.push_back(candidate.name);
    return "class " + name + " has no attribute " + Quoted(attribute) + "; it has " + Listed(names);
}

} // namespace ko::store::inner
