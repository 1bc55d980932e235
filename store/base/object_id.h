#ifndef KO_STORE_BASE_OBJECT_ID_H
#define KO_STORE_BASE_OBJECT_ID_H

#include "base/bytes.h"

#include <cstddef>
#include <cstdint>

namespace ko::store::inner
{

/// Object ids are the stored form of a KoObjId, 10 bytes: a tag of 4, which is 0 for an object, and
/// the object's number. No comparison reads the tag.
inline constexpr std::size_t kObjectIdBytes = 10;

inline void PutObjectId(char* bytes, std::uint64_t number, std::uint32_t tag = 0)
{
    PutLittle(bytes, static_cast<std::uint64_t>(number << 32 | tag));
    PutLittle(bytes + 8, static_cast<std::uint16_t>(number >> 32));
}
inline std::uint64_t ObjectNumber(const char* id)
{
    return GetLittle<std::uint64_t>(id + 2) >> 16; // half of the tag and the number
}

} // namespace ko::store::inner

#endif
