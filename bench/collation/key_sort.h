#ifndef KO_BENCH_COLLATION_KEY_SORT_H
#define KO_BENCH_COLLATION_KEY_SORT_H

#include "collation/key_groups.h"
#include "index/word_sort.h"

/// Sorting by sort keys as the store does, which has many of them. Where many keys are equal they
/// are grouped first.
class KeySort
{
public:
    /// The indexes of the keys, in order.
    const std::vector<std::uint32_t>& Sort(const KeyList& keys)
    {
        m_keys = &keys;
        m_bytes = keys.bytes.data();
        m_order.resize(keys.ends.size());
        const bool grouped = m_groups.Find(keys);
        m_entries.resize(grouped ? m_groups.Count() : keys.ends.size());
        for (std::uint32_t i = 0; i < m_entries.size(); ++i)
            m_entries[i].index = grouped ? m_groups.KeyOf(i) : i;
        m_other.resize(m_entries.size());
        ko::store::inner::WordSort<KeySort>(*this, m_entries, m_other, 0);
        const auto at = [this](std::uint32_t place) { return m_entries[place].index; };
        if (grouped)
            m_groups.List(m_order, at);
        else
            for (std::uint32_t i = 0; i < m_order.size(); ++i)
                m_order[i] = at(i);
        return m_order;
    }

private:
    using Entry = ko::store::inner::SortedKey;
    friend class ko::store::inner::WordSort<KeySort>;

    std::uint64_t WordAt(std::uint32_t index, std::size_t offset) const
    {
        std::uint64_t word;
        std::memcpy(&word, m_bytes + m_keys->Begin(index) + offset, sizeof word);
        if constexpr (std::endian::native == std::endian::little)
            word = __builtin_bswap64(word);
        const std::size_t left = Size(index) - offset;
        return left >= 8 ? word : word >> 8 * (8 - left) << 8 * (8 - left);
    }
    std::size_t Size(std::uint32_t index) const { return m_keys->Length(index); }

    KeyGroups m_groups;
    const KeyList* m_keys = nullptr;
    const unsigned char* m_bytes = nullptr;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_other;
    std::vector<std::uint32_t> m_order;
};

#endif
