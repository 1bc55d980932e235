#include "query/block_groups.h"

#include "query/range_walk.h"
#include <kostore.h>

#include <algorithm>

namespace ko::store::inner
{

AllObjects::AllObjects(Snapshot& snapshot, std::uint64_t first, std::uint64_t last)
    : m_snapshot(snapshot), m_first(first), m_last(last),
      m_isWhole(snapshot.IsOneMoment() && first <= 1 && last + 1 >= snapshot.GetCounts().nextNumber)
{
    if (first <= last)
        m_walk = snapshot.Blocks(snapshot.BlockOf(first), snapshot.BlockOf(last));
}

bool AllObjects::Next()
{
    if (m_walk == nullptr || !m_walk->Next()) {
        const std::uint64_t all = m_snapshot.GetCounts().objects;
        if (m_isWhole && m_met != all)
            throw Error(ErrorCode::Damaged, m_snapshot.Name() + ": is damaged: it has " +
                                                std::to_string(all) + " objects, and " +
                                                std::to_string(m_met) + " were found");
        return false;
    }
    m_block = {&m_walk->Block(), m_walk->FirstObject()};
    m_block.view->Objects(m_slots);
    m_met += CountBits(m_slots, m_block.view->Slots());
    const unsigned words = m_block.Words();
    if (m_first > m_block.firstObject) {
        const auto begin = static_cast<unsigned>(
            std::min<std::uint64_t>(m_first - m_block.firstObject, kMostSlots));
        for (unsigned word = 0; word < words; ++word)
            m_slots[word] &= ~SlotMask(word, begin);
    }
    if (m_last - m_block.firstObject < kMostSlots) {
        const auto end = static_cast<unsigned>(m_last - m_block.firstObject) + 1;
        for (unsigned word = 0; word < words; ++word)
            m_slots[word] &= SlotMask(word, end);
    }
    return true;
}

bool NumberedObjects::Next()
{
    if (m_numbers.empty())
        return false;
    if (m_fetched == 0)
        m_fetched = m_snapshot.Fetch(m_numbers, m_attributes);
    const std::uint64_t block = m_snapshot.BlockOf(m_numbers.front());
    m_block = {m_snapshot.Block(block), block * m_snapshot.SlotsOfBlock()};
    if (m_block.view == nullptr)
        FailNoObject(m_snapshot, m_numbers.front());
    std::fill_n(m_slots.begin(), m_block.Words(), 0);
    std::size_t taken = 0;
    for (; taken < m_numbers.size() && m_snapshot.BlockOf(m_numbers[taken]) == block; ++taken) {
        const unsigned slot = m_snapshot.SlotOf(m_numbers[taken]);
        if (!m_block.view->Has(slot))
            FailNoObject(m_snapshot, m_numbers[taken]);
        SetBit(m_slots, slot);
    }
    m_numbers = m_numbers.subspan(taken);
    m_fetched -= std::min(taken, m_fetched);
    return true;
}

} // namespace ko::store::inner
