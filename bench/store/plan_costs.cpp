// What the parts of a find cost, in nanoseconds, for an engine: the figures of query/costs.h. Each
// is the shortest of several runs over a snapshot of its own.
//
//     plan_costs [ROWS [ENGINE]]     ENGINE: lmdb, memory, or an address to copy a store to

#include "store/generated_table.h"

#include "engine/memory.h"
#include "object/bulk.h"
#include "object/copy_store.h"
#include "query/answer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

namespace
{

using namespace ko::store::inner;

constexpr char kSchema[] = R"({"class": "Row", "attributes": [
    {"name": "number", "column": "number", "type": "o_4b", "index": true},
    {"name": "few", "column": "few", "type": "o_4b", "index": true},
    {"name": "word", "column": "word", "type": "KoString", "index": true},
    {"name": "text", "column": "text", "type": "KoString"},
    {"name": "maybe", "column": "maybe", "type": "KoNull_int"}]})";

enum Place : std::size_t { kNumber, kFew, kWord, kText, kMaybe };

Table Made(std::size_t rows)
{
    Table table(Schema::FromJson(kSchema, "schema"));
    std::mt19937_64 random(3);
    for (std::size_t row = 0; row < rows; ++row) {
        table.columns[kNumber].Add(std::to_string(row * 7919 % rows));
        table.columns[kFew].Add(std::to_string(random() % 20));
        table.columns[kWord].Add("word " + std::to_string(random() % 50));
        table.columns[kText].Add("text of its own " + std::to_string(random()));
        table.columns[kMaybe].Add(random() % 2 == 0 ? "" : std::to_string(random() % 10));
    }
    return table;
}

/// Time of the processor where nobody is waited for, so that other programs have no part in it.
double TimeNow(bool isRemote)
{
    std::timespec now{};
    clock_gettime(isRemote ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

class Measure
{
public:
    explicit Measure(const ObjectStore& store)
        : m_store(store), m_isRemote(store.EngineTraits().reach == Reach::Server)
    {
    }

    using Work = std::function<void(Snapshot&)>;
    double Of(const Work& work) const
    {
        double best = 1e18;
        for (int run = 0; run < 7; ++run) {
            const auto snapshot = m_store.Read();
            const double start = Now();
            work(*snapshot);
            best = std::min(best, Now() - start);
        }
        return best;
    }

    double Scanned(const std::string& predicate) const
    {
        const Condition condition =
            Condition::Make(ParsePredicate(predicate), predicate, m_store.GetSchema());
        return Of(
            [&](Snapshot& snapshot) { Scan(snapshot, nullptr, &condition).Count(UINT64_MAX); });
    }
    /// Of the objects of an index; `few`: of one in a thousand, and how many these are.
    double Tested(const Way& way, const std::string& predicate) const
    {
        const Condition condition =
            Condition::Make(ParsePredicate(predicate), predicate, m_store.GetSchema());
        return Of([&](Snapshot& snapshot) { Scan(snapshot, &way, &condition).Count(UINT64_MAX); });
    }
    double Numbers(const Way& way) const
    {
        return Of([&](Snapshot& snapshot) { NumbersOf(snapshot, way); });
    }

private:
    double Now() const { return TimeNow(m_isRemote); }

    const ObjectStore& m_store;
    bool m_isRemote;
};

Way WayOf(const ObjectStore& store, const std::string& predicate)
{
    const Condition condition =
        Condition::Make(ParsePredicate(predicate), predicate, store.GetSchema());
    std::vector<PlanTerm> terms;
    const auto snapshot = store.Read();
    const Narrowed narrowed = Narrow(*snapshot, condition, false, terms);
    return Way::Of(narrowed.parts.begin()->second.range);
}

void Report(const ObjectStore& store, double rows)
{
    const Measure measure(store);
    const auto tell = [](const char* what, double nanoseconds) {
        std::printf("%-58s %10.1f\n", what, nanoseconds);
    };
    const double blocks = rows / store.SlotsOfBlock();
    const Way all = WayOf(store, "number >= 0");
    const Way half = WayOf(store, "few < 10");
    const Way one = WayOf(store, "number = 17");
    const double start = measure.Numbers(one);
    tell("range: to go to a range of one entry", start);
    const double numbers = measure.Numbers(all);
    const double full = measure.Numbers(half);
    tell("entry: in a full row, sorted", (full - start) / (rows / 2));
    tell("row: of one entry, the entry left out",
         (numbers - start) / rows - (full - start) / (rows / 2));
    const double empty = measure.Of([](Snapshot& snapshot) {
        AllObjects objects(snapshot, 1, kMaxObjectNumber);
        while (objects.Next()) {
        }
    });
    tell("next: a block of all objects", empty / blocks);
    for (const char* predicate :
         {"maybe is null", "few = 3", "number = 3", "word = \"word 3\"", "word = \"*3\"",
          "text = \"text of\"", "text = \"*77\"", "few = 3 and number = 3"})
        tell((std::string("scan: an object, ") + predicate).c_str(),
             (measure.Scanned(predicate) - empty) / rows);
    const Way few = WayOf(store, "number < " + std::to_string(static_cast<long>(rows / 2000)));
    const double found = std::floor(rows / 2000);
    const double few0 = measure.Numbers(few);
    const double met = blocks * (1.0 - std::exp(-found / blocks));
    const double fewTested = measure.Tested(few, "few >= 0");
    const double halfTested = measure.Tested(half, "few >= 0");
    const double dense = (halfTested - full - empty) / (rows / 2);
    tell("fetch: an object among many of an index", dense);
    tell("block: and one among few, with its block", (fewTested - few0) / met);
    for (const char* predicate : {"maybe is null", "number = 3", "word = \"word 3\"",
                                  "word = \"*3\"", "text = \"text of\"", "text = \"*77\""})
        tell((std::string("fetch: an object, ") + predicate).c_str(),
             (measure.Tested(few, predicate) - few0) / found);
    const double again = measure.Of([&](Snapshot& snapshot) {
        for (std::size_t block = 0; block < static_cast<std::size_t>(blocks); ++block)
            snapshot.Block(block);
        for (std::size_t block = 0; block < static_cast<std::size_t>(blocks); ++block)
            snapshot.Block(block);
    });
    const double once = measure.Of([&](Snapshot& snapshot) {
        for (std::size_t block = 0; block < static_cast<std::size_t>(blocks); ++block)
            snapshot.Block(block);
    });
    tell("reopen: a block that was met before", (again - once) / std::max(blocks, 1.0));
    const double sorted = measure.Of([&](Snapshot& snapshot) {
        Answer answer(snapshot, {"", {}, "text"}, false);
        while (!answer.Next(4096).empty()) {
        }
    });
    tell("value: an object put in order by a text", sorted / rows);
    const double ordered = measure.Of([&](Snapshot& snapshot) {
        Answer answer(snapshot, {"text = \"*7\"", {}, "maybe"}, false);
        while (!answer.Next(4096).empty()) {
        }
    });
    tell("value: the same by a number, tested before", ordered / rows * 10.0);
    std::printf("%.0f objects in %.0f blocks\n", rows, blocks);
}

} // namespace

int main(int count, char** arguments)
{
    const std::size_t rows = count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 500'000;
    const std::string engine = count > 2 ? arguments[2] : "lmdb";
    const TestFolder folder;
    MemoryStore memory;
    Table table = Made(rows);
    const std::string path = folder.Path("store");
    const auto bulk =
        Bulk::Create(engine == "memory" ? memory.StartLoad() : StartLoad(path), table.schema, path);
    AddRows(table, *bulk);
    bulk->Commit();
    std::string address = path;
    if (engine.find("://") != std::string::npos)
        CopyStore(path, address = engine);
    const ObjectStore store(engine == "memory" ? memory.Open(Mode::Read)
                                               : OpenEngine(address, Mode::Read),
                            "store", path);
    Report(store, static_cast<double>(rows));
    return 0;
}
