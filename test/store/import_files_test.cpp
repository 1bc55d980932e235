#include "store/engine_processes.h"

#include "import/importer.h"

#include <sys/stat.h>

namespace
{

const std::string kSchema = KO_TEST_DATA "/stores/items.schema.json";
const std::string kRows = "Id,Title,Latin,Weight\n1,a,b,2\nx,a,b,2\n";

class ImportFiles : public testing::Test
{
protected:
    ImportFiles()
        : m_store(m_folder.Path("store")), m_csv(m_folder.Write("csv", kRows)),
          m_schema(m_folder.Write("schema", ReadAll(kSchema)))
    {
    }

    Outcome Import(const std::string& store, const std::string& csv, const std::string& more) const
    {
        return RunKotm("import " + store + " " + csv + " --schema " + m_schema + " " + more);
    }
    std::size_t Files() const
    {
        const std::filesystem::directory_iterator files(m_folder.Path(""));
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

    TestFolder m_folder;
    std::string m_store;
    std::string m_csv;
    std::string m_schema;
};

TEST_F(ImportFiles, NoOutputIsAnInputOrTheStore)
{
    const auto path = [this](const char* name) { return m_folder.Path(name); };
    std::filesystem::create_directory(path("sub"));
    std::filesystem::create_hard_link(m_csv, path("hard"));
    std::filesystem::create_symlink("../csv", path("sub/soft"));
    std::filesystem::create_symlink("../store.new", path("sub/none"));
    for (const bool exists : {false, true}) {
        if (exists) {
            ASSERT_EQ(Import(m_store, m_csv, "").status, 1);
        }
        const std::string before = ReadAll(m_store);
        for (const char* name : {"csv", "schema", "hard", "sub/soft", "sub/../csv", "store",
                                 "sub/../store", "store.new", "sub/none", "store-lock"}) {
            const Outcome run = Import(m_store, m_csv, "--rejects " + path(name));
            EXPECT_EQ(run.status, 2) << name << run.out;
            EXPECT_NE(run.out.find("is the same file as"), std::string::npos) << run.out;
        }
        EXPECT_EQ(Import(path("csv"), m_csv, "").status, 2) << "the rows as a store";
        EXPECT_EQ(Import(path("schema"), m_csv, "").status, 2) << "the schema as a store";
        EXPECT_TRUE(ReadAll(m_store) == before);
        EXPECT_TRUE(ReadAll(m_csv) == kRows && ReadAll(m_schema) == ReadAll(kSchema));
    }
    std::filesystem::copy(m_csv, path("other.new"));
    EXPECT_EQ(Import(path("other"), path("other.new"), "").status, 2)
        << "a new store over the rows";
    EXPECT_TRUE(ReadAll(path("other.new")) == kRows);
}

// The file that a store was made with still fits it.
TEST_F(ImportFiles, AStoreKeepsTheIndexesThatItHas)
{
    ASSERT_EQ(Import(m_store, m_csv, "").status, 1);
    for (const char* const change : {" drop title", " add latin"}) {
        const std::string index = "index " + m_store + change;
        EXPECT_EQ(RunKotm(index).status, 0) << change;
        const Outcome run = Import(m_store, m_csv, "");
        EXPECT_EQ(run.status, 1) << run.out;
        EXPECT_EQ(RunKotm(index).status, 2) << "it has been changed already";
    }
    EXPECT_EQ(RunKotm("query " + m_store + " --count").out, "3\n");
    EXPECT_EQ(RunKotm("check " + m_store).status, 0);
}

TEST_F(ImportFiles, RejectsAreReplacedByACompleteImport)
{
    const std::string kept = m_folder.Write("kept", "of last week");
    const std::string rejects = m_folder.Path("rejects");
    std::filesystem::create_symlink("kept", rejects);
    const std::size_t files = Files();
    const std::string noColumn = m_folder.Write("bad", "Id\n1\n");
    EXPECT_EQ(Import(m_store, noColumn, "--rejects " + rejects).status, 2);
    EXPECT_EQ(
        Import(m_folder.Write("garbage", "no store at all"), m_csv, "--rejects " + rejects).status,
        3);
    EXPECT_EQ(ReadAll(kept), "of last week");
    EXPECT_EQ(Files(), files + 2) << "only what this test wrote";
    EXPECT_EQ(Import(m_store, m_csv, "--rejects " + rejects).status, 1);
    EXPECT_EQ(ReadAll(kept).rfind("# line 3, ", 0), 0U);
    EXPECT_TRUE(std::filesystem::is_symlink(rejects));
    EXPECT_EQ(Files(), files + 3) << "and the store";
    const Outcome shown = Import(m_folder.Path("next"), m_csv, "--rejects /dev/stdout");
    EXPECT_EQ(shown.out.rfind("# line 3, ", 0), 0U) << shown.out;
}

// Each would wait for ever where it is opened or read as a plain file.
TEST_F(ImportFiles, OnlyPlainFilesAreStoresAndRows)
{
    const std::string pipe = m_folder.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::string folder = m_folder.Path("");
    for (const std::string& path : {pipe, folder, std::string("/dev/zero")}) {
        for (const std::string& command :
             {"query " + path, "check " + path, "explain " + path + " id=1",
              "import " + path + " " + m_csv + " --schema " + m_schema})
            EXPECT_EQ(RunKotm(command).status, 3) << command;
        const Outcome run = Import(m_store, path, "");
        EXPECT_EQ(run.status, 4) << path;
        EXPECT_NE(run.out.find("regular file"), std::string::npos) << run.out;
        EXPECT_FALSE(std::filesystem::exists(m_store));
    }
    EXPECT_EQ(Import(m_store, m_csv, "--rejects " + pipe).status, 4) << "that nobody reads";
    EXPECT_EQ(Import(m_store, m_csv, "--rejects " + folder).status, 4);
}

// A new store is there whole or not at all, an old one has its old objects or all of the new ones
// as well, and the next import goes through.
TEST_F(ImportFiles, MayBeKilledAtAnyMoment)
{
    std::string csv = "Id,Title,Latin,Weight\n";
    for (int i = 0; i < 8000; ++i)
        csv += std::to_string(i) + ",title " + std::to_string(i * 7919 % 8000) + ",x," +
               std::to_string(i % 100) + "\n";
    const std::string big = m_folder.Write("big", csv);
    const std::string small = m_folder.Write("small", "Id,Title,Latin,Weight\n1,a,b,2\n");
    const auto import = [&]() -> bool {
        freopen("/dev/null", "w", stderr);
        execl(KOTM_PROGRAM, "kotm", "import", m_store.c_str(), big.c_str(), "--schema",
              m_schema.c_str(), nullptr);
        return false;
    };
    const auto isSound = [&] { return RunKotm("check " + m_store).status == 0; };
    const auto takesMore = [&] { return Import(m_store, small, "").status == 0 && isSound(); };
    Killer killer(1, import);
    int killed = 0;
    for (int i = 0; i < 20; ++i) {
        const bool fresh = i % 2 == 0;
        std::filesystem::remove(m_store);
        EXPECT_TRUE(fresh || takesMore());
        killed += killer.Kill(import);
        if (std::filesystem::exists(m_store)) {
            const std::string count = RunKotm("query " + m_store + " --count").out;
            EXPECT_TRUE(count == (fresh ? "8000\n" : "8001\n") || (!fresh && count == "1\n"))
                << count;
            EXPECT_TRUE(isSound());
        } else {
            EXPECT_TRUE(fresh);
        }
        EXPECT_TRUE(takesMore());
    }
    EXPECT_GT(killed, 3);
}

/// Starts a process that takes so many places for readers until it is killed.
pid_t StartReaders(const std::string& store, int count)
{
    int ready[2];
    if (pipe(ready) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        const auto engine = ko::store::inner::OpenEngine(store, ko::store::inner::Mode::Read);
        std::vector<std::unique_ptr<ko::store::inner::Reader>> readers;
        while (count-- > 0)
            readers.push_back(engine->Read());
        [[maybe_unused]] const ssize_t put = write(ready[1], "", 1);
        pause();
        _exit(0);
    }
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
    return child;
}

// There are 1,000 places for readers, which the killed ones keep as long as any other has the store
// open.
TEST_F(ImportFiles, KilledReadersLeaveTheirPlaces)
{
    ASSERT_EQ(Import(m_store, m_csv, "").status, 1);
    const pid_t other = StartReaders(m_store, 1);
    for (const pid_t reader : {StartReaders(m_store, 999), other}) {
        if (reader != other) {
            const Outcome full = RunKotm("query " + m_store);
            EXPECT_EQ(full.status, 4);
            EXPECT_NE(full.out.find("try again when one of them has ended"), std::string::npos)
                << full.out;
        }
        kill(reader, SIGKILL);
        waitpid(reader, nullptr, 0);
        EXPECT_EQ(RunKotm("query " + m_store + " --count").out, "1\n");
    }
}

} // namespace
