#include "check/statistics_check.h"

#include "block/checksum.h"
#include "object/statistics_feed.h"
#include "statistics/value_list.h"

#include <algorithm>
#include <memory>
#include <string>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kRowsAtOnce = 16;

class StatisticsCheck
{
public:
    StatisticsCheck(Snapshot& snapshot, Statistics& statistics)
        : m_snapshot(snapshot), m_statistics(statistics)
    {
    }

    void Objects() const
    {
        const std::vector<std::uint64_t>& numbers = m_statistics.SampleNumbers();
        bool sound = m_statistics.NextNumber() <= m_snapshot.GetCounts().nextNumber &&
                     m_statistics.Objects() < m_statistics.NextNumber() &&
                     numbers.size() == std::min<std::uint64_t>(m_statistics.Objects(), kMostSample);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            sound = sound && numbers[i] != 0 && numbers[i] < m_statistics.NextNumber() &&
                    (i == 0 || SampleOrder(numbers[i - 1]) < SampleOrder(numbers[i]));
        }
        if (!sound)
            FailDamaged(Space::Statistics, StatisticsKey(kNoAttribute, kSamplePart),
                        "holds no sample of this store");
    }

    void Attribute(std::size_t attribute) const
    {
        const Summary& summary = m_statistics.Of(attribute);
        const SampleColumn& column = m_statistics.Column(attribute);
        const ValueType& type = m_snapshot.GetSchema().attributes[attribute].type;
        std::uint64_t known = 0;
        bool sound = summary.objects == m_statistics.Objects() &&
                     summary.common.size() <= summary.distinct &&
                     (type.HasNull() || summary.nulls == 0);
        const auto ascends = [&](const auto& list, const auto& form) {
            for (std::size_t i = 0; i < list.size(); ++i) {
                sound =
                    sound &&
                    (i == 0 || OrderOfForms(type.Id(), form(list[i - 1]), form(list[i])) <= 0) &&
                    OrderOfForms(type.Id(), summary.lowest, form(list[i])) <= 0 &&
                    OrderOfForms(type.Id(), form(list[i]), summary.highest) <= 0;
            }
        };
        ascends(summary.common, [](const Summary::Common& one) { return one.form; });
        ascends(summary.buckets, [](const Summary::Bucket& one) { return one.high; });
        for (const Summary::Common& one : summary.common)
            known += one.count;
        for (const Summary::Bucket& one : summary.buckets)
            known += one.count;
        // Of values that vary in size the large ones are known only by their number.
        const bool all = summary.exact && type.FixedSize() != 0;
        if (!sound || (all && known != summary.Values()))
            FailDamaged(Space::Statistics, StatisticsKey(attribute, kSummaryPart),
                        "holds numbers that contradict each other");
        for (std::uint16_t code = SampleColumn::kFirst; code < column.EndCode(); ++code) {
            const std::string_view form = column.Form(code);
            sound = sound && IsForm(type.Id(), form) &&
                    (code == SampleColumn::kFirst ||
                     OrderOfForms(type.Id(), column.Form(static_cast<std::uint16_t>(code - 1)),
                                  form) <= 0);
        }
        for (const Summary::Common& one : summary.common) {
            sound = sound && (one.sampleCode == 0 || (one.sampleCode >= SampleColumn::kFirst &&
                                                      column.Form(one.sampleCode) == one.form));
        }
        if (!sound)
            FailDamaged(Space::Statistics, StatisticsKey(attribute, kSamplePart),
                        "holds no sample of its attribute");
    }

private:
    Snapshot& m_snapshot;
    Statistics& m_statistics;
};

/// Returns false where a row is damaged.
bool CheckRows(Snapshot& snapshot, FaultList& faults)
{
    const std::size_t attributes = snapshot.GetSchema().attributes.size();
    bool sound = true;
    bool any = false;
    bool hasObjects = false;
    const auto cursor = snapshot.Rows().Walk(Space::Statistics, {}, Direction::Forwards);
    for (auto rows = cursor->Next(kRowsAtOnce); !rows.empty(); rows = cursor->Next(kRowsAtOnce)) {
        for (const Row& row : rows) {
            std::size_t attribute = 0;
            char part = 0;
            any = true;
            const bool whole = faults.Try([&] { Unseal(Space::Statistics, row.key, row.value); });
            sound = sound && whole;
            const bool isKey = ReadStatisticsKey(row.key, attribute, part);
            hasObjects = hasObjects || (isKey && attribute == kNoAttribute);
            if (whole && (!isKey || (attribute >= attributes && attribute != kNoAttribute)))
                faults.Add(Space::Statistics, row.key, "belongs to no attribute");
        }
    }
    if (any && !hasObjects)
        faults.Add(Space::Statistics, StatisticsKey(kNoAttribute, kSamplePart), "is missing");
    return sound && hasObjects;
}

} // namespace

void CheckStatistics(Snapshot& snapshot, FaultList& faults)
{
    if (!CheckRows(snapshot, faults))
        return;
    std::unique_ptr<Statistics> statistics;
    if (!faults.Try([&] { statistics = StatisticsOf(snapshot.GetSchema(), snapshot.Rows()); }) ||
        statistics == nullptr)
        return;
    const StatisticsCheck check(snapshot, *statistics);
    faults.Try([&] { check.Objects(); });
    for (std::size_t i = 0; i < snapshot.GetSchema().attributes.size(); ++i)
        faults.Try([&] { check.Attribute(i); });
}

} // namespace ko::store::inner
