#include "object/object_store.h"

#include "object/dictionaries.h"
#include "object/entry_changes.h"
#include "object/fingerprint.h"
#include "object/index_feed.h"
#include "object/object_change.h"
#include "object/row_join.h"
#include "object/statistics_feed.h"
#include <kostore.h>

#include <utility>

namespace ko::store::inner
{

namespace
{

constexpr unsigned kMostRuns = 10;
/// Rows of an index that one transaction joins.
constexpr std::size_t kJoinedAtOnce = 1000;
/// And that a walk asks for.
constexpr std::size_t kRowsAtOnce = 256;

void EraseAll(Writer& writer, Space space)
{
    std::vector<std::string> keys;
    const auto cursor = writer.Walk(space, {}, Direction::Forwards);
    for (auto rows = cursor->Next(kRowsAtOnce); !rows.empty(); rows = cursor->Next(kRowsAtOnce)) {
        for (const Row& row : rows)
            keys.emplace_back(row.key);
    }
    for (const std::string& key : keys)
        writer.Erase(space, key);
}

} // namespace

std::shared_ptr<ObjectStore> ObjectStore::Open(const std::string& address, Mode mode)
{
    return std::make_shared<ObjectStore>(OpenEngine(address, mode), NameOfStore(address),
                                         ScratchOfStore(address));
}

ObjectStore::ObjectStore(std::unique_ptr<Engine> engine, std::string name, std::string scratch)
    : m_engine(std::move(engine)), m_name(std::move(name)), m_scratch(std::move(scratch)),
      m_memory(std::make_shared<StoreMemory>(m_engine->About().reach)),
      m_description(Read()->About()),
      m_dictionaries(std::make_unique<Dictionaries>(LayoutOf(m_description.schema)))
{
}

ObjectStore::~ObjectStore() = default;

std::unique_ptr<Snapshot> ObjectStore::Read() const
{
    const Traits& engine = m_engine->About();
    Snapshot::ReadAgain again;
    if (!engine.snapshots)
        again = [from = m_engine] { return from->Read(); };
    return std::make_unique<Snapshot>(m_engine->Read(), engine.viewsLast, m_name, m_memory,
                                      std::move(again));
}

/// Runs a call again where another change came between.
template <class Call>
void ObjectStore::Repeat(const Call& call) const
{
    for (unsigned run = 1;; ++run) {
        try {
            call();
            return;
        } catch (const Conflict& conflict) {
            if (run == kMostRuns)
                throw Error(ErrorCode::Conflict, m_name + ": " + conflict.what() + " " +
                                                     std::to_string(kMostRuns) +
                                                     " times: try again");
        }
    }
}

template <class Once>
void ObjectStore::Run(const Once& once)
{
    const std::lock_guard guard(m_changing);
    Repeat([&] {
        try {
            once(std::shared_ptr<Writer>(m_engine->Write()));
        } catch (...) {
            m_dictionaries->Forget();
            throw;
        }
    });
}

void ObjectStore::Change(const std::function<void(ObjectChange&)>& change)
{
    Run([&](const std::shared_ptr<Writer>& writer) {
        ObjectChange once(writer, m_name, *m_dictionaries);
        change(once);
        once.Commit();
    });
}

/// Fills indexes from the objects, and commits.
void ObjectStore::MakeIndexes(Writer& writer, Snapshot& now, Description description,
                              std::vector<std::size_t> attributes) const
{
    EntryChanges entries(writer);
    for (const std::size_t attribute : attributes)
        entries.Clear({BeforeAttribute(attribute), BehindAttribute(attribute)});
    IndexFeed feed(now, std::move(attributes), m_scratch);
    feed.AddAll();
    // A change that broke over several servers may have left them wrong.
    Counts counts = now.GetCounts();
    if (std::exchange(counts.objects, feed.Objects()) != feed.Objects())
        writer.Put(Space::Description, Counts::kKey, counts.Write());
    for (std::size_t i = 0; i < feed.Attributes().size(); ++i)
        entries.Fill(feed.Entries(i));
    description.order = FingerprintOfOrder(description.schema);
    writer.Put(Space::Description, Description::kKey, description.Write());
    writer.Commit();
}

void ObjectStore::AddIndex(std::size_t attribute)
{
    Run([&](const std::shared_ptr<Writer>& writer) {
        Snapshot now(writer, false, m_name);
        Description description = now.About();
        bool& index = description.schema.attributes[attribute].index;
        if (index)
            return;
        now.NeedIndexes();
        index = true;
        MakeIndexes(*writer, now, std::move(description), {attribute});
    });
}

void ObjectStore::DropIndex(std::size_t attribute)
{
    Run([&](const std::shared_ptr<Writer>& writer) {
        Description description = Snapshot(writer, false, m_name).About();
        bool& index = description.schema.attributes[attribute].index;
        if (!index)
            return;
        index = false;
        EntryChanges(*writer).Clear({BeforeAttribute(attribute), BehindAttribute(attribute)});
        writer->Put(Space::Description, Description::kKey, description.Write());
        writer->Commit();
    });
}

void ObjectStore::Reindex()
{
    Run([&](const std::shared_ptr<Writer>& writer) {
        Snapshot now(writer, false, m_name);
        EntryChanges(*writer).Clear({});
        MakeIndexes(*writer, now, now.About(), IndexedAttributes(now.GetSchema()));
    });
}

/// Where the next rows are that can be joined, from a key on; absent: there are none any more.
std::optional<Range> ObjectStore::FindJoinable(const std::string& from) const
{
    const auto reader = m_engine->Read();
    const auto cursor = reader->Walk(Space::Entries, {from, {}}, Direction::Forwards);
    RowJoin join;
    std::string last;
    for (auto rows = cursor->Next(kRowsAtOnce); !rows.empty(); rows = cursor->Next(kRowsAtOnce)) {
        for (const Row& row : rows) {
            if (join.Takes(row))
                return Range{last, {}};
            join.Start(row);
            last = row.key;
        }
    }
    return {};
}

std::uint64_t ObjectStore::Compact()
{
    std::uint64_t gone = 0;
    std::string from;
    for (;;) {
        std::optional<Range> range;
        Repeat([&] { range = FindJoinable(from); });
        if (!range)
            return gone;
        std::uint64_t here = 0;
        Run([&](const std::shared_ptr<Writer>& writer) {
            here = 0;
            from = EntryChanges(*writer).Join(*range, kJoinedAtOnce, here);
            if (here != 0)
                writer->Commit();
        });
        gone += here;
        // The last one may go on; a row alone has been looked at.
        if (from <= range->low)
            from = range->low + '\0';
    }
}

std::uint64_t ObjectStore::Analyze()
{
    std::uint64_t objects = 0;
    Repeat([&] { objects = AnalyzeOnce(); });
    return objects;
}

std::uint64_t ObjectStore::AnalyzeOnce()
{
    std::unique_lock changing(m_changing, std::defer_lock);
    std::shared_ptr<Writer> writer;
    const auto write = [&] {
        changing.lock();
        writer = m_engine->Write();
    };
    std::unique_ptr<Snapshot> now;
    if (m_engine->About().snapshots) {
        now = Read();
    } else {
        write();
        now = std::make_unique<Snapshot>(writer, false, m_name);
    }
    const std::string key = StatisticsKey(kNoAttribute, kSamplePart);
    const auto before = now->Rows().GetOne(Space::Statistics, key);
    StatisticsBuilder statistics(now->GetSchema(), kStatisticsMemory,
                                 StatisticsBuilder::Counting::All);
    const std::uint64_t objects = AddObjects(*now, 1, statistics);
    if (!writer)
        write();
    // An import that came between knows of more objects.
    if (writer->GetOne(Space::Statistics, key) != before)
        throw Conflict();
    EraseAll(*writer, Space::Statistics);
    statistics.Finish([&](std::size_t i, std::uint32_t entry) { return now->Text(i, entry); },
                      [&](std::string_view row, std::string_view sealed) {
                          writer->Put(Space::Statistics, row, sealed);
                      });
    writer->Commit();
    return objects;
}

} // namespace ko::store::inner
