#ifndef KO_BENCH_COLLATION_KEY_SORT_H
#define KO_BENCH_COLLATION_KEY_SORT_H

#include "collation/key_groups.h"

/// Sorting by sort keys as a user would who has many of them: eight bytes at a time, many by
/// counting, 24 bits from the first one that differs, and few by comparing. Where many keys are
/// equal they are grouped first.
///
/// No key begins another one, so zeros may stand behind a short key: eight bytes that are equal and
/// hold the end of one key are the whole of both.
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
        if (!m_entries.empty())
            Sort(0, m_entries.size(), 0);
        const auto at = [this](std::uint32_t place) { return m_entries[place].index; };
        if (grouped)
            m_groups.List(m_order, at);
        else
            for (std::uint32_t i = 0; i < m_order.size(); ++i)
                m_order[i] = at(i);
        return m_order;
    }

private:
    using Entry = KeyList::Entry;
    static constexpr std::size_t kFew = 300;
    static constexpr unsigned kDigit = 12;

    std::uint64_t WordAt(std::uint32_t index, unsigned offset) const
    {
        std::uint64_t word;
        std::memcpy(&word, m_bytes + m_keys->Begin(index) + offset, sizeof word);
        if constexpr (std::endian::native == std::endian::little)
            word = __builtin_bswap64(word);
        const unsigned left = m_keys->Length(index) - offset;
        return left >= 8 ? word : word >> 8 * (8 - left) << 8 * (8 - left);
    }

    /// From the byte `offset` on, up to which the keys are equal.
    void Sort(std::size_t begin, std::size_t end, unsigned offset)
    {
        for (;; offset += 8) {
            for (std::size_t i = begin; i < end; ++i)
                m_entries[i].word = WordAt(m_entries[i].index, offset);
            if (Different(begin, end) != 0)
                break;
            if (m_keys->Length(m_entries[begin].index) <= offset + 8)
                return;
        }
        SortWords(begin, end);
        for (std::size_t first = begin; first < end;) {
            std::size_t last = first + 1;
            while (last < end && m_entries[last].word == m_entries[first].word)
                ++last;
            if (last - first > 1 && m_keys->Length(m_entries[first].index) > offset + 8)
                Sort(first, last, offset + 8);
            first = last;
        }
    }

    /// The bits in which the words differ.
    std::uint64_t Different(std::size_t begin, std::size_t end) const
    {
        std::uint64_t different = 0;
        for (std::size_t i = begin + 1; i < end; ++i)
            different |= m_entries[i].word ^ m_entries[begin].word;
        return different;
    }

    void SortWords(std::size_t begin, std::size_t end)
    {
        const auto first = m_entries.begin() + static_cast<std::ptrdiff_t>(begin);
        if (end - begin < kFew) {
            std::sort(first, first + static_cast<std::ptrdiff_t>(end - begin),
                      [](const Entry& a, const Entry& b) { return a.word < b.word; });
            return;
        }
        const std::uint64_t different = Different(begin, end);
        if (different == 0)
            return;
        const auto shift = static_cast<unsigned>(
            std::max(0, 64 - std::countl_zero(different) - static_cast<int>(2 * kDigit)));
        Count(m_entries.data() + begin, m_other.data() + begin, end - begin, shift);
        Count(m_other.data() + begin, m_entries.data() + begin, end - begin, shift + kDigit);
        for (std::size_t i = begin; shift != 0 && i < end;) {
            std::size_t j = i + 1;
            while (j < end && (m_entries[j].word ^ m_entries[i].word) >> shift == 0)
                ++j;
            if (j - i > 1)
                SortWords(i, j);
            i = j;
        }
    }

    /// Sorts by `kDigit` bits of the words, and leaves what is equal there as it was.
    static void Count(const Entry* from, Entry* to, std::size_t count, unsigned shift)
    {
        constexpr std::uint64_t kMask = (1U << kDigit) - 1;
        std::uint32_t starts[1U << kDigit] = {};
        for (std::size_t i = 0; i < count; ++i)
            ++starts[from[i].word >> shift & kMask];
        std::uint32_t start = 0;
        for (std::uint32_t& one : starts)
            start += std::exchange(one, start);
        for (std::size_t i = 0; i < count; ++i)
            to[starts[from[i].word >> shift & kMask]++] = from[i];
    }

    KeyGroups m_groups;
    const KeyList* m_keys = nullptr;
    const unsigned char* m_bytes = nullptr;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_other;
    std::vector<std::uint32_t> m_order;
};

#endif
