#include "check/checker.h"

#include "block/checksum.h"
#include "check/fault_list.h"
#include "check/index_check.h"
#include "check/statistics_check.h"
#include "object/block_check.h"
#include "object/index_feed.h"
#include "object/object_store.h"
#include "object/row_walk.h"
#include <kostore.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

namespace
{

class Checker
{
public:
    Checker(Snapshot& snapshot, const std::string& scratch, std::ostream& out)
        : m_snapshot(snapshot), m_reader(snapshot.Rows()), m_schema(snapshot.GetSchema()),
          m_faults(out), m_feed(snapshot, IndexedAttributes(m_schema), scratch),
          m_view(snapshot.Layout())
    {
    }

    std::uint64_t Run()
    {
        CheckDescription();
        CheckTexts();
        CheckObjects();
        // Without all objects each of the others' entries would be a fault.
        const bool sound = m_faults.Count() == 0;
        CheckIndexes(m_reader, m_schema, sound && m_snapshot.IndexesServe() ? &m_feed : nullptr,
                     m_faults);
        if (!m_snapshot.IndexesServe())
            m_faults.Try([&] { m_snapshot.NeedIndexes(); });
        CheckStatistics(m_snapshot, m_faults);
        m_faults.Finish();
        return m_faults.Count();
    }

private:
    void CheckDescription()
    {
        EachRow(m_reader, Space::Description, [&](const Row& row) {
            if (row.key != Description::kKey && row.key != Counts::kKey)
                m_faults.Add(Space::Description, row.key, "is none that a store has");
        });
    }

    bool IsSound(std::size_t attribute, std::string_view form) const
    {
        return m_schema.attributes[attribute].type.IsForm(form);
    }

    void CheckTexts()
    {
        std::size_t attribute = 0;
        Dictionary dictionary;
        const auto finish = [&](std::size_t next) {
            for (; attribute < next; ++attribute, dictionary = Dictionary()) {
                if (dictionary.Size() != m_snapshot.Texts(attribute))
                    m_faults.Add(Space::Texts, TextKey(attribute, dictionary.Rows()),
                                 "ends a dictionary of " + std::to_string(dictionary.Size()) +
                                     " entries where the counts ask for " +
                                     std::to_string(m_snapshot.Texts(attribute)));
            }
        };
        EachRow(m_reader, Space::Texts, [&](const Row& row) {
            m_faults.Try([&] {
                const std::string_view bytes = Unseal(Space::Texts, row.key, row.value);
                std::size_t of = 0;
                std::uint32_t at = 0;
                if (!ReadTextKey(row.key, of, at) || of >= m_schema.attributes.size() ||
                    m_snapshot.Layout()[of] != 0)
                    FailDamaged(Space::Texts, row.key, "belongs to no attribute");
                finish(of);
                // Where there are no moments, what is more than the counts say is of a change that
                // broke or goes on. The next one writes over it.
                const std::uint32_t most =
                    m_snapshot.IsOneMoment() ? kMostEntries : m_snapshot.Texts(of);
                if (at * kEntriesInRow >= most)
                    return;
                const std::uint32_t before = dictionary.Size();
                if (!dictionary.LoadRow(at, bytes, most))
                    FailDamaged(Space::Texts, row.key, "holds no entries, or one twice");
                for (std::uint32_t i = before; i < dictionary.Size(); ++i) {
                    if (!IsSound(of, dictionary.Form(i)))
                        FailDamaged(Space::Texts, row.key,
                                    "holds a value that its type does not write");
                }
            });
        });
        finish(m_schema.attributes.size());
    }

    void CheckObjects()
    {
        m_large = m_reader.Walk(Space::Large, {}, Direction::Forwards);
        std::uint64_t objects = 0;
        EachRow(m_reader, Space::Blocks,
                [&](const Row& row) { m_faults.Try([&] { CheckBlockRow(row, objects); }); });
        ExpectLarge({});
        if (objects != m_snapshot.GetCounts().objects)
            m_faults.Add(std::to_string(objects) + " objects where the counts ask for " +
                         std::to_string(m_snapshot.GetCounts().objects));
    }

    void CheckBlockRow(const Row& row, std::uint64_t& objects)
    {
        const auto damaged = [&](const char* how) { FailDamaged(Space::Blocks, row.key, how); };
        const std::string_view bytes = Unseal(Space::Blocks, row.key, row.value);
        if (row.key.size() != kNumberBytes)
            damaged("has no number");
        const std::uint64_t block = GetNumber(row.key.data());
        if (!m_view.Open(bytes) || m_view.Slots() > m_snapshot.SlotsOfBlock())
            damaged("holds no objects of this store");
        const std::uint64_t first = block * m_snapshot.SlotsOfBlock();
        objects += m_view.CountObjects();
        m_largeHere.clear();
        CheckBlock(m_snapshot, block, m_view, [&](unsigned slot, std::size_t attribute) {
            m_largeHere.push_back(LargeKey(first + slot, attribute));
        });
        std::sort(m_largeHere.begin(), m_largeHere.end());
        for (const std::string& large : m_largeHere)
            ExpectLarge(large);
        if (m_faults.Count() == 0)
            m_feed.Add(block, m_view);
    }

    /// The next large value should have this key, which is empty at the end.
    void ExpectLarge(const std::string& key)
    {
        for (;;) {
            const auto rows = m_peeked ? std::span<const Row>(&*m_peeked, 1) : m_large->Next(1);
            if (rows.empty() || (!key.empty() && rows.front().key > key)) {
                if (!rows.empty())
                    m_peeked = rows.front();
                if (!key.empty())
                    m_faults.Add(Space::Large, key, "is missing");
                return;
            }
            const Row row = rows.front();
            m_peeked.reset();
            if (row.key == key) {
                m_faults.Try([&] { CheckLarge(row); });
                return;
            }
            m_faults.Add(Space::Large, row.key, "belongs to no object");
        }
    }

    void CheckLarge(const Row& row)
    {
        const std::string_view form = Unseal(Space::Large, row.key, row.value);
        std::uint64_t number = 0;
        std::size_t attribute = 0;
        ReadLargeKey(row.key, number, attribute);
        if (form.size() <= kMostInline || !IsSound(attribute, form))
            FailDamaged(Space::Large, row.key, "is no value that its type writes");
    }

    Snapshot& m_snapshot;
    Reader& m_reader;
    const Schema& m_schema;
    FaultList m_faults;
    IndexFeed m_feed;
    BlockView m_view;
    std::unique_ptr<Cursor> m_large; ///< over all large values, as the blocks come
    std::optional<Row> m_peeked;     ///< of it
    std::vector<std::string> m_largeHere;
};

} // namespace

std::uint64_t CheckRows(Snapshot& snapshot, const std::string& scratch, std::ostream& out)
{
    const std::uint64_t faults = Checker(snapshot, scratch, out).Run();
    if (faults != 0 && snapshot.HasChanged())
        throw Conflict();
    return faults;
}

CheckResult CheckStore(const std::string& address, std::ostream& out)
{
    CheckEngine(address);
    const auto store = ObjectStore::Open(address, Mode::Read);
    const auto snapshot = store->Read();
    return {snapshot->GetCounts().objects, CheckRows(*snapshot, ScratchOfStore(address), out)};
}

} // namespace ko::store::inner
