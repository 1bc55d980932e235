#ifndef KO_STORE_IMPORT_FILE_KIND_H
#define KO_STORE_IMPORT_FILE_KIND_H

#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

// What is strange about a file whose first row is no header that is wanted, as a sentence for its
// user; empty where nothing is.

/// `start` is what the file begins with.
std::string StrangeEncoding(std::string_view start);
/// `fields` are those of the row.
std::string StrangeSeparator(const std::vector<std::string_view>& fields);

} // namespace ko::store::inner

#endif
