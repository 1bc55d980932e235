#include "statistics/kept_statistics.h"

#include "block/checksum.h"
#include "statistics/byte_reader.h"

#include <utility>

namespace ko::store::inner
{

namespace
{

constexpr std::uint8_t kVersion = 1;
/// So long statistics are taken unseen where looking costs a round trip. They change by imports and
/// "analyze" alone, and an old plan is right, if slow.
constexpr std::chrono::seconds kRecent{30};

} // namespace

KnownAttribute::KnownAttribute(std::size_t attribute, o_char type, std::string_view summary,
                               std::string_view column, std::size_t objects)
    : m_summary(Summary::Read(attribute, type, summary)), m_column(attribute, column)
{
    bool fits = m_column.Objects() <= objects;
    for (const Summary::Common& common : m_summary.common)
        fits = fits && common.sampleCode < m_column.EndCode();
    for (const Summary::Bucket& bucket : m_summary.buckets)
        fits = fits && bucket.sampleEnd >= SampleColumn::kFirst &&
               bucket.sampleEnd <= m_column.EndCode();
    if (!fits)
        FailDamaged(Space::Statistics, StatisticsKey(attribute, kSamplePart),
                    "does not belong to the other rows");
    std::vector<bool> isCommon(m_column.EndCode());
    for (const Summary::Common& common : m_summary.common)
        isCommon[common.sampleCode] = true;
    m_restBefore.resize(std::size_t{m_column.EndCode()} + 1);
    for (std::uint16_t code = SampleColumn::kFirst; code < m_column.EndCode(); ++code) {
        const auto next = static_cast<std::uint16_t>(code + 1);
        m_restBefore[next] = m_restBefore[code] + (isCommon[code] ? 0 : m_column.Count(code, next));
    }
}

std::string SampleObjects::Write() const
{
    std::string bytes;
    AppendLittle(bytes, kVersion);
    AppendLittle(bytes, static_cast<std::uint16_t>(numbers.size()));
    AppendLittle(bytes, objects);
    AppendLittle(bytes, nextNumber);
    for (const std::uint64_t number : numbers)
        AppendNumber(bytes, number);
    return bytes;
}

SampleObjects SampleObjects::Read(std::string_view bytes)
{
    const auto fail = [](const char* how) {
        FailDamaged(Space::Statistics, StatisticsKey(kNoAttribute, kSamplePart), how);
    };
    ByteReader reader(bytes);
    if (reader.Next<std::uint8_t>() != kVersion)
        fail("has a version that this program does not know");
    const std::size_t count = reader.Next<std::uint16_t>();
    SampleObjects sample;
    sample.objects = reader.Next<std::uint64_t>();
    sample.nextNumber = reader.Next<std::uint64_t>();
    const std::string_view numbers = reader.Bytes(count * kNumberBytes);
    if (!reader.IsWhole() || count > kMostSample || count > sample.objects)
        fail("holds no sample");
    for (std::size_t i = 0; i < count; ++i)
        sample.numbers.push_back(GetNumber(numbers.data() + i * kNumberBytes));
    return sample;
}

KeptStatistics::Kept<SampleObjects> KeptStatistics::Objects(std::string_view seals) const
{
    const std::lock_guard guard(m_mutex);
    return m_objects.Find(seals);
}

KeptStatistics::Kept<KnownAttribute> KeptStatistics::Attribute(std::size_t attribute,
                                                               std::string_view seals) const
{
    const std::lock_guard guard(m_mutex);
    const auto at = m_attributes.find(attribute);
    return at == m_attributes.end() ? nullptr : at->second.Find(seals);
}

void KeptStatistics::Keep(std::string_view seals, Kept<SampleObjects> objects)
{
    const std::lock_guard guard(m_mutex);
    m_objects = {std::string(seals), std::move(objects)};
}

void KeptStatistics::Keep(std::size_t attribute, std::string_view seals, Kept<KnownAttribute> known)
{
    const std::lock_guard guard(m_mutex);
    m_attributes[attribute] = {std::string(seals), std::move(known)};
}

bool KeptStatistics::IsRecent() const
{
    const std::lock_guard guard(m_mutex);
    return m_looked != std::chrono::steady_clock::time_point{} &&
           std::chrono::steady_clock::now() - m_looked < kRecent;
}

void KeptStatistics::MarkRecent()
{
    const std::lock_guard guard(m_mutex);
    m_looked = std::chrono::steady_clock::now();
}

} // namespace ko::store::inner
