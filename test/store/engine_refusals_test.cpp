#include "store/engine_processes.h"
#include "support/socket_proxy.h"

#include "engine/postgres.h"
#include "engine/postgres_limits.h"
#include "import/importer.h"

#include <sstream>
#include <stdexcept>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;
using namespace std::chrono_literals;
using Harm = SocketProxy::Harm;

class RefusingPostgres : public testing::Test
{
protected:
    void SetUp() override
    {
        if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
            GTEST_SKIP() << why;
        postgres::LimitsInForce() = {10s, 20s, 300ms, 0ms};
    }

    SocketProxy m_proxy{PostgresServer::Shared().Socket()};
};

struct Refused {
    const char* at; ///< what the refused batch has in it
    const char* state;
    bool fatal;
    Harm harm;
    int times;
    const char* told; ///< in the sentence; empty: it is done, and once
};

constexpr Refused kChanges[] = {
    {"get blocks", "40001", false, Harm::Reply, 3, ""},
    {"insert blocks", "40P01", false, Harm::Reply, 1, ""},
    {"insert blocks", "55P03", false, Harm::Reply, 1, ""},
    {"insert blocks", "23505", false, Harm::Reply, 1, ""},
    {"get blocks", "08006", true, Harm::Reply, 1, ""},
    {"get blocks", "57P02", true, Harm::Reply, 1, ""},
    {"insert blocks", "57P01", true, Harm::Reply, 1, ""},
    {"insert blocks", "57P01", true, Harm::ReplyAfter, 1, ""},
    {"insert blocks", "08007", false, Harm::Reply, 1, ""},
    {"insert blocks", "40003", false, Harm::ReplyAfter, 1, ""},
    {"_timeout", "42704", false, Harm::Reply, 99, ""},
    {"get blocks", "57014", false, Harm::Reply, 1, "the server refuses (57014)"},
    {"get blocks", "42501", false, Harm::Reply, 1, "the server refuses (42501)"},
    {"insert blocks", "53100", false, Harm::Reply, 1, "the server refuses (53100)"},
    {"insert blocks", "53200", false, Harm::Reply, 1, "the server refuses (53200)"},
    {"get blocks", "XX001", false, Harm::Reply, 1, "the server refuses (XX001)"},
    {"get blocks", "99999", false, Harm::Reply, 1, "the server refuses (99999)"},
    // Each ends the use of prepared statements, which have these names.
    {"get blocks", "26000", false, Harm::Reply, 99, ""},
    {"insert blocks", "42P05", false, Harm::Reply, 99, ""},
};

constexpr Refused kLoads[] = {
    {"insert into kotms.imports", "40001", false, Harm::Reply, 3, ""},
    {"insert into kotms.generations", "40P01", false, Harm::Reply, 1, ""},
    {"insert into kotms.stores", "40001", false, Harm::Reply, 2, ""},
    {"insert into kotms.stores", "40003", false, Harm::ReplyAfter, 1, ""},
    {"insert into kotms.stores", "57P01", true, Harm::ReplyAfter, 1, ""},
    {"insert into kotms.stores", "08007", false, Harm::Reply, 1, "before the store was published"},
    {"insert into kotms.stores", "23505", false, Harm::Reply, 1, "there is a store already"},
    {"toast_tuple_target", "0A000", false, Harm::Reply, 99, ""},
    {"user", "57P03", true, Harm::Reply, 6, ""},
    {"user", "53300", true, Harm::Reply, 1, "the server refuses"},
    {"user", "28P01", true, Harm::Reply, 1, "the server refuses"},
    {"copy \"ko_", "53100", false, Harm::Reply, 1, "the server refuses (53100)"},
    {"analyze", "53200", false, Harm::Reply, 1, "the server refuses (53200)"},
    {"create schema \"ko_", "42501", false, Harm::Reply, 1, "the server refuses (42501)"},
};

// In processes of their own: what is learned of a server is remembered.
template <class Call>
void Expect(const SocketProxy& proxy, const Refused& c, Call call)
{
    const int before = proxy.Replies();
    const int ended = InProcess([&] {
        const auto start = std::chrono::steady_clock::now();
        const std::string sentence = Sentence(call);
        const bool told = sentence.find(c.told) != std::string::npos &&
                          sentence.empty() == std::string_view(c.told).empty();
        if (!told || sentence.find("secret") != std::string::npos)
            std::fprintf(stderr, "told: %s\n", sentence.c_str());
        return told && sentence.find("secret") == std::string::npos &&
               std::chrono::steady_clock::now() - start < 8s;
    });
    EXPECT_EQ(ended, 0);
    EXPECT_GT(proxy.Replies(), before);
}

TEST_F(RefusingPostgres, MakesAChangeOnceOrTellsWhyNot)
{
    DatabasePlace place(m_proxy.Folder());
    Create(place, {{Space::Blocks, {{"n", "0"}}}});
    int made = 0;
    for (const Refused& c : kChanges) {
        SCOPED_TRACE(std::string(c.at) + " " + c.state);
        m_proxy.PlanReply(c.at, SocketProxy::Refusal(c.state, c.fatal), c.times, c.harm);
        Expect(m_proxy, c, [&] {
            Change(*place.Open(Mode::Change), [](Writer& writer) { Add(writer, "n", 1); });
        });
        m_proxy.PlanReply("", {}, 0);
        made += std::string_view(c.told).empty() ? 1 : 0;
        EXPECT_EQ(ValueOf(place, "n"), made);
    }
}

TEST_F(RefusingPostgres, MakesAStoreOnceOrTellsWhyNot)
{
    for (const Refused& c : kLoads) {
        SCOPED_TRACE(std::string(c.at) + " " + c.state);
        DatabasePlace place(m_proxy.Folder());
        m_proxy.PlanReply(c.at, SocketProxy::Refusal(c.state, c.fatal), c.times, c.harm);
        Expect(m_proxy, c, [&] { Load(place, "1 ", 20); });
        m_proxy.PlanReply("", {}, 0);
        EXPECT_EQ(place.Exists(), std::string_view(c.told).empty());
        if (!place.Exists())
            LoadAgain(place, "2 ", 20);
        EXPECT_NE(VersionOf(place, 20), "");
    }
}

constexpr char kThing[] =
    R"({"class": "Thing", "attributes": [{"name": "id", "column": "id", "type": "o_4b"}]})";

// The connection is lost, and the server takes no new one for a while.
TEST_F(RefusingPostgres, ImportsAgainWhenTheServerIsThereAgain)
{
    const TestFolder folder;
    DatabasePlace place(m_proxy.Folder());
    const auto import = [&] {
        std::ostringstream messages;
        ko::store::ImportRequest request;
        request.store = place.Address();
        request.csv = folder.Write("csv", "id\n1\n2\n");
        Import(request, Schema::FromJson(kThing, "schema"), messages);
    };
    import();
    const struct {
        std::chrono::milliseconds patience;
        const char* told;
        std::uint64_t objects;
    } kCases[] = {{10s, "", 4}, {0s, "the server refuses", 4}, {10s, "", 6}};
    for (const auto& c : kCases) {
        PatienceInForce() = c.patience;
        m_proxy.PlanAt("get blocks", Harm::Reply,
                       [&] { m_proxy.PlanReply("user", SocketProxy::Refusal("57P01", true), 3); });
        const int before = m_proxy.Replies();
        const std::string sentence = Sentence(import);
        m_proxy.PlanReply("", {}, 0);
        EXPECT_NE(sentence.find(c.told), std::string::npos) << sentence;
        EXPECT_EQ(sentence.empty(), std::string_view(c.told).empty()) << sentence;
        EXPECT_EQ(m_proxy.Replies() - before, sentence.empty() ? 4 : 3) << "each asks why";
        EXPECT_EQ(ko::store::Store::Open(place.Address()).Count(), c.objects);
    }
}

// A function that changes a store meets an Error where another change came between, and is run
// again whatever it does about it.
TEST_F(RefusingPostgres, RunsAFunctionAgainThatMetAConflict)
{
    DatabasePlace place(m_proxy.Folder());
    using ko::store::Store;
    const Store store = Store::Create(place.Address(), ko::store::Schema::FromJson(kThing, "s"));
    enum class Then { Throw, PassOver, GoOn, ThrowAnother };
    const auto change = [&](Then then, int conflicts) {
        int runs = 0;
        m_proxy.PlanReply("get blocks", SocketProxy::Refusal("40001"), conflicts);
        std::string sentence = Sentence([&] {
            store.Change([&](ko::store::Transaction& transaction) {
                ++runs;
                try {
                    transaction.Insert({{"id", "7"}});
                } catch (const Error& error) {
                    EXPECT_EQ(error.Code(), ErrorCode::Conflict);
                    if (then == Then::Throw)
                        throw;
                    if (then == Then::ThrowAnother)
                        throw std::runtime_error("not this time");
                    if (then == Then::GoOn) {
                        EXPECT_THROW(transaction.Insert({{"id", "8"}}), Error);
                    }
                }
            });
        });
        m_proxy.PlanReply("", {}, 0);
        EXPECT_EQ(runs, std::min(conflicts + 1, 10));
        return sentence;
    };
    std::uint64_t made = 0;
    for (const Then then : {Then::Throw, Then::PassOver, Then::GoOn, Then::ThrowAnother}) {
        EXPECT_EQ(change(then, 3), "");
        EXPECT_EQ(store.Count(), ++made);
        EXPECT_NE(change(then, 99).find("came between 10 times"), std::string::npos);
        EXPECT_EQ(store.Count(), made);
    }
}

// What other engines are asked for is not what this server takes.
TEST_F(RefusingPostgres, TellsEnginesByTheirVersions)
{
    const struct {
        const char* version;
        Refused expected;
    } kVersions[] = {
        {"CockroachDB CCL v25.1.0 (x86_64-pc-linux-gnu)", {"", "", false, {}, 1, "(42601)"}},
        {"PostgreSQL 11.2-YB-2.20.0.0-b0 on x86_64", {"", "", false, {}, 1, "(42601)"}},
        {"PostgreSQL 16.1 on x86_64, Citus 12.1", {"", "", false, {}, 1, ""}},
        {"", {"", "", false, {}, 1, ""}},
    };
    for (const auto& c : kVersions) {
        SCOPED_TRACE(c.version);
        DatabasePlace place(m_proxy.Folder());
        m_proxy.PlanReply("select version()", SocketProxy::Text(c.version));
        Expect(m_proxy, c.expected, [&] { Load(place, "1 ", 20); });
    }
}

} // namespace
