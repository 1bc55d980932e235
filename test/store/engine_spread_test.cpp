#include "store/engine_processes.h"
#include "support/spread_servers.h"

#include "check/checker.h"
#include "engine/postgres.h"
#include "engine/postgres_limits.h"
#include "import/importer.h"
#include "object/object_change.h"
#include "object/object_store.h"
#include "query/predicate.h"
#include "query/scan.h"

#include <sstream>

namespace
{

using namespace ko::store;
using namespace ko::store::inner;
using namespace std::chrono_literals;
using postgres::Existing;

const std::vector<std::string> kTables = {"description", "blocks",  "texts",
                                          "large",       "entries", "statistics"};

std::string SchemaAddress(const std::string& store, const std::string& schema)
{
    return PostgresServer::Shared().Address(store, "postgres", "", "&schema=" + schema);
}

class PreparedSchema : public testing::Test
{
protected:
    void SetUp() override
    {
        if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
            GTEST_SKIP() << why;
        postgres::LimitsInForce() = {10s, 20s, 300ms, 0ms};
    }
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

} // namespace
