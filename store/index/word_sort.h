#ifndef KO_STORE_INDEX_WORD_SORT_H
#define KO_STORE_INDEX_WORD_SORT_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ko::store::inner
{

/// A key on its way to its place.
struct SortedKey {
    std::uint64_t word;  ///< eight bytes of it as a number, the first one most significant
    std::uint32_t index; ///< whose key it is
};

/// Sorts keys by their bytes, eight at a time: many keys by counting, 24 bits from the first one
/// that differs, and few by comparing. Equal keys stand in any order.
///
/// Of `Keys`, WordAt(index, offset) gives eight bytes of a key, with zeros behind its end, and
/// Size(index) how many it has. No key is another one's beginning, so that eight bytes that are
/// equal and reach beyond the end of one key are the whole of both.
template <class Keys>
class WordSort
{
public:
    /// `entries` have the indexes; `room` has as many places. Up to the byte `skip` the keys are
    /// equal.
    WordSort(const Keys& keys, std::vector<SortedKey>& entries, std::vector<SortedKey>& room,
             std::size_t skip)
        : m_keys(keys), m_entries(entries), m_other(room)
    {
        if (!entries.empty())
            Sort(0, entries.size(), skip);
    }

private:
    /// So few words are sorted faster by comparing than by counting.
    static constexpr std::size_t kFew = 300;
    static constexpr unsigned kDigit = 12;

    /// From the byte `offset` on, up to which the keys are equal.
    void Sort(std::size_t begin, std::size_t end, std::size_t offset)
    {
        for (;; offset += 8) {
            for (std::size_t i = begin; i < end; ++i)
                m_entries[i].word = m_keys.WordAt(m_entries[i].index, offset);
            if (Different(begin, end) != 0)
                break;
            if (m_keys.Size(m_entries[begin].index) <= offset + 8)
                return; // one key
        }
        SortWords(begin, end);
        for (std::size_t first = begin; first < end;) {
            std::size_t last = first + 1;
            while (last < end && m_entries[last].word == m_entries[first].word)
                ++last;
            if (last - first > 1 && m_keys.Size(m_entries[first].index) > offset + 8)
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
                      [](const SortedKey& a, const SortedKey& b) { return a.word < b.word; });
            return;
        }
        const std::uint64_t different = Different(begin, end);
        if (different == 0)
            return;
        const auto shift = static_cast<unsigned>(
            std::max(0, 64 - std::countl_zero(different) - static_cast<int>(2 * kDigit)));
        SortDigit(m_entries.data() + begin, m_other.data() + begin, end - begin, shift);
        SortDigit(m_other.data() + begin, m_entries.data() + begin, end - begin, shift + kDigit);
        for (std::size_t i = begin; shift != 0 && i < end;) {
            std::size_t j = i + 1;
            while (j < end && (m_entries[j].word ^ m_entries[i].word) >> shift == 0)
                ++j;
            if (j - i > 1)
                SortWords(i, j);
            i = j;
        }
    }

    /// Sorts by kDigit bits of the words, and leaves what is equal there as it was.
    static void SortDigit(const SortedKey* from, SortedKey* to, std::size_t count, unsigned shift)
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

    const Keys& m_keys;
    std::vector<SortedKey>& m_entries;
    std::vector<SortedKey>& m_other;
};

} // namespace ko::store::inner

#endif
