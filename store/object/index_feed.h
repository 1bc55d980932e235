#ifndef KO_STORE_OBJECT_INDEX_FEED_H
#define KO_STORE_OBJECT_INDEX_FEED_H

#include "index/entry_builder.h"
#include "object/snapshot.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// Gathers the entries of indexes from the objects that are there.
class IndexFeed
{
public:
    /// `scratch` is the path beside which temporary files come and go.
    IndexFeed(Snapshot& snapshot, std::vector<std::size_t> attributes, const std::string& scratch);

    /// Takes the objects of a block; blocks come in ascending order.
    void Add(std::uint64_t block, BlockView& objects);
    void AddAll();

    /// How many objects there were.
    std::uint64_t Objects() const { return m_objects; }
    const std::vector<std::size_t>& Attributes() const { return m_attributes; }
    /// That of the attribute at a place in Attributes.
    EntryBuilder& Entries(std::size_t place) { return m_entries[place]; }

private:
    Snapshot& m_snapshot;
    std::vector<std::size_t> m_attributes;
    std::vector<EntryBuilder> m_entries;
    std::vector<std::vector<std::uint64_t>> m_hints; ///< of dictionary entries
    std::uint64_t m_objects = 0;
    std::string m_room;
};

/// The attributes of a schema that have an index.
std::vector<std::size_t> IndexedAttributes(const Schema& schema);

} // namespace ko::store::inner

#endif
