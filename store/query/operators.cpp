#include "query/operators.h"

#include <kotypevl.h>

namespace ko::store::inner
{

Operator Negated(Operator op)
{
    switch (op) {
    case Operator::Equal:
        return Operator::NotEqual;
    case Operator::NotEqual:
        return Operator::Equal;
    case Operator::Less:
        return Operator::GreaterEqual;
    case Operator::LessEqual:
        return Operator::Greater;
    case Operator::Greater:
        return Operator::LessEqual;
    case Operator::GreaterEqual:
        return Operator::Less;
    }
    return op;
}

bool IsMetByAll(Operator op, Outside outside)
{
    switch (op) {
    case Operator::Equal:
        return false;
    case Operator::NotEqual:
        return true;
    case Operator::Less:
    case Operator::LessEqual:
        return outside == Outside::Above;
    default:
        return outside == Outside::Below;
    }
}

unsigned QueryBits(Operator op)
{
    switch (op) {
    case Operator::Equal:
        return KoQOP_EQUAL;
    case Operator::NotEqual:
        return KoQOP_LESS | KoQOP_GREATER;
    case Operator::Less:
        return KoQOP_LESS;
    case Operator::LessEqual:
        return KoQOP_LESS | KoQOP_EQUAL;
    case Operator::Greater:
        return KoQOP_GREATER;
    case Operator::GreaterEqual:
        return KoQOP_GREATER | KoQOP_EQUAL;
    }
    return 0;
}

const char* Symbol(Operator op)
{
    switch (op) {
    case Operator::Equal:
        return "=";
    case Operator::NotEqual:
        return "!=";
    case Operator::Less:
        return "<";
    case Operator::LessEqual:
        return "<=";
    case Operator::Greater:
        return ">";
    case Operator::GreaterEqual:
        return ">=";
    }
    return "";
}

} // namespace ko::store::inner
