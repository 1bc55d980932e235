#ifndef KO_STORE_QUERY_LITERAL_H
#define KO_STORE_QUERY_LITERAL_H

#include "query/condition.h"

#include <string_view>

namespace ko::store::inner
{

/// Reads the literal of a comparison as a value of the attribute, into the parts of `condition`
/// that stand for it. Besides what the attribute's format reads there are
///
/// - numbers outside of what the type holds: see Outside. Floating types hold infinities, so there
///   the comparison becomes one with the finite number that is next to them;
/// - a date alone for a type with a time of day: its midnight. It is written as the attribute's
///   format begins, or as 2024-02-29.
///
/// Throws Error (ErrorCode::Usage) that shows the place in `text`.
void ReadLiteral(Condition& condition, const Predicate& predicate, std::string_view text,
                 const Attribute& attribute);

/// The literal of an object id: the text of one, or its number alone.
void ReadObjectIdLiteral(Condition& condition, const Predicate& predicate, std::string_view text);

} // namespace ko::store::inner

#endif
