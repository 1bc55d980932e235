#ifndef KO_STORE_QUERY_INDEX_ENDS_H
#define KO_STORE_QUERY_INDEX_ENDS_H

#include "object/snapshot.h"
#include "query/index_range.h"

#include <cstddef>
#include <map>
#include <string>

namespace ko::store::inner
{

/// What lies at the ends of indexes, each looked up once.
class IndexEnds
{
public:
    struct Ends {
        std::string lowest; ///< form of the lowest value; empty where there are none but null
        std::string highest;
        bool hasNull = false;
    };

    explicit IndexEnds(Snapshot& snapshot) : m_snapshot(snapshot) {}

    /// Of the index on an attribute that has one. Throws Error (ErrorCode::Damaged).
    const Ends& Of(std::size_t attribute);
    /// True for an index that was asked for before and has a value.
    bool HasValues(std::size_t attribute) const
    {
        const auto ends = m_ends.find(attribute);
        return ends != m_ends.end() && !ends->second.lowest.empty();
    }

private:
    std::string FirstForm(const IndexRange& range, ScanOrder order);

    Snapshot& m_snapshot;
    std::map<std::size_t, Ends> m_ends;
};

} // namespace ko::store::inner

#endif
