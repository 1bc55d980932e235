#include "query/index_ends.h"

#include "base/object_id.h"
#include "query/scan.h"
#include <kostore.h>

namespace ko::store::inner
{

const IndexEnds::Ends& IndexEnds::Of(std::size_t attribute)
{
    const auto [at, isNew] = m_ends.try_emplace(attribute);
    Ends& ends = at->second;
    if (!isNew)
        return ends;
    const IndexRange values = IndexRange::Values(attribute);
    ends.lowest = FirstForm(values, ScanOrder::Forwards);
    ends.highest = FirstForm(values, ScanOrder::Backwards);
    if (attribute != kObjectIdIndex &&
        m_snapshot.GetSchema().attributes[attribute].type.HasNull()) {
        const IndexRange nulls = IndexRange::Nulls(attribute);
        ends.hasNull = Scan(m_snapshot, &nulls, ScanOrder::Numbers, nullptr).Count(1) != 0;
    }
    return ends;
}

/// The value of the first object that a scan finds; empty where there is none.
std::string IndexEnds::FirstForm(const IndexRange& range, ScanOrder order)
{
    Scan scan(m_snapshot, &range, order, nullptr);
    const std::span<const std::uint64_t> first = scan.Next(1);
    if (first.empty())
        return {};
    if (range.attribute == kObjectIdIndex) {
        char id[kObjectIdBytes];
        PutObjectId(id, first[0]);
        return {id, sizeof id};
    }
    std::string room;
    const auto form = m_snapshot.Value(first[0], range.attribute, room);
    if (!form)
        FailNoObject(m_snapshot, first[0]);
    // Evaluators read a form to the end that it has by itself.
    if (form->empty() ||
        m_snapshot.GetSchema().attributes[range.attribute].type.SizeAt(*form) != form->size())
        throw Error(ErrorCode::Damaged, m_snapshot.Name() + ": is damaged: the index on " +
                                            m_snapshot.GetSchema().Name(range.attribute) +
                                            " has an entry that holds no value");
    return std::string(*form);
}

} // namespace ko::store::inner
