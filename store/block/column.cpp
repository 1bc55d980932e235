#include "block/column.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace ko::store::inner
{

namespace
{

bool MaskBit(const char* mask, unsigned at)
{
    return (mask[at / 8] >> at % 8 & 1) != 0;
}

/// Takes bytes from the front; false where there are too few.
bool Take(std::string_view& bytes, std::size_t count, const char*& taken)
{
    if (count > bytes.size())
        return false;
    taken = bytes.data();
    bytes.remove_prefix(count);
    return true;
}

template <unsigned Width>
void UnpackFour(const char* from, unsigned firstBit, unsigned base, std::uint16_t* codes)
{
    const std::uint64_t word = GetLittle<std::uint64_t>(from + firstBit / 8) >> firstBit % 8;
    for (unsigned i = 0; i < 4; ++i)
        codes[i] = static_cast<std::uint16_t>(base + (word >> i * Width & ((1U << Width) - 1)));
}

/// Eight codes take as many bytes as one has bits. Returns how many slots it could unpack without
/// a read beyond `end`.
template <unsigned Width>
unsigned Unpack(const char* from, const char* end, unsigned slots, unsigned base,
                std::uint16_t* codes)
{
    constexpr unsigned kRead = 4 * Width / 8 + 8;
    unsigned slot = 0;
    for (; slot + 8 <= slots && static_cast<std::size_t>(end - from) >= kRead; slot += 8) {
        UnpackFour<Width>(from, 0, base, codes + slot);
        UnpackFour<Width>(from, 4 * Width, base, codes + slot + 4);
        from += Width;
    }
    return slot;
}

using UnpackFunc = unsigned (*)(const char*, const char*, unsigned, unsigned, std::uint16_t*);

template <unsigned... Widths>
constexpr std::array<UnpackFunc, sizeof...(Widths)>
MakeUnpack(std::integer_sequence<unsigned, Widths...>)
{
    return {Unpack<Widths>...};
}

constexpr unsigned kMostWidth = 16;
constexpr auto kUnpack = MakeUnpack(std::make_integer_sequence<unsigned, kMostWidth + 1>());

} // namespace

bool Column::Open(std::string_view bytes, std::size_t behind, unsigned size, unsigned slots)
{
    m_size = size;
    m_slots = slots;
    m_isAbsent = bytes.empty();
    m_bits = {};
    m_end = bytes.data() + bytes.size() + behind;
    return m_isAbsent || (size != 0 ? OpenFixed(bytes) : OpenVarying(bytes));
}

bool Column::OpenFixed(std::string_view bytes)
{
    const auto flags = static_cast<unsigned char>(bytes[0]);
    bytes.remove_prefix(1);
    const std::size_t maskBytes = BitBytes(m_size);
    if (flags > (column_flags::kHasBits | column_flags::kHasDefault) ||
        flags == column_flags::kHasDefault || !Take(bytes, maskBytes, m_mask))
        return false;
    m_packedSize = 0;
    for (std::size_t i = 0; i < maskBytes; ++i)
        m_packedSize += CountBits(static_cast<unsigned char>(m_mask[i]));
    if (m_size % 8 != 0 && static_cast<unsigned char>(m_mask[maskBytes - 1]) >> m_size % 8 != 0)
        return false;
    const char* skipped = nullptr;
    m_default = nullptr;
    unsigned count = m_slots;
    if (!Take(bytes, m_size - m_packedSize, skipped) ||
        ((flags & column_flags::kHasDefault) != 0 && !Take(bytes, m_size, m_default)))
        return false;
    if ((flags & column_flags::kHasBits) != 0) {
        if (!Take(bytes, BitBytes(m_slots), skipped))
            return false;
        m_bits = StoredBits(skipped, m_slots);
        count = m_bits.Rank(m_slots);
    }
    m_packed = bytes.data();
    return bytes.size() == std::size_t{count} * m_packedSize;
}

bool Column::OpenVarying(std::string_view bytes)
{
    if (bytes.size() < 3)
        return false;
    const auto flags = static_cast<unsigned char>(bytes[0]);
    m_width = flags & column_flags::kWidth;
    m_base = GetLittle<std::uint16_t>(bytes.data() + 1);
    m_allInline = (flags & column_flags::kAllInline) != 0;
    m_wideEnds = (flags & column_flags::kWideEnds) != 0;
    const bool some = (flags & column_flags::kSomeInline) != 0;
    bytes.remove_prefix(3);
    m_ends = nullptr;
    if (m_width > kMostWidth || m_base > 0xFFFF - ((1U << m_width) - 1) || (some && m_allInline) ||
        !Take(bytes, BitBytes(std::size_t{m_slots} * m_width), m_codes))
        return false;
    if (!some && !m_allInline)
        return !m_wideEnds && bytes.empty();
    unsigned count = m_slots;
    if (some) {
        const char* bits = nullptr;
        if (!Take(bytes, BitBytes(m_slots), bits))
            return false;
        m_bits = StoredBits(bits, m_slots);
        count = m_bits.Rank(m_slots);
    }
    return CheckEnds(bytes, count);
}

bool Column::CheckEnds(std::string_view bytes, unsigned count)
{
    if (!Take(bytes, std::size_t{count} * (m_wideEnds ? 4 : 2), m_ends))
        return false;
    m_packed = bytes.data();
    std::size_t before = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::size_t end = InlineEnd(i);
        if (end <= before)
            return false;
        before = end;
    }
    return before == bytes.size();
}

std::size_t Column::InlineEnd(unsigned index) const
{
    return m_wideEnds ? GetLittle<std::uint32_t>(m_ends + std::size_t{index} * 4)
                      : GetLittle<std::uint16_t>(m_ends + std::size_t{index} * 2);
}

unsigned Column::Code(unsigned slot) const
{
    const std::size_t bit = std::size_t{slot} * m_width;
    const char* from = m_codes + bit / 8;
    std::uint32_t word = 0; // a code reaches over three bytes at the most
    if (m_end - from >= 4) {
        word = GetLittle<std::uint32_t>(from);
    } else {
        for (unsigned shift = 0; shift < bit % 8 + m_width; shift += 8)
            word |= std::uint32_t{static_cast<unsigned char>(*from++)} << shift;
    }
    return m_base + (word >> bit % 8 & ((1U << m_width) - 1));
}

std::string_view Column::Inline(unsigned slot) const
{
    // Where code and bits disagree, as in a damaged block only, there may be no such form.
    if (m_ends == nullptr || (m_bits.AreThere() && !m_bits.Test(slot)))
        return {};
    const unsigned index = m_bits.AreThere() ? m_bits.Rank(slot) : slot;
    const std::size_t begin = index == 0 ? 0 : InlineEnd(index - 1);
    return {m_packed + begin, InlineEnd(index) - begin};
}

Cell Column::At(unsigned slot, std::string& room) const
{
    if (m_isAbsent)
        return {};
    if (m_size == 0) {
        const unsigned code = Code(slot);
        switch (code) {
        case kAbsentCode:
            return {};
        case kInlineCode:
            return Cell::OfForm(Inline(slot));
        case kLargeCode:
            return Cell::OfLarge();
        default:
            return Cell::OfEntry(code - kFirstCode);
        }
    }
    unsigned index = slot;
    if (m_bits.AreThere()) {
        if (!m_bits.Test(slot))
            return m_default != nullptr ? Cell::OfForm({m_default, m_size}) : Cell();
        index = m_bits.Rank(slot);
    }
    const char* packed = m_packed + std::size_t{index} * m_packedSize;
    if (m_packedSize == m_size)
        return Cell::OfForm({packed, m_size});
    room.resize(m_size);
    Compose(packed, room.data());
    return Cell::OfForm(room);
}

void Column::Compose(const char* packed, char* form) const
{
    const char* constant = m_mask + BitBytes(m_size);
    for (unsigned i = 0; i < m_size; ++i)
        form[i] = MaskBit(m_mask, i) ? *packed++ : *constant++;
}

void Column::Codes(std::uint16_t* codes) const
{
    if (m_isAbsent || m_width == 0) {
        std::fill_n(codes, m_slots, m_isAbsent ? kAbsentCode : static_cast<std::uint16_t>(m_base));
        return;
    }
    for (unsigned slot = kUnpack[m_width](m_codes, m_end, m_slots, m_base, codes); slot < m_slots;
         ++slot)
        codes[slot] = static_cast<std::uint16_t>(Code(slot));
}

/// Writes all forms, of up to eight bytes: each(word) gives one as a number, of the bytes that lie
/// packed and others behind them.
template <class Each>
void Column::EachWord(char* forms, const Each& each) const
{
    const char* packed = m_packed;
    const auto next = [&] {
        std::uint64_t word = 0;
        if (m_end - packed >= 8) {
            word = GetLittle<std::uint64_t>(packed);
        } else {
            for (unsigned i = 0; i < m_packedSize; ++i)
                word |= std::uint64_t{static_cast<unsigned char>(packed[i])} << 8 * i;
        }
        packed += m_packedSize;
        return each(word);
    };
    if (!m_bits.AreThere()) {
        for (unsigned slot = 0; slot < m_slots; ++slot)
            PutLittle(forms + std::size_t{slot} * m_size, next());
        return;
    }
    // All have the common form at first: most have it in the end.
    const std::size_t size = std::size_t{m_slots} * m_size;
    std::size_t filled = m_size;
    m_default != nullptr ? std::memcpy(forms, m_default, m_size) : std::memset(forms, 0, m_size);
    for (; filled < size; filled *= 2)
        std::memcpy(forms + filled, forms, std::min(filled, size - filled));
    for (unsigned word = 0; word * 64 < m_slots; ++word) {
        for (std::uint64_t left = m_bits.Word(word); left != 0; left &= left - 1) {
            const auto slot = word * 64 + static_cast<unsigned>(std::countr_zero(left));
            char bytes[8];
            PutLittle(bytes, next());
            CopyForm(forms + std::size_t{slot} * m_size, {bytes, m_size});
        }
    }
}

void Column::Forms(char* forms, SlotBits& present) const
{
    const bool someAbsent = m_bits.AreThere() && m_default == nullptr;
    for (unsigned word = 0; word * 64 < m_slots; ++word)
        present[word] = m_isAbsent ? 0 : someAbsent ? m_bits.Word(word) : SlotMask(word, m_slots);
    if (m_isAbsent)
        return;
    if (m_size > 8) {
        const char* packed = m_packed;
        for (unsigned slot = 0; slot < m_slots; ++slot, forms += m_size) {
            if (!m_bits.AreThere() || m_bits.Test(slot)) {
                Compose(packed, forms);
                packed += m_packedSize;
            } else if (m_default != nullptr) {
                std::memcpy(forms, m_default, m_size);
            }
        }
        return;
    }
    if (m_packedSize == m_size && !m_bits.AreThere()) {
        std::memcpy(forms, m_packed, std::size_t{m_slots} * m_size);
        return;
    }
    std::uint64_t constant = 0;
    unsigned shifts[8] = {};
    unsigned count = 0;
    const char* constants = m_mask + BitBytes(m_size);
    for (unsigned i = 0; i < m_size; ++i) {
        if (MaskBit(m_mask, i))
            shifts[count++] = 8 * i;
        else
            constant |= std::uint64_t{static_cast<unsigned char>(*constants++)} << 8 * i;
    }
    if (count == 0) {
        EachWord(forms, [&](std::uint64_t) { return constant; });
    } else if (shifts[count - 1] - shifts[0] == 8 * (count - 1)) {
        const std::uint64_t mask = ~std::uint64_t{0} >> (64 - 8 * count);
        EachWord(forms, [&](std::uint64_t word) { return constant | (word & mask) << shifts[0]; });
    } else {
        EachWord(forms, [&](std::uint64_t word) {
            std::uint64_t form = constant;
            for (unsigned i = 0; i < count; ++i)
                form |= (word >> 8 * i & 0xFF) << shifts[i];
            return form;
        });
    }
}

} // namespace ko::store::inner
