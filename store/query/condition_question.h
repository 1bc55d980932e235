#ifndef KO_STORE_QUERY_CONDITION_QUESTION_H
#define KO_STORE_QUERY_CONDITION_QUESTION_H

#include "query/condition.h"
#include "query/way.h"
#include "statistics/question.h"

namespace ko::store::inner
{

/// A condition as statistics look at it; `negated`: its negation. Of conditions on the objects' own
/// ids, which have no statistics, nothing is left: see AsksForIds. The condition has to outlive it.
Question QuestionOf(const Condition& condition, bool negated = false);

/// What lies in a range of an index that is not that of ids, or is found on a way of such. The way
/// has to outlive it.
Question QuestionOf(const IndexRange& range);
Question QuestionOf(const Way& way);

/// A condition on the objects' own ids is in it: numbers tell more of those than statistics do.
bool AsksForIds(const Condition& condition);

} // namespace ko::store::inner

#endif
