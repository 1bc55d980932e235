// The engine over LMDB beside plain calls of LMDB: what the interface costs. A million rows, keys
// of 6 bytes and values of 34.

#include "ratio.h"

#include "engine/engine.h"

#include <lmdb.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>

#include <stdlib.h>

namespace
{

using namespace ko::store::inner;

constexpr std::uint32_t kRows = 1'000'000;
constexpr std::size_t kAsked = 25'000;

using Key = std::array<char, 6>;

Key KeyOf(std::uint32_t number)
{
    Key key{};
    for (std::size_t i = 0; i < 4; ++i)
        key[5 - i] = static_cast<char>(number >> 8 * i);
    return key;
}

const std::string& Folder()
{
    static const std::string folder = [] {
        std::string name = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
        return std::string(mkdtemp(name.data()));
    }();
    return folder;
}

std::string Fresh(const char* name)
{
    const std::string path = Folder() + "/" + name;
    std::filesystem::remove(path);
    return path;
}

const std::string kValue(34, 'v');

void LoadOurs(const std::string& path)
{
    const auto loader = StartLoad(path);
    for (std::uint32_t i = 0; i < kRows; ++i) {
        const Key key = KeyOf(i);
        loader->Append(Space::Blocks, {key.data(), key.size()}, kValue);
    }
    loader->Publish();
}

/// An environment with one database, and a transaction in it.
struct Plain {
    MDB_env* env = nullptr;
    MDB_txn* txn = nullptr;
    MDB_dbi dbi = 0;

    Plain(const std::string& path, unsigned flags, unsigned create)
    {
        mdb_env_create(&env);
        mdb_env_set_maxdbs(env, 6);
        mdb_env_set_mapsize(env, 1U << 30);
        if (mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | flags, 0666) != 0 ||
            mdb_txn_begin(env, nullptr, flags & MDB_RDONLY, &txn) != 0 ||
            mdb_dbi_open(txn, "blocks", create, &dbi) != 0)
            std::abort();
    }
    ~Plain()
    {
        if (txn != nullptr)
            mdb_txn_abort(txn);
        mdb_env_close(env);
    }
    Plain(const Plain&) = delete;
    Plain& operator=(const Plain&) = delete;
};

void LoadPlain(const std::string& path)
{
    Plain plain(path, MDB_NOSYNC | MDB_NOLOCK | MDB_NORDAHEAD, MDB_CREATE);
    for (std::uint32_t i = 0; i < kRows; ++i) {
        Key key = KeyOf(i);
        MDB_val where{key.size(), key.data()};
        MDB_val what{kValue.size(), const_cast<char*>(kValue.data())};
        if (mdb_put(plain.txn, plain.dbi, &where, &what, MDB_APPEND) != 0)
            std::abort();
    }
    mdb_txn_commit(std::exchange(plain.txn, nullptr));
    mdb_env_sync(plain.env, 1);
}

void BM_LoadOurs(benchmark::State& state)
{
    for (auto step : state)
        LoadOurs(Fresh("load"));
}
BENCHMARK(BM_LoadOurs)->Name("load/ours")->Unit(benchmark::kMillisecond);

void BM_LoadPlain(benchmark::State& state)
{
    for (auto step : state)
        LoadPlain(Fresh("load"));
}
BENCHMARK(BM_LoadPlain)->Name("load/lmdb")->Unit(benchmark::kMillisecond);

const std::string& Loaded()
{
    static const std::string path = [] {
        const std::string made = Fresh("read");
        LoadOurs(made);
        return made;
    }();
    return path;
}

void BM_WalkOurs(benchmark::State& state)
{
    const auto engine = OpenEngine(Loaded(), Mode::Read);
    const auto reader = engine->Read();
    for (auto step : state) {
        std::size_t bytes = 0;
        const auto cursor = reader->Walk(Space::Blocks, {}, Direction::Forwards);
        for (auto rows = cursor->Next(1000); !rows.empty(); rows = cursor->Next(1000)) {
            for (const Row& row : rows)
                bytes += row.value.size() + static_cast<unsigned char>(row.value[0]);
        }
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_WalkOurs)->Name("walk/ours")->Unit(benchmark::kMillisecond);

void BM_WalkPlain(benchmark::State& state)
{
    const Plain plain(Loaded(), MDB_RDONLY, 0);
    for (auto step : state) {
        std::size_t bytes = 0;
        MDB_cursor* cursor = nullptr;
        MDB_val key{};
        MDB_val value{};
        mdb_cursor_open(plain.txn, plain.dbi, &cursor);
        while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == 0)
            bytes += value.mv_size + *static_cast<const unsigned char*>(value.mv_data);
        mdb_cursor_close(cursor);
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_WalkPlain)->Name("walk/lmdb")->Unit(benchmark::kMillisecond);

/// In ascending order, as a store asks for them.
const std::vector<Key>& Asked()
{
    static const std::vector<Key> keys = [] {
        std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same keys each time
        std::vector<Key> made;
        for (std::uint32_t i = 0; i < kRows; ++i) {
            if (random() % kRows < kAsked)
                made.push_back(KeyOf(i));
        }
        return made;
    }();
    return keys;
}

void BM_GetOurs(benchmark::State& state)
{
    const auto engine = OpenEngine(Loaded(), Mode::Read);
    const auto reader = engine->Read();
    std::vector<std::string_view> keys;
    for (const Key& key : Asked())
        keys.emplace_back(key.data(), key.size());
    for (auto step : state) {
        std::size_t bytes = 0;
        reader->Get(Space::Blocks, keys, [&](std::size_t, std::string_view value) {
            bytes += value.size() + static_cast<unsigned char>(value[0]);
        });
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_GetOurs)->Name("get 25,000/ours")->Unit(benchmark::kMicrosecond);

void BM_GetPlain(benchmark::State& state)
{
    const Plain plain(Loaded(), MDB_RDONLY, 0);
    for (auto step : state) {
        std::size_t bytes = 0;
        for (Key key : Asked()) {
            MDB_val where{key.size(), key.data()};
            MDB_val value{};
            if (mdb_get(plain.txn, plain.dbi, &where, &value) == 0)
                bytes += value.mv_size + *static_cast<const unsigned char*>(value.mv_data);
        }
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_GetPlain)->Name("get 25,000/lmdb")->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    const int result = RunWithRatios(argc, argv);
    std::filesystem::remove_all(Folder());
    return result;
}
