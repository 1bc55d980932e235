#ifndef KO_STORE_QUERY_GATHERER_H
#define KO_STORE_QUERY_GATHERER_H

#include "query/block_at.h"

#include <cstdint>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Gathers the values of some attributes of objects from their blocks, block by block whatever the
/// order of the objects. No other attributes are looked at.
class Gatherer
{
public:
    /// `attributes` are places, or kObjectIdIndex. The snapshot outlives the gatherer.
    Gatherer(Snapshot& snapshot, const std::vector<std::size_t>& attributes);

    /// Throws Error (ErrorCode::Damaged), also for an object that does not exist.
    void Gather(std::span<const std::uint64_t> numbers);

    // Of the objects that were gathered last, by the order in which they were given.

    /// Empty for an absent value. Views hold until Gather.
    std::span<const std::string_view> Forms(std::size_t column) const
    {
        return m_columns[column].forms;
    }
    /// The entry in the attribute's dictionary and one more, or 0 for a value that is in none; no
    /// codes at all where no value is.
    std::span<const std::uint32_t> Codes(std::size_t column) const
    {
        const GatheredColumn& from = m_columns[column];
        return from.hasCodes ? std::span<const std::uint32_t>(from.codes)
                             : std::span<const std::uint32_t>();
    }

private:
    struct GatheredColumn {
        std::size_t attribute;
        std::vector<std::string_view> forms;
        std::vector<std::uint32_t> codes;
        bool hasCodes = false;
        std::vector<std::string_view> entries; ///< of the dictionary, as far as they are known
    };
    struct Wanted {
        std::uint64_t number;
        std::uint32_t row;
    };

    void TakeIds(GatheredColumn& to, std::span<const Wanted> wanted);
    void Take(GatheredColumn& to, const BlockAt& block, std::span<const Wanted> wanted);
    void TakeCell(GatheredColumn& to, const Column& column, unsigned slot, const Wanted& wanted);
    void TakeEntry(GatheredColumn& to, std::uint32_t row, std::uint16_t entry);
    char* Room(std::size_t bytes);
    std::string_view Keep(std::string_view form);

    Snapshot& m_snapshot;
    std::vector<GatheredColumn> m_columns;
    std::vector<Wanted> m_wanted;
    std::vector<char> m_first; ///< what m_room takes from first
    std::pmr::monotonic_buffer_resource m_room;
    std::string m_composed;
    std::string m_large;
};

} // namespace ko::store::inner

#endif
