#include "index/key_sort.h"

#include "base/bytes.h"

namespace ko::store::inner
{

KeySort::KeySort(const char* bytes, const std::vector<Key>& keys, std::size_t skip)
    : m_bytes(bytes), m_keys(keys), m_entries(keys.size())
{
    for (std::uint32_t i = 0; i < m_entries.size(); ++i)
        m_entries[i].index = i;
    std::vector<Entry> room(keys.size());
    WordSort<KeySort>(*this, m_entries, room, skip);
}

std::uint64_t KeySort::WordAt(std::uint32_t index, std::size_t offset) const
{
    const Key& key = m_keys[index];
    if (offset >= key.size)
        return 0;
    const auto word = GetBig<std::uint64_t>(m_bytes + key.begin + offset);
    const std::size_t left = key.size - offset;
    return left >= 8 ? word : word >> 8 * (8 - left) << 8 * (8 - left);
}

} // namespace ko::store::inner
