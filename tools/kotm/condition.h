#ifndef KOTM_CONDITION_H
#define KOTM_CONDITION_H

#include "predicate.h"
#include "record.h"
#include "schema.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// A comparison with a null value is neither true nor false, and so is its negation.
enum class Truth { False, Unknown, True };

/// Whether a literal is a number that lies outside of all that its type holds. Comparisons with
/// such a one have an answer all the same.
enum class Outside { No, Below, Above };

/// A predicate over the attributes of a schema, its literals read as values of their types.
struct Condition {
    Predicate::Kind kind;
    std::vector<Condition> parts;
    std::size_t attribute = 0; ///< kObjectIdIndex: the object's id
    o_char type = 0;
    Operator op = Operator::Equal;
    unsigned short cmpOp = 0;
    std::string form; ///< the literal's persistent form; empty for one outside of its type
    Outside outside = Outside::No;
    std::string written; ///< the literal's text, as Literal has it

    /// Throws Failure (Exit::Usage) that shows the place in `text` for an unknown attribute and a
    /// literal that is no value of the attribute's type.
    static Condition Make(const Predicate& predicate, std::string_view text, const Schema& schema);

    /// True where the object belongs to the answer only if this is Truth::True.
    Truth Evaluate(const RecordReader& record) const;

    /// The end of the texts that are equal to the literal, as a person would write it: "below
    /// The..." for "The*", and the literal with its suffixes for another.
    std::string ShownEnd() const;
    /// The letters after the literal that change how texts are compared.
    std::string Suffixes() const;

    /// Tells `record` what Evaluate looks at.
    void Need(RecordReader& record) const;
};

} // namespace kotm

#endif
