#include "base/listed.h"

#include "base/visible.h"

#include <algorithm>

namespace ko::store::inner
{

std::string Listed(const std::vector<std::string>& names)
{
    constexpr std::size_t kMost = 20;
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i)
        list += (i == 0 ? "" : ", ") + Quoted(names[i]);
    if (names.size() > kMost)
        list += " and " + std::to_string(names.size() - kMost) + " more";
    return list;
}

} // namespace ko::store::inner
