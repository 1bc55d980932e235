#include "condition.h"

#include "literal.h"

namespace kotm
{

namespace
{

Truth Compare(const Condition& condition, std::string_view form)
{
    if (form.empty())
        return Truth::Unknown;
    int status = 0;
    const int order =
        condition.outside == Outside::Below ? 1
        : condition.outside == Outside::Above
            ? -1
            : ComparePersistent(condition.type, form, condition.form, condition.cmpOp, status);
    const auto truth = [](bool holds) { return holds ? Truth::True : Truth::False; };
    switch (condition.op) {
    case Operator::Equal:
        return truth(order == 0);
    case Operator::NotEqual:
        return truth(order != 0);
    case Operator::Less:
        return truth(order < 0);
    case Operator::LessEqual:
        return truth(order <= 0);
    case Operator::Greater:
        return truth(order > 0);
    case Operator::GreaterEqual:
        return truth(order >= 0);
    }
    return Truth::Unknown;
}

} // namespace

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

Truth Condition::Evaluate(const RecordReader& record) const
{
    const auto truth = [](bool holds) { return holds ? Truth::True : Truth::False; };
    const auto all = [&](Truth ends, Truth start) {
        Truth result = start;
        for (const Condition& part : parts) {
            const Truth one = part.Evaluate(record);
            if (one == ends)
                return ends;
            result = one == Truth::Unknown ? one : result;
        }
        return result;
    };
    switch (kind) {
    case Predicate::Kind::And:
        return all(Truth::False, Truth::True);
    case Predicate::Kind::Or:
        return all(Truth::True, Truth::False);
    case Predicate::Kind::Not: {
        const Truth inner = parts[0].Evaluate(record);
        return inner == Truth::Unknown ? inner : truth(inner == Truth::False);
    }
    case Predicate::Kind::Compare:
        return Compare(*this, record.Form(attribute));
    case Predicate::Kind::IsNull:
        return truth(record.Form(attribute).empty());
    case Predicate::Kind::IsNotNull:
        return truth(!record.Form(attribute).empty());
    }
    return Truth::Unknown;
}

std::string Condition::ShownEnd() const
{
    if ((cmpOp & kPlainOperator) != 0)
        return "\"" + written + "\"" + Suffixes();
    std::string shown = "below ";
    for (std::size_t i = 0; i < written.size() && written[i] != '*' && written[i] != '?'; ++i) {
        i += written[i] == '\\' && i + 1 < written.size() ? 1 : 0;
        shown.push_back(written[i]);
    }
    return shown + "...";
}

std::string Condition::Suffixes() const
{
    return std::string((cmpOp & kIgnoreCase) != 0 ? "i" : "") +
           ((cmpOp & kIgnoreAccents) != 0 ? "a" : "");
}

void Condition::Need(RecordReader& record) const
{
    if (parts.empty())
        record.Need(attribute);
    for (const Condition& part : parts)
        part.Need(record);
}

} // namespace kotm
