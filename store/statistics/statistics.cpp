#include "statistics/statistics.h"

#include "block/checksum.h"
#include "statistics/byte_reader.h"

#include <utility>

namespace ko::store::inner
{

namespace
{

constexpr std::uint8_t kVersion = 1;

} // namespace

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

Statistics::Statistics(const Schema& schema, Get get, SampleObjects objects)
    : m_get(std::move(get)), m_objects(std::move(objects))
{
    for (const Attribute& attribute : schema.attributes)
        m_attributes.push_back({attribute.type.Id(), {}, {}, {}});
}

std::unique_ptr<Statistics> Statistics::Open(const Schema& schema, Get get)
{
    const std::string key = StatisticsKey(kNoAttribute, kSamplePart);
    const auto row = get(key);
    if (!row)
        return nullptr;
    SampleObjects objects = SampleObjects::Read(Unseal(Space::Statistics, key, *row));
    return std::unique_ptr<Statistics>(new Statistics(schema, std::move(get), std::move(objects)));
}

std::string_view Statistics::Row(std::size_t attribute, char part)
{
    const std::string key = StatisticsKey(attribute, part);
    const auto row = m_get(key);
    if (!row)
        FailDamaged(Space::Statistics, key, "is missing");
    return Unseal(Space::Statistics, key, *row);
}

const Summary& Statistics::Of(std::size_t attribute)
{
    OneAttribute& one = m_attributes[attribute];
    if (!one.summary)
        one.summary = Summary::Read(attribute, one.type, Row(attribute, kSummaryPart));
    return *one.summary;
}

const SampleColumn& Statistics::Column(std::size_t attribute)
{
    OneAttribute& one = m_attributes[attribute];
    if (one.column)
        return *one.column;
    const Summary& summary = Of(attribute);
    SampleColumn column(attribute, Row(attribute, kSamplePart));
    bool fits = column.Objects() <= Sample();
    for (const Summary::Common& common : summary.common)
        fits = fits && common.sampleCode < column.EndCode();
    for (const Summary::Bucket& bucket : summary.buckets)
        fits = fits && bucket.sampleEnd >= SampleColumn::kFirst &&
               bucket.sampleEnd <= column.EndCode();
    if (!fits)
        FailDamaged(Space::Statistics, StatisticsKey(attribute, kSamplePart),
                    "does not belong to the other rows");
    one.column = std::move(column);
    return *one.column;
}

const std::vector<std::uint32_t>& Statistics::RestBefore(std::size_t attribute)
{
    OneAttribute& one = m_attributes[attribute];
    if (!one.restBefore.empty())
        return one.restBefore;
    const SampleColumn& column = Column(attribute);
    std::vector<bool> isCommon(column.EndCode());
    for (const Summary::Common& common : Of(attribute).common)
        isCommon[common.sampleCode] = true;
    one.restBefore.resize(std::size_t{column.EndCode()} + 1);
    for (std::uint16_t code = SampleColumn::kFirst; code < column.EndCode(); ++code) {
        const auto next = static_cast<std::uint16_t>(code + 1);
        one.restBefore[next] =
            one.restBefore[code] + (isCommon[code] ? 0 : column.Count(code, next));
    }
    return one.restBefore;
}

Statistics::Age Statistics::AgeAt(std::uint64_t objects, std::uint64_t nextNumber) const
{
    const std::uint64_t added = nextNumber > NextNumber() ? nextNumber - NextNumber() : 0;
    const std::uint64_t most = Objects() + added;
    return {added, most > objects ? most - objects : 0};
}

} // namespace ko::store::inner
