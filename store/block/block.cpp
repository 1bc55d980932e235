#include "block/block.h"

#include "block/block_bytes.h"

namespace ko::store::inner
{

bool BlockView::Open(std::string_view bytes)
{
    using namespace block_bytes;
    m_slots = 0;
    m_bits = {};
    ++m_block;
    if (bytes.size() < kHead || bytes[0] != kVersion)
        return false;
    const auto flags = static_cast<unsigned char>(bytes[1]);
    const unsigned slots = GetLittle<std::uint16_t>(bytes.data() + 2);
    const std::size_t columns = GetLittle<std::uint16_t>(bytes.data() + 4);
    bytes.remove_prefix(kHead);
    m_wideEnds = (flags & kWideEnds) != 0;
    const std::size_t bitBytes = (flags & kHasBits) != 0 ? BitBytes(slots) : 0;
    const std::size_t endBytes = columns * (m_wideEnds ? 4 : 2);
    if (flags > (kHasBits | kWideEnds) || slots == 0 || slots > kMostSlots ||
        columns != m_layout.size() || bytes.size() < bitBytes + endBytes)
        return false;
    m_ends = bytes.data() + bitBytes;
    m_bytes = bytes.substr(bitBytes + endBytes);
    if (bitBytes != 0)
        m_bits = StoredBits(bytes.data(), slots);
    m_slots = slots;
    return true;
}

void BlockView::Objects(SlotBits& bits) const
{
    for (unsigned word = 0; word * 64 < m_slots; ++word)
        bits[word] = m_bits.AreThere() ? m_bits.Word(word) : SlotMask(word, m_slots);
}

const Column* BlockView::Values(std::size_t attribute)
{
    std::unique_ptr<Known>& known = m_columns[attribute];
    if (!known)
        known = std::make_unique<Known>();
    if (known->block == m_block)
        return &known->column;
    const auto end = [&](std::size_t i) -> std::size_t {
        return m_wideEnds ? GetLittle<std::uint32_t>(m_ends + i * 4)
                          : GetLittle<std::uint16_t>(m_ends + i * 2);
    };
    const std::size_t first = attribute == 0 ? 0 : end(attribute - 1);
    const std::size_t last = end(attribute);
    const bool isLast = attribute + 1 == m_columns.size();
    if (first > last || last > m_bytes.size() || (isLast && last != m_bytes.size()) ||
        !known->column.Open(m_bytes.substr(first, last - first), m_bytes.size() - last,
                            m_layout[attribute], m_slots))
        return nullptr;
    known->block = m_block;
    return &known->column;
}

bool BlockView::AreFormsSound(const Schema& schema)
{
    std::string room;
    for (std::size_t attribute = 0; attribute < m_columns.size(); ++attribute) {
        const Column* column = Values(attribute);
        for (unsigned slot = 0; column != nullptr && slot < m_slots; ++slot) {
            if (!Has(slot))
                continue;
            const Cell cell = column->At(slot, room);
            std::size_t at = 0;
            if (cell.kind == Cell::Kind::Form &&
                (Manager().Validate(schema.attributes[attribute].type.Id(), cell.form.data(),
                                    cell.form.size(), kStoreFormat, 1, at) != 0 ||
                 at != cell.form.size()))
                return false;
        }
        if (column == nullptr)
            return false;
    }
    return true;
}

} // namespace ko::store::inner
