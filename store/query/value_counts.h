#ifndef KO_STORE_QUERY_VALUE_COUNTS_H
#define KO_STORE_QUERY_VALUE_COUNTS_H

#include "query/block_at.h"
#include <kostore.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace ko::store::inner
{

/// Counts objects by their value of an attribute, on the columns of blocks: a dictionary's entry by
/// its number, without looking at its bytes.
class ValueCounts
{
public:
    /// The snapshot outlives the counts.
    ValueCounts(Snapshot& snapshot, std::size_t attribute);

    /// Takes the objects in some slots of a block. Throws Error (ErrorCode::Damaged).
    void Add(const BlockAt& block, const SlotBits& slots);
    /// A group for each value, in the order of the values, null first.
    std::vector<Group> Groups() const;

private:
    Snapshot& m_snapshot;
    std::size_t m_attribute;
    std::uint64_t m_absent = 0;
    std::vector<std::uint64_t> m_entries; ///< by number
    std::unordered_map<std::string, std::uint64_t> m_forms;
    std::string m_form;
    std::string m_room;
};

} // namespace ko::store::inner

#endif
