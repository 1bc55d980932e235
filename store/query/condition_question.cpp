#include "query/condition_question.h"

#include "query/operators.h"

#include <algorithm>
#include <iterator>

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

Question QuestionOf(const IndexRange& range)
{
    using Kind = Question::Kind;
    const auto compare = [&](unsigned bits, const std::string& form) {
        return Question{Kind::Compare, {}, range.attribute, {bits, kPlainOperator, form}};
    };
    std::vector<Question> ends;
    if (!range.low.form.empty())
        ends.push_back(compare(range.low.behind ? KoQOP_GREATER : KoQOP_GREATER | KoQOP_EQUAL,
                               range.low.form));
    if (range.high && !range.high->form.empty()) {
        ends.push_back(
            compare(range.high->behind ? KoQOP_LESS | KoQOP_EQUAL : KoQOP_LESS, range.high->form));
        // A value alone is one comparison.
        if (ends.size() == 2 && !range.low.behind && range.high->behind &&
            range.low.form == range.high->form)
            return compare(KoQOP_EQUAL, range.low.form);
    }
    const bool hasNull = range.low.form.empty() && !range.low.behind;
    if (range.high && range.high->form.empty())
        return {hasNull && range.high->behind ? Kind::Null : Kind::Nothing, {}, range.attribute};
    const Question nulls{Kind::Null, {}, range.attribute};
    if (ends.empty()) {
        const Question values{Kind::Value, {}, range.attribute};
        return hasNull ? Question{Kind::Or, {values, nulls}} : values;
    }
    if (ends.size() == 2)
        return {Kind::And, std::move(ends)};
    return hasNull ? Question{Kind::Or, {std::move(ends[0]), nulls}} : ends[0];
}

Question QuestionOf(const Way& way)
{
    if (way.kind == Way::Kind::Range)
        return QuestionOf(way.range);
    Question question{way.kind == Way::Kind::Both ? Question::Kind::And : Question::Kind::Or, {}};
    for (const Way& part : way.parts) {
        Question one = QuestionOf(part);
        // The ends of a range are told by their standing beside each other.
        if (one.kind == question.kind && !one.parts.empty())
            std::move(one.parts.begin(), one.parts.end(), std::back_inserter(question.parts));
        else
            question.parts.push_back(std::move(one));
    }
    return question;
}

bool AsksForIds(const Condition& condition)
{
    return condition.parts.empty()
               ? condition.attribute == kObjectIdIndex
               : std::any_of(condition.parts.begin(), condition.parts.end(), AsksForIds);
}

} // namespace ko::store::inner
