#ifndef KO_CORE_COMPARE_WALK_H
#define KO_CORE_COMPARE_WALK_H

#include "core/bytes.h"

#include <kobasic.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

/// The walk over `count` elements that every compare and hash function of a fixed-length type
/// makes, with its byte bounds.

namespace ko
{

/// Elements that the walk may visit in an operand of `length` bytes; 0 bytes means no bound. An
/// element of which the bound leaves only a part is not visited: nothing behind a bound is read.
constexpr unsigned ElementsWithin(unsigned length, unsigned size, unsigned count) noexcept
{
    return length == 0 ? count : std::min(count, length / size);
}

/// Number of equal bytes at the start of `a` and `b`.
inline std::size_t EqualBytes(const unsigned char* a, const unsigned char* b,
                              std::size_t length) noexcept
{
    constexpr std::size_t kWord = sizeof(o_u8b);
    constexpr std::size_t kSmallest = 128;
    constexpr std::size_t kLargest = 2048;
    std::size_t at = 0;
    // memcmp tells only whether a block differs. Blocks double while they are equal; the first that
    // differs, or is too long, is halved down to words. No byte is read more than twice as often as
    // a single pass would.
    std::size_t block = kSmallest;
    while (at + block <= length && std::memcmp(a + at, b + at, block) == 0) {
        at += block;
        if (block < kLargest)
            block *= 2;
    }
    for (block /= 2; block >= kSmallest; block /= 2)
        if (at + block <= length && std::memcmp(a + at, b + at, block) == 0)
            at += block;
    for (; at + kWord <= length; at += kWord) {
        if (const o_u8b difference = ReadValue<o_u8b>(a + at) ^ ReadValue<o_u8b>(b + at);
            difference != 0)
            return at + FirstByteOf(difference);
    }
    // The last word overlaps what is known to be equal.
    if (at < length && length >= kWord) {
        if (const o_u8b difference =
                ReadValue<o_u8b>(a + length - kWord) ^ ReadValue<o_u8b>(b + length - kWord);
            difference != 0)
            return length - kWord + FirstByteOf(difference);
        return length;
    }
    while (at < length && a[at] == b[at])
        ++at;
    return at;
}

/// Compares two arrays of `count` elements of `size` bytes: the order of the first pair that
/// differs, 0 when there is none. `compare(a, b)` orders one pair of elements; elements of equal
/// bytes must be equal, since they are skipped unseen.
///
/// `status` becomes KoRC_TRUNCATED when a bound ended before the last of `count` elements, else 0.
/// The step to the next element is tried even after the element that decides, so a result other
/// than 0 can come with KoRC_TRUNCATED; the result holds then.
template <class Compare>
int CompareWalk(unsigned length1, const void* value1, unsigned length2, const void* value2,
                unsigned size, unsigned count, int& status, Compare compare)
{
    status = KoRC_OK;
    if (count == 0)
        return 0;
    const auto* a = static_cast<const unsigned char*>(value1);
    const auto* b = static_cast<const unsigned char*>(value2);
    const unsigned visited =
        std::min(ElementsWithin(length1, size, count), ElementsWithin(length2, size, count));
    if (visited == 0) {
        status = KoRC_TRUNCATED;
        return 0;
    }
    int result = compare(a, b);
    if (count == 1)
        return result;

    const std::size_t whole = std::size_t{visited} * size;
    unsigned index = 0;
    while (result == 0 && index + 1 < visited) {
        ++index;
        const std::size_t start = std::size_t{index} * size;
        const std::size_t equal = EqualBytes(a + start, b + start, whole - start);
        index = std::min(visited - 1, index + static_cast<unsigned>(equal / size));
        result = compare(a + std::size_t{index} * size, b + std::size_t{index} * size);
    }
    if (index + 1 < count && index + 1 >= visited)
        status = KoRC_TRUNCATED;
    return result;
}

/// The sign of a comparison as every scalar type returns it.
template <class T>
constexpr int ThreeWay(T a, T b) noexcept
{
    return (a > b) - (a < b);
}

} // namespace ko

#endif
