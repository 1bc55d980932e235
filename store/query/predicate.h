#ifndef KO_STORE_QUERY_PREDICATE_H
#define KO_STORE_QUERY_PREDICATE_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

enum class Operator { Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual };

/// A literal of a predicate: the text of a value, not yet a value.
struct Literal {
    std::string text;            ///< UTF-8, escapes resolved; a pattern keeps those it needs
    std::vector<std::size_t> at; ///< where each byte of `text` stands in the predicate, and the end
    bool quoted = false;
    bool pattern = false; ///< holds * or ? that stand for other characters
    bool ignoreCase = false;
    bool ignoreAccents = false;
};

/// A predicate as it was written: a tree of comparisons.
struct Predicate {
    enum class Kind { And, Or, Not, Compare, IsNull, IsNotNull };

    Kind kind;
    std::vector<Predicate> parts; ///< of And, Or (two or more) and Not (one)
    std::string attribute;        ///< of the other kinds
    std::size_t attributeAt = 0;
    Operator op = Operator::Equal;
    Literal literal;
};

/// Ends a command with a message that shows the place in the predicate.
[[noreturn]] void FailAt(std::string_view predicate, std::size_t at, const std::string& reason);

/// Reads a predicate:
///
///     either     := both { "or" both }
///     both       := negation { "and" negation }
///     negation   := "not" negation | "(" either ")" | comparison
///     comparison := name op literal | name "is" [ "not" ] "null"
///     op         := "=" | "!=" | "<" | "<=" | ">" | ">="
///     literal    := number | "true" | "false" | quoted text with the suffixes i, a, x
///
/// The name "@id", which no attribute has, is read too. Key words are read in any case. In a quoted
/// text a backslash makes the next character stand for itself; * and ? are wildcards unless the
/// suffix is x. Throws Error (ErrorCode::Usage).
Predicate ParsePredicate(std::string_view text);

} // namespace ko::store::inner

#endif
