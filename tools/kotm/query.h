#ifndef KOTM_QUERY_H
#define KOTM_QUERY_H

#include "output.h"

#include <cstdint>
#include <iosfwd>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace kotm
{

struct QueryRequest {
    std::string store;
    std::string predicate;            ///< empty: every object
    std::vector<std::string> columns; ///< empty: every attribute
    bool ids = false;                 ///< the object's id is the first column
    std::string order;                ///< an attribute; empty: as it comes
    bool descending = false;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    std::map<std::string, std::string> prints; ///< attribute to print format
    RowWriter::Kind output = RowWriter::Kind::Table;
    bool toTerminal = false; ///< CSV shows hidden characters by their codes
    bool count = false;      ///< the number of rows alone
};

/// Answers a query. Where it names an attribute, "@id" stands for the object's id. Throws Failure,
/// for a predicate with the place of the fault in it.
void Query(const QueryRequest& request, std::ostream& out);

} // namespace kotm

#endif
