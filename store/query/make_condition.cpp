#include "query/condition.h"
#include "query/literal.h"

namespace ko::store::inner
{

Condition Condition::Make(const Predicate& predicate, std::string_view text, const Schema& schema)
{
    Condition condition{predicate.kind, {}, 0, 0, predicate.op, 0, {}, Outside::No, {}};
    for (const Predicate& part : predicate.parts)
        condition.parts.push_back(Make(part, text, schema));
    if (!condition.parts.empty())
        return condition;
    if (predicate.attribute == kObjectIdName) {
        condition.attribute = kObjectIdIndex;
        if (predicate.kind == Predicate::Kind::Compare)
            ReadObjectIdLiteral(condition, predicate, text);
        return condition;
    }
    const Attribute* attribute = schema.Find(predicate.attribute);
    if (attribute == nullptr)
        FailAt(text, predicate.attributeAt, schema.NoAttribute(predicate.attribute));
    condition.attribute = static_cast<std::size_t>(attribute - schema.attributes.data());
    condition.type = attribute->type.Id();
    if (predicate.kind == Predicate::Kind::Compare)
        ReadLiteral(condition, predicate, text, *attribute);
    return condition;
}

} // namespace ko::store::inner
