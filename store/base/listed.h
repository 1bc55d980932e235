#ifndef KO_STORE_BASE_LISTED_H
#define KO_STORE_BASE_LISTED_H

#include <string>
#include <vector>

namespace ko::store::inner
{

/// "a, b and 3 more": no more of the names than a message has room for, each in quotes.
std::string Listed(const std::vector<std::string>& names);

} // namespace ko::store::inner

#endif
