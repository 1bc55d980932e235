#include "store/test_files.h"
#include "support/data_file.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace
{

/// A class with texts in every shape, a null-capable number, a plain one and indexes on most.
const std::string kSchema = ReadAll(KO_TEST_DATA "/stores/items.schema.json");

struct Step {
    const char* reason;
    std::string arguments;
    int status;
    std::string output; ///< a part of what is written
};

void Expect(const Step& step)
{
    const Outcome run = RunKotm(step.arguments);
    EXPECT_EQ(run.status, step.status) << step.reason << "\n" << run.out;
    EXPECT_NE(run.out.find(step.output), std::string::npos) << step.reason << "\n" << run.out;
}

class KotmStore : public testing::Test
{
protected:
    KotmStore() : m_schema(m_folder.Write("schema", kSchema)), m_store(m_folder.Path("store")) {}

    Outcome Import(const std::string& csv, const std::string& more = {}) const
    {
        return RunKotm("import " + m_store + " " + m_folder.Write("csv", csv) + " --schema " +
                       m_schema + " " + more);
    }
    std::string Query(const std::string& rest) const
    {
        return RunKotm("query " + m_store + " --output csv " + rest).out;
    }
    Outcome Check() const { return RunKotm("check " + m_store); }

    TestFolder m_folder;
    std::string m_schema;
    std::string m_store;
};

/// The store of a section, which is made when it is first asked for.
std::string StoreOf(const TestFolder& folder, const std::string& head)
{
    std::istringstream words(head);
    std::string table, schema, stored, rejected;
    words >> table >> schema >> stored >> rejected;
    const std::string store = folder.Path(table);
    if (table == "none" || std::filesystem::exists(store))
        return store;
    Expect({"making the store",
            "import " + store + " " KO_TEST_DATA "/stores/" + table + ".csv --schema " +
                KO_TEST_DATA "/stores/" + schema + ".schema.json",
            rejected == "0" ? 0 : 1, "stored " + stored + ", rejected " + rejected});
    return store;
}

// As the file says and explains.
TEST(Kotm, Answers)
{
    const TestFolder folder;
    data::ForEachRow("answers.txt", 4, [&](const auto& head, const data::Row& row) {
        const std::string store = StoreOf(folder, head[0]);
        std::string arguments = row[0];
        if (const std::size_t at = arguments.find("STORE"); at != std::string::npos)
            arguments.replace(at, 5, store);
        const Outcome run = RunKotm(arguments);
        EXPECT_EQ(std::to_string(run.status), row[1]) << run.out;
        if (row[2].rfind("= ", 0) == 0) {
            EXPECT_EQ(run.out, data::ParseString(row[2]));
        } else {
            EXPECT_NE(run.out.find(row[2]), std::string::npos) << run.out;
        }
    });
}

TEST_F(KotmStore, RejectsRowsWithTheirPlaces)
{
    const std::vector<data::Row> rows = data::Read("rejects.txt", 4).at(0).rows;
    std::string csv = "\xEF\xBB\xBFId,Title,Latin,Weight\n";
    for (const data::Row& row : rows)
        csv += data::ParseString(row[0]);
    const std::string rejects = m_folder.Path("rejects");
    const Outcome run = Import(csv, "--rejects " + rejects);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.out.find("rows read 15, stored 3, rejected 12\n"), std::string::npos) << run.out;
    EXPECT_EQ(Query("--order id"),
              "id,title,latin,weight\n1,plain,a,10\n2,\"quoted \"\"x\"\"\r\nline\",b,\n"
              "7,\xCE\xA9\xF0\x9F\x98\x80,\xC3\xA9,-3\n");

    // Every rejected row stands in the file as it was, after its place and reason.
    const std::string kept = ReadAll(rejects);
    std::size_t at = 0;
    for (const data::Row& row : rows) {
        if (row[1] == "-")
            continue;
        const std::size_t line = kept.find("# " + row[1], at);
        ASSERT_NE(line, std::string::npos) << row[1] << "\n" << kept.substr(at, 300);
        const std::size_t end = kept.find('\n', line);
        const std::string reason = kept.substr(line, end - line);
        EXPECT_NE(reason.find(row[2]), std::string::npos) << reason;
        const std::string rejected = data::ParseString(row[0]);
        EXPECT_EQ(kept.substr(end + 1, rejected.size()), rejected);
        at = end + 1 + rejected.size();
    }
    EXPECT_EQ(at, kept.size());
    EXPECT_EQ(Check().status, 0) << Check().out;
}

TEST_F(KotmStore, FailedImportsLeaveTheStoreAsItWas)
{
    ASSERT_EQ(Import("Id,Title,Latin,Weight\n1,a,b,2\n").status, 0);
    const std::string before = ReadAll(m_store);
    data::ForEachRow("failedimports.txt", 4, [&](const auto&, const data::Row& row) {
        m_folder.Write("schema", row[0] == "-" ? kSchema : row[0]);
        const Outcome run = Import(data::ParseString(row[1]));
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.out.find(row[2]), std::string::npos) << run.out;
        EXPECT_EQ(ReadAll(m_store), before);
    });
    m_folder.Write("schema", kSchema);
    EXPECT_EQ(RunKotm("import " + m_folder.Path("none") + " " + m_folder.Write("csv", "") +
                      " --schema " + m_schema)
                  .status,
              2);
    EXPECT_FALSE(std::filesystem::exists(m_folder.Path("none")));
}

// Kills an import at many moments. A new store is there whole or not at all, an old one has its
// old objects or all of the new ones as well, and the next import goes through.
TEST_F(KotmStore, SurvivesBeingKilled)
{
    std::string csv = "Id,Title,Latin,Weight\n";
    for (int i = 0; i < 8000; ++i)
        csv += std::to_string(i) + ",title " + std::to_string(i * 7919 % 8000) + ",x," +
               std::to_string(i % 100) + "\n";
    const std::string small = "Id,Title,Latin,Weight\n1,a,b,2\n";
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Import(csv).status, 0);
    const auto whole = std::chrono::steady_clock::now() - start;
    m_folder.Write("big", csv);
    int killed = 0;
    for (int delay = 0; delay < 10; ++delay) {
        const bool fresh = delay % 2 == 0;
        std::filesystem::remove(m_store);
        if (!fresh) {
            ASSERT_EQ(Import(small).status, 0);
        }
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            freopen("/dev/null", "w", stderr);
            execl(KOTM_PROGRAM, "kotm", "import", m_store.c_str(), m_folder.Path("big").c_str(),
                  "--schema", m_schema.c_str(), nullptr);
            _exit(127);
        }
        std::this_thread::sleep_for(whole * delay / 12);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        killed += WIFSIGNALED(status) ? 1 : 0;
        if (!std::filesystem::exists(m_store)) {
            EXPECT_TRUE(fresh);
        } else {
            const std::string count = Query("--count");
            EXPECT_TRUE(count == (fresh ? "8000\n" : "8001\n") || (!fresh && count == "1\n"))
                << count;
            EXPECT_EQ(Check().status, 0) << Check().out;
        }
        EXPECT_EQ(Import(small).status + Check().status, 0) << Check().out;
    }
    EXPECT_GT(killed, 3);

    // Killed after the store had its name, before its first one went: renamed, the store is not
    // written over under that.
    std::filesystem::create_hard_link(m_store, m_store + ".new");
    std::filesystem::rename(m_store, m_folder.Path("kept"));
    const std::string kept = ReadAll(m_folder.Path("kept"));
    EXPECT_EQ(Import(small).status + Check().status, 0) << Check().out;
    EXPECT_TRUE(ReadAll(m_folder.Path("kept")) == kept);
    EXPECT_FALSE(std::filesystem::exists(m_store + ".new"));
}

TEST_F(KotmStore, AnswersTheSameByIndexAndByScan)
{
    // `b` repeats `a` without an index.
    m_folder.Write("schema", R"({"class": "Pair", "attributes": [
      {"name": "a", "column": "A", "type": "KoNull_int", "index": true},
      {"name": "b", "column": "A", "type": "KoNull_int"},
      {"name": "s", "column": "S", "type": "KoString", "index": true},
      {"name": "t", "column": "S", "type": "KoString"}]})");
    std::string csv = "A,S\n";
    unsigned random = 1;
    const std::string common(300, 'm');
    for (int i = 0; i < 500; ++i) {
        random = random * 1103515245 + 12345;
        const unsigned value = random >> 16 & 31;
        csv += value == 0 ? "" : std::to_string(static_cast<int>(value) - 16);
        // Short texts, and texts that differ only after what an index entry holds of them.
        csv += value == 1   ? ","
               : value < 10 ? ",k" + std::to_string(value)
               : value < 16 ? "," + common.substr(0, 240 + value) // of 256 bytes among others
                            : "," + common + common + std::to_string(value);
        csv += "\n";
    }
    for (const std::size_t part : {csv.find('\n', 2000), csv.size() - 1}) {
        // In two imports: the second one's entries go between those of the first.
        const std::size_t from = part == csv.size() - 1 ? csv.find('\n', 2000) + 1 : 4;
        ASSERT_EQ(Import("A,S\n" + csv.substr(from, part + 1 - from)).status, 0);
    }
    ASSERT_EQ(Check().status, 0) << Check().out;
    const std::string text = "\"" + common + common + "20\"";
    const std::string shorter = "\"" + common.substr(0, 250) + "\"";
    const auto ask = [&](const std::string& predicate, const std::string& rest) {
        return Query("'" + predicate + "' " + rest);
    };
    for (const std::string& longText : {text, shorter}) {
        for (const char* op : {"= ", ">= ", "<= "})
            EXPECT_EQ(ask("s " + (op + longText), "--order b"),
                      ask("t " + (op + longText), "--order b"));

        const Outcome plan = RunKotm("explain " + m_store + " 's = " + longText + "'");
        EXPECT_NE(plan.out.find("plan: index on s, from mmm"), std::string::npos) << plan.out;
    }
    for (const char* order : {"", " --desc", " --desc --limit 40"}) {
        const std::string rest = std::string(order) + " --columns b,t";
        EXPECT_EQ(Query("--order a" + rest), Query("--order b" + rest)) << order;
        EXPECT_EQ(Query("--order s" + rest), Query("--order t" + rest)) << order;
        EXPECT_EQ(ask("a > 2", "--order a" + rest), ask("b > 2", "--order b" + rest)) << order;
    }
    EXPECT_EQ(ask("b > 2 or not b > 2", "--count"), ask("b is not null", "--count"))
        << "a comparison with null is neither true nor false";
}

TEST_F(KotmStore, SaysWhatIsWrongWithAStore)
{
    std::string csv = "Id,Title,Latin,Weight\n";
    for (int i = 0; i < 2000; ++i)
        csv += std::to_string(i) + ",title " + std::to_string(i) + ",x,1\n";
    ASSERT_EQ(Import(csv).status, 0);
    const std::string whole = ReadAll(m_store);
    const auto overwritten = [&](const std::string& what, const std::string& with) {
        std::string bytes = whole;
        for (std::size_t at = 0; (at = bytes.find(what, at)) != std::string::npos;)
            bytes.replace(at, with.size(), with);
        return bytes;
    };
    const struct {
        const char* reason;
        std::string bytes;
        std::string output;
    } kCases[] = {
        {"empty", "", "is no store (too short)"},
        {"cut", whole.substr(0, whole.size() - 1), "is truncated"},
        {"cut to the first page", whole.substr(0, 4096), "its second page is missing"},
        {"other program", overwritten("description", "designation"), "is no store of this program"},
        {"another description", overwritten("\"format\":3", "\"format\":7"), "another checksum"},
    };
    for (const auto& c : kCases) {
        m_folder.Write("store", c.bytes);
        for (const char* command : {"query ", "check "})
            Expect({c.reason, command + m_store, 3, c.output});
        EXPECT_EQ(Import(csv).status, 3) << c.reason;
        EXPECT_TRUE(ReadAll(m_store) == c.bytes) << c.reason;
    }
    std::string bytes = whole;
    bytes.at(bytes.find("title 777")) = 'T'; // in its block, and not in the index
    m_folder.Write("store", bytes);
    Expect({"a changed value", "check " + m_store, 3, "fault: "});
}

} // namespace
