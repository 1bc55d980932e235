#include "character/utf8.h"

#include <kombs.h>

#include <cstring>
#include <iterator>

// Characters in UTF-8, in its early form of up to six bytes.

namespace ko
{

namespace
{

struct Sequence {
    o_u4b leadMask, lead; ///< of the first byte
    unsigned shift;       ///< of the first byte's bits
    o_u4b valueMask;
    o_u4b smallest; ///< a smaller value has a shorter form
};

constexpr Sequence kSequences[kMaxSequence] = {
    {0x80, 0x00, 0, 0x7F, 0},
    {0xE0, 0xC0, 6, 0x7FF, 0x80},
    {0xF0, 0xE0, 12, 0xFFFF, 0x800},
    {0xF8, 0xF0, 18, 0x1FFFFF, 0x10000},
    {0xFC, 0xF8, 24, 0x3FFFFFF, 0x200000},
    {0xFE, 0xFC, 30, 0x7FFFFFFF, 0x4000000},
};

} // namespace

unsigned DecodeCharacter(o_u4b& value, const char* src, std::size_t n)
{
    if (n == 0)
        return 0;
    const o_u4b first = static_cast<unsigned char>(*src);
    o_u8b bits = first;
    for (unsigned length = 1; length <= kMaxSequence; ++length) {
        const Sequence& row = kSequences[length - 1];
        if ((first & row.leadMask) == row.lead) {
            const auto masked = static_cast<o_u4b>(bits & row.valueMask);
            if (masked < row.smallest)
                return 0;
            value = masked;
            return length;
        }
        if (length == n)
            return 0;
        const unsigned next = static_cast<unsigned char>(src[length]) ^ 0x80U;
        if (next >= 64)
            return 0;
        bits = bits << 6U | next;
    }
    return 0;
}

unsigned EncodeCharacter(char* dest, o_u4b value)
{
    unsigned length = 1;
    while (length < kMaxSequence && kSequences[length - 1].valueMask < value)
        ++length;
    if (dest == nullptr)
        return length;
    const Sequence& row = kSequences[length - 1];
    unsigned shift = row.shift;
    *dest = static_cast<char>(value >> shift | row.lead);
    while (shift > 0) {
        shift -= 6;
        *++dest = static_cast<char>((value >> shift & 63U) | 0x80U);
    }
    return length;
}

} // namespace ko

using namespace ko;

int KoMultiByte2WChar(unsigned short* dest, const char* src, o_u8b n)
{
    if (src == nullptr)
        return 0;
    o_u4b value;
    const unsigned used = DecodeCharacter(value, src, n);
    if (used == 0)
        return -1;
    if (dest != nullptr)
        *dest = static_cast<unsigned short>(value);
    return static_cast<int>(used);
}

int KoWChar2MultiByte(char* dest, wchar_t c)
{
    if (dest == nullptr)
        return 0;
    // wchar_t has 16 or 32 bits, signed or not.
    const auto value = static_cast<o_u4b>(c);
    return value > kSequences[kMaxSequence - 1].valueMask
               ? -1
               : static_cast<int>(EncodeCharacter(dest, value));
}

int KoMultiByteStr2WCharStr(unsigned short* dest, int destCount, const char* src, int srcBytes)
{
    if (src == nullptr || srcBytes == 0)
        return 0;
    if (srcBytes < -1)
        return -1;
    std::size_t left = srcBytes < 0 ? std::strlen(src) : static_cast<std::size_t>(srcBytes);
    int count = 0;
    while (left > 0) {
        o_u4b value;
        const unsigned used = DecodeCharacter(value, src, left);
        if (used == 0)
            return -1;
        if (dest != nullptr && count < destCount)
            dest[count] = static_cast<unsigned short>(value);
        ++count;
        src += used;
        left -= used;
    }
    return count;
}
