#include "statistics/statistics_builder.h"

#include "block/checksum.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

namespace
{

/// What a known value of one size takes beside its bytes: its count, and its places in a table.
constexpr std::size_t kBytesOfKnown = sizeof(std::uint64_t) + 4 * sizeof(std::uint32_t);
constexpr std::size_t kFewestKnown = 1024;
constexpr std::size_t kMostKnown = 65'536;

void PutSealed(const StatisticsBuilder::Put& put, std::size_t attribute, char part,
               std::string bytes)
{
    const std::string key = StatisticsKey(attribute, part);
    Seal(Space::Statistics, key, bytes);
    put(key, bytes);
}

} // namespace

StatisticsBuilder::StatisticsBuilder(const Schema& schema, std::size_t memory)
    : m_sample(schema.attributes.size())
{
    std::size_t fixed = 1;
    for (const Attribute& attribute : schema.attributes)
        fixed += attribute.type.FixedSize() != 0 ? 1 : 0;
    for (const Attribute& attribute : schema.attributes) {
        const std::size_t size = attribute.type.FixedSize();
        const std::size_t most =
            std::clamp(memory / fixed / (size + kBytesOfKnown), kFewestKnown, kMostKnown);
        m_counts.emplace_back(attribute.type.Id(), FixedValues(size, size == 0 ? 0 : most));
    }
}

/// The number of a value that is met without one, or kNone.
std::uint32_t StatisticsBuilder::Place(Counts& counts, std::string_view form, std::uint32_t& hint)
{
    const std::uint32_t before = counts.fixed.Count();
    if (before != 0 || !counts.fixed.IsFull()) {
        const std::uint32_t known = counts.fixed.Add(form);
        if (known != FixedValues::kNone) {
            if (known == before)
                counts.distinct.Add(form);
            hint = known + 1;
            return known;
        }
    }
    // A form that becomes an entry of a dictionary has been here before.
    counts.distinct.Add(form);
    ++counts.others;
    return FixedValues::kNone;
}

void StatisticsBuilder::Take(std::size_t attribute, const Cell& cell, std::uint32_t known,
                             std::string_view form)
{
    if (cell.kind == Cell::Kind::Absent)
        m_sample.Put(SampleCode(SampleCode::kAbsent));
    else if (known != FixedValues::kNone)
        m_sample.Put(SampleCode(SampleCode::kKnown, known));
    else if (cell.kind == Cell::Kind::Large)
        m_sample.Put(SampleCode(SampleCode::kLarge));
    else
        m_sample.PutForm(attribute, form);
}

void StatisticsBuilder::Resume(Statistics& before, std::span<const std::uint32_t> entries)
{
    m_objects = before.Objects();
    m_objectsBefore = m_objects;
    m_firstNew = before.NextNumber();
    m_next = m_firstNew;
    for (std::size_t i = 0; i < m_counts.size(); ++i) {
        Counts& counts = m_counts[i];
        counts.before = before.Of(i);
        counts.columnBefore = before.Column(i);
        counts.oldEntries = entries[i];
        counts.distinct.Merge(counts.before.registers);
        if (counts.before.registers.empty()) {
            // The sample has every value.
            for (std::uint16_t code = SampleColumn::kFirst; code < counts.columnBefore.EndCode();
                 ++code)
                counts.distinct.Add(counts.columnBefore.Form(code));
        }
    }
    const std::vector<std::uint64_t>& numbers = before.SampleNumbers();
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        if (!m_sample.Takes(numbers[row]))
            continue;
        for (std::size_t i = 0; i < m_counts.size(); ++i) {
            const SampleColumn& column = m_counts[i].columnBefore;
            const std::uint16_t code =
                row < column.Objects() ? column.Codes()[row] : SampleColumn::kUnkept;
            if (code >= SampleColumn::kFirst)
                m_sample.PutForm(i, column.Form(code));
            else
                m_sample.Put(SampleCode(code == SampleColumn::kNull ? SampleCode::kAbsent
                                                                    : SampleCode::kLarge));
        }
    }
}

/// The values of the objects that were there. Those inside buckets are taken to be as many as the
/// sample's there.
void StatisticsBuilder::AddBefore(const Counts& counts, ValueList& values) const
{
    const Summary& summary = counts.before;
    const SampleColumn& column = counts.columnBefore;
    for (const Summary::Common& one : summary.common)
        values.Add(one.form, static_cast<double>(one.count), 1.0);
    std::uint16_t begin = SampleColumn::kFirst;
    for (const Summary::Bucket& bucket : summary.buckets) {
        std::vector<std::uint16_t> inside;
        std::uint32_t hits = 0;
        for (std::uint16_t code = begin; code < std::min(bucket.sampleEnd, column.EndCode());
             ++code) {
            const bool isCommon =
                std::any_of(summary.common.begin(), summary.common.end(),
                            [&](const Summary::Common& one) { return one.sampleCode == code; });
            if (isCommon || column.Form(code) == bucket.high)
                continue;
            inside.push_back(code);
            hits += column.Count(code, static_cast<std::uint16_t>(code + 1));
        }
        begin = bucket.sampleEnd;
        const auto between = static_cast<double>(bucket.count - bucket.ofHigh);
        const double distinct = static_cast<double>(bucket.distinct) - 1.0;
        for (const std::uint16_t code : inside) {
            const double part = column.Count(code, static_cast<std::uint16_t>(code + 1));
            values.Add(column.Form(code), between * part / hits,
                       std::max(1.0, distinct / static_cast<double>(inside.size())));
        }
        const bool whole = inside.empty();
        values.Add(bucket.high, static_cast<double>(whole ? bucket.count : bucket.ofHigh),
                   whole ? static_cast<double>(bucket.distinct) : 1.0);
    }
}

/// Divides the objects whose value is not known by a number: as the sample has them. Values that
/// it met once stand for the ones that it did not meet as well.
void StatisticsBuilder::Weigh(Counts& counts, ValueList& values, double others) const
{
    double known = 0.0;
    double once = 0.0;
    double more = 0.0;
    double hits = 0.0;
    const auto isUnknown = [](const ValueList::Value& value) { return value.objects == 0.0; };
    for (const ValueList::Value& value : values.Values()) {
        if (!isUnknown(value)) {
            known += value.distinct;
            continue;
        }
        hits += value.newHits;
        (value.newHits > 1 ? more : once) += value.newHits == 0 ? 0.0 : 1.0;
    }
    const double unseen = std::max(counts.distinct.Count() - known - more, once);
    for (ValueList::Value& value : values.Values()) {
        if (!isUnknown(value))
            continue;
        value.objects = value.newHits * others / std::max(hits, 1.0);
        value.distinct = value.newHits > 1 ? 1.0 : unseen / std::max(once, 1.0);
        value.distinct = std::max(1.0, std::min(value.distinct, value.objects));
    }
}

void StatisticsBuilder::FinishAttribute(std::size_t attribute, const Text& text, const Put& put)
{
    Counts& counts = m_counts[attribute];
    const std::size_t rows = m_sample.Rows().size();
    const FormList& forms = m_sample.Forms(attribute);
    Summary summary;
    summary.objects = m_objects;
    summary.nulls = counts.nulls + counts.before.nulls;
    const bool whole = rows == m_objects &&
                       (m_objectsBefore == 0 || counts.columnBefore.Objects() == m_objectsBefore);
    const bool isFixed = !counts.fixed.IsFull();

    // What is known by numbers, what was there before, and what the sample has.
    ValueList values(counts.type);
    constexpr std::uint32_t kNone = UINT32_MAX;
    std::vector<std::uint32_t> ofKnown(counts.known.size(), kNone);
    std::uint64_t others = counts.others;
    for (std::uint32_t i = 0; i < counts.known.size(); ++i) {
        if (counts.known[i] == 0)
            continue;
        const bool varies = counts.fixed.Count() == 0;
        // The first object with a form that became an entry was counted with the others.
        const bool first = varies && i >= counts.oldEntries && others > 0;
        others -= first ? 1 : 0;
        const std::string_view form = varies ? text(attribute, i) : counts.fixed.Form(i);
        ofKnown[i] = values.Add(form, static_cast<double>(counts.known[i] + (first ? 1 : 0)), 1.0);
    }
    if (m_objectsBefore != 0)
        AddBefore(counts, values);
    const auto ofForms = static_cast<std::uint32_t>(values.Values().size());
    for (std::size_t i = 0; i < forms.Count(); ++i)
        values.Add(forms[i], 0.0, 0.0);
    values.Sort();

    const auto valueOf = [&](SampleCode code) -> ValueList::Value* {
        if (code.What() == SampleCode::kKnown)
            return &values.Of(ofKnown[code.Index()]);
        return code.What() == SampleCode::kForm ? &values.Of(ofForms + code.Index()) : nullptr;
    };
    for (std::size_t row = 0; row < rows; ++row) {
        if (ValueList::Value* const value = valueOf(m_sample.Code(row, attribute))) {
            ++value->hits;
            value->newHits += m_sample.Rows()[row].number >= m_firstNew ? 1 : 0;
        }
    }
    if (whole) {
        for (ValueList::Value& value : values.Values()) {
            value.objects = value.hits;
            value.distinct = 1.0;
        }
    } else {
        Weigh(counts, values, static_cast<double>(others));
    }

    // The sample's values get codes in their order, as many as there is room for.
    FormList kept;
    std::vector<std::uint16_t> codes;
    std::size_t bytes = 0;
    std::size_t keptRows = 0;
    for (; keptRows < rows; ++keptRows) {
        ValueList::Value* const value = valueOf(m_sample.Code(keptRows, attribute));
        if (value == nullptr || value->code != 0)
            continue;
        bytes += value->form.size();
        if (bytes > SampleColumn::kMostBytes)
            break;
        value->code = 1; // for now
    }
    for (ValueList::Value& value : values.Values()) {
        if (value.code != 0)
            value.code = static_cast<std::uint16_t>(SampleColumn::kFirst + kept.Add(value.form));
    }
    for (std::size_t row = 0; row < keptRows; ++row) {
        const SampleCode code = m_sample.Code(row, attribute);
        const ValueList::Value* const value = valueOf(code);
        codes.push_back(value != nullptr                     ? value->code
                        : code.What() == SampleCode::kAbsent ? SampleColumn::kNull
                                                             : SampleColumn::kUnkept);
    }
    values.SumUp(summary);
    summary.exact = whole || (isFixed && m_objectsBefore == 0);
    summary.distinct = whole ? values.Values().size()
                       : summary.exact
                           ? counts.fixed.Count()
                           : static_cast<std::uint64_t>(std::llround(counts.distinct.Count()));
    if (!whole)
        summary.registers = counts.distinct.Registers();
    PutSealed(put, attribute, kSummaryPart, summary.Write());
    PutSealed(put, attribute, kSamplePart, SampleColumn::Write(codes, kept));
}

void StatisticsBuilder::Finish(const Text& text, const Put& put)
{
    m_sample.Finish();
    for (std::size_t i = 0; i < m_counts.size(); ++i)
        FinishAttribute(i, text, put);
    SampleObjects objects{m_objects, m_next, {}};
    for (const SampleRows::Row& row : m_sample.Rows())
        objects.numbers.push_back(row.number);
    PutSealed(put, kNoAttribute, kSamplePart, objects.Write());
}

} // namespace ko::store::inner
