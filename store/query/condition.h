#ifndef KO_STORE_QUERY_CONDITION_H
#define KO_STORE_QUERY_CONDITION_H

#include "query/predicate.h"
#include "schema/schema.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// A comparison with a null value is neither true nor false, and so is its negation.
enum class Truth { False, Unknown, True };

/// Whether a literal is a number that lies outside of all that its type holds. Comparisons with
/// such a one have an answer all the same.
enum class Outside { No, Below, Above };

/// A predicate over the attributes of a schema, its literals read as values of their types. An
/// object belongs to the answer only where it is Truth::True.
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

    /// Throws Error (ErrorCode::Usage) that shows the place in `text` for an unknown attribute and
    /// a literal that is no value of the attribute's type.
    static Condition Make(const Predicate& predicate, std::string_view text, const Schema& schema);

    /// What a comparison, or a question for null, says of a form; an empty one is null.
    Truth Test(std::string_view value) const;
    /// False for one that says the same of all values but null.
    bool DependsOnValue() const
    {
        return kind == Predicate::Kind::Compare && outside == Outside::No;
    }

    /// The end of the texts that are equal to the literal, as a person would write it: "below
    /// The..." for "The*", and the literal with its suffixes for another.
    std::string ShownEnd() const;
    /// The letters after the literal that change how texts are compared.
    std::string Suffixes() const;
};

} // namespace ko::store::inner

#endif
