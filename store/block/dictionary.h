#ifndef KO_STORE_BLOCK_DICTIONARY_H
#define KO_STORE_BLOCK_DICTIONARY_H

#include "block/layout.h"

#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// A row of Space::Texts, without its checksum: up to kEntriesInRow entries of the dictionary of an
/// attribute, those from row * kEntriesInRow on. Its key is the attribute (2 bytes) and the row
/// (4).
inline constexpr std::uint32_t kEntriesInRow = 32;

std::string TextKey(std::size_t attribute, std::uint32_t row);
/// False for bytes that are no such key.
bool ReadTextKey(std::string_view key, std::size_t& attribute, std::uint32_t& row);

/// The key of a value in Space::Large: the object's number (6 bytes) and the attribute (2).
std::string LargeKey(std::uint64_t number, std::size_t attribute);
bool ReadLargeKey(std::string_view key, std::uint64_t& number, std::size_t& attribute);

/// The entries of a row where they lie.
class TextRow
{
public:
    /// False for bytes that are no row; nothing beyond them is read. Forms are not looked into.
    bool Open(std::string_view bytes);
    unsigned Count() const { return m_count; }
    std::string_view Form(unsigned index) const;

private:
    unsigned m_count = 0;
    std::string_view m_bytes;
};

/// The forms of an attribute that repeat: each has a number, its entry, that it keeps for ever.
class Dictionary
{
public:
    /// Bytes of forms that a dictionary may hold, whatever the number of its entries.
    static constexpr std::size_t kMostBytes = 4U << 20;
    static constexpr std::uint32_t kNone = UINT32_MAX;

    explicit Dictionary(std::size_t mostBytes = kMostBytes) : m_mostBytes(mostBytes) {}

    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_ends.size()); }
    /// Valid until the next Place or LoadRow; empty where there is no such entry.
    std::string_view Form(std::uint32_t entry) const
    {
        if (entry >= Size())
            return {};
        const std::uint32_t begin = entry == 0 ? 0 : m_ends[entry - 1];
        return std::string_view(m_bytes).substr(begin, m_ends[entry] - begin);
    }
    /// The entry of a form; kNone where it has none.
    std::uint32_t Find(std::string_view form) const;

    /// How a form stands in a block. A form becomes an entry when it is met the second time,
    /// not too long after the first: forms that are met once never fill the dictionary.
    Cell Place(std::string_view form);

    /// Takes the next row of a dictionary that is read, and of its entries no more than make a
    /// dictionary of `size`: those behind them are of a change that broke, or is not seen yet, and
    /// others may come in their place. False where it is damaged, does not follow the one before,
    /// or holds a form twice.
    bool LoadRow(std::uint32_t row, std::string_view bytes, std::uint32_t size = kMostEntries);
    /// Writes a row over `bytes`.
    void WriteRow(std::uint32_t row, std::string& bytes) const;
    std::uint32_t Rows() const { return (Size() + kEntriesInRow - 1) / kEntriesInRow; }
    /// The first row that changed since it was loaded or Written was called; Rows() for none.
    std::uint32_t FirstChanged() const { return m_saved / kEntriesInRow; }
    std::uint32_t SavedSize() const { return m_saved; }
    bool HasChanged() const { return m_saved != Size(); }
    void Written() { m_saved = Size(); }

private:
    /// Open addressing, over a power of two of slots.
    struct Slot {
        std::uint32_t entry;
        std::uint32_t hash; ///< half of it saves most looks at a form
    };

    Slot& SlotOf(std::uint64_t hash, std::string_view form);
    void Add(std::uint64_t hash, std::string_view form);
    void Grow();

    std::size_t m_mostBytes;
    std::string m_bytes;
    std::vector<std::uint32_t> m_ends;
    std::vector<Slot> m_table;
    std::vector<std::uint32_t> m_metOnce; ///< parts of hashes, by others; newer ones replace older
    std::uint32_t m_saved = 0;            ///< entries that stand in the store as they are
};

} // namespace ko::store::inner

#endif
