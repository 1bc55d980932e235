#ifndef KO_STORE_BLOCK_BITS_H
#define KO_STORE_BLOCK_BITS_H

#include "base/bytes.h"
#include "block/layout.h"

#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// std::popcount is a call where the processor may lack the instruction.
inline unsigned CountBits(std::uint64_t word)
{
    word -= word >> 1 & 0x5555555555555555;
    word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
    word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<unsigned>(word * 0x0101010101010101 >> 56);
}

/// A bit for every slot of a block, as the words of a machine.
using SlotBits = std::array<std::uint64_t, kMostSlots / 64>;

inline bool TestBit(const SlotBits& bits, unsigned slot)
{
    return (bits[slot / 64] >> slot % 64 & 1) != 0;
}
inline void SetBit(SlotBits& bits, unsigned slot)
{
    bits[slot / 64] |= std::uint64_t{1} << slot % 64;
}
inline void ClearBit(SlotBits& bits, unsigned slot)
{
    bits[slot / 64] &= ~(std::uint64_t{1} << slot % 64);
}
/// How many of the first `slots` are set; there are none behind these.
inline unsigned CountBits(const SlotBits& bits, unsigned slots)
{
    unsigned count = 0;
    for (unsigned word = 0; word * 64 < slots; ++word)
        count += CountBits(bits[word]);
    return count;
}
/// The bits of word `word` that belong to one of `slots` slots.
inline std::uint64_t SlotMask(unsigned word, unsigned slots)
{
    const unsigned begin = word * 64;
    if (slots >= begin + 64)
        return ~std::uint64_t{0};
    return slots <= begin ? 0 : (std::uint64_t{1} << (slots - begin)) - 1;
}

inline constexpr std::size_t BitBytes(std::size_t count)
{
    return (count + 7) / 8;
}

/// A bit for every slot as bytes of a block: that of slot n is bit n % 8 of byte n / 8.
class StoredBits
{
public:
    StoredBits() = default;
    StoredBits(const char* bytes, unsigned slots) : m_bytes(bytes), m_slots(slots) {}

    bool AreThere() const { return m_bytes != nullptr; }
    bool Test(unsigned slot) const { return (m_bytes[slot / 8] >> slot % 8 & 1) != 0; }

    /// 64 of them; zeros beyond the last slot.
    std::uint64_t Word(unsigned word) const
    {
        const std::size_t at = std::size_t{word} * 8;
        const std::size_t left = BitBytes(m_slots) - at;
        if (left >= 8)
            return GetLittle<std::uint64_t>(m_bytes + at) & SlotMask(word, m_slots);
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < left; ++i)
            bits |= std::uint64_t{static_cast<unsigned char>(m_bytes[at + i])} << 8 * i;
        return bits & SlotMask(word, m_slots);
    }
    /// How many are set before a slot.
    unsigned Rank(unsigned slot) const
    {
        unsigned count = 0;
        for (unsigned word = 0; word < slot / 64; ++word)
            count += CountBits(Word(word));
        if (slot % 64 != 0)
            count += CountBits(Word(slot / 64) & ((std::uint64_t{1} << slot % 64) - 1));
        return count;
    }

private:
    const char* m_bytes = nullptr;
    unsigned m_slots = 0;
};

/// Copies a form, most of which have up to eight bytes.
inline void CopyForm(char* to, std::string_view form)
{
    const std::size_t size = form.size();
    if (size < 4 || size > 8) {
        std::memcpy(to, form.data(), size);
        return;
    }
    std::uint32_t ends[2];
    std::memcpy(&ends[0], form.data(), 4);
    std::memcpy(&ends[1], form.data() + size - 4, 4);
    std::memcpy(to, &ends[0], 4);
    std::memcpy(to + size - 4, &ends[1], 4);
}

inline void AppendBits(std::string& bytes, const SlotBits& bits, unsigned slots)
{
    for (unsigned slot = 0; slot < slots; slot += 8)
        bytes += static_cast<char>((bits[slot / 64] & SlotMask(slot / 64, slots)) >> slot % 64);
}

} // namespace ko::store::inner

#endif
