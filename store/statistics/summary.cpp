#include "statistics/summary.h"

#include "block/checksum.h"
#include "statistics/byte_reader.h"
#include "statistics/hyper_log_log.h"

namespace ko::store::inner
{

namespace
{

constexpr std::uint8_t kVersion = 1;
constexpr std::uint8_t kExact = 1;
constexpr std::uint8_t kHasRegisters = 2;

void AppendForm(std::string& bytes, std::string_view form)
{
    AppendLittle(bytes, static_cast<std::uint16_t>(form.size()));
    bytes += form;
}

/// An empty one where it is no form of the type.
std::string NextForm(ByteReader& reader, o_char type)
{
    const std::string_view form = reader.Bytes(reader.Next<std::uint16_t>());
    return IsForm(type, form) ? std::string(form) : std::string();
}

/// What the numbers of a summary must have among themselves.
bool IsSound(const Summary& summary)
{
    if (summary.nulls > summary.objects || summary.lowest.empty() != summary.highest.empty())
        return false;
    std::uint64_t left = summary.Values();
    const auto take = [&](std::uint64_t count) {
        const bool fits = count <= left;
        left -= fits ? count : 0;
        return fits;
    };
    for (const Summary::Common& common : summary.common) {
        if (common.form.empty() || !take(common.count))
            return false;
    }
    std::uint16_t end = 0;
    for (const Summary::Bucket& bucket : summary.buckets) {
        if (bucket.high.empty() || !take(bucket.count) || bucket.ofHigh > bucket.count ||
            bucket.distinct == 0 || bucket.sampleEnd < end)
            return false;
        end = bucket.sampleEnd;
    }
    return !summary.lowest.empty() || (summary.common.empty() && summary.buckets.empty());
}

} // namespace

std::string StatisticsKey(std::size_t attribute, char part)
{
    std::string key;
    AppendBig(key, static_cast<std::uint16_t>(attribute));
    key += part;
    return key;
}

bool ReadStatisticsKey(std::string_view key, std::size_t& attribute, char& part)
{
    if (key.size() != 3)
        return false;
    attribute = GetBig<std::uint16_t>(key.data());
    part = key[2];
    return part == kSamplePart || (part == kSummaryPart && attribute != kNoAttribute);
}

bool IsForm(o_char type, std::string_view bytes)
{
    std::size_t at = 0;
    return !bytes.empty() &&
           Manager().Validate(type, bytes.data(), bytes.size(), kStoreFormat, 1, at) == 0 &&
           at == bytes.size();
}

std::string Summary::Write() const
{
    std::string bytes;
    AppendLittle(bytes, kVersion);
    AppendLittle(bytes, static_cast<std::uint8_t>((exact ? kExact : 0) |
                                                  (registers.empty() ? 0 : kHasRegisters)));
    AppendLittle(bytes, static_cast<std::uint16_t>(common.size()));
    AppendLittle(bytes, static_cast<std::uint16_t>(buckets.size()));
    AppendLittle(bytes, objects);
    AppendLittle(bytes, nulls);
    AppendLittle(bytes, distinct);
    AppendForm(bytes, lowest);
    AppendForm(bytes, highest);
    for (const Common& one : common) {
        AppendLittle(bytes, one.count);
        AppendLittle(bytes, one.sampleCode);
        AppendForm(bytes, one.form);
    }
    for (const Bucket& one : buckets) {
        AppendLittle(bytes, one.count);
        AppendLittle(bytes, one.ofHigh);
        AppendLittle(bytes, one.distinct);
        AppendLittle(bytes, one.sampleEnd);
        AppendForm(bytes, one.high);
    }
    bytes += registers;
    return bytes;
}

Summary Summary::Read(std::size_t attribute, o_char type, std::string_view bytes)
{
    ByteReader reader(bytes);
    Summary summary;
    const auto version = reader.Next<std::uint8_t>();
    const auto flags = reader.Next<std::uint8_t>();
    const std::size_t commons = reader.Next<std::uint16_t>();
    const std::size_t buckets = reader.Next<std::uint16_t>();
    const auto fail = [&](const char* how) {
        FailDamaged(Space::Statistics, StatisticsKey(attribute, kSummaryPart), how);
    };
    if (version != kVersion)
        fail("has a version that this program does not know");
    if (flags > (kExact | kHasRegisters) || commons > kMostCommon || buckets > kMostBuckets)
        fail("holds no statistics");
    summary.exact = (flags & kExact) != 0;
    summary.objects = reader.Next<std::uint64_t>();
    summary.nulls = reader.Next<std::uint64_t>();
    summary.distinct = reader.Next<std::uint64_t>();
    summary.lowest = NextForm(reader, type);
    summary.highest = NextForm(reader, type);
    summary.common.resize(commons);
    for (Common& one : summary.common) {
        one.count = reader.Next<std::uint64_t>();
        one.sampleCode = reader.Next<std::uint16_t>();
        one.form = NextForm(reader, type);
    }
    summary.buckets.resize(buckets);
    for (Bucket& one : summary.buckets) {
        one.count = reader.Next<std::uint64_t>();
        one.ofHigh = reader.Next<std::uint64_t>();
        one.distinct = reader.Next<std::uint64_t>();
        one.sampleEnd = reader.Next<std::uint16_t>();
        one.high = NextForm(reader, type);
    }
    if ((flags & kHasRegisters) != 0)
        summary.registers = reader.Bytes(HyperLogLog::kRegisters);
    if (!reader.IsWhole() || !IsSound(summary))
        fail("holds no statistics");
    return summary;
}

} // namespace ko::store::inner
