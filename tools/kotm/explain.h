#ifndef KOTM_EXPLAIN_H
#define KOTM_EXPLAIN_H

#include <iosfwd>
#include <string>

namespace kotm
{

struct ExplainRequest {
    std::string store;
    std::string predicate;
    bool json = false;
};

/// Shows how a query would find its objects: for each comparison the index, its lowest and highest
/// key, what narrowing leaves of it, and the share of the objects, estimated and, counted on all of
/// them, true; then the way that is chosen. Throws Error as Query does.
void Explain(const ExplainRequest& request, std::ostream& out);

} // namespace kotm

#endif
