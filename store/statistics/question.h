#ifndef KO_STORE_STATISTICS_QUESTION_H
#define KO_STORE_STATISTICS_QUESTION_H

#include "schema/value_type.h"

#include <kotypevl.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// A value beside a literal, as a type compares them.
struct Comparison {
    unsigned bits = 0; ///< of KoQueryOp
    unsigned short cmpOp = kPlainOperator;
    std::string_view form; ///< the literal's; validated

    bool Holds(o_char type, std::string_view value) const
    {
        int status = 0;
        const int order = ComparePersistent(type, value, form, cmpOp, status);
        return (bits & (order < 0 ? KoQOP_LESS : order == 0 ? KoQOP_EQUAL : KoQOP_GREATER)) != 0;
    }
    /// What meets it lies in one range of values, or outside of one value.
    bool IsPlain() const { return cmpOp == kPlainOperator; }
};

/// A predicate as far as statistics look at it, without negations: those are pushed down to
/// comparisons, where they turn the operator around.
struct Question {
    /// Value: everything but null; Nothing: no object.
    enum class Kind { And, Or, Compare, Null, Value, Nothing };

    Kind kind;
    std::vector<Question> parts; ///< of And and Or, one or more
    std::size_t attribute = 0;   ///< of Compare, Null and Value
    Comparison comparison{};     ///< of Compare
};

/// How many objects are expected to meet something.
struct Estimate {
    /// Where it comes from. Counts: numbers that are there, with nothing assumed. Sample: at least
    /// ten objects of it, or all objects of the store. Combined: estimates of parts.
    enum class Source { Counts, CommonValues, Histogram, Evaluator, Sample, Combined };

    double objects = 0.0;
    Source source = Source::Counts;
};

} // namespace ko::store::inner

#endif
