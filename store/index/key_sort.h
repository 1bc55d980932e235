#ifndef KO_STORE_INDEX_KEY_SORT_H
#define KO_STORE_INDEX_KEY_SORT_H

#include "index/word_sort.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko::store::inner
{

/// Sorts keys that stand one after another in memory, as WordSort does. No key is another one's
/// beginning, and none stands twice.
class KeySort
{
public:
    struct Key {
        std::uint32_t begin; ///< in the bytes
        std::uint32_t size;
    };
    using Entry = SortedKey;
    /// What sorting takes for each key.
    static constexpr std::size_t kMemory = 2 * sizeof(Entry);

    /// `bytes` has eight readable bytes behind the last key, and `skip` bytes are the same at the
    /// beginning of all.
    KeySort(const char* bytes, const std::vector<Key>& keys, std::size_t skip);

    /// The keys in ascending order.
    const std::vector<Entry>& Order() const { return m_entries; }

private:
    friend class WordSort<KeySort>;

    std::uint64_t WordAt(std::uint32_t index, std::size_t offset) const;
    std::size_t Size(std::uint32_t index) const { return m_keys[index].size; }

    const char* m_bytes;
    const std::vector<Key>& m_keys;
    std::vector<Entry> m_entries;
};

} // namespace ko::store::inner

#endif
