// Importing a CSV file into a store of kotm, and finding objects in it by an index, beside SQLite
// doing the same: the same columns read by the same CSV reader, the same indexes made behind the
// rows, one transaction, prepared statements, and as much memory as the importer sorts in.
//
// Both have what they made on the disk before they return, SQLite with its journal and its default
// synchronisation, kotm with a new file and its directory synchronised. The times and ratios are
// those of the processor, so that waiting for the disk has no part in them.
//
// KOTM_BENCH_ROWS=1000000 adds an import of so many rows, made from the sample with other dates,
// costs and speeds, so that their values are as varied as in a table of that size. SQLite compares
// texts byte by byte, kotm through the text type.

#include "ratio.h"
#include "sqlite_peer.h"

#include "import/csv_reader.h"
#include "import/importer.h"
#include "object/object_store.h"
#include "query/scan.h"
#include "schema/field_reader.h"

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace
{

namespace fs = std::filesystem;

std::string ReadAll(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

const std::string kSample = KO_EXAMPLES "/birdstrikes.csv";

/// The columns of the sample, as its schema has them.
struct Data {
    ko::store::inner::Schema schema = ko::store::inner::Schema::FromJson(
        ReadAll(KO_EXAMPLES "/birdstrikes.schema.json"), "birdstrikes.schema.json");
    Folder folder;
    std::string generated; ///< empty: none was asked for
    std::uint64_t rows = 0;
};

void Generate(Data& data, std::uint64_t rows)
{
    ko::store::inner::CsvReader csv(kSample);
    std::vector<std::vector<std::string>> sample;
    while (csv.Next() == ko::store::inner::CsvReader::Result::Row)
        sample.emplace_back(csv.Fields().begin(), csv.Fields().end());
    constexpr std::size_t kDate = 3;
    constexpr std::size_t kCost = 12;
    constexpr std::size_t kSpeed = 13;
    data.generated = data.folder / "generated.csv";
    data.rows = rows;
    std::ofstream out(data.generated, std::ios::binary);
    std::mt19937 random(1);
    for (std::uint64_t i = 0; i <= rows; ++i) {
        std::vector<std::string> row = sample[i == 0 ? 0 : 1 + random() % (sample.size() - 1)];
        if (i != 0) {
            char date[16];
            std::snprintf(
                date, sizeof date, "%04u-%02u-%02u", static_cast<unsigned>(1990 + random() % 40),
                static_cast<unsigned>(1 + random() % 12), static_cast<unsigned>(1 + random() % 28));
            row[kDate] = date;
            if (row[kCost] != "0")
                row[kCost] = std::to_string(std::stoul(row[kCost]) + random() % 100000);
            if (!row[kSpeed].empty())
                row[kSpeed] = std::to_string(std::stoul(row[kSpeed]) + random() % 20);
        }
        for (std::size_t field = 0; field < row.size(); ++field)
            out << (field == 0 ? "" : ",") << row[field];
        out << '\n';
    }
}

/// What SQLite keeps as an integer: dates in their format are texts to it.
bool IsNumber(const ko::store::inner::Attribute& attribute)
{
    return !attribute.type.IsText() && !attribute.format;
}

std::uint64_t ImportWithSqlite(const Data& data, const std::string& csvPath,
                               const std::string& path)
{
    Database db(path);
    std::string create = "CREATE TABLE t (";
    std::string insert = "INSERT INTO t VALUES (";
    for (const ko::store::inner::Attribute& attribute : data.schema.attributes) {
        const char* separator = create.back() == '(' ? "" : ", ";
        create += separator + attribute.name + (IsNumber(attribute) ? " INTEGER" : " TEXT");
        insert += std::string(separator) + "?";
    }
    db.Run("BEGIN");
    db.Run(create + ")");
    sqlite3_stmt* statement = db.Prepare(insert + ")");
    ko::store::inner::CsvReader csv(csvPath);
    csv.Next();
    std::uint64_t rows = 0;
    for (; csv.Next() == ko::store::inner::CsvReader::Result::Row; ++rows) {
        int column = 0;
        for (const std::string_view field : csv.Fields()) {
            const bool text = !IsNumber(data.schema.attributes[static_cast<std::size_t>(column++)]);
            long long number = 0;
            if (field.empty())
                sqlite3_bind_null(statement, column);
            else if (text)
                sqlite3_bind_text(statement, column, field.data(), static_cast<int>(field.size()),
                                  SQLITE_STATIC);
            else if (std::from_chars(field.data(), field.data() + field.size(), number).ptr ==
                     field.data() + field.size())
                sqlite3_bind_int64(statement, column, number);
            else
                Fail("a field that is no number");
        }
        if (sqlite3_step(statement) != SQLITE_DONE)
            Fail("a row that cannot be inserted");
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    for (const ko::store::inner::Attribute& attribute : data.schema.attributes) {
        if (attribute.index)
            db.Run("CREATE INDEX i_" + attribute.name + " ON t (" + attribute.name + ")");
    }
    db.Run("COMMIT");
    return rows;
}

std::uint64_t ImportWithKotm(const Data& data, const std::string& csvPath, const std::string& path)
{
    std::ostringstream messages;
    return ko::store::inner::Import({path, csvPath, {}}, data.schema, messages).stored;
}

using Importer = std::uint64_t (*)(const Data&, const std::string&, const std::string&);

void BenchImport(benchmark::State& state, const Data& data, const std::string& csv,
                 std::uint64_t expected, Importer import)
{
    const std::string path = data.folder / "imported";
    for (auto _ : state) {
        if (import(data, csv, path) != expected)
            state.SkipWithError("rows are missing");
        state.PauseTiming();
        fs::remove(path);
        state.ResumeTiming();
    }
    state.counters["rows"] =
        benchmark::Counter(static_cast<double>(expected) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
}

/// The literals of a look-up: dates of the sample's years, as texts and as persistent forms.
struct Keys {
    std::vector<std::string> texts;
    std::vector<std::string> forms;

    explicit Keys(const ko::store::inner::Attribute& attribute)
    {
        std::mt19937 random(2);
        ko::store::inner::FieldReader reader(attribute);
        for (int i = 0; i < 4096; ++i) {
            char date[16];
            std::snprintf(
                date, sizeof date, "%04u-%02u-%02u", static_cast<unsigned>(1990 + random() % 12),
                static_cast<unsigned>(1 + random() % 12), static_cast<unsigned>(1 + random() % 28));
            ko::store::inner::TextFault fault;
            texts.emplace_back(date);
            reader.Read(date, forms.emplace_back(), fault);
        }
    }
};

std::size_t AttributeNamed(const Data& data, const char* name)
{
    return static_cast<std::size_t>(data.schema.Find(name) - data.schema.attributes.data());
}

o_4b Number(std::string_view form)
{
    o_4b number = 0;
    ko::store::inner::Manager().Load(Ko4B_T, &number, form.data(), ko::store::inner::kStoreFormat,
                                     1);
    return number;
}

/// Finds all objects of a day and adds up one of their attributes, in one snapshot or in one for
/// every sixteen days.
void BenchLookUpKotm(benchmark::State& state, const Data& data, const std::string& path,
                     bool startsAnew)
{
    const auto store = ko::store::inner::ObjectStore::Open(path, ko::store::inner::Mode::Read);
    auto snapshot = store->Read();
    const std::size_t date = AttributeNamed(data, "date");
    const std::size_t cost = AttributeNamed(data, "cost_total");
    const Keys keys(data.schema.attributes[date]);
    ko::store::inner::IndexRange range;
    range.attribute = date;
    range.high.emplace().behind = true;
    std::size_t next = 0;
    long long sum = 0;
    std::string room;
    for (auto _ : state) {
        if (startsAnew && next % 16 == 0)
            snapshot = store->Read();
        range.low.form = range.high->form = keys.forms[next++ % keys.forms.size()];
        ko::store::inner::Scan scan(*snapshot, &range, ko::store::inner::ScanOrder::Numbers,
                                    nullptr);
        for (auto found = scan.Next(1024); !found.empty(); found = scan.Next(1024)) {
            for (const std::uint64_t number : found)
                sum += Number(*snapshot->Value(number, cost, room));
        }
    }
    state.counters["sum"] = static_cast<double>(sum) / static_cast<double>(state.iterations());
}

void BenchLookUpSqlite(benchmark::State& state, const Data& data, const std::string& path)
{
    Database db(path);
    const Keys keys(*data.schema.Find("date"));
    sqlite3_stmt* statement = db.Prepare("SELECT cost_total FROM t WHERE date = ?");
    std::size_t next = 0;
    long long sum = 0;
    db.Run("BEGIN"); // as the store is one read transaction
    for (auto _ : state) {
        const std::string& text = keys.texts[next++ % keys.texts.size()];
        sqlite3_bind_text(statement, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        while (sqlite3_step(statement) == SQLITE_ROW)
            sum += sqlite3_column_int(statement, 0);
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    state.counters["sum"] = static_cast<double>(sum) / static_cast<double>(state.iterations());
}

/// Counts the objects between two speeds by the index alone.
void BenchRangeKotm(benchmark::State& state, const Data& data, const std::string& path)
{
    const auto store = ko::store::inner::ObjectStore::Open(path, ko::store::inner::Mode::Read);
    const auto snapshot = store->Read();
    const std::size_t speed = AttributeNamed(data, "speed");
    ko::store::inner::FieldReader reader(data.schema.attributes[speed]);
    ko::store::inner::TextFault fault;
    ko::store::inner::IndexRange range;
    range.attribute = speed;
    range.high.emplace().behind = true;
    reader.Read("100", range.low.form, fault);
    reader.Read("200", range.high->form, fault);
    std::uint64_t rows = 0;
    for (auto _ : state) {
        ko::store::inner::Scan scan(*snapshot, &range, ko::store::inner::ScanOrder::Forwards,
                                    nullptr);
        rows += scan.Count(UINT64_MAX);
    }
    state.counters["found"] = static_cast<double>(rows) / static_cast<double>(state.iterations());
}

void BenchRangeSqlite(benchmark::State& state, const Data&, const std::string& path)
{
    Database db(path);
    sqlite3_stmt* statement =
        db.Prepare("SELECT count(*) FROM t WHERE speed >= 100 AND speed <= 200");
    std::int64_t rows = 0;
    for (auto _ : state) {
        if (sqlite3_step(statement) == SQLITE_ROW)
            rows += sqlite3_column_int64(statement, 0);
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
    state.counters["found"] = static_cast<double>(rows) / static_cast<double>(state.iterations());
}

template <class Bench, class... Arguments>
void Register(const std::string& name, Bench bench, Arguments... arguments)
{
    benchmark::RegisterBenchmark(name.c_str(), bench, arguments...)->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv)
{
    static Data data;
    if (const char* rows = std::getenv("KOTM_BENCH_ROWS"))
        Generate(data, std::strtoull(rows, nullptr, 10));
    const std::string store = data.folder / "store";
    const std::string database = data.folder / "database";
    const std::string& csv = data.generated.empty() ? kSample : data.generated;
    if (ImportWithKotm(data, csv, store) != ImportWithSqlite(data, csv, database))
        Fail("the imports differ");

    const auto import = [](const std::string& name, const std::string& file, std::uint64_t rows) {
        Register(name + "/ours", BenchImport, std::cref(data), file, rows, ImportWithKotm);
        Register(name + "/sqlite", BenchImport, std::cref(data), file, rows, ImportWithSqlite);
    };
    import("import_sample", kSample, 10000);
    if (!data.generated.empty())
        import("import_generated", data.generated, data.rows);
    Register("look_up/ours", BenchLookUpKotm, std::cref(data), store, false);
    Register("look_up/sqlite", BenchLookUpSqlite, std::cref(data), database);
    Register("look_up_first/ours", BenchLookUpKotm, std::cref(data), store, true);
    Register("look_up_first/sqlite", BenchLookUpSqlite, std::cref(data), database);
    Register("range/ours", BenchRangeKotm, std::cref(data), store);
    Register("range/sqlite", BenchRangeSqlite, std::cref(data), database);
    return RunWithRatios(argc, argv);
}
