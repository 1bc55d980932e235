#ifndef KO_BENCH_KEY_SORT_H
#define KO_BENCH_KEY_SORT_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

/// Sorting by sort keys as a user would who has many of them: eight bytes at a time, by counting
/// (a radix sort that begins at the last byte), and where those are equal by the next eight.
///
/// No key begins another one, so zeros may stand behind a short key: eight bytes that are equal and
/// hold the end of one key are the whole of both.
class KeySort
{
public:
    struct Entry {
        std::uint64_t word; ///< eight bytes of the key as a number
        std::uint32_t at;   ///< where the key stands
        std::uint16_t length;
        std::uint16_t unused;
        std::uint32_t index; ///< whose key it is
    };

    /// The keys stand in `keys`, behind which eight bytes may be read.
    KeySort(const unsigned char* keys, std::vector<Entry>& entries)
        : m_keys(keys), m_entries(entries), m_other(entries.size())
    {
    }

    void Sort() { Sort(0, m_entries.size(), 0); }

private:
    static constexpr std::size_t kFew = 400; ///< fewer are sorted by comparing

    std::uint64_t WordAt(const Entry& entry, unsigned offset) const
    {
        std::uint64_t word;
        std::memcpy(&word, m_keys + entry.at + offset, sizeof word);
        word = __builtin_bswap64(word);
        const unsigned left = entry.length - offset;
        return left >= 8 ? word : word >> 8 * (8 - left) << 8 * (8 - left);
    }

    void Sort(std::size_t begin, std::size_t end, unsigned offset)
    {
        for (;; offset += 8) {
            std::uint64_t different = 0;
            for (std::size_t i = begin; i < end; ++i) {
                m_entries[i].word = WordAt(m_entries[i], offset);
                different |= m_entries[i].word ^ m_entries[begin].word;
            }
            if (different != 0) {
                SortWords(begin, end, different);
                break;
            }
            if (m_entries[begin].length <= offset + 8)
                return;
        }
        for (std::size_t first = begin; first < end;) {
            const Entry& entry = m_entries[first];
            std::size_t last = first + 1;
            while (last < end && m_entries[last].word == entry.word)
                ++last;
            if (last - first > 1 && entry.length > offset + 8)
                Sort(first, last, offset + 8);
            first = last;
        }
    }

    void SortWords(std::size_t begin, std::size_t end, std::uint64_t different)
    {
        const auto at = [this](std::size_t i) {
            return m_entries.begin() + static_cast<std::ptrdiff_t>(i);
        };
        if (end - begin < kFew) {
            std::sort(at(begin), at(end),
                      [](const Entry& a, const Entry& b) { return a.word < b.word; });
            return;
        }
        Entry* from = m_entries.data() + begin;
        Entry* to = m_other.data() + begin;
        const std::size_t count = end - begin;
        std::uint32_t starts[8][256] = {};
        for (std::size_t i = 0; i < count; ++i)
            for (unsigned byte = 0; byte < 8; ++byte)
                ++starts[byte][from[i].word >> 8 * byte & 0xFFU];
        for (unsigned byte = 0; byte < 8; ++byte) {
            if ((different >> 8 * byte & 0xFFU) == 0)
                continue;
            std::uint32_t start = 0;
            for (std::uint32_t& one : starts[byte])
                start += std::exchange(one, start);
            for (std::size_t i = 0; i < count; ++i)
                to[starts[byte][from[i].word >> 8 * byte & 0xFFU]++] = from[i];
            std::swap(from, to);
        }
        if (from != m_entries.data() + begin)
            std::copy(from, from + count, at(begin));
    }

    const unsigned char* m_keys;
    std::vector<Entry>& m_entries;
    std::vector<Entry> m_other;
};

#endif
