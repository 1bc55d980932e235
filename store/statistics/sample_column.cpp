#include "statistics/sample_column.h"

#include "block/checksum.h"
#include "statistics/byte_reader.h"

namespace ko::store::inner
{

namespace
{

constexpr std::uint8_t kVersion = 1;

} // namespace

std::string SampleColumn::Write(const std::vector<std::uint16_t>& codes, const FormList& forms)
{
    std::string bytes;
    AppendLittle(bytes, kVersion);
    AppendLittle(bytes, static_cast<std::uint16_t>(codes.size()));
    AppendLittle(bytes, static_cast<std::uint16_t>(forms.Count()));
    std::uint32_t end = 0;
    for (std::size_t i = 0; i < forms.Count(); ++i) {
        end += static_cast<std::uint32_t>(forms[i].size());
        AppendLittle(bytes, end);
    }
    for (const std::uint16_t code : codes)
        AppendLittle(bytes, code);
    for (std::size_t i = 0; i < forms.Count(); ++i)
        bytes += forms[i];
    return bytes;
}

SampleColumn::SampleColumn(std::size_t attribute, std::string_view bytes)
{
    const auto fail = [&](const char* how) {
        FailDamaged(Space::Statistics, StatisticsKey(attribute, kSamplePart), how);
    };
    ByteReader reader(bytes);
    if (reader.Next<std::uint8_t>() != kVersion)
        fail("has a version that this program does not know");
    const std::size_t objects = reader.Next<std::uint16_t>();
    const std::size_t forms = reader.Next<std::uint16_t>();
    const std::string_view ends = reader.Bytes(forms * sizeof(std::uint32_t));
    const std::string_view codes = reader.Bytes(objects * sizeof(std::uint16_t));
    bool sound = objects <= kMostSample && forms <= objects && ends.size() == forms * 4 &&
                 codes.size() == objects * 2;
    m_ends.resize(sound ? forms : 0);
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < m_ends.size(); ++i) {
        m_ends[i] = GetLittle<std::uint32_t>(ends.data() + i * 4);
        sound = sound && m_ends[i] > before;
        before = m_ends[i];
    }
    m_forms = reader.Bytes(before);
    if (!sound || !reader.IsWhole())
        fail("holds no sample");
    m_codes.resize(objects);
    m_before.resize(std::size_t{EndCode()} + 1);
    for (std::size_t i = 0; i < objects; ++i) {
        m_codes[i] = GetLittle<std::uint16_t>(codes.data() + i * 2);
        if (m_codes[i] >= EndCode())
            fail("holds no sample");
        ++m_before[m_codes[i] + 1U];
    }
    for (std::size_t code = 0; code < EndCode(); ++code)
        m_before[code + 1] += m_before[code];
}

std::uint16_t SampleColumn::Find(o_char type, std::string_view form, std::uint16_t begin,
                                 std::uint16_t end) const
{
    while (begin < end) {
        const auto middle = static_cast<std::uint16_t>((begin + end) / 2);
        int status = 0;
        if (ComparePersistent(type, Form(middle), form, kPlainOperator, status) < 0)
            begin = static_cast<std::uint16_t>(middle + 1);
        else
            end = middle;
    }
    return begin;
}

} // namespace ko::store::inner
