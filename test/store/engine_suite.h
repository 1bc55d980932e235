#ifndef KO_TEST_STORE_ENGINE_SUITE_H
#define KO_TEST_STORE_ENGINE_SUITE_H

#include "store/test_files.h"
#include "support/postgres_server.h"

#include "engine/engine.h"
#include "engine/memory.h"
#include <kostore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

using ko::store::inner::Direction;
using ko::store::inner::Engine;
using ko::store::inner::kMaxKey;
using ko::store::inner::kSpaces;
using ko::store::inner::Loader;
using ko::store::inner::Mode;
using ko::store::inner::Range;
using ko::store::inner::Reader;
using ko::store::inner::Space;
using ko::store::inner::Writer;

using Model = std::map<std::string, std::string>;
using Models = std::map<Space, Model>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

/// Where one store of an engine may be.
class Place
{
public:
    virtual ~Place() = default;
    virtual std::unique_ptr<Loader> Load() = 0;
    virtual std::unique_ptr<Engine> Open(Mode mode) = 0;
    virtual bool Exists() = 0;
    virtual void Check() {}
    /// Why nothing can be there, or empty.
    virtual std::string WhyNot() { return ""; }
};

class MemoryPlace : public Place
{
public:
    std::unique_ptr<Loader> Load() override { return m_store.StartLoad(); }
    std::unique_ptr<Engine> Open(Mode mode) override { return m_store.Open(mode); }
    bool Exists() override { return m_store.Exists(); }

private:
    ko::store::inner::MemoryStore m_store;
};

/// A place that the library finds by its address.
class AddressPlace : public Place
{
public:
    virtual std::string Address() const = 0;
    std::unique_ptr<Loader> Load() override { return ko::store::inner::StartLoad(Address()); }
    std::unique_ptr<Engine> Open(Mode mode) override
    {
        return ko::store::inner::OpenEngine(Address(), mode);
    }
    bool Exists() override { return ko::store::inner::StoreExists(Address()); }
    void Check() override { ko::store::inner::CheckEngine(Address()); }
};

class FilePlace : public AddressPlace
{
public:
    std::string Path() const { return m_folder.Path("store"); }
    std::string Address() const override { return Path(); }

private:
    TestFolder m_folder;
};

class DatabasePlace : public AddressPlace
{
public:
    /// `host`: another folder of sockets than the server's.
    explicit DatabasePlace(std::string host = "") : m_host(std::move(host)) {}
    std::string Address() const override
    {
        return PostgresServer::Shared().Address(m_name, "postgres", m_host);
    }
    std::string WhyNot() override
    {
        try {
            if (PostgresServer::Shared().WhyNot().empty())
                Exists();
        } catch (const ko::store::Error& failure) { // of a build without this engine
            if (failure.Code() == ko::store::ErrorCode::Usage)
                return failure.what();
        }
        return PostgresServer::Shared().WhyNot();
    }

    const std::string& Name() const { return m_name; }

private:
    const std::string m_host;
    const std::string m_name = PostgresServer::NewName();
};

/// Each makes a place of its own.
struct PlaceKind {
    const char* name;
    std::unique_ptr<Place> (*make)();
    Mode mode; ///< of whoever changes a store
};

template <class Of>
std::unique_ptr<Place> MakePlace()
{
    return std::make_unique<Of>();
}

/// A test of every engine that can be used here.
class OverEngines : public testing::TestWithParam<PlaceKind>
{
protected:
    void SetUp() override
    {
        if (const std::string why = m_place->WhyNot(); !why.empty())
            GTEST_SKIP() << why;
    }
    std::unique_ptr<Place> m_place = GetParam().make();
};

inline constexpr PlaceKind kPlaces[] = {{"Memory", MakePlace<MemoryPlace>, Mode::Change},
                                        {"Lmdb", MakePlace<FilePlace>, Mode::Change},
                                        {"Postgres", MakePlace<DatabasePlace>, Mode::Change},
                                        {"LmdbGrowing", MakePlace<FilePlace>, Mode::Grow}};
/// Those that are another's in another mode come last.
inline const auto kEnginePlaces = testing::ValuesIn(kPlaces, kPlaces + 3);

inline std::string NameOfPlace(const testing::TestParamInfo<PlaceKind>& info)
{
    return info.param.name;
}

/// A path beside which temporary files come and go.
inline std::string Scratch()
{
    return testing::TempDir() + "kostore";
}

/// Short ones that differ in bytes at the ends of their order, and some of the longest.
inline std::string RandomKey(std::mt19937& random)
{
    const std::size_t size = random() % 10 == 0 ? kMaxKey - random() % 3 : 1 + random() % 4;
    std::string key(size, "\0\1\xfe\xff"[random() % 4]);
    for (std::size_t i = 0; i < std::min<std::size_t>(size, 4); ++i)
        key[i] = "\0a\x7f\xff"[random() % 4];
    key.back() = static_cast<char>(random());
    return key;
}

/// `beside`: gets the row before the walk.
inline Pairs Walk(Reader& reader, Space space, const Range& range, Direction direction,
                  std::size_t most, Pairs* beside = nullptr)
{
    Pairs found;
    const auto cursor = reader.Walk(space, range, direction);
    if (beside != nullptr) {
        if (const auto row = cursor->Beside())
            beside->emplace_back(row->key, row->value);
    }
    for (auto rows = cursor->Next(most); !rows.empty(); rows = cursor->Next(most)) {
        EXPECT_LE(rows.size(), most);
        for (const auto& row : rows)
            found.emplace_back(row.key, row.value);
    }
    EXPECT_TRUE(cursor->Next(most).empty());
    return found;
}

inline Models Everything(Reader& reader)
{
    Models all;
    for (std::size_t i = 0; i < kSpaces; ++i) {
        const auto space = static_cast<Space>(i);
        for (auto& row : Walk(reader, space, {}, Direction::Forwards, 100))
            all[space].insert(std::move(row));
    }
    return all;
}

inline void Fill(Loader& loader, const Models& models)
{
    std::map<Space, Model::const_iterator> at;
    for (const auto& [space, model] : models)
        at.emplace(space, model.begin());
    for (bool more = true; more;) { // in turns
        more = false;
        for (auto& [space, next] : at) {
            if (next == models.at(space).end())
                continue;
            loader.Append(space, next->first, next->second);
            ++next;
            more = true;
        }
    }
}

inline void Create(Place& place, const Models& models)
{
    const auto loader = place.Load();
    Fill(*loader, models);
    loader->Publish();
}

/// Runs a change until it was made, and returns how often it came to nothing before.
inline int Change(Engine& engine, const std::function<void(Writer&)>& change)
{
    for (int conflicts = 0;; ++conflicts) {
        try {
            const auto writer = engine.Write();
            change(*writer);
            writer->Commit();
            return conflicts;
        } catch (const ko::store::inner::Conflict&) {
        }
    }
}

#endif
