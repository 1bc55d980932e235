#include "object/snapshot.h"

#include <kostore.h>

#include <algorithm>

namespace ko::store::inner
{

Reach Snapshot::EngineReach() const
{
    if (m_memory)
        return m_memory->EngineReach();
    return m_viewsLast ? Reach::Mapped : Reach::Copied;
}

/// Where a question costs a round trip all rows are got with one, and none for a while after that.
std::unique_ptr<Statistics> Snapshot::OpenStatistics(std::span<const std::size_t> attributes)
{
    KeptStatistics* const kept = m_memory ? &m_memory->Statistics() : nullptr;
    const auto get = [this](const std::string& key) -> std::optional<std::string_view> {
        const auto fetched = m_fetchedStatistics.find(key);
        if (fetched != m_fetchedStatistics.end())
            return fetched->second;
        const std::string_view keys[] = {key};
        std::optional<std::string_view> row;
        m_reader->Get(Space::Statistics, keys, [&](std::size_t, std::string_view sealed) {
            row = m_viewsLast ? sealed
                              : std::string_view(m_fetchedStatistics[key] = std::string(sealed));
        });
        return row;
    };
    if (kept == nullptr || EngineReach() != Reach::Server)
        return Statistics::Open(GetSchema(), get, kept);
    if (kept->IsRecent() && kept->Objects({}) == nullptr)
        return nullptr;
    if (kept->IsRecent() &&
        std::all_of(attributes.begin(), attributes.end(), [&](std::size_t attribute) {
            return kept->Attribute(attribute, {}) != nullptr;
        }))
        return Statistics::Unseen(GetSchema(), get, *kept);

    std::vector<std::string> keys;
    for (const std::size_t attribute : attributes) {
        keys.push_back(StatisticsKey(attribute, kSummaryPart));
        keys.push_back(StatisticsKey(attribute, kSamplePart));
    }
    keys.push_back(StatisticsKey(kNoAttribute, kSamplePart));
    std::sort(keys.begin(), keys.end());
    const std::vector<std::string_view> views(keys.begin(), keys.end());
    m_reader->Get(Space::Statistics, views, [&](std::size_t i, std::string_view sealed) {
        m_fetchedStatistics[keys[i]] = sealed;
    });
    auto statistics = Statistics::Open(GetSchema(), get, kept);
    if (statistics == nullptr)
        kept->Keep({}, nullptr);
    kept->MarkRecent();
    return statistics;
}

Statistics* Snapshot::FindStatistics(std::span<const std::size_t> attributes)
{
    std::vector<std::size_t> wanted(attributes.begin(), attributes.end());
    std::sort(wanted.begin(), wanted.end());
    wanted.erase(std::unique(wanted.begin(), wanted.end()), wanted.end());
    if (m_statistics != nullptr &&
        std::includes(m_known.begin(), m_known.end(), wanted.begin(), wanted.end()))
        return m_statistics.get();
    try {
        auto statistics = OpenStatistics(wanted);
        for (const std::size_t attribute : wanted) {
            if (statistics != nullptr)
                statistics->Of(attribute);
        }
        m_statistics = std::move(statistics);
        m_known = std::move(wanted);
    } catch (const Error& error) {
        // Rows of different moments do not fit together.
        if (IsOneMoment() || error.Code() != ErrorCode::Damaged)
            throw;
        m_statistics.reset();
    }
    m_fetchedStatistics.clear();
    return m_statistics.get();
}

} // namespace ko::store::inner
