#ifndef KOTM_FILEKIND_H
#define KOTM_FILEKIND_H

#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// What a file looks like whose first row is no header that is wanted, as a sentence for its user;
/// empty where nothing strange is to be seen. `start` is what the file begins with, `fields` the
/// fields of the row, if it has any.
std::string StrangeFile(std::string_view start, const std::vector<std::string_view>& fields);

} // namespace kotm

#endif
