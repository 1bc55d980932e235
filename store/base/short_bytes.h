#ifndef KO_STORE_BASE_SHORT_BYTES_H
#define KO_STORE_BASE_SHORT_BYTES_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace ko::store::inner
{

/// The number that lies at `from`, in the machine's byte order.
template <class Number>
std::uint64_t WordAt(const char* from) noexcept
{
    Number word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// A hash for tables in memory; it differs between machines and is never stored. All 64 bits
/// depend on all bytes. Few and independent multiplications: most texts have up to 16 bytes.
inline std::uint64_t HashBytes(std::string_view bytes) noexcept
{
    // Odd numbers without a pattern in their bits: 2^64 by the golden ratio (Knuth, 1973), and by
    // the square root of 3.
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
    constexpr std::uint64_t kSecond = 0x93CD3A2C8198E269;
    const auto mix = [](std::uint64_t hash) { return hash ^ hash >> 32; };
    const char* at = bytes.data();
    const std::size_t size = bytes.size();
    std::uint64_t hash = size * kSecond;
    for (std::size_t left = size; left > 16; left -= 8, at += 8)
        hash = mix((hash ^ WordAt<std::uint64_t>(at)) * kFactor);
    const char* end = bytes.data() + size;
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    if (size >= 8) { // the two words may overlap
        first = WordAt<std::uint64_t>(at);
        last = WordAt<std::uint64_t>(end - 8);
    } else if (size >= 4) {
        first = WordAt<std::uint32_t>(at);
        last = WordAt<std::uint32_t>(end - 4);
    } else if (size > 0) {
        first = WordAt<std::uint8_t>(at) | WordAt<std::uint8_t>(at + size / 2) << 8;
        last = WordAt<std::uint8_t>(end - 1);
    }
    hash = (hash ^ first) * kFactor ^ std::rotl((last ^ kSecond) * kSecond, 32);
    return mix(mix(hash) * kFactor);
}

/// Equality, for bytes that are so few that a call of memcmp takes longer than the comparison.
inline bool SameBytes(std::string_view a, std::string_view b) noexcept
{
    const std::size_t size = a.size();
    if (size != b.size())
        return false;
    const char* left = a.data();
    const char* right = b.data();
    const auto differ = [&](auto number, std::size_t at) {
        return WordAt<decltype(number)>(left + at) ^ WordAt<decltype(number)>(right + at);
    };
    if (size > 64)
        return std::memcmp(left, right, size) == 0;
    if (size >= 8) {
        for (std::size_t at = 0; at < size - 8; at += 8) {
            if (differ(std::uint64_t{}, at) != 0)
                return false;
        }
        return differ(std::uint64_t{}, size - 8) == 0;
    }
    if (size >= 4)
        return (differ(std::uint32_t{}, 0) | differ(std::uint32_t{}, size - 4)) == 0;
    return size == 0 || (differ(std::uint8_t{}, 0) | differ(std::uint8_t{}, size / 2) |
                         differ(std::uint8_t{}, size - 1)) == 0;
}

/// Bytes after the source that CopyShort may read, and after the copy that it may overwrite.
inline constexpr std::size_t kCopySlack = 32;

/// Copies bytes that are few most times: their number then costs no branch.
inline void CopyShort(char* to, std::string_view bytes) noexcept
{
    if (bytes.size() <= kCopySlack)
        std::memcpy(to, bytes.data(), kCopySlack);
    else
        std::memcpy(to, bytes.data(), bytes.size());
}

} // namespace ko::store::inner

#endif
