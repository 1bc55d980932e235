#include "statistics/statistics.h"

#include "block/checksum.h"

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// The checksum of a row.
std::string_view SealOf(std::string_view sealed)
{
    return sealed.substr(sealed.size() - std::min(sealed.size(), kSealBytes));
}

} // namespace

Statistics::Statistics(const Schema& schema, Get get, KeptStatistics* kept,
                       std::shared_ptr<const SampleObjects> objects, bool unseen)
    : m_get(std::move(get)), m_kept(kept), m_objects(std::move(objects)), m_unseen(unseen)
{
    for (const Attribute& attribute : schema.attributes)
        m_attributes.push_back({attribute.type.Id(), nullptr});
}

std::unique_ptr<Statistics> Statistics::Open(const Schema& schema, Get get, KeptStatistics* kept)
{
    const std::string key = StatisticsKey(kNoAttribute, kSamplePart);
    const auto row = get(key);
    if (!row)
        return nullptr;
    std::shared_ptr<const SampleObjects> objects;
    if (kept != nullptr)
        objects = kept->Objects(SealOf(*row));
    if (objects == nullptr) {
        objects = std::make_shared<SampleObjects>(
            SampleObjects::Read(Unseal(Space::Statistics, key, *row)));
        if (kept != nullptr)
            kept->Keep(SealOf(*row), objects);
    }
    return std::unique_ptr<Statistics>(
        new Statistics(schema, std::move(get), kept, std::move(objects), false));
}

std::unique_ptr<Statistics> Statistics::Unseen(const Schema& schema, Get get, KeptStatistics& kept)
{
    return std::unique_ptr<Statistics>(
        new Statistics(schema, std::move(get), &kept, kept.Objects({}), true));
}

std::string_view Statistics::Sealed(const std::string& key) const
{
    const auto row = m_get(key);
    if (!row)
        FailDamaged(Space::Statistics, key, "is missing");
    return *row;
}

const KnownAttribute& Statistics::Load(std::size_t attribute)
{
    OneAttribute& one = m_attributes[attribute];
    if (one.known == nullptr && m_unseen)
        one.known = m_kept->Attribute(attribute, {});
    if (one.known != nullptr)
        return *one.known;
    const std::string summaryKey = StatisticsKey(attribute, kSummaryPart);
    const std::string columnKey = StatisticsKey(attribute, kSamplePart);
    std::string seals(SealOf(Sealed(summaryKey)));
    seals += SealOf(Sealed(columnKey));
    if (m_kept != nullptr)
        one.known = m_kept->Attribute(attribute, seals);
    if (one.known == nullptr) {
        const std::string summary(Unseal(Space::Statistics, summaryKey, Sealed(summaryKey)));
        one.known = std::make_shared<KnownAttribute>(
            attribute, one.type, summary, Unseal(Space::Statistics, columnKey, Sealed(columnKey)),
            Sample());
        if (m_kept != nullptr)
            m_kept->Keep(attribute, seals, one.known);
    }
    return *one.known;
}

Statistics::Age Statistics::AgeAt(std::uint64_t objects, std::uint64_t nextNumber) const
{
    const std::uint64_t added = nextNumber > NextNumber() ? nextNumber - NextNumber() : 0;
    const std::uint64_t most = Objects() + added;
    return {added, most > objects ? most - objects : 0};
}

} // namespace ko::store::inner
