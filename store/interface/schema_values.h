#ifndef KO_STORE_INTERFACE_SCHEMA_VALUES_H
#define KO_STORE_INTERFACE_SCHEMA_VALUES_H

#include "schema/schema.h"
#include <kostore.h>

namespace ko::store::inner
{

/// The attribute as it is, whatever its name. Throws Error (ErrorCode::Usage) for a type without
/// values.
Attribute ToInner(const ko::store::Attribute& attribute);
/// Throws Error (ErrorCode::Usage) for what Schema::FromJson would refuse.
Schema ToInner(const ko::store::Schema& schema);

ko::store::Attribute ToOuter(const Attribute& attribute);
ko::store::Schema ToOuter(const Schema& schema);
/// What stands for the objects' numbers.
ko::store::Attribute ObjectIdAttribute();

} // namespace ko::store::inner

#endif
