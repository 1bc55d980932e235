#include "store/engine_processes.h"

#include "engine/lmdb_environment.h"
#include "engine/lmdb_file.h"
#include "engine/unfinished_file.h"
#include <kostore.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <random>

namespace
{

using ko::store::Error;
using namespace ko::store::inner;

TEST(LmdbEngine, OutlivesKilledWriters)
{
    for (const Mode mode : {Mode::Change, Mode::Grow}) {
        FilePlace place;
        Load(place, "1 ");
        const auto size = std::filesystem::file_size(place.Path());
        Killer killer(3, [&] { return (Rewrite(*place.Open(mode), "1 "), true); });
        int last = 1;
        int kills = 0;
        for (; kills < 20 || (last <= 5 && kills < 400); ++kills) { // on a busy machine few get far
            const bool killed = killer.Kill([&]() -> bool {
                const auto engine = place.Open(mode);
                for (int version = last + 1;; ++version) {
                    const auto kept = engine->Read();
                    Rewrite(*engine, std::to_string(version) + " ");
                }
            });
            EXPECT_TRUE(killed);
            const int version = std::stoi(VersionOf(place));
            EXPECT_GE(version, last);
            last = version;
        }
        EXPECT_GT(last, 5);
        Rewrite(*place.Open(Mode::Change), "last ");
        EXPECT_EQ(VersionOf(place), "last ");
        EXPECT_LT(std::filesystem::file_size(place.Path()), 6 * size) << "nobody frees pages";
    }
}

// With any room, a store is loaded or not there, and a change is made or was never.
TEST(LmdbEngine, EndsWithASentenceOnAFullDisk)
{
    int failed = 0;
    for (const Mode mode : {Mode::Change, Mode::Grow}) {
        FilePlace whole;
        Load(whole, "1 ");
        const auto size = std::filesystem::file_size(whole.Path());
        for (unsigned part = 0; part < 40; part += part < 20 ? 5 : 2) {
            FilePlace place;
            const auto run = [&] {
                std::signal(SIGXFSZ, SIG_IGN);
                const rlimit limit{size * part / 20, size * part / 20};
                setrlimit(RLIMIT_FSIZE, &limit);
                Load(place, "1 ");
                Rewrite(*place.Open(mode), "2 ");
                return true;
            };
            const int status = InProcess([&] { return Sentence([&] { (void)run(); }).empty(); });
            ASSERT_LT(status, 2) << part;
            failed += status;
            EXPECT_EQ(std::filesystem::exists(place.Path() + ".new"), false) << part;
            if (place.Exists()) {
                EXPECT_EQ(VersionOf(place), status == 0 ? "2 " : "1 ") << part;
                EXPECT_EQ(std::filesystem::file_size(place.Path()), lmdb::CheckHeads(place.Path()));
            } else {
                EXPECT_LT(part, 20U);
            }
        }
    }
    EXPECT_GT(failed, 10);
}

TEST(LmdbEngine, GrowsItsMap)
{
    const auto run = [](Mode mode) {
        lmdb::FirstMap::plain = lmdb::FirstMap::written = 1U << 20;
        FilePlace place;
        Load(place, "1 ", 10);
        const auto engine = place.Open(mode);
        auto reader = engine->Read();
        int conflicts = 0;
        for (bool done = false; !done;) {
            try {
                Rewrite(*engine, "2 ");
                done = true;
            } catch (const Conflict&) {
                ++conflicts;
                reader.reset(); // which held the map
            }
        }
        return conflicts > 0 && VersionOf(place) == "2 ";
    };
    EXPECT_EQ(InProcess([&] { return run(Mode::Change); }), 0);
    EXPECT_EQ(InProcess([&] { return run(Mode::Grow); }), 0);
}

TEST(LmdbEngine, TakesTurnsWithOtherProcesses)
{
    FilePlace place;
    Load(place, "1 ");
    const auto write = [&] {
        for (int i = 0; i < 20; ++i)
            Rewrite(*place.Open(Mode::Change), std::to_string(i) + " ");
        return true;
    };
    const pid_t other = StartProcess(write);
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(VersionOf(place).empty());
    EXPECT_TRUE(write());
    EXPECT_EQ(EndOf(other), 0);
    EXPECT_EQ(VersionOf(place), "19 ");
    const auto only = place.Open(Mode::Grow);
    EXPECT_NE(InProcess([&] { return Sentence([&] { place.Open(Mode::Grow); }).empty(); }), 0);
    EXPECT_EQ(InProcess([&] { return VersionOf(place) == "19 "; }), 0);
    FilePlace fresh;
    const auto first = fresh.Load();
    EXPECT_NE(Sentence([&] { fresh.Load(); }).find("is writing"), std::string::npos);
}

TEST(LmdbEngine, TakesAFreeNameInEveryWay)
{
    for (const auto way : {lmdb::Naming::Rename, lmdb::Naming::Link, lmdb::Naming::Look}) {
        const TestFolder folder;
        const std::string path = folder.Path("a");
        lmdb::LockedFile file(folder.Write("b", "new"), true);
        folder.Write("a", "old");
        EXPECT_THROW(file.TakeName(path, way), Error);
        EXPECT_EQ(ReadAll(path) + ReadAll(folder.Path("b")), "oldnew");
        std::filesystem::remove(path);
        file.TakeName(path, way);
        EXPECT_EQ(ReadAll(path), "new");
        EXPECT_FALSE(std::filesystem::exists(folder.Path("b")));
    }
}

// What stands in the names that a new store needs is destroyed only where a loader left it.
TEST(LmdbEngine, LeavesTheFilesOfOthersAlone)
{
    const TestFolder folder;
    const std::string store = folder.Path("store");
    const std::string fresh = store + ".new";
    const std::string other = folder.Path("other");
    const auto publish = [&] {
        const auto loader = StartLoad(other);
        loader->Append(Space::Blocks, "a", "1");
        loader->Publish();
    };
    const auto mark = [&](lmdb::Mark as) {
        publish();
        lmdb::LockedFile file(other, false);
        lmdb::SetMark(file, as);
    };
    const struct {
        const char* reason;
        std::function<void()> leave;
        bool isLeft;
    } kCases[] = {
        {"a loader was killed",
         [&] {
             InProcess([&] {
                 const auto loader = StartLoad(store);
                 loader->Append(Space::Blocks, "a", std::string(1U << 20, 'x'));
                 return kill(getpid(), SIGKILL) == 0;
             });
         },
         true},
        {"one was killed at its first step", [&] { folder.Write("store.new", ""); }, true},
        {"one was killed before it wrote a row",
         [&] {
             MDB_env* const env = lmdb::MakeEnvironment(fresh);
             mdb_env_open(env, fresh.c_str(), MDB_NOSUBDIR | MDB_NOLOCK, 0666);
             mdb_env_close(env);
         },
         true},
        {"one was killed before it took the first of two names away",
         [&] {
             mark(lmdb::Mark::Naming);
             std::filesystem::create_hard_link(other, fresh);
         },
         true},
        {"one was killed before it took its name",
         [&] {
             mark(lmdb::Mark::Naming);
             std::filesystem::rename(other, fresh);
         },
         true},
        {"somebody's store",
         [&] {
             publish();
             std::filesystem::rename(other, fresh);
         },
         false},
        {"a second name of somebody's store",
         [&] {
             publish();
             std::filesystem::create_hard_link(other, fresh);
         },
         false},
        {"an unfinished store that somebody has given another name",
         [&] {
             mark(lmdb::Mark::Unfinished);
             std::filesystem::create_hard_link(other, fresh);
         },
         false},
        {"a short text", [&] { folder.Write("store.new", "x"); }, false},
        {"a long text", [&] { folder.Write("store.new", std::string(10'000, 'x')); }, false},
        {"zeros", [&] { folder.Write("store.new", std::string(10'000, '\0')); }, false}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.reason);
        for (const bool cleans : {false, true}) {
            c.leave();
            const std::string left = ReadAll(fresh);
            const std::string second = ReadAll(other);
            const std::string sentence =
                Sentence([&] { cleans ? void(Clean(store)) : StartLoad(store)->Publish(); });
            EXPECT_EQ(sentence.find(fresh + ": is in the way") == 0, !c.isLeft) << sentence;
            EXPECT_EQ(sentence.empty(), c.isLeft) << sentence;
            EXPECT_EQ(std::filesystem::exists(fresh), !c.isLeft);
            EXPECT_TRUE(c.isLeft || ReadAll(fresh) == left);
            EXPECT_TRUE(ReadAll(other) == second);
            for (const std::string& path : {store, fresh, other})
                std::filesystem::remove(path);
        }
    }
    publish();
    for (const std::string& bytes :
         {std::string("notes"), std::string("n"), std::string(), std::string(20, '\0')}) {
        const bool isLocks = bytes.empty() || bytes.front() == '\0';
        for (const std::string& path : {store, other}) {
            std::ofstream(path + "-lock") << bytes;
            const std::string sentence = Sentence([&] {
                path == store ? StartLoad(store)->Publish() : void(OpenEngine(other, Mode::Read));
            });
            EXPECT_EQ(sentence.find(path + "-lock: is in the way") == 0, !isLocks) << sentence;
            EXPECT_TRUE(isLocks || ReadAll(path + "-lock") == bytes);
        }
    }
}

// By every name there is one lock file, and where it cannot be written, readers do without.
TEST(LmdbEngine, OpensByOtherNamesAndWithoutRights)
{
    const TestFolder folder;
    const std::string link = folder.Path("link");
    {
        const auto loader = StartLoad(folder.Path("store"));
        loader->Append(Space::Blocks, "a", "1");
        loader->Publish();
    }
    std::filesystem::create_symlink("store", link);
    const auto read = [&] {
        return *OpenEngine(link, Mode::Read)->Read()->GetOne(Space::Blocks, "a");
    };
    chmod(folder.Path("").c_str(), 0555);
    chmod(folder.Path("store").c_str(), 0444);
    EXPECT_EQ(InProcess([&] {
                  if (geteuid() == 0 && setuid(65534) != 0)
                      return false;
                  return read() == "1" &&
                         !Sentence([&] { OpenEngine(link, Mode::Change); }).empty();
              }),
              0);
    chmod(folder.Path("").c_str(), 0755);
    chmod(folder.Path("store").c_str(), 0644);
    EXPECT_FALSE(std::filesystem::exists(link + "-lock"));
    const auto one = OpenEngine(link, Mode::Change)->Write();
    EXPECT_EQ(read(), "1");
    EXPECT_FALSE(std::filesystem::exists(link + "-lock"));
    EXPECT_TRUE(std::filesystem::exists(folder.Path("store-lock")));
}

// A store that takes the name of one whose readers are still there has nothing to do with them.
TEST(LmdbEngine, KeepsReadersOfARemovedStore)
{
    FilePlace place;
    Load(place, "1 ");
    const auto old = place.Open(Mode::Read);
    const auto reader = old->Read();
    std::filesystem::remove(place.Path());
    Load(place, "2 ");
    EXPECT_EQ(VersionOf(place), "2 ");
    Rewrite(*place.Open(Mode::Change), "3 ");
    EXPECT_EQ(reader->GetOne(Space::Entries, KeyOf(0)), "1 ");
    EXPECT_EQ(old->Read()->GetOne(Space::Entries, KeyOf(kRows - 1)), "1 ");
    std::filesystem::rename(place.Path(), place.Path() + "2");
    std::filesystem::copy(place.Path() + "2", place.Path());
    const auto kept = place.Open(Mode::Read);
    std::filesystem::rename(place.Path() + "2", place.Path());
    EXPECT_NE(Sentence([&] { place.Open(Mode::Read); }).find("earlier store"), std::string::npos);
}

TEST(LmdbEngine, RefusesForeignFiles)
{
    const struct {
        const char* reason;
        const char* database;
        const char* sentence;
    } kCases[] = {{"an earlier format", "objects", "has store format 2"},
                  {"an index of an earlier format", "index 3", "has store format 2"},
                  {"another program's", "people", "is no store of this program"}};
    for (const auto& c : kCases) {
        const TestFolder folder;
        const std::string path = folder.Path("store");
        MDB_env* const env = lmdb::MakeEnvironment(path);
        MDB_txn* transaction = nullptr;
        MDB_dbi dbi = 0;
        ASSERT_EQ(mdb_env_open(env, path.c_str(), MDB_NOSUBDIR, 0666), 0);
        ASSERT_EQ(mdb_txn_begin(env, nullptr, 0, &transaction), 0);
        ASSERT_EQ(mdb_dbi_open(transaction, "description", MDB_CREATE, &dbi), 0);
        ASSERT_EQ(mdb_dbi_open(transaction, c.database, MDB_CREATE, &dbi), 0);
        ASSERT_EQ(mdb_txn_commit(transaction), 0);
        mdb_env_close(env);
        for (const Mode mode : {Mode::Read, Mode::Change, Mode::Grow})
            EXPECT_NE(Sentence([&] { OpenEngine(path, mode); }).find(c.sentence),
                      std::string::npos);
        EXPECT_NE(Sentence([&] { CheckEngine(path); }).find(c.sentence), std::string::npos);
    }
    const TestFolder folder;
    EXPECT_NE(Sentence([&] { OpenEngine(folder.Write("text", "no store"), Mode::Read); }), "");
}

// What the check of pages passes is safe to read and to write, and the rows are found by their
// keys.
TEST(LmdbEngine, FindsFaultsOfPages)
{
    FilePlace place;
    Load(place, "1 ");
    for (const char* version : {"2 ", "3 "})
        Rewrite(*place.Open(Mode::Change), version); // so that pages are free
    const std::string whole = ReadAll(place.Path());
    std::mt19937 random(4711); // NOLINT(cert-msc51-cpp): the same changes each time
    int refused = 0;
    for (int i = 0; i < 100; ++i) {
        constexpr std::size_t kPage = 4096;
        std::string bytes = whole;
        const std::size_t page = random() % (whole.size() / kPage);
        const std::size_t at = page * kPage + random() % (page < 2 ? 152 : 32);
        bytes[at] = static_cast<char>(bytes[at] ^ 1 << random() % 8);
        std::ofstream(place.Path(), std::ios::binary) << bytes;
        const std::string fault = Sentence([&] { place.Check(); });
        refused += fault.empty() ? 0 : 1;
        if (!fault.empty()) {
            EXPECT_NE(fault.find(place.Path() + ": "), std::string::npos) << fault;
            const auto use = [&] { // without checking first, as most commands do
                ko::store::EndOnBrokenPages("test: ");
                return Sentence([&] {
                           Rewrite(*place.Open(Mode::Change), "4 ");
                           Everything(*place.Open(Mode::Read)->Read());
                       }) != "-";
            };
            EXPECT_LT(InProcess(use), 1000) << "ended by a signal, " << at;
            continue;
        }
        const auto engine = place.Open(Mode::Change);
        const auto reader = engine->Read();
        for (const auto& row : Walk(*reader, Space::Entries, {}, Direction::Forwards, 100))
            EXPECT_EQ(reader->GetOne(Space::Entries, row.first), row.second) << at;
        if (i % 4 == 0)
            Rewrite(*engine, "4 ");
        EXPECT_EQ(Sentence([&] { place.Check(); }), "") << at;
    }
    EXPECT_GT(refused, 15);
}

} // namespace
