#include "block/checksum.h"

#include "base/bytes.h"
#include <kostore.h>

#include <algorithm>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kMostKey = 511; // of any engine

std::uint64_t ChecksumOf(Space space, std::string_view key, std::string_view bytes)
{
    char place[1 + kMostKey];
    const std::size_t size = std::min(key.size(), kMostKey);
    place[0] = static_cast<char>(space);
    key.copy(place + 1, size);
    return XXH3_64bits_withSeed(bytes.data(), bytes.size(), XXH3_64bits(place, 1 + size));
}

} // namespace

void Seal(Space space, std::string_view key, std::string& value)
{
    AppendLittle<std::uint64_t>(value, ChecksumOf(space, key, value));
}

std::string_view Unseal(Space space, std::string_view key, std::string_view sealed)
{
    const std::string_view bytes = SealedBytes(sealed);
    if (sealed.size() < kSealBytes ||
        GetLittle<std::uint64_t>(bytes.data() + bytes.size()) != ChecksumOf(space, key, bytes))
        FailDamaged(space, key, "has another checksum than its bytes");
    return bytes;
}

void FailDamaged(Space space, std::string_view key, const std::string& how)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    constexpr std::size_t kShown = 32;
    std::string shown;
    for (const char byte : key.substr(0, kShown)) {
        shown += kDigits[static_cast<unsigned char>(byte) >> 4];
        shown += kDigits[byte & 0xF];
    }
    throw Error(
        ErrorCode::Damaged,
        std::string("the ") + RowName(space) + " of the key " + shown +
            (key.size() > kShown ? "... " : " ") + how +
            (space == Space::Statistics ? ": \"kotm analyze\" makes all of them anew" : ""));
}

} // namespace ko::store::inner
