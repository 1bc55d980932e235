#include "interface/schema_values.h"

#include "base/visible.h"

#include <exception>

namespace ko::store
{

namespace inner
{

Attribute ToInner(const ko::store::Attribute& attribute)
{
    if (attribute.codeSet < 0 || attribute.codeSet > UINT8_MAX)
        throw Error(ErrorCode::Usage,
                    attribute.name + ": there is no code set " + std::to_string(attribute.codeSet));
    return {
        attribute.name,   attribute.column, ValueType(static_cast<o_char>(attribute.type.Number())),
        attribute.format, attribute.index,  static_cast<unsigned char>(attribute.codeSet)};
}

Schema ToInner(const ko::store::Schema& schema)
{
    Schema given{schema.name, {}};
    for (const ko::store::Attribute& attribute : schema.attributes)
        given.attributes.push_back(ToInner(attribute));
    std::string json;
    try {
        json = given.ToJson();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        throw Error(ErrorCode::Usage, "the schema has a text that is no UTF-8");
    }
    return Schema::FromJson(json, "the schema");
}

ko::store::Attribute ToOuter(const Attribute& attribute)
{
    return {attribute.name,   attribute.column, *ko::Type::Of(attribute.type.Id()),
            attribute.format, attribute.index,  attribute.codeSet};
}

ko::store::Schema ToOuter(const Schema& schema)
{
    ko::store::Schema outer{schema.name, {}};
    for (const Attribute& attribute : schema.attributes)
        outer.attributes.push_back(ToOuter(attribute));
    return outer;
}

ko::store::Attribute ObjectIdAttribute()
{
    return {kObjectIdName, "", *ko::Type::Of(KoOBJID_T), std::nullopt, true, 0};
}

} // namespace inner

Schema Schema::FromJson(const std::string& json, const std::string& source)
{
    return inner::ToOuter(inner::Schema::FromJson(json, source));
}

std::string Schema::ToJson() const
{
    return inner::ToInner(*this).ToJson();
}

std::size_t Schema::Place(std::string_view attribute) const
{
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes[i].name == attribute)
            return i;
    }
    inner::Schema names{name, {}};
    for (const Attribute& one : attributes)
        names.attributes.push_back(inner::ToInner(one));
    throw Error(ErrorCode::Usage, names.NoAttribute(std::string(attribute)));
}

bool IsText(ko::Type type)
{
    return inner::ValueType(static_cast<o_char>(type.Number())).IsText();
}

std::string Visible(std::string_view utf8, std::size_t most)
{
    return inner::Visible(utf8, most);
}

} // namespace ko::store
