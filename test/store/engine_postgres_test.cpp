#include "store/engine_processes.h"
#include "support/socket_proxy.h"

#include "engine/postgres.h"

#include <atomic>
#include <thread>

namespace
{

using ko::store::Error;
using namespace ko::store::inner;
using namespace std::chrono_literals;
using postgres::Existing;

using PostgresEngine = OverPostgres;

// Two writers that each look at both rows and change one of them: never both.
TEST_F(PostgresEngine, IsSerializable)
{
    DatabasePlace place;
    Create(place, {{Space::Blocks, {{"a", "1"}, {"b", "1"}}}});
    const auto engine = place.Open(Mode::Change);
    const auto first = engine->Write();
    const auto second = engine->Write();
    EXPECT_EQ(Walk(*first, Space::Blocks, {}, Direction::Forwards, 9).size(), 2U);
    EXPECT_EQ(Walk(*second, Space::Blocks, {}, Direction::Forwards, 9).size(), 2U);
    first->Erase(Space::Blocks, "a");
    second->Erase(Space::Blocks, "b");
    first->Commit();
    EXPECT_THROW(second->Commit(), Conflict);
}

TEST_F(PostgresEngine, ReplacesStoresAllAtOnce)
{
    const DatabasePlace place;
    const auto load = [&](const std::string& version) {
        const auto loader = postgres::StartLoad(place.Address(), Existing::Replace);
        for (unsigned i = 0; i < kRows; ++i) {
            loader->Append(Space::Blocks, KeyOf(i), version);
            loader->Append(Space::Entries, KeyOf(i), version);
        }
        loader->Publish();
    };
    std::atomic<bool> ended{false};
    std::atomic<int> seen{0};
    std::thread reader([&] {
        while (!ended) {
            if (!StoreExists(place.Address()))
                continue;
            const auto engine = OpenEngine(place.Address(), Mode::Read);
            Models all;
            try {
                all = Everything(*engine->Read());
            } catch (const Error&) {
                continue; // cleared away before it was read
            }
            EXPECT_EQ(all[Space::Blocks].size(), kRows);
            EXPECT_EQ(all[Space::Blocks], all[Space::Entries]);
            ++seen;
        }
    });
    for (int i = 0; i < 4; ++i) {
        load(std::to_string(i));
        for (const int before = seen; seen == before;)
            std::this_thread::yield();
    }
    ended = true;
    reader.join();
    const auto engine = OpenEngine(place.Address(), Mode::Change);
    auto old = engine->Read();
    load("new");
    EXPECT_THROW(engine->Write()->Commit(), Error) << "a change that nobody would see";
    EXPECT_EQ(postgres::Clean(place.Address()), 0U) << "under a reader";
    EXPECT_EQ(Everything(*old)[Space::Blocks].begin()->second, "3");
    old.reset();
    EXPECT_EQ(postgres::Clean(place.Address()), 1U);
    EXPECT_THROW(engine->Read(), Error);
    EXPECT_EQ(OpenEngine(place.Address(), Mode::Read)->Read()->GetOne(Space::Blocks, KeyOf(1)),
              "new");
    const auto loader = postgres::StartLoad(place.Address(), Existing::Replace);
    EXPECT_THROW(postgres::StartLoad(place.Address(), Existing::Replace), Error) << "two at once";
    EXPECT_THROW(StartLoad(place.Address()), Error) << "there is one";
}

// A loader that its lease has run out for, and that another one came after.
TEST_F(PostgresEngine, LetsOneLoaderPublish)
{
    DatabasePlace place;
    const auto slow = place.Load();
    Fill(*slow, {{Space::Blocks, {{"a", "slow"}}}});
    std::this_thread::sleep_for(400ms);
    const auto other = place.Load();
    EXPECT_THROW(slow->Publish(), Error);
    Fill(*other, {{Space::Blocks, {{"a", "other"}}}});
    other->Publish();
    EXPECT_EQ(place.Open(Mode::Read)->Read()->GetOne(Space::Blocks, "a"), "other");
    // Who comes too early is told for how long.
    postgres::LimitsInForce().lease = 20s;
    DatabasePlace busy;
    const auto first = busy.Load();
    const std::string sentence = Sentence([&] { busy.Load(); });
    const std::size_t at = sentence.find("its place is free in ");
    ASSERT_NE(at, std::string::npos) << sentence;
    const int seconds = std::stoi(sentence.substr(at + 21));
    EXPECT_TRUE(seconds > 10 && seconds <= 20) << sentence;
}

TEST_F(PostgresEngine, TakesAnyName)
{
    std::string longest;
    while (longest.size() < 300)
        longest += "\xc3\xa4\xe2\x82\xac ";
    const std::vector<std::string> names = {
        "a",   "a_1",   "A",    "it's \"quoted\"; drop schema kotms cascade; --",
        "#%s", longest, "a\\'", "$1",
        "a ",  "ko_1"};
    for (const std::string& name : names) {
        const auto loader = StartLoad(Server().Address(name));
        Fill(*loader, {{Space::Blocks, {{"name", name}}}});
        loader->Publish();
    }
    for (const std::string& name : names)
        EXPECT_EQ(
            OpenEngine(Server().Address(name), Mode::Read)->Read()->GetOne(Space::Blocks, "name"),
            name);
    for (const char* const address :
         {"postgresql://u:secret@/db?nothing=1#s", "postgresql://u:secret@h:port/db#",
          "postgresql://u:secret@%zz/db", "postgresql://u:secret@/nowhere?host=/tmp/none#x"}) {
        const std::string sentence = Sentence([&] { OpenEngine(address, Mode::Read); });
        EXPECT_NE(sentence, "");
        EXPECT_EQ(sentence.find("secret"), std::string::npos) << sentence;
    }
}

// Each piece that a client sends, of a change and of a load, lost on its way, without an answer,
// and late: what was said to be made is made once, what was not never, and nobody waits for ever.
TEST_F(PostgresEngine, SurvivesLostConnections)
{
    SocketProxy proxy(Server().Socket());
    int harmed = 0;
    for (const auto harm :
         {SocketProxy::Harm::CutBefore, SocketProxy::Harm::CutAfter, SocketProxy::Harm::HoldBack}) {
        const auto patience = harm == SocketProxy::Harm::HoldBack ? 150ms : 10000ms;
        DatabasePlace counted(proxy.Folder());
        Create(counted, {{Space::Blocks, {{"n", "0"}}}});
        postgres::LimitsInForce().silence = patience;
        const auto engine = counted.Open(Mode::Change);
        int made = 0;
        for (int piece = 1;; ++piece) {
            proxy.Plan(piece, harm);
            Change(*engine, [](Writer& writer) { Add(writer, "n", 1); });
            ++made;
            if (!proxy.HasHarmed())
                break;
            ++harmed;
        }
        proxy.Plan(1 << 30, harm);
        const auto reader = engine->Read();
        proxy.Plan(1, harm);
        try {
            reader->GetOne(Space::Blocks, "n");
            ADD_FAILURE() << "what was lost is not told";
        } catch (const Conflict& conflict) {
            EXPECT_TRUE(conflict.IsLoss());
        }
        proxy.Plan(1 << 30, harm);
        postgres::LimitsInForce().silence = 10s;
        EXPECT_EQ(ValueOf(counted, "n"), made);
        // How many there are varies.
        for (int piece = 1, untouched = 0; untouched < 2; piece += 3) {
            DatabasePlace place(proxy.Folder());
            proxy.Plan(piece, harm);
            postgres::LimitsInForce().silence = patience;
            const std::string sentence = Sentence([&] { Load(place, "1 ", 20); });
            postgres::LimitsInForce().silence = 10s;
            harmed += proxy.HasHarmed() ? 1 : 0;
            untouched = proxy.HasHarmed() ? 0 : untouched + 1;
            proxy.Plan(1 << 30, harm);
            EXPECT_TRUE(!sentence.empty() || place.Exists()) << piece;
            if (!place.Exists())
                LoadAgain(place, "2 ", 20);
            EXPECT_NE(VersionOf(place, 20), "") << piece;
        }
        // What became of a store whose publishing was not answered is found out.
        DatabasePlace place(proxy.Folder());
        proxy.PlanAt("kotms.stores(name", harm);
        postgres::LimitsInForce().silence = patience;
        const std::string sentence = Sentence([&] { Load(place, "1 ", 20); });
        postgres::LimitsInForce().silence = 10s;
        if (harm == SocketProxy::Harm::CutBefore)
            EXPECT_NE(sentence.find("before the store was published"), std::string::npos);
        else
            EXPECT_EQ(sentence, "");
        EXPECT_EQ(place.Exists(), sentence.empty());
    }
    EXPECT_GT(harmed, 20);
}

TEST_F(PostgresEngine, NeedsFewRoundTrips)
{
    SocketProxy proxy(Server().Socket());
    DatabasePlace place(proxy.Folder());
    Model model;
    for (unsigned i = 0; i < 10'000; ++i)
        model[KeyOf(i)] = "1";
    Create(place, {{Space::Blocks, model}});
    const auto engine = place.Open(Mode::Change);
    Change(*engine, [](Writer& writer) { Add(writer, KeyOf(1), 1); });
    const auto trips = [&](const std::function<void()>& call) {
        const int before = proxy.Trips();
        call();
        return proxy.Trips() - before;
    };
    auto reader = engine->Read(); // of which round_trips_test.cpp counts what it asks
    EXPECT_LE(trips([&] { Walk(*reader, Space::Blocks, {}, Direction::Forwards, 5000); }), 5);
    reader.reset();
    Change(*engine, [](Writer& writer) { Add(writer, KeyOf(1), 1); }); // after the reader's end
    EXPECT_EQ(trips([&] { Change(*engine, [](Writer& writer) { Add(writer, KeyOf(1), 1); }); }), 2);
    EXPECT_EQ(trips([&] {
                  Change(*engine, [](Writer& writer) {
                      for (const char* const key : {"x", "y", "z"})
                          writer.Put(Space::Entries, key, key);
                      writer.Erase(Space::Blocks, KeyOf(7));
                  });
              }),
              1);
}

TEST_F(PostgresEngine, TellsForeignTablesFromItsOwn)
{
    for (const char* const harm :
         {"drop table %.texts", "alter table %.texts rename value to other",
          "alter table %.texts alter value type text using ''",
          "insert into %.texts values('', 'x')"}) {
        DatabasePlace place;
        Create(place, {{Space::Texts, {{"a", "1"}}}});
        CheckEngine(place.Address());
        std::string statement = harm;
        statement.replace(
            statement.find('%'), 1,
            Server().Ask("select schema_name from kotms.stores where name='" + place.Name() + "'"));
        EXPECT_EQ(Server().Ask(statement), "");
        EXPECT_THROW(CheckEngine(place.Address()), Error) << harm;
    }
}

} // namespace
