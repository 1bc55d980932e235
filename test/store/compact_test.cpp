#include "store/things.h"

#include "check/checker.h"
#include "engine/postgres.h"
#include "object/copy_store.h"
#include "query/scan.h"

#include <atomic>
#include <thread>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

class Compacting : public ObjectStores
{
protected:
    std::size_t RowsOfIndexes()
    {
        return Everything(*m_place->Open(Mode::Read)->Read())[Space::Entries].size();
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Compacting, kEnginePlaces, NameOfPlace);

// Objects that go leave rows of a part of their numbers.
TEST_P(Compacting, JoinsWhatChangesLeave)
{
    Values values(21);
    Objects model;
    AddAll(*Bulk::Create(m_place->Load(), values.GetSchema(), Scratch()), values, 3000, model);
    const auto store = Open();
    for (int round = 0; round < 3; ++round) {
        store->Change([&](ObjectChange& change) {
            for (auto at = model.begin(); at != model.end();) {
                if (values.Below(3) != 0 || at->first % 97 == 0) {
                    ++at;
                    continue;
                }
                change.Erase(at->first);
                at = model.erase(at);
            }
        });
    }
    const auto before = store->Read();
    const std::size_t rows = RowsOfIndexes();
    const std::uint64_t gone = store->Compact();
    EXPECT_GT(gone, 10U);
    EXPECT_EQ(RowsOfIndexes(), rows - gone);
    EXPECT_EQ(store->Compact(), 0U);
    ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store->Read(), model));
    ASSERT_NO_FATAL_FAILURE(ExpectObjects(*before, model)) << "a moment stays what it was";
    Objects next = model;
    store->Change([&](ObjectChange& change) {
        next = model;
        ChangeSome(change, values, next);
    });
    ExpectObjects(*store->Read(), next);
}

// Whoever changes meanwhile, on the values that all have.
TEST_P(Compacting, GoesOnBesideWriters)
{
    Values values(22);
    Objects model;
    AddAll(*Bulk::Create(m_place->Load(), values.GetSchema(), Scratch()), values, 1500, model);
    std::atomic<bool> ended{false};
    std::atomic<int> changes{0};
    std::thread writer([&] {
        Values own(23);
        const auto store = Open();
        for (std::uint64_t number = 1; !ended; number = number % 1500 + 1, ++changes) {
            try {
                store->Change([&](ObjectChange& change) {
                    if (own.Below(3) == 0)
                        change.Erase(number);
                    else if (own.Below(2) == 0)
                        change.Update(number, 3, own.Form(3));
                    else
                        change.Insert(Views(model.at(number)));
                });
            } catch (const Error& error) { // others came between ten times
                EXPECT_EQ(error.Code(), ErrorCode::Io) << error.what();
            }
        }
    });
    const auto store = Open();
    std::uint64_t gone = 0;
    for (int round = 0; round < 10'000 && (gone == 0 || round < 20 || changes < 50); ++round) {
        try {
            gone += store->Compact();
        } catch (const Error& error) { // it came to nothing ten times, as is its right
            EXPECT_EQ(error.Code(), ErrorCode::Io) << error.what();
        }
    }
    ended = true;
    writer.join();
    EXPECT_GT(gone, 0U);
    std::ostringstream told;
    EXPECT_EQ(CheckRows(*store->Read(), Scratch(), told), 0U) << told.str();
}

TEST(Cleaning, OfAFileLeavesALoaderAtWork)
{
    FilePlace place;
    Create(place, {{Space::Blocks, {{"a", "1"}}}});
    EXPECT_EQ(Clean(place.Path()), 0U);
    FilePlace other;
    const auto loader = other.Load();
    EXPECT_THROW(Clean(other.Path()), Error) << "a loader is at work";
    EXPECT_THROW(GrantStatements(place.Path(), "a", "b"), Error);
}

// What the statements allow for, and what not.
TEST(Granting, LetsReadersReadAndWritersWrite)
{
    DatabasePlace place;
    if (const std::string why = place.WhyNot(); !why.empty())
        GTEST_SKIP() << why;
    Values values(24);
    Objects model;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 60, model);
    const auto& server = PostgresServer::Shared();
    const std::string statements =
        GrantStatements(place.Address(), "its \"reader\"", "some writer");
    EXPECT_EQ(server.Ask("create role \"its \"\"reader\"\"\" login; create role \"some writer\" "
                         "login; " +
                         statements),
              "");
    const std::string reader = server.Address(place.Name(), "its%20%22reader%22");
    const std::string writer = server.Address(place.Name(), "some%20writer");
    const auto erase = [](ObjectChange& change) { change.Erase(1); };

    const auto store = ObjectStore::Open(reader, Mode::Read);
    ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store->Read(), model));
    const auto now = store->Read();
    const IndexRange all = IndexRange::Values(0);
    EXPECT_EQ(Scan(*now, &all, ScanOrder::Numbers, nullptr).Count(100), 60U);
    EXPECT_GT(now->CountRowsRoughly({}), 0U);
    std::ostringstream told;
    EXPECT_EQ(CheckStore(reader, told).faults, 0U) << told.str();
    FilePlace copy;
    EXPECT_EQ(CopyStore(reader, copy.Path()), 60U);
    EXPECT_THROW(ObjectStore::Open(reader, Mode::Change)->Change(erase), Error);

    const auto changing = ObjectStore::Open(writer, Mode::Change);
    changing->Change(erase);
    EXPECT_EQ(changing->Read()->GetCounts().objects, 59U);
    changing->Compact();
    changing->DropIndex(0);
    for (const std::string& address : {reader, writer}) {
        EXPECT_THROW(StartLoad(server.Address("another", address == reader ? "its%20%22reader%22"
                                                                           : "some%20writer")),
                     Error);
        EXPECT_THROW(postgres::StartLoad(address, postgres::Existing::Replace), Error);
        EXPECT_THROW(Clean(address), Error);
    }
    const std::string schema =
        server.Ask("select schema_name from kotms.stores where name='" + place.Name() + "'");
    for (const char* const harm : {"drop schema % cascade", "drop table %.blocks",
                                   "truncate %.blocks", "update %.blocks set value = ''",
                                   "delete from kotms.stores", "create table %.mine(a int)"}) {
        std::string statement = harm;
        if (const std::size_t at = statement.find('%'); at != std::string::npos)
            statement.replace(at, 1, schema);
        for (const char* const role : {"\"some writer\"", "\"its \"\"reader\"\"\""})
            EXPECT_NE(server.Ask("set role " + std::string(role) + "; " + statement), "")
                << statement;
    }
    EXPECT_EQ(changing->Read()->GetCounts().objects, 59U);
}

} // namespace
