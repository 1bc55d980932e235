#ifndef KO_STORE_BASE_OBJECT_NUMBER_H
#define KO_STORE_BASE_OBJECT_NUMBER_H

#include <cstdint>

namespace ko::store::inner
{

/// Objects are numbered from 1 on, and no number is used again.
inline constexpr std::uint64_t kMaxObjectNumber = (std::uint64_t{1} << 48) - 2;

} // namespace ko::store::inner

#endif
