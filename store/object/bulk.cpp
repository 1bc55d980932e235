#include "object/bulk.h"

#include "base/object_number.h"
#include "block/checksum.h"
#include "object/entry_changes.h"
#include "object/fingerprint.h"
#include "object/index_feed.h"
#include "object/statistics_feed.h"
#include <kostore.h>

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// What the sorting of all indexes together may take.
constexpr std::size_t kSortMemory = 16U << 20;
/// So many bytes of forms are enough to tell how large objects are.
constexpr std::size_t kFirstBytes = 1U << 20;

class NewStore : public BulkTarget
{
public:
    explicit NewStore(std::unique_ptr<Loader> loader) : m_loader(std::move(loader)) {}

    void Put(Space space, std::string_view key, std::string_view sealed) override
    {
        m_loader->Append(space, key, sealed);
    }
    void PutIndex(EntryBuilder& entries) override
    {
        entries.Finish([&](std::string_view key, std::string_view value, std::size_t) {
            m_sealed = value;
            Seal(Space::Entries, key, m_sealed);
            m_loader->Append(Space::Entries, key, m_sealed);
        });
    }
    void Commit() override { m_loader->Publish(); }

private:
    std::unique_ptr<Loader> m_loader;
    std::string m_sealed;
};

class OldStore : public BulkTarget
{
public:
    explicit OldStore(std::shared_ptr<Writer> writer)
        : m_writer(std::move(writer)), m_entries(*m_writer)
    {
    }

    void Put(Space space, std::string_view key, std::string_view sealed) override
    {
        m_writer->Put(space, key, sealed);
    }
    void PutIndex(EntryBuilder& entries) override { m_entries.Merge(entries); }
    void Commit() override { m_writer->Commit(); }

private:
    std::shared_ptr<Writer> m_writer;
    EntryChanges m_entries;
};

} // namespace

Bulk::Bulk(std::unique_ptr<BulkTarget> target, std::size_t blockBytes, Description description,
           Counts counts, const std::string& scratch)
    : m_target(std::move(target)), m_blockBytes(blockBytes), m_isNew(description.slotsOfBlock == 0),
      m_description(std::move(description)), m_counts(std::move(counts)),
      m_layout(LayoutOf(GetSchema())), m_dictionaries(m_layout), m_places(m_layout.size()),
      m_builder(m_layout,
                m_description.slotsOfBlock != 0 ? m_description.slotsOfBlock : kMostSlots),
      m_indexed(IndexedAttributes(GetSchema()))
{
    for (const std::size_t i : m_indexed)
        m_indexes.emplace_back(i, GetSchema().attributes[i].type, kSortMemory / m_indexed.size(),
                               scratch);
}

Bulk::~Bulk() = default;

std::unique_ptr<Bulk> Bulk::Create(std::unique_ptr<Loader> loader, const Schema& schema,
                                   const std::string& scratch)
{
    const std::size_t blockBytes = loader->About().blockBytes;
    Counts counts;
    counts.texts.resize(schema.attributes.size());
    std::unique_ptr<Bulk> bulk(new Bulk(std::make_unique<NewStore>(std::move(loader)), blockBytes,
                                        {schema, 0, FingerprintOfOrder(schema)}, std::move(counts),
                                        scratch));
    for (std::size_t i = 0; i < bulk->m_layout.size(); ++i) {
        if (bulk->m_layout[i] == 0)
            bulk->m_places[i] = &bulk->m_dictionaries.New(i);
    }
    bulk->m_statistics.emplace(schema, kStatisticsMemory);
    return bulk;
}

std::unique_ptr<Bulk> Bulk::Grow(Engine& engine, const std::string& name,
                                 const std::string& scratch)
{
    const std::shared_ptr<Writer> writer = engine.Write();
    Snapshot now(writer, false, name);
    now.NeedIndexes();
    std::unique_ptr<Bulk> bulk(new Bulk(std::make_unique<OldStore>(writer),
                                        engine.About().blockBytes, now.About(), now.GetCounts(),
                                        scratch));
    for (std::size_t i = 0; i < bulk->m_layout.size(); ++i) {
        if (bulk->m_layout[i] == 0)
            bulk->m_places[i] = &bulk->m_dictionaries.Of(i, now.Texts(i), *writer);
    }
    const std::uint64_t next = now.GetCounts().nextNumber;
    BlockView* const last = now.Block(now.BlockOf(next));
    if (last != nullptr) {
        SlotBits objects{};
        last->Objects(objects);
        if (last->Slots() > now.SlotOf(next) || !bulk->m_builder.Load(*last))
            FailDamaged(Space::Blocks, BlockKey(now.BlockOf(next)),
                        "holds other objects than it should");
    }
    bulk->ResumeStatistics(now);
    return bulk;
}

/// Goes on from the statistics that a store has, which learn of the objects that single changes
/// added since. A store without any is left without: those of its new objects alone would lie.
void Bulk::ResumeStatistics(Snapshot& now)
{
    if (now.GetCounts().nextNumber != 1) {
        const auto before = StatisticsOf(GetSchema(), now.Rows());
        if (!before)
            return;
        m_statistics.emplace(GetSchema(), kStatisticsMemory);
        m_statistics->Resume(*before, now.GetCounts().texts);
        AddObjects(now, before->NextNumber(), *m_statistics);
    } else {
        m_statistics.emplace(GetSchema(), kStatisticsMemory);
    }
}

Cell Bulk::Place(std::size_t attribute, std::string_view form, FormMemo& memo)
{
    Dictionary* const dictionary = m_places[attribute];
    if (dictionary == nullptr)
        return Cell::OfForm(form);
    if (memo.entry != 0)
        return Cell::OfEntry(memo.entry - 1);
    const Cell cell = dictionary->Place(form);
    if (cell.kind == Cell::Kind::Entry)
        memo.entry = cell.entry + 1U;
    return cell;
}

/// Does what Put does, for most values: those that are known from before. `counted`: the statistics
/// look at the object. False, with nothing done, for other values.
inline bool Bulk::PutKnown(std::size_t attribute, unsigned slot, std::string_view form,
                           const FormMemo& memo, bool counted)
{
    if (form.empty()) {
        if (m_statistics)
            m_statistics->PassNull(attribute);
    } else if (memo.entry != 0) {
        m_builder.PutEntry(attribute, slot, static_cast<std::uint16_t>(memo.entry - 1));
        if (counted)
            m_statistics->AddEntry(attribute, memo.entry - 1);
    } else if (!counted && memo.value != 0 && m_places[attribute] == nullptr &&
               m_description.slotsOfBlock != 0) {
        m_builder.PutFixed(attribute, slot, form);
    } else {
        return false;
    }
    return true;
}

/// Puts a value of the next object where it belongs.
void Bulk::Put(std::size_t attribute, unsigned slot, std::string_view form, FormMemo& memo)
{
    const Cell cell = Place(attribute, form, memo);
    if (m_statistics)
        m_statistics->Add(attribute, cell, form, memo.value);
    if (cell.kind != Cell::Kind::Absent)
        m_builder.Put(attribute, slot, cell);
    if (cell.kind == Cell::Kind::Large) {
        const std::string key = LargeKey(m_counts.nextNumber, attribute);
        m_bytes = form;
        Seal(Space::Large, key, m_bytes);
        m_target->Put(Space::Large, key, m_bytes);
    }
    if (m_description.slotsOfBlock == 0)
        m_firstBytes += cell.form.size();
}

std::uint64_t Bulk::Add(std::span<const std::string_view> forms, std::span<FormMemo* const> memos)
{
    const std::uint64_t number = m_counts.nextNumber;
    if (number > kMaxObjectNumber)
        throw Error(ErrorCode::Io, "the store is full (no object numbers are left)");
    const unsigned slots =
        m_description.slotsOfBlock != 0 ? m_description.slotsOfBlock : kMostSlots;
    const auto slot = static_cast<unsigned>(number % slots);
    m_builder.Add(slot);
    const bool counted = m_statistics && m_statistics->Begin(number);
    for (std::size_t i = 0; i < forms.size(); ++i) {
        if (!PutKnown(i, slot, forms[i], *memos[i], counted))
            Put(i, slot, forms[i], *memos[i]);
    }
    for (std::size_t i = 0; i < m_indexed.size(); ++i) {
        const std::size_t attribute = m_indexed[i];
        m_indexes[i].Add(forms[attribute], number, memos[attribute]->key);
    }
    ++m_counts.objects;
    m_counts.nextNumber = number + 1;
    if (m_description.slotsOfBlock == 0) {
        if (slot + 1 == slots || m_firstBytes >= kFirstBytes)
            ChooseSlots();
    } else if (slot + 1 == slots) {
        WriteBlock(m_builder, number / slots);
    }
    return number;
}

void Bulk::WriteBlock(BlockBuilder& builder, std::uint64_t block)
{
    const std::string key = BlockKey(block);
    builder.Write(m_bytes);
    Seal(Space::Blocks, key, m_bytes);
    m_target->Put(Space::Blocks, key, m_bytes);
    builder.Clear();
}

/// Divides the first objects, which stand in one block as yet, into blocks of the best size.
void Bulk::ChooseSlots()
{
    std::string bytes;
    BlockView first(m_layout);
    if (!m_builder.IsEmpty()) {
        m_builder.Write(bytes);
        first.Open(bytes);
    }
    // Without any object: that of fixed forms, and so many bytes of each other one.
    constexpr std::size_t kGuessed = 16;
    std::size_t size = 1;
    for (const std::size_t fixed : m_layout)
        size += fixed != 0 ? fixed : kGuessed;
    if (first.CountObjects() != 0)
        size = bytes.size() / first.CountObjects() + 1;
    const unsigned slots = SlotsFor(m_blockBytes, size);
    m_description.slotsOfBlock = slots;
    BlockBuilder builder(m_layout, slots);
    Cell cell;
    std::string room;
    for (unsigned slot = 0; slot < first.Slots(); ++slot) {
        if (first.Has(slot)) {
            builder.Add(slot % slots);
            for (std::size_t i = 0; i < m_layout.size(); ++i) {
                first.At(i, slot, cell, room);
                builder.Put(i, slot % slots, cell);
            }
        }
        if (slot % slots == slots - 1)
            WriteBlock(builder, slot / slots);
    }
    m_builder = std::move(builder);
}

void Bulk::Commit()
{
    if (m_description.slotsOfBlock == 0)
        ChooseSlots();
    if (!m_builder.IsEmpty())
        WriteBlock(m_builder, (m_counts.nextNumber - 1) / m_description.slotsOfBlock);
    m_dictionaries.Write([&](std::string_view key,
                             std::string_view sealed) { m_target->Put(Space::Texts, key, sealed); },
                         m_counts.texts);
    for (EntryBuilder& index : m_indexes)
        m_target->PutIndex(index);
    if (m_statistics) {
        m_statistics->Finish(
            [&](std::size_t i, std::uint32_t entry) { return m_places[i]->Form(entry); },
            [&](std::string_view key, std::string_view sealed) {
                m_target->Put(Space::Statistics, key, sealed);
            });
    }
    m_target->Put(Space::Description, Counts::kKey, m_counts.Write());
    if (m_isNew)
        m_target->Put(Space::Description, Description::kKey, m_description.Write());
    m_target->Commit();
}

} // namespace ko::store::inner
