#include "statistics/statistics_builder.h"

#include "block/checksum.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

namespace
{

/// Values of one size that are counted one by one, of each attribute.
constexpr std::size_t kFewestKnown = 1024;
constexpr std::size_t kMostKnown = 16'384;
/// So many counted objects tell how many a value has, where each stands for others.
constexpr std::uint64_t kSureOfThinned = 8;

void PutSealed(const StatisticsBuilder::Put& put, std::size_t attribute, char part,
               std::string bytes)
{
    const std::string key = StatisticsKey(attribute, part);
    Seal(Space::Statistics, key, bytes);
    put(key, bytes);
}

} // namespace

StatisticsBuilder::StatisticsBuilder(const Schema& schema, std::size_t memory, Counting counting)
    : m_sample(schema.attributes.size()),
      m_allCounted(counting == Counting::All ? UINT64_MAX : kAllCounted)
{
    std::size_t fixed = 1;
    for (const inner::Attribute& attribute : schema.attributes)
        fixed += attribute.type.FixedSize() != 0 ? 1 : 0;
    for (const inner::Attribute& attribute : schema.attributes) {
        const std::size_t size = attribute.type.FixedSize();
        const std::size_t most =
            std::clamp(memory / fixed / (size + FixedValues::kMemory), kFewestKnown, kMostKnown);
        m_counts.push_back({size == 0, 0, 0, {}, FixedValues(size, most)});
        m_attributes.push_back({attribute.type.Id()});
    }
}

void StatisticsBuilder::Count(std::size_t attribute, const Cell& cell, std::string_view form,
                              std::uint32_t& hint)
{
    if (cell.kind == Cell::Kind::Entry)
        return AddEntry(attribute, cell.entry);
    std::uint32_t known = FixedValues::kNone;
    if (cell.kind != Cell::Kind::Absent)
        known = CountForm(attribute, form, hint);
    if (m_takes)
        Take(attribute, cell, known, form);
}

/// Returns the number of a form that is no entry; kNone where it has none. One that becomes an
/// entry of a dictionary has been here before.
std::uint32_t StatisticsBuilder::CountForm(std::size_t attribute, std::string_view form,
                                           std::uint32_t& hint)
{
    Counts& counts = m_counts[attribute];
    if (hint != 0 && hint < kNoRoom) {
        counts.fixed.Count(hint - 1, m_weight);
        return hint - 1;
    }
    if (hint == 0)
        Meet(attribute, form, hint);
    if (counts.varies) {
        ++counts.others;
        return FixedValues::kNone;
    }
    if (m_weight != 0 && hint != kNoRoom) {
        const std::uint32_t known = counts.fixed.Add(form, m_weight);
        if (known != FixedValues::kNone) {
            hint = known + 1;
            return known;
        }
        hint = kNoRoom;
    }
    counts.others += m_weight;
    return FixedValues::kNone;
}

void StatisticsBuilder::Take(std::size_t attribute, const Cell& cell, std::uint32_t known,
                             std::string_view form)
{
    if (known != FixedValues::kNone)
        m_sample.Put(attribute, SampleCode(SampleCode::kKnown, known));
    else if (cell.kind == Cell::Kind::Large)
        m_sample.Put(attribute, SampleCode(SampleCode::kLarge));
    else if (cell.kind != Cell::Kind::Absent)
        m_sample.PutForm(attribute, form);
}

void StatisticsBuilder::Resume(Statistics& before, std::span<const std::uint32_t> entries)
{
    m_objects = before.Objects();
    m_objectsBefore = m_objects;
    m_firstNew = before.NextNumber();
    m_next = m_firstNew;
    for (std::size_t i = 0; i < m_attributes.size(); ++i) {
        Attribute& about = m_attributes[i];
        about.before = before.Of(i);
        about.columnBefore = before.Column(i);
        about.oldEntries = entries[i];
        about.distinct.Merge(about.before.registers);
        if (about.before.registers.empty()) {
            // The sample has every value.
            for (std::uint16_t code = SampleColumn::kFirst; code < about.columnBefore.EndCode();
                 ++code)
                about.distinct.Add(about.columnBefore.Form(code));
        }
    }
    const std::vector<std::uint64_t>& numbers = before.SampleNumbers();
    for (std::size_t row = 0; row < numbers.size(); ++row) {
        if (!m_sample.Takes(numbers[row], SampleOrder(numbers[row])))
            continue;
        for (std::size_t i = 0; i < m_attributes.size(); ++i) {
            const SampleColumn& column = m_attributes[i].columnBefore;
            const std::uint16_t code =
                row < column.Objects() ? column.Codes()[row] : SampleColumn::kUnkept;
            if (code >= SampleColumn::kFirst)
                m_sample.PutForm(i, column.Form(code));
            else
                m_sample.Put(i, SampleCode(code == SampleColumn::kNull ? SampleCode::kAbsent
                                                                       : SampleCode::kLarge));
        }
    }
}

/// The values of the objects that were there. Those inside buckets are taken to be as many as the
/// sample's there.
void StatisticsBuilder::AddBefore(const Attribute& attribute, ValueList& values) const
{
    const Summary& summary = attribute.before;
    const SampleColumn& column = attribute.columnBefore;
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
void StatisticsBuilder::Weigh(const Attribute& attribute, ValueList& values, double others) const
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
    const double unseen = std::max(attribute.distinct.Count() - known - more, once);
    for (ValueList::Value& value : values.Values()) {
        if (!isUnknown(value))
            continue;
        value.objects = value.newHits * others / std::max(hits, 1.0);
        value.distinct = value.newHits > 1 ? 1.0 : unseen / std::max(once, 1.0);
        value.distinct = std::max(1.0, std::min(value.distinct, value.objects));
    }
}

/// Everything that the store has of the attribute is in the sample.
bool StatisticsBuilder::IsWhole(const Attribute& attribute) const
{
    return m_sample.Count() == m_objects &&
           (m_objectsBefore == 0 || attribute.columnBefore.Objects() == m_objectsBefore);
}

/// The values that are known by a number. Returns how many objects have another one.
double StatisticsBuilder::AddKnown(std::size_t attribute, const Text& text, ValueList& values,
                                   Additions& additions)
{
    const Counts& counts = m_counts[attribute];
    const auto all = static_cast<double>(m_objects - m_objectsBefore - counts.nulls);
    auto others = std::min(static_cast<double>(counts.others), all);
    double known = 0.0;
    for (std::uint32_t i = 0; i < counts.fixed.Size(); ++i) {
        const auto count = static_cast<double>(counts.fixed.Count(i));
        known += count;
        additions.ofKnown.push_back(values.Add(counts.fixed.Form(i), count, 1.0));
    }
    // An entry that was not counted has no objects, or few that others stand for: then it matters
    // where the sample has it.
    std::vector<bool> occurs(counts.entries.size());
    for (std::size_t row = 0; row < m_sample.Count() && !occurs.empty(); ++row) {
        const SampleCode code = m_sample.Code(row, attribute);
        if (code.What() == SampleCode::kKnown)
            occurs[code.Index()] = true;
    }
    for (std::uint32_t i = 0; i < counts.entries.size(); ++i) {
        additions.ofKnown.push_back(0);
        if (counts.entries[i] == 0 && !occurs[i])
            continue;
        // The first object with a form that became an entry was counted with the others.
        const bool isNew = i >= m_attributes[attribute].oldEntries;
        const std::string_view form = text(attribute, i);
        // The object that had the form first may be gone.
        m_attributes[attribute].distinct.Add(form);
        const bool first = isNew && others >= 1.0;
        const double count = static_cast<double>(counts.entries[i]) + (first ? 1.0 : 0.0);
        others -= first ? 1.0 : 0.0;
        known += count;
        additions.ofKnown.back() = values.Add(form, count, 1.0);
    }
    // Counts that stand for others are somewhat off all together; that is known.
    if (known > 0.0 && IsThinned()) {
        for (ValueList::Value& value : values.Values())
            value.objects *= (all - others) / known;
    }
    return others;
}

/// The value that a row of the sample has; null for an absent one, and one too large to be kept.
ValueList::Value* StatisticsBuilder::ValueOf(std::size_t row, std::size_t attribute,
                                             ValueList& values, const Additions& additions) const
{
    const SampleCode code = m_sample.Code(row, attribute);
    if (code.What() == SampleCode::kKnown)
        return &values.Of(additions.ofKnown[code.Index()]);
    return code.What() == SampleCode::kForm ? &values.Of(additions.ofForms + code.Index())
                                            : nullptr;
}

/// The sample's column. Its values get codes in their order, as many as there is room for.
std::string StatisticsBuilder::MakeColumn(std::size_t attribute, ValueList& values,
                                          const Additions& additions) const
{
    std::size_t bytes = 0;
    std::size_t rows = 0;
    for (; rows < m_sample.Count(); ++rows) {
        ValueList::Value* const value = ValueOf(rows, attribute, values, additions);
        if (value == nullptr || value->code != 0)
            continue;
        bytes += value->form.size();
        if (bytes > SampleColumn::kMostBytes)
            break;
        value->code = SampleColumn::kFirst; // until all are known
    }
    FormList forms;
    for (ValueList::Value& value : values.Values()) {
        if (value.code != 0)
            value.code = static_cast<std::uint16_t>(SampleColumn::kFirst + forms.Add(value.form));
    }
    std::vector<std::uint16_t> codes;
    for (std::size_t row = 0; row < rows; ++row) {
        const ValueList::Value* const value = ValueOf(row, attribute, values, additions);
        const bool absent = m_sample.Code(row, attribute).What() == SampleCode::kAbsent;
        codes.push_back(value != nullptr ? value->code
                        : absent         ? SampleColumn::kNull
                                         : SampleColumn::kUnkept);
    }
    return SampleColumn::Write(codes, forms);
}

void StatisticsBuilder::FinishAttribute(std::size_t attribute, const Text& text, const Put& put)
{
    const Counts& counts = m_counts[attribute];
    const Attribute& about = m_attributes[attribute];
    ValueList values(about.type);
    Additions additions;
    const double others = AddKnown(attribute, text, values, additions);
    if (m_objectsBefore != 0)
        AddBefore(about, values);
    const FormList& forms = m_sample.Forms(attribute);
    additions.ofForms = static_cast<std::uint32_t>(values.Values().size());
    for (std::size_t i = 0; i < forms.Count(); ++i)
        values.Add(forms[i], 0.0, 0.0);
    values.Sort();
    for (std::size_t row = 0; row < m_sample.Count(); ++row) {
        if (ValueList::Value* const value = ValueOf(row, attribute, values, additions)) {
            ++value->hits;
            value->newHits += m_sample.Number(row) >= m_firstNew ? 1 : 0;
        }
    }
    const bool whole = IsWhole(about);
    if (whole) {
        for (ValueList::Value& value : values.Values()) {
            value.objects = value.hits;
            value.distinct = 1.0;
        }
    } else {
        Weigh(about, values, others);
    }
    const std::string column = MakeColumn(attribute, values, additions);

    Summary summary;
    summary.objects = m_objects;
    summary.nulls = counts.nulls + about.before.nulls;
    const bool allKnown =
        !counts.varies && !counts.fixed.IsFull() && !IsThinned() && m_objectsBefore == 0;
    summary.exact = whole || allKnown;
    // The values at hand are the fewest that there can be.
    const auto estimated = static_cast<std::uint64_t>(std::llround(about.distinct.Count()));
    summary.distinct = allKnown
                           ? counts.fixed.Size()
                           : std::max<std::uint64_t>(values.Values().size(), whole ? 0 : estimated);
    if (!whole)
        summary.registers = about.distinct.Registers();
    // Fewer objects than several that stand for others may be one value's by chance.
    values.SumUp(summary, IsThinned() ? static_cast<double>(kSureOfThinned * kThinned) : 0.0);
    PutSealed(put, attribute, kSummaryPart, summary.Write());
    PutSealed(put, attribute, kSamplePart, column);
}

void StatisticsBuilder::Finish(const Text& text, const Put& put)
{
    m_sample.Finish();
    for (std::size_t i = 0; i < m_attributes.size(); ++i) {
        FinishAttribute(i, text, put);
    }
    SampleObjects objects{m_objects, m_next, {}};
    for (std::size_t row = 0; row < m_sample.Count(); ++row)
        objects.numbers.push_back(m_sample.Number(row));
    PutSealed(put, kNoAttribute, kSamplePart, objects.Write());
}

} // namespace ko::store::inner
