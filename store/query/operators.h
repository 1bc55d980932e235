#ifndef KO_STORE_QUERY_OPERATORS_H
#define KO_STORE_QUERY_OPERATORS_H

#include "query/condition.h"

namespace ko::store::inner
{

/// The operator that holds where `op` does not.
Operator Negated(Operator op);
/// The operator as a predicate writes it.
const char* Symbol(Operator op);
/// The query operator bits that evaluators take.
unsigned QueryBits(Operator op);
/// What a number outside of its type makes of a comparison: all values meet it, or none.
bool IsMetByAll(Operator op, Outside outside);

} // namespace ko::store::inner

#endif
