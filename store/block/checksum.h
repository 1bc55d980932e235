#ifndef KO_STORE_BLOCK_CHECKSUM_H
#define KO_STORE_BLOCK_CHECKSUM_H

#include "base/space.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// Every value of a store ends with the checksum of where and what it is: XXH3 of 64 bits (Collet,
/// 2019) over its bytes, least significant byte first, with the XXH3 over its space (1 byte) and
/// its key as the seed. So bytes that stand under another key are noticed as well.
inline constexpr std::size_t kSealBytes = 8;

/// Appends the checksum to the value of a key.
void Seal(Space space, std::string_view key, std::string& value);

/// The value without its checksum; throws Error (ErrorCode::Damaged), with the kind and the key of
/// the row, where that is another.
std::string_view Unseal(Space space, std::string_view key, std::string_view sealed);

/// The same without a look at the checksum, for bytes that the same reader has unsealed before;
/// empty for bytes that are too few.
inline std::string_view SealedBytes(std::string_view sealed)
{
    return sealed.substr(0, sealed.size() < kSealBytes ? 0 : sealed.size() - kSealBytes);
}

/// Ends with Error (ErrorCode::Damaged): the row of that key, which a sentence shows in
/// hexadecimal, is damaged. `how`: "holds no numbers of objects", say.
[[noreturn]] void FailDamaged(Space space, std::string_view key, const std::string& how);

} // namespace ko::store::inner

#endif
