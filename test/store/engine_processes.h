#ifndef KO_TEST_STORE_ENGINE_PROCESSES_H
#define KO_TEST_STORE_ENGINE_PROCESSES_H

#include "store/engine_suite.h"

#include "engine/postgres_limits.h"
#include <kostore.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <random>

using ko::store::Error;

/// Starts a piece of a test in a process of its own. While other threads are at work, what they
/// hold stays held there.
inline pid_t StartProcess(const std::function<bool()>& piece)
{
    const pid_t child = fork();
    if (child == 0) {
        bool held = false;
        try {
            held = piece();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "in a process: %s\n", error.what());
        }
        _exit(held ? 0 : 1);
    }
    return child;
}

/// Waits for a process and returns how it ended: 0 where its piece held.
inline int EndOf(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status) + 1000;
}

inline int InProcess(const std::function<bool()>& piece, int killAfter = 0)
{
    const pid_t child = StartProcess(piece);
    if (killAfter > 0) {
        usleep(static_cast<useconds_t>(killAfter));
        kill(child, SIGKILL);
    }
    return EndOf(child);
}

inline std::string Sentence(const std::function<void()>& call)
{
    try {
        call();
    } catch (const Error& failure) {
        return failure.what();
    }
    return "";
}

inline std::string KeyOf(unsigned number)
{
    std::string key = "key 0000000";
    const std::string digits = std::to_string(number);
    return key.replace(key.size() - digits.size(), digits.size(), digits);
}

/// A store whose rows all have one version.
inline constexpr unsigned kRows = 2000;
inline void Load(Place& place, const std::string& version, unsigned rows = kRows)
{
    const auto loader = place.Load();
    for (unsigned i = 0; i < rows; ++i) {
        loader->Append(Space::Blocks, KeyOf(i),
                       version + std::string(std::size_t{30} * (i % 90), 'x'));
        loader->Append(Space::Entries, KeyOf(i), version);
    }
    loader->Publish();
}

inline void Rewrite(Engine& engine, const std::string& version)
{
    const auto writer = engine.Write();
    for (unsigned i = 0; i < kRows; ++i) {
        writer->Put(Space::Blocks, KeyOf(i),
                    version + std::string(std::size_t{30} * ((i + 7) % 90), 'x'));
        writer->Put(Space::Entries, KeyOf(i), version);
    }
    writer->Commit();
}

/// The version of a store that is sound, and how many rows it has.
inline std::string VersionOf(Place& place, std::size_t rows = kRows)
{
    place.Check();
    const Models all = Everything(*place.Open(Mode::Read)->Read());
    std::string version = all.at(Space::Entries).begin()->second;
    for (const auto space : {Space::Blocks, Space::Entries}) {
        EXPECT_EQ(all.at(space).size(), rows);
        for (const auto& row : all.at(space))
            EXPECT_TRUE(row.second.starts_with(version)) << row.first;
    }
    return version;
}

inline void Add(Writer& writer, const std::string& key, int more)
{
    const auto now = writer.GetOne(Space::Blocks, key);
    writer.Put(Space::Blocks, key, std::to_string((now ? std::stoi(*now) : 0) + more));
}

inline int ValueOf(Place& place, const std::string& key)
{
    return std::stoi(*place.Open(Mode::Read)->Read()->GetOne(Space::Blocks, key));
}

/// A loader whose name may still be leased by one that was killed.
inline void LoadAgain(Place& place, const std::string& version, unsigned rows = kRows)
{
    for (int i = 0; i < 200; ++i) {
        const std::string sentence = Sentence([&] { Load(place, version, rows); });
        if (sentence.find("under way") == std::string::npos) {
            EXPECT_EQ(sentence, "");
            return;
        }
        usleep(20'000);
    }
    ADD_FAILURE() << "the lease does not end";
}

/// A test of stores in a database, with short limits.
class OverPostgres : public testing::Test
{
protected:
    void SetUp() override
    {
        using namespace std::chrono_literals;
        if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
            GTEST_SKIP() << why;
        ko::store::inner::postgres::LimitsInForce() = {10s, 20s, 300ms, 0ms};
    }
    static PostgresServer& Server() { return PostgresServer::Shared(); }
};

/// Kills processes that do the same at random moments, up to three times as late as one of them
/// took that was left alone; returns how many were met alive.
class Killer
{
public:
    Killer(int times, const std::function<bool()>& once)
    {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(InProcess(once), 0);
        m_latest = times * std::chrono::duration_cast<std::chrono::microseconds>(
                               std::chrono::steady_clock::now() - start);
    }
    /// 1 where it was still at work.
    int Kill(const std::function<bool()>& piece)
    {
        const auto latest = static_cast<unsigned>(m_latest.count());
        return InProcess(piece, 1 + static_cast<int>(m_random() % latest)) > 1000 ? 1 : 0;
    }

private:
    std::mt19937 m_random{4711}; // NOLINT(cert-msc51-cpp): as good as any other
    std::chrono::microseconds m_latest{};
};

#endif
