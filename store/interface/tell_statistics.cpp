#include "interface/tell_statistics.h"

#include "object/statistics_feed.h"

#include <utility>

namespace ko::store::inner
{

namespace
{

AttributeStatistics Tell(Statistics& statistics, std::size_t attribute)
{
    const Summary& summary = statistics.Of(attribute);
    AttributeStatistics told;
    told.nulls = summary.nulls;
    told.distinct = summary.distinct;
    told.exact = summary.exact;
    told.lowest = summary.lowest;
    told.highest = summary.highest;
    for (const Summary::Common& one : summary.common)
        told.common.push_back({one.form, one.count});
    for (const Summary::Bucket& one : summary.buckets)
        told.buckets.push_back({one.high, one.count, one.ofHigh, one.distinct});
    told.sample = statistics.Column(attribute).Objects();
    return told;
}

} // namespace

std::optional<StoreStatistics> TellStatistics(Snapshot& snapshot)
{
    const auto statistics = StatisticsOf(snapshot.GetSchema(), snapshot.Rows());
    if (!statistics)
        return {};
    const Counts& counts = snapshot.GetCounts();
    const Statistics::Age age = statistics->AgeAt(counts.objects, counts.nextNumber);
    StoreStatistics told{statistics->Objects(), statistics->Sample(), age.added, age.erased, {}};
    for (std::size_t i = 0; i < snapshot.GetSchema().attributes.size(); ++i)
        told.attributes.push_back(Tell(*statistics, i));
    return told;
}

} // namespace ko::store::inner
