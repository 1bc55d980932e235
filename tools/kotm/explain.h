#ifndef KOTM_EXPLAIN_H
#define KOTM_EXPLAIN_H

#include <kostore.h>

#include <iosfwd>
#include <string>

namespace kotm
{

struct ExplainRequest {
    std::string store;
    ko::store::Query query; ///< without columns
    bool json = false;
};

/// Shows how a query would find its objects: for each comparison the index, its lowest and highest
/// key, what narrowing leaves of it, and the share of the objects, estimated and, counted on all of
/// them, true; then the ways that were weighed and the one that is chosen. Throws Error as Query
/// does.
void Explain(const ExplainRequest& request, std::ostream& out);

} // namespace kotm

#endif
