// A query of kotm that finds a thousandth of the objects: by the plan that the types' estimates
// make, parsing and planning included, beside reading all objects, and beside SQLite with the same
// index. Both answer with the sum of an attribute that has no index, which takes each object found.
//
// The second work is the same for one object. What the planner's costs are made of is measured by
// bench/store/plan_costs.
//
// KOTM_BENCH_ROWS is the number of objects.

#include "ratio.h"
#include "sqlite_peer.h"

#include "import/importer.h"
#include "object/object_store.h"
#include "query/planner.h"
#include "query/scan.h"

#include <algorithm>
#include <fstream>
#include <numeric>
#include <sstream>

namespace
{

using namespace ko::store::inner;

constexpr char kSchema[] = R"({"class": "Row", "attributes": [
    {"name": "number", "column": "number", "type": "o_4b", "index": true},
    {"name": "amount", "column": "amount", "type": "o_4b"},
    {"name": "name", "column": "name", "type": "KoString"}]})";
constexpr std::size_t kNumber = 0;
constexpr std::size_t kAmount = 1;

struct Data {
    Folder folder;
    unsigned rows = 20000;
    std::string store = folder / "store";
    std::string database = folder / "database";
};

/// Numbers from 0 on, each once, in random order.
void Fill(Data& data)
{
    std::mt19937 random(3);
    std::vector<unsigned> numbers(data.rows);
    std::iota(numbers.begin(), numbers.end(), 0U);
    for (std::size_t i = numbers.size(); i > 1; --i)
        std::swap(numbers[i - 1], numbers[random() % i]);

    Database db(data.database);
    db.Run("BEGIN");
    db.Run("CREATE TABLE t (number INTEGER, amount INTEGER, name TEXT)");
    sqlite3_stmt* insert = db.Prepare("INSERT INTO t VALUES (?, ?, ?)");
    const std::string path = data.folder / "rows.csv";
    std::ofstream csv(path, std::ios::binary);
    csv << "number,amount,name\n";
    for (const unsigned number : numbers) {
        const auto amount = static_cast<int>(random() % 100000);
        const std::string name = "name of number " + std::to_string(number);
        csv << number << ',' << amount << ',' << name << '\n';
        sqlite3_bind_int64(insert, 1, number);
        sqlite3_bind_int(insert, 2, amount);
        sqlite3_bind_text(insert, 3, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
        if (sqlite3_step(insert) != SQLITE_DONE)
            Fail("a row that cannot be inserted");
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    db.Run("CREATE INDEX i_number ON t (number)");
    db.Run("COMMIT");
    csv.close();
    std::ostringstream messages;
    if (Import({data.store, path, {}}, Schema::FromJson(kSchema, "schema"), messages).stored !=
        data.rows)
        Fail("rows are missing");
}

/// Conditions that one object meets.
std::string NextOne(const Data& data, std::mt19937& random)
{
    return "number = " + std::to_string(random() % data.rows);
}

/// Conditions that a thousandth of the objects meet.
std::string NextPredicate(const Data& data, std::mt19937& random)
{
    const unsigned found = std::max(data.rows / 1000, 1U);
    const auto from = static_cast<unsigned>(random() % (data.rows - found));
    return "number >= " + std::to_string(from) + " and number < " + std::to_string(from + found);
}

long long SumByKotm(Snapshot& snapshot, const std::string& predicate, bool planned)
{
    const Condition condition =
        Condition::Make(ParsePredicate(predicate), predicate, snapshot.GetSchema());
    std::optional<Plan> plan;
    if (planned) {
        plan = MakePlan(snapshot, &condition, {});
        if (!plan->way)
            Fail("the plan does not use the index");
    }
    Scan scan(snapshot, planned ? &*plan->way : nullptr,
              plan && plan->way->exact ? nullptr : &condition);
    long long sum = 0;
    std::string room;
    for (auto numbers = scan.Next(1024); !numbers.empty(); numbers = scan.Next(1024)) {
        for (const std::uint64_t number : numbers) {
            o_4b amount = 0;
            Manager().Load(Ko4B_T, &amount, snapshot.Value(number, kAmount, room)->data(),
                           kStoreFormat, 1);
            sum += amount;
        }
    }
    return sum;
}

long long SumBySqlite(Database& db, const std::string& predicate)
{
    sqlite3_stmt* statement = db.Prepare("SELECT amount FROM t WHERE " + predicate);
    long long sum = 0;
    while (sqlite3_step(statement) == SQLITE_ROW)
        sum += sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    return sum;
}

template <class Answer, class Next>
void BenchQuery(benchmark::State& state, const Data& data, Answer answer, Next next)
{
    std::mt19937 random(4);
    for (auto _ : state)
        benchmark::DoNotOptimize(answer(next(data, random)));
}

template <class Bench, class... Arguments>
void Register(const char* name, Bench bench, Arguments... arguments)
{
    benchmark::RegisterBenchmark(name, bench, arguments...)->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv)
{
    Data data;
    if (const char* rows = std::getenv("KOTM_BENCH_ROWS"))
        data.rows = std::max(1000U, static_cast<unsigned>(std::strtoul(rows, nullptr, 10)));
    Fill(data);
    const auto store = ObjectStore::Open(data.store, Mode::Read);
    Database db(data.database);
    const std::unique_ptr<Snapshot> snapshot = store->Read();
    db.Run("BEGIN"); // as the snapshot is one read transaction

    const auto planned = [&](const std::string& text) { return SumByKotm(*snapshot, text, true); };
    const auto all = [&](const std::string& text) { return SumByKotm(*snapshot, text, false); };
    const auto sqlite = [&](const std::string& text) { return SumBySqlite(db, text); };
    std::mt19937 random(5);
    for (int i = 0; i < 5; ++i) {
        const std::string text = NextPredicate(data, random);
        if (planned(text) != all(text) || planned(text) != sqlite(text))
            Fail("the answers differ");
    }

    const auto query = [&](const char* name, auto answer, auto next) {
        Register(name, [&data, answer, next](benchmark::State& state) {
            BenchQuery(state, data, answer, next);
        });
    };
    query("a thousandth/ours", planned, NextPredicate);
    query("a thousandth/all objects", all, NextPredicate);
    query("a thousandth/sqlite", sqlite, NextPredicate);
    query("one/ours", planned, NextOne);
    query("one/sqlite", sqlite, NextOne);
    return RunWithRatios(argc, argv);
}
