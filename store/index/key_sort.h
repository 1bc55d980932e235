#ifndef KO_STORE_INDEX_KEY_SORT_H
#define KO_STORE_INDEX_KEY_SORT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ko::store::inner
{

/// Sorts keys by their bytes, eight at a time: many keys by counting, 24 bits from the first one
/// that differs, and few by comparing.
///
/// No key is another one's beginning, and none stands twice. So zeros may stand behind a short key:
/// eight bytes that are equal and reach beyond the end of one key are the whole of both.
class KeySort
{
public:
    struct Key {
        std::uint32_t begin; ///< in the bytes
        std::uint32_t size;
    };
    struct Entry {
        std::uint64_t word;  ///< eight bytes of a key as a number
        std::uint32_t index; ///< whose key it is
    };
    /// What sorting takes for each key.
    static constexpr std::size_t kMemory = 2 * sizeof(Entry);

    /// `bytes` has eight readable bytes behind the last key, and `skip` bytes are the same at the
    /// beginning of all.
    KeySort(const char* bytes, const std::vector<Key>& keys, std::size_t skip);

    /// The keys in ascending order.
    const std::vector<Entry>& Order() const { return m_entries; }

private:
    std::uint64_t WordAt(std::uint32_t index, std::size_t offset) const;
    void Sort(std::size_t begin, std::size_t end, std::size_t offset);
    std::uint64_t Different(std::size_t begin, std::size_t end) const;
    void SortWords(std::size_t begin, std::size_t end);

    const char* m_bytes;
    const std::vector<Key>& m_keys;
    std::vector<Entry> m_entries;
    std::vector<Entry> m_other;
};

} // namespace ko::store::inner

#endif
