// How much work plans take beside the best one: for random predicates of two or three conditions
// every way that indexes have is run, and reading all objects, each on a snapshot of its own and
// several times, of which the shortest counts. The work of the way that the planner chooses is told
// as a multiple of the best one's, and what planning itself takes, with the statistics at hand.
// Nothing is told of predicates whose best way takes less than a microsecond.
//
//     plan_work [PREDICATES [ROWS [SEED [ENGINE]]]]     ENGINE: lmdb, memory, or an address to copy
//     to

#include "store/every_way.h"
#include "store/generated_table.h"
#include "store/random_conditions.h"

#include "engine/memory.h"
#include "object/bulk.h"
#include "object/copy_store.h"
#include "query/answer.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>

namespace
{

using ko::store::Error;
using namespace ko::store::inner;

bool isRemote = false;

/// Time of the processor where nobody is waited for, so that other programs have no part in it.
double Now()
{
    std::timespec now{};
    clock_gettime(isRemote ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1000.0;
}

/// In microseconds.
double WorkOf(const ObjectStore& store, const Way* way, const Condition& condition, bool countOnly)
{
    double best = 1e12;
    double all = 0.0;
    for (int run = 0; run < 7 && (run < 2 || all < 20'000.0); ++run) {
        const auto snapshot = store.Read();
        const double start = Now();
        const Condition* const test = way != nullptr && way->exact ? nullptr : &condition;
        if (countOnly) {
            Scan(*snapshot, way, test).Count(UINT64_MAX);
        } else {
            Scan scan(*snapshot, way, test);
            // As whoever reads the objects does.
            std::string room;
            for (auto numbers = scan.Next(4096); !numbers.empty(); numbers = scan.Next(4096)) {
                std::size_t fetched = 0;
                for (std::size_t i = 0; i < numbers.size(); ++i) {
                    if (i == fetched)
                        fetched += snapshot->Fetch(numbers.subspan(i));
                    snapshot->BlockWith(numbers[i]);
                }
            }
        }
        best = std::min(best, Now() - start);
        all += Now() - start;
    }
    return best;
}

struct Told {
    double ratio;
    double best;
    std::string predicate;
    std::string ways;
};

std::string NameOf(const Schema& schema, const Way* way)
{
    if (way == nullptr)
        return "all";
    if (way->kind == Way::Kind::Range)
        return schema.Name(way->range.attribute);
    std::string name;
    for (const Way& part : way->parts)
        name += (name.empty()                   ? "("
                 : way->kind == Way::Kind::Both ? " & "
                                                : " | ") +
                NameOf(schema, &part);
    return name + ")";
}

Told Measure(const ObjectStore& store, const std::string& text, bool countOnly,
             std::vector<double>& planning)
{
    const Schema& schema = store.GetSchema();
    const Condition condition = Condition::Make(ParsePredicate(text), text, schema);
    const auto snapshot = store.Read();
    Wanted wanted;
    wanted.countOnly = countOnly;
    double start = Now();
    const Plan plan = MakePlan(*snapshot, &condition, wanted);
    planning.push_back(Now() - start);
    const Way* const chosen = plan.way ? &*plan.way : nullptr;
    double best = WorkOf(store, nullptr, condition, countOnly);
    std::string name = "all";
    double ofChosen = chosen == nullptr ? best : WorkOf(store, chosen, condition, countOnly);
    const std::string chosenName = NameOf(schema, chosen);
    if (ofChosen < best) {
        best = ofChosen;
        name = chosenName;
    }
    for (const Way& way : EveryWay(plan.narrowed, 6)) {
        const double work = WorkOf(store, &way, condition, countOnly);
        if (NameOf(schema, &way) == chosenName)
            ofChosen = std::min(ofChosen, work);
        if (work < best) {
            best = work;
            name = NameOf(schema, &way);
        }
    }
    return {ofChosen / best, best, text,
            "chose " + chosenName + " " + std::to_string(ofChosen) + ", best " + name + " " +
                std::to_string(best)};
}

void Report(const char* name, Table& table, const std::string& engine, std::size_t predicates,
            unsigned seed)
{
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        table.schema.attributes[i].index = i % 4 != 3;
    const TestFolder folder;
    MemoryStore memory;
    const auto bulk =
        Bulk::Create(engine == "memory" ? memory.StartLoad() : StartLoad(folder.Path("store")),
                     table.schema, folder.Path("scratch"));
    AddRows(table, *bulk);
    bulk->Commit();
    std::string address = folder.Path("store");
    if (isRemote) {
        address = engine + "_" + name;
        CopyStore(folder.Path("store"), address);
    }
    const ObjectStore store(engine == "memory" ? memory.Open(Mode::Read)
                                               : OpenEngine(address, Mode::Read),
                            "store", folder.Path("scratch"));
    RandomConditions conditions(table, seed);
    std::vector<Told> told;
    std::vector<double> planning;
    for (std::size_t i = 0; i < predicates; ++i)
        told.push_back(Measure(store, conditions.Several(), i % 4 == 3, planning));
    std::sort(told.begin(), told.end(),
              [](const Told& a, const Told& b) { return a.ratio < b.ratio; });
    std::sort(planning.begin(), planning.end());
    const auto at = [](const auto& sorted, std::size_t percent) {
        return sorted[std::min(sorted.size() - 1, sorted.size() * percent / 100)];
    };
    std::printf("%-10s %8.2f %8.2f %8.2f %8.2f | %8.1f %8.1f %8.1f\n", name, at(told, 50).ratio,
                at(told, 90).ratio, at(told, 95).ratio, at(told, 99).ratio, at(planning, 50),
                at(planning, 95), at(planning, 99));
    if (std::getenv("KOTM_WORST") != nullptr) {
        for (std::size_t i = told.size() - std::min<std::size_t>(told.size(), 40); i < told.size();
             ++i)
            std::printf("   %7.2f  %s   %s\n", told[i].ratio, told[i].ways.c_str(),
                        told[i].predicate.c_str());
    }
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    const auto number = [&](int at, unsigned long otherwise) {
        return count > at ? std::strtoul(arguments[at], nullptr, 10) : otherwise;
    };
    const std::size_t predicates = number(1, 400);
    const std::size_t rows = number(2, 200'000);
    const auto seed = static_cast<unsigned>(number(3, 1));
    const std::string engine = count > 4 ? arguments[4] : "lmdb";
    isRemote = engine.find("://") != std::string::npos;
    std::printf("%-10s %8s %8s %8s %8s | %8s %8s %8s\n", "table", "work 50", "90", "95", "99",
                "plan us 50", "95", "99");
    std::mt19937_64 random(seed);
    Table sample =
        FromCsv(KOTM_EXAMPLES "/birdstrikes.csv", KOTM_EXAMPLES "/birdstrikes.schema.json");
    Report("sample", sample, engine, predicates, seed);
    Table enlarged = Enlarged(sample, rows, random);
    Report("enlarged", enlarged, engine, predicates, seed);
    Table made = Generated(rows, random);
    Report("generated", made, engine, predicates, seed);
    return 0;
}
