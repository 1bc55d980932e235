#include "store/engine_processes.h"
#include "support/data_file.h"
#include "support/socket_proxy.h"

#include "engine/postgres.h"
#include "engine/postgres_limits.h"

namespace
{

using namespace ko::store::inner;
using namespace std::chrono_literals;
using Harm = SocketProxy::Harm;

class RefusingPostgres : public OverPostgres
{
protected:
    SocketProxy m_proxy{PostgresServer::Shared().Socket()};
};

/// The refusals of a section of the file, which says what they are.
void ForEachRefusal(const std::string& section, SocketProxy& proxy,
                    const std::function<void(const std::string& told)>& visit)
{
    data::ForEachRow("refusals.txt", 7, [&](const auto& head, const data::Row& row) {
        if (head[0] != section)
            return;
        proxy.PlanReply(row[0], SocketProxy::Refusal(row[1], row[2] == "fatal"), std::stoi(row[4]),
                        row[3] == "after" ? Harm::ReplyAfter : Harm::Reply);
        visit(row[5] == "-" ? "" : row[5]);
    });
}

// In processes of their own: what is learned of a server is remembered.
template <class Call>
void Expect(const SocketProxy& proxy, const std::string& told, Call call)
{
    const int before = proxy.Replies();
    const int ended = InProcess([&] {
        const auto start = std::chrono::steady_clock::now();
        const std::string sentence = Sentence(call);
        const bool right = sentence.find(told) != std::string::npos &&
                           sentence.empty() == told.empty() &&
                           sentence.find("secret") == std::string::npos;
        if (!right)
            std::fprintf(stderr, "told: %s\n", sentence.c_str());
        return right && std::chrono::steady_clock::now() - start < 8s;
    });
    EXPECT_EQ(ended, 0);
    EXPECT_GT(proxy.Replies(), before);
}

TEST_F(RefusingPostgres, MakesAChangeOnceOrTellsWhyNot)
{
    DatabasePlace place(m_proxy.Folder());
    Create(place, {{Space::Blocks, {{"n", "0"}}}});
    int made = 0;
    ForEachRefusal("changes", m_proxy, [&](const std::string& told) {
        Expect(m_proxy, told, [&] {
            Change(*place.Open(Mode::Change), [](Writer& writer) { Add(writer, "n", 1); });
        });
        m_proxy.PlanReply("", {}, 0);
        made += told.empty() ? 1 : 0;
        EXPECT_EQ(ValueOf(place, "n"), made);
    });
}

TEST_F(RefusingPostgres, MakesAStoreOnceOrTellsWhyNot)
{
    ForEachRefusal("loads", m_proxy, [&](const std::string& told) {
        DatabasePlace place(m_proxy.Folder());
        Expect(m_proxy, told, [&] { Load(place, "1 ", 20); });
        m_proxy.PlanReply("", {}, 0);
        EXPECT_EQ(place.Exists(), told.empty());
        if (!place.Exists())
            LoadAgain(place, "2 ", 20);
        EXPECT_NE(VersionOf(place, 20), "");
    });
}

// What other engines are asked for is not what this server takes.
TEST_F(RefusingPostgres, TellsEnginesByTheirVersions)
{
    const struct {
        const char* version;
        const char* told;
    } kVersions[] = {
        {"CockroachDB CCL v25.1.0 (x86_64-pc-linux-gnu)", "(42601)"},
        {"PostgreSQL 11.2-YB-2.20.0.0-b0 on x86_64", "(42601)"},
        {"PostgreSQL 16.1 on x86_64, Citus 12.1", ""},
        {"", ""},
    };
    for (const auto& c : kVersions) {
        SCOPED_TRACE(c.version);
        DatabasePlace place(m_proxy.Folder());
        m_proxy.PlanReply("select version()", SocketProxy::Text(c.version));
        Expect(m_proxy, c.told, [&] { Load(place, "1 ", 20); });
    }
}

} // namespace
