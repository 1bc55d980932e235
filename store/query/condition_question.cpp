#include "query/condition_question.h"

#include "query/operators.h"

#include <algorithm>

namespace ko::store::inner
{

Question QuestionOf(const Condition& condition, bool negated)
{
    using Kind = Predicate::Kind;
    switch (condition.kind) {
    case Kind::Not:
        return QuestionOf(condition.parts[0], !negated);
    case Kind::And:
    case Kind::Or: {
        const bool isAnd = (condition.kind == Kind::And) != negated;
        Question question{isAnd ? Question::Kind::And : Question::Kind::Or, {}};
        for (const Condition& part : condition.parts)
            question.parts.push_back(QuestionOf(part, negated));
        return question;
    }
    case Kind::IsNull:
    case Kind::IsNotNull: {
        const bool isNull = (condition.kind == Kind::IsNull) != negated;
        return {isNull ? Question::Kind::Null : Question::Kind::Value, {}, condition.attribute};
    }
    case Kind::Compare:
        break;
    }
    const Operator op = negated ? Negated(condition.op) : condition.op;
    if (condition.outside != Outside::No)
        return {IsMetByAll(op, condition.outside) ? Question::Kind::Value : Question::Kind::Nothing,
                {},
                condition.attribute};
    return {Question::Kind::Compare,
            {},
            condition.attribute,
            {QueryBits(op), condition.cmpOp, condition.form}};
}

bool AsksForIds(const Condition& condition)
{
    return condition.parts.empty()
               ? condition.attribute == kObjectIdIndex
               : std::any_of(condition.parts.begin(), condition.parts.end(), AsksForIds);
}

} // namespace ko::store::inner
