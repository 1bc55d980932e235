#include "base/visible.h"
#include "schema/schema.h"

namespace ko::store::inner
{

namespace
{

std::string Told(const std::optional<std::string>& format)
{
    return format ? "the format " + Quoted(*format) : "no format";
}

std::string Told(unsigned char codeSet)
{
    return codeSet != 0 ? "code set " + std::to_string(codeSet) : "any code set";
}

/// What differs of two attributes of one name; empty where nothing does.
std::string Difference(const Attribute& here, const Attribute& given)
{
    if (here.type.Id() != given.type.Id())
        return "has the type " + here.type.Name() + ", not " + given.type.Name();
    if (here.column != given.column)
        return "is the column " + Quoted(here.column) + ", not " + Quoted(given.column);
    if (here.format != given.format)
        return "has " + Told(here.format) + ", not " + Told(given.format);
    if (here.codeSet != given.codeSet)
        return "has " + Told(here.codeSet) + ", not " + Told(given.codeSet);
    return {};
}

} // namespace

std::string Schema::DifferenceTo(const Schema& given) const
{
    if (name != given.name)
        return "its class is " + Quoted(name) + ", not " + Quoted(given.name);
    for (const Attribute& attribute : given.attributes) {
        if (Find(attribute.name) == nullptr)
            return "it has no attribute " + Quoted(attribute.name);
    }
    bool inOrder = true;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const Attribute& attribute = attributes[i];
        const Attribute* other = given.Find(attribute.name);
        if (other == nullptr)
            return "it has the attribute " + Quoted(attribute.name) + " as well";
        const std::string difference = Difference(attribute, *other);
        if (!difference.empty())
            return "its attribute " + Quoted(attribute.name) + " " + difference;
        inOrder = inOrder && other == &given.attributes[i];
    }
    return inOrder ? "" : "its attributes have another order";
}

} // namespace ko::store::inner
