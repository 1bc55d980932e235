#include "store/engine_processes.h"
#include "store/sample.h"
#include "support/spread_servers.h"

#include "check/checker.h"
#include "engine/postgres.h"
#include "engine/postgres_limits.h"
#include "engine/postgres_statements.h"
#include "object/index_feed.h"
#include "object/object_change.h"
#include "object/object_store.h"
#include "query/predicate.h"
#include "query/scan.h"
#include "schema/field_reader.h"

#include <sstream>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;
using namespace std::chrono_literals;
using postgres::Existing;

const std::vector<std::string> kTables = {"description", "blocks",  "texts",
                                          "large",       "entries", "statistics"};

std::string SchemaAddress(const std::string& store, const std::string& schema)
{
    return PostgresServer::Shared().Address(store, "postgres", "", "&schema=" + schema);
}

class PreparedSchema : public OverPostgres
{
protected:
    static std::string Ask(const std::string& statement)
    {
        return PostgresServer::Shared().Ask(statement);
    }
    static void Load(const std::string& address, const std::string& value)
    {
        const auto loader = postgres::StartLoad(address, Existing::Replace);
        Fill(*loader, {{Space::Blocks, {{"a", value}}}, {Space::Texts, {{"t", value}}}});
        loader->Publish();
    }
};

TEST_F(PreparedSchema, IsFilledAndEmptiedButNeverDropped)
{
    for (const char* const schema : {"mine", "\"it's & 100%\"", "other"})
        ASSERT_EQ(Ask(SpreadServers::LocalTables(schema, kTables)), "");
    const std::string store = PostgresServer::NewName();
    const std::string address = SchemaAddress(store, "mine");
    const struct {
        const char* fault;
        const char* mended;
        const char* told;
    } kFaults[] = {
        {"alter table mine.texts rename to gone", "alter table mine.gone rename to texts", "texts"},
        {"alter table mine.large alter key type text using ''",
         "alter table mine.large alter key type bytea using ''", "large"},
        {"insert into mine.entries values('x', 'x')", "delete from mine.entries", "not empty"},
        {"alter table mine.marks rename made to was", "alter table mine.marks rename was to made",
         "marks"}};
    for (const auto& c : kFaults) {
        EXPECT_EQ(Ask(c.fault), "");
        const std::string sentence = Sentence([&] { Load(address, "1"); });
        EXPECT_NE(sentence.find(c.told), std::string::npos) << sentence;
        EXPECT_EQ(Ask(c.mended), "");
    }
    EXPECT_EQ(InProcess([&] {
                  const auto loader = StartLoad(address);
                  for (unsigned i = 0; i < 2000; ++i)
                      loader->Append(Space::Blocks, KeyOf(i), std::string(1500, 'x'));
                  _exit(0); // as a killed one: nothing is given back
                  return true;
              }),
              0);
    std::this_thread::sleep_for(400ms);
    Load(address, "1");
    EXPECT_EQ(Ask("select count(*) from mine.blocks"), "1");
    const std::string taken =
        Sentence([&] { Load(SchemaAddress(PostgresServer::NewName(), "mine"), "2"); });
    EXPECT_NE(taken.find("has another store"), std::string::npos) << taken;

    const auto engine = OpenEngine(address, Mode::Change);
    Change(*engine, [](Writer& writer) { writer.Put(Space::Blocks, "b", "2"); });
    EXPECT_EQ(Everything(*engine->Read())[Space::Blocks].size(), 2U);
    CheckEngine(address);
    EXPECT_NE(Sentence([&] { Load(address, "3"); }), "") << "where the store is that it replaces";
    Load(SchemaAddress(store, "it's%20%26%20100%25"), "4");
    EXPECT_THROW(engine->Write()->Commit(), Error);
    EXPECT_EQ(postgres::Clean(address), 1U);
    EXPECT_EQ(Ask("select count(*) from mine.blocks"), "0");
    Load(SchemaAddress(store, "other"), "5");
    EXPECT_EQ(OpenEngine(address, Mode::Read)->Read()->GetOne(Space::Texts, "t"), "5");
    for (const char* const schema : {"", "%00", "none"})
        EXPECT_NE(Sentence([&] { Load(SchemaAddress("s", schema), "6"); }), "") << schema;
}

/// Objects of the sample, with the rows of entries and of blocks spread over two servers.
class SpreadStore : public testing::Test
{
protected:
    void SetUp() override
    {
        if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
            GTEST_SKIP() << why;
        if (const std::string why = SpreadServers::Shared().WhyNot(); !why.empty())
            GTEST_SKIP() << why;
        postgres::LimitsInForce() = {20s, 20s, 10s, 0ms};
    }
    static SpreadServers& Servers() { return SpreadServers::Shared(); }
    static std::string Ask(const std::string& statement)
    {
        return SpreadServers::Coordinator().Ask(statement);
    }
    /// Blocks from a number on, and the indexes on and behind "species", stand at the second one.
    static std::string Prepare(const std::string& schema, const std::string& block)
    {
        EXPECT_EQ(Servers().Prepare(schema, "\\x0000000000" + block, "\\x0008"), "");
        return SchemaAddress(PostgresServer::NewName(), schema);
    }
    static std::string Check(const std::string& store)
    {
        std::ostringstream out;
        return CheckStore(store, out).faults == 0 ? "" : out.str();
    }
    static std::vector<std::uint64_t> Find(ObjectStore& store, const std::string& text,
                                           std::size_t attribute, ScanOrder order)
    {
        const auto snapshot = store.Read();
        const Condition condition =
            Condition::Make(ParsePredicate(text), text, snapshot->GetSchema());
        const IndexRange range = IndexRange::All(attribute);
        Scan scan(*snapshot, &range, order, &condition);
        std::vector<std::uint64_t> found;
        for (auto next = scan.Next(1000); !next.empty(); next = scan.Next(1000))
            found.insert(found.end(), next.begin(), next.end());
        return found;
    }
};

constexpr std::size_t kState = 5;
constexpr std::size_t kSpecies = 8;
constexpr std::size_t kSpeed = 13;

TEST_F(SpreadStore, AnswersAsAFileDoes)
{
    const TestFolder folder;
    const std::string file = folder.Path("store");
    const std::string address = Prepare("wide", "08");
    for (const std::string& store : {file, address})
        ImportSample(store, 2000);
    for (const char* const table : {"wide.blocks", "wide.entries"})
        for (const int i : {0, 1})
            EXPECT_GT(
                std::stoi(Ask("select count(*) from " + std::string(table) + std::to_string(i))),
                5);
    const auto here = ObjectStore::Open(file, Mode::Change);
    const auto there = ObjectStore::Open(address, Mode::Change);
    const auto compare = [&] {
        for (const char* const text :
             {"speed > 200", "state = \"T*\"", "species = \"*hawk*\"i and not phase = \"Climb\"",
              "date >= \"1990-03-01\" and date < \"1990-10-01\""}) {
            for (const std::size_t index : {kState, kSpeed}) {
                for (const auto order :
                     {ScanOrder::Forwards, ScanOrder::Backwards, ScanOrder::Numbers}) {
                    const auto found = Find(*there, text, index, order);
                    EXPECT_FALSE(found.empty()) << text;
                    EXPECT_EQ(found, Find(*here, text, index, order)) << text;
                }
            }
        }
        EXPECT_EQ(Check(address), "");
    };
    compare();
    for (const auto& store : {here, there}) {
        store->Change([](ObjectChange& change) {
            for (std::uint64_t number = 7; number < 2000; number += 700) {
                const std::string state = change.Form(number + 1, kState);
                std::vector<std::string> forms;
                for (std::size_t i = 0; i < change.GetSchema().attributes.size(); ++i)
                    forms.push_back(change.Form(number, i));
                EXPECT_TRUE(change.Update(number, kState, state));
                EXPECT_TRUE(change.Erase(number + 2));
                change.Insert(std::vector<std::string_view>(forms.begin(), forms.end()));
            }
        });
    }
    compare();
    ImportSample(address, 50); // into what is there
    EXPECT_EQ(Check(address), "");
}

// The second server is met after a change that the coordinator's moment does not have.
TEST_F(SpreadStore, ReadsWhatCameAfterItsCounts)
{
    const std::string address = Prepare("later", "02");
    ImportSample(address, 400);
    const auto store = ObjectStore::Open(address, Mode::Change);
    const auto form = [&](unsigned i) {
        std::string bytes;
        TextFault fault;
        FieldReader(store->About().schema.attributes[kSpecies])
            .Read(i == 0 ? std::string(3000, 'l') : "later " + std::to_string(i / 2), bytes, fault);
        return bytes;
    };
    const auto early = store->Read();
    std::vector<std::uint64_t> numbers;
    store->Change([&](ObjectChange& change) {
        numbers.clear();
        std::vector<std::string> forms;
        for (std::size_t i = 0; i < change.GetSchema().attributes.size(); ++i)
            forms.push_back(change.Form(1, i));
        for (unsigned i = 0; i < 160; ++i) {
            forms[kSpecies] = form(i);
            numbers.push_back(
                change.Insert(std::vector<std::string_view>(forms.begin(), forms.end())));
        }
    });
    std::string room;
    for (unsigned i = 0; i < 160; ++i)
        EXPECT_EQ(early->Value(numbers[i], kSpecies, room), form(i)) << i;
    EXPECT_TRUE(early->HasChanged());
    EXPECT_EQ(Check(address), "");
}

// One server is asked for what lies on one, and nothing is joined by the coordinator.
TEST_F(SpreadStore, AsksTheServersThatHaveIt)
{
    Prepare("plans", "a0");
    const postgres::Generation statements("plans");
    const struct {
        const postgres::Statement& statement;
        const char* parameters;
    } kStatements[] = {
        {statements.Page(Space::Entries, Direction::Forwards, true), "'\\x0003','\\x0004',100"},
        {statements.Page(Space::Entries, Direction::Backwards, true), "'\\x0009','\\x000a',100"},
        {statements.Get(Space::Blocks), "array['\\x000000000001','\\x000000000002']::bytea[]"},
        {statements.Erase(Space::Blocks), "array['\\x0000000000f1']::bytea[]"}};
    for (const auto& c : kStatements) {
        const std::string plan = Ask("set plan_cache_mode = force_custom_plan; prepare asked as " +
                                     std::string(c.statement.Text()) +
                                     "; explain (verbose) execute asked(" + c.parameters + ")");
        const std::size_t remote = plan.find("Remote SQL");
        EXPECT_NE(remote, std::string::npos) << plan;
        EXPECT_EQ(plan.find("Remote SQL", remote + 1), std::string::npos) << plan;
        EXPECT_EQ(plan.find("Join"), std::string::npos) << plan;
    }
}

TEST_F(SpreadStore, ServesWhatIsThereWhenAServerIsDown)
{
    const std::string address = Prepare("down", "02");
    const std::string none = Prepare("none", "02");
    ImportSample(address, 400);
    const auto store = ObjectStore::Open(address, Mode::Change);
    const auto state = [&](std::uint64_t from, std::uint64_t to) {
        store->Change(
            [&](ObjectChange& change) { change.Update(to, kState, change.Form(from, kState)); });
    };
    state(1, 2);
    Servers().servers[1].Kill();
    const auto start = std::chrono::steady_clock::now();
    state(2, 3); // the server that is there has the blocks and the index
    const auto reader = store->Read();
    std::string room;
    EXPECT_TRUE(reader->Value(3, kState, room));
    const auto find = [&](const std::string& text, std::size_t index) {
        return Sentence([&] { Find(*store, text, index, ScanOrder::Numbers); });
    };
    const std::string sentences[] = {
        find("speed > 100", kSpeed), Sentence([&] { reader->Value(399, kState, room); }),
        Sentence([&] { state(3, 399); }), Sentence([&] { ImportSample(none, 400); })};
    for (const std::string& sentence : sentences)
        EXPECT_NE(sentence.find("could not connect to server \"s1\" (08001)"), std::string::npos)
            << sentence;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 8s) << "nothing is tried for long";
    EXPECT_EQ(Servers().servers[1].Start(), "");
    state(3, 399);
    EXPECT_EQ(Check(address), "");
}

// Every message to the second server, and every one of the client, is cut off once.
TEST_F(SpreadStore, LeavesAtMostEntriesTooMany)
{
    SocketProxy client(SpreadServers::Coordinator().Socket());
    const std::string name = PostgresServer::NewName();
    EXPECT_EQ(Servers().Prepare("torn", "\\x000000000001", "\\x0008"), "");
    ImportSample(SchemaAddress(name, "torn"), 120);
    int harmed = 0;
    int inPart = 0;
    for (SocketProxy* const proxy : {&client, &Servers().proxy}) {
        const std::string address = SpreadServers::Coordinator().Address(
            name, "postgres", proxy == &client ? client.Folder() : "");
        // The first ones read; what there is to change, and how many they are, varies.
        for (int piece = 1, untouched = 0; untouched < 2; piece += piece < 12 ? 6 : 3) {
            const auto store = ObjectStore::Open(address, Mode::Change);
            const auto other = static_cast<std::uint64_t>(10 + (piece + harmed) % 80);
            const auto forms = [&](std::uint64_t number) {
                const auto reader = store->Read();
                std::string all;
                std::string room;
                for (const std::size_t attribute : {kState, kSpecies})
                    all +=
                        std::string(reader->Value(number, attribute, room).value_or("gone")) + "|";
                return all;
            };
            const std::uint64_t number = piece % 8 < 4 ? 1 : 119;
            proxy->Plan(piece, SocketProxy::Harm::CutBefore);
            const std::string sentence = Sentence([&] {
                store->Change([&](ObjectChange& change) {
                    for (const std::size_t attribute : {kState, kSpecies, kSpeed})
                        change.Update(number, attribute, change.Form(other, attribute));
                });
            });
            const bool wasHarmed = proxy->HasHarmed();
            proxy->Plan(1 << 30, SocketProxy::Harm::CutBefore);
            std::ostringstream found;
            const std::uint64_t faults = CheckStore(address, found).faults;
            if (sentence.empty()) {
                EXPECT_EQ(forms(number), forms(other));
            }
            if (faults > 0) {
                ++inPart;
                EXPECT_NE(sentence.find("in part"), std::string::npos) << sentence;
                EXPECT_EQ(found.str().find("lacks"), std::string::npos) << found.str();
                const auto now = store->Read();
                for (const std::size_t attribute : IndexedAttributes(now->GetSchema())) {
                    const IndexRange all = IndexRange::All(attribute);
                    EXPECT_EQ(Scan(*now, &all, ScanOrder::Forwards, nullptr).Count(1000), 120U)
                        << attribute << ": entries too many are passed over\n"
                        << found.str();
                }
                ObjectStore::Open(address, Mode::Grow)->Reindex();
                EXPECT_EQ(Check(address), "") << sentence;
            }
            untouched = wasHarmed ? 0 : untouched + 1;
            harmed += wasHarmed ? 1 : 0;
        }
    }
    EXPECT_GT(inPart, 0);
    EXPECT_GT(harmed, 10);
}

} // namespace
