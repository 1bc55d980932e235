#include "index/key_sort.h"

#include "base/bytes.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// So few words are sorted faster by comparing than by counting.
constexpr std::size_t kFew = 300;
constexpr unsigned kDigit = 12;

/// Sorts by kDigit bits of the words, and leaves what is equal there as it was.
void SortDigit(const KeySort::Entry* from, KeySort::Entry* to, std::size_t count, unsigned shift)
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

} // namespace

KeySort::KeySort(const char* bytes, const std::vector<Key>& keys, std::size_t skip)
    : m_bytes(bytes), m_keys(keys), m_entries(keys.size()), m_other(keys.size())
{
    for (std::uint32_t i = 0; i < m_entries.size(); ++i)
        m_entries[i].index = i;
    if (!keys.empty())
        Sort(0, keys.size(), skip);
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

/// From the byte `offset` on, up to which the keys are equal.
void KeySort::Sort(std::size_t begin, std::size_t end, std::size_t offset)
{
    for (;; offset += 8) {
        for (std::size_t i = begin; i < end; ++i)
            m_entries[i].word = WordAt(m_entries[i].index, offset);
        if (Different(begin, end) != 0)
            break;
        if (m_keys[m_entries[begin].index].size <= offset + 8)
            return; // one key
    }
    SortWords(begin, end);
    for (std::size_t first = begin; first < end;) {
        std::size_t last = first + 1;
        while (last < end && m_entries[last].word == m_entries[first].word)
            ++last;
        if (last - first > 1)
            Sort(first, last, offset + 8);
        first = last;
    }
}

/// The bits in which the words differ.
std::uint64_t KeySort::Different(std::size_t begin, std::size_t end) const
{
    std::uint64_t different = 0;
    for (std::size_t i = begin + 1; i < end; ++i)
        different |= m_entries[i].word ^ m_entries[begin].word;
    return different;
}

void KeySort::SortWords(std::size_t begin, std::size_t end)
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

} // namespace ko::store::inner
