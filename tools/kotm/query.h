#ifndef KOTM_QUERY_H
#define KOTM_QUERY_H

#include "query_request.h"

#include <iosfwd>

namespace kotm
{

/// Answers a query. Where it names an attribute, "@id" stands for the object's id. Throws Error,
/// for a predicate with the place of the fault in it.
void Query(const QueryRequest& request, std::ostream& out);

} // namespace kotm

#endif
