#include "condition.h"

#include "fieldreader.h"

#include <algorithm>

namespace kotm
{

namespace
{

void ReadLiteral(Condition& condition, const Predicate& predicate, std::string_view text,
                 const Attribute& attribute)
{
    const Literal& literal = predicate.literal;
    const std::size_t start = literal.at.front();
    if (attribute.type.IsText() && !literal.quoted)
        FailAt(text, start, "a value of " + attribute.name + " stands in double quotes");
    condition.cmpOp = kPlainOperator;
    if (literal.pattern || literal.ignoreCase || literal.ignoreAccents) {
        if (!attribute.type.HasPatterns())
            FailAt(text, start,
                   "wildcards and suffixes go with texts, " + attribute.name + " is of type " +
                       attribute.type.Name());
        if (literal.pattern && predicate.op != Operator::Equal &&
            predicate.op != Operator::NotEqual)
            FailAt(text, start,
                   "wildcards go with = and !=; suffix x or \\ makes * and ? plain characters");
        condition.cmpOp = static_cast<unsigned short>((literal.pattern ? 0 : kPlainOperator) |
                                                      (literal.ignoreCase ? kIgnoreCase : 0) |
                                                      (literal.ignoreAccents ? kIgnoreAccents : 0));
    }
    Attribute anyCodeSet = attribute;
    anyCodeSet.codeSet = 0;
    TextFault fault;
    switch (FieldReader(anyCodeSet).Read(literal.text, condition.form, fault)) {
    case FieldReader::Result::Present:
        return;
    case FieldReader::Result::Absent:
        FailAt(text, start, "the null value; ask for it with \"is null\"");
    case FieldReader::Result::Refused:
        FailAt(text, literal.at[std::min(fault.offset, literal.at.size() - 1)], fault.reason);
    }
}

/// The literal of an object id: the text of one, or its number alone.
void ReadObjectId(Condition& condition, const Predicate& predicate, std::string_view text)
{
    condition.type = KoOBJID_T;
    const Literal& literal = predicate.literal;
    if (literal.quoted) {
        const Attribute id{kObjectIdName, {}, ValueType(KoOBJID_T), std::nullopt, false, 0};
        ReadLiteral(condition, predicate, text, id);
        return;
    }
    condition.cmpOp = kPlainOperator;
    o_u8b number = 0;
    unsigned errorAt = 0;
    if (Manager().ParseFromKoString(KoU8B_T, &number, KoString(literal.text.c_str()), nullptr,
                                    errorAt) != 0)
        FailAt(text, literal.at[std::min<std::size_t>(errorAt, literal.at.size() - 1)],
               "an object id is a number or a text such as \"(0-17#0)\"");
    if (number > kMaxObjectNumber)
        FailAt(text, literal.at.front(), "object numbers have 48 bits");
    condition.form.resize(kObjectIdBytes);
    PutObjectId(condition.form.data(), number);
}

Truth Compare(const Condition& condition, std::string_view form)
{
    if (form.empty())
        return Truth::Unknown;
    int status = 0;
    const int order =
        ComparePersistent(condition.type, form, condition.form, condition.cmpOp, status);
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
    Condition condition{predicate.kind, {}, 0, 0, predicate.op, 0, {}};
    for (const Predicate& part : predicate.parts)
        condition.parts.push_back(Make(part, text, schema));
    if (!condition.parts.empty())
        return condition;
    if (predicate.attribute == kObjectIdName) {
        condition.attribute = kObjectIdIndex;
        if (predicate.kind == Predicate::Kind::Compare)
            ReadObjectId(condition, predicate, text);
        return condition;
    }
    const Attribute* attribute = schema.Find(predicate.attribute);
    if (attribute == nullptr)
        FailAt(text, predicate.attributeAt,
               "class " + schema.name + " has no attribute \"" + predicate.attribute + "\"");
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

void Condition::Need(RecordReader& record) const
{
    if (parts.empty())
        record.Need(attribute);
    for (const Condition& part : parts)
        part.Need(record);
}

} // namespace kotm
