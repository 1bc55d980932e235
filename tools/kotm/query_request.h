#ifndef KOTM_QUERY_REQUEST_H
#define KOTM_QUERY_REQUEST_H

#include "output.h"

#include <cstdint>
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

} // namespace kotm

#endif
