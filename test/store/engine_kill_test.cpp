#include "store/engine_processes.h"
#include "support/socket_proxy.h"

#include "engine/postgres.h"
#include "engine/postgres_limits.h"

#include <atomic>
#include <thread>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;
using namespace std::chrono_literals;

/// Kills at random moments: few of them unless more are asked for.
int Kills(int few)
{
    const char* const many = std::getenv("KOTM_KILLS");
    return many != nullptr ? std::atoi(many) : few;
}

class KilledPostgres : public OverPostgres
{
protected:
    /// Generations of a store in the catalog, and schemas that stand in none.
    static std::string Left(const DatabasePlace& place)
    {
        return Server().Ask("select count(*) || ', ' || (select count(*) from pg_namespace where "
                            "nspname like 'ko\\_%' and not exists(select from kotms.generations "
                            "where schema_name = nspname)) from kotms.generations where name = '" +
                            place.Name() + "'");
    }
};

// What was committed is there, and nothing else, whenever the server dies.
TEST_F(KilledPostgres, OutlivesKilledServers)
{
    DatabasePlace counted;
    Create(counted, {{Space::Blocks, {{"n", "0"}}}});
    std::atomic<bool> ended{false};
    std::atomic<int> made{0};
    const auto engine = counted.Open(Mode::Change);
    std::thread writer([&] {
        for (; !ended; ++made)
            Change(*engine, [](Writer& w) { Add(w, "n", 1); });
    });
    std::mt19937 random(4711); // NOLINT(cert-msc51-cpp)
    for (int i = 0; i < Kills(2); ++i) {
        DatabasePlace place;
        std::string sentence;
        std::thread loader([&] { sentence = Sentence([&] { Load(place, "1 "); }); });
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 250));
        Server().Kill();
        loader.join();
        const std::string whyNot = Server().Start();
        EXPECT_EQ(whyNot, "");
        if (!whyNot.empty())
            break;
        EXPECT_TRUE(!sentence.empty() || place.Exists());
        if (!place.Exists())
            LoadAgain(place, "2 ");
        EXPECT_NE(VersionOf(place), "");
        const int before = made;
        for (int wait = 0; wait < 500 && made < before + 3; ++wait)
            std::this_thread::sleep_for(20ms);
        EXPECT_GE(made, before + 3);
    }
    ended = true;
    writer.join();
    EXPECT_EQ(ValueOf(counted, "n"), made);
}

// What a loader sends at each of its steps; at the second one of two it is for the second time.
constexpr const char* kSteps[] = {"kotms.stores where",
                                  "insert into kotms.imports",
                                  "kotms.generations g",
                                  "insert into kotms.generations",
                                  "create schema \"ko_",
                                  "toast_tuple_target",
                                  "copy \"ko_",
                                  "PGCOPY",
                                  "update kotms.imports",
                                  "analyze",
                                  "delete from kotms.imports",
                                  "insert into kotms.stores"};

TEST_F(KilledPostgres, LeavesNothingAtAnyStep)
{
    SocketProxy proxy(Server().Socket());
    for (const bool killsServer : {false, true}) {
        for (const char* const step : kSteps) {
            SCOPED_TRACE(std::string(killsServer ? "server: " : "client: ") + step);
            DatabasePlace place(proxy.Folder());
            std::atomic<pid_t> client{0};
            std::atomic<bool> reached{false};
            std::atomic<bool> killed{false};
            proxy.PlanAt(step, SocketProxy::Harm::CutBefore, [&] {
                while (!killsServer && client == 0)
                    std::this_thread::yield();
                reached = true;
                if (killsServer)
                    Server().Kill();
                else
                    kill(client, SIGKILL);
                killed = true;
            });
            const pid_t child = fork();
            if (child == 0)
                _exit(Sentence([&] { Load(place, "1 ", 20); }).empty() ? 0 : 1);
            client = child;
            int status = 0;
            bool ended = false;
            for (; !reached && !ended; std::this_thread::yield())
                ended = waitpid(child, &status, WNOHANG) != 0;
            ASSERT_TRUE(reached) << "it does not come to this step";
            // A server that is started before the other one has ended finds its files taken.
            while (!killed)
                std::this_thread::sleep_for(1ms);
            // One that waits for the server finds out what became of the store.
            ASSERT_EQ(killsServer ? Server().Start() : "", "");
            if (!ended)
                waitpid(child, &status, 0);
            EXPECT_NE(status, 0);
            EXPECT_FALSE(place.Exists());
            LoadAgain(place, "2 ", 20);
            EXPECT_EQ(VersionOf(place, 20), "2 ");
            EXPECT_EQ(Left(place), "1, 0");
        }
    }
}

} // namespace
