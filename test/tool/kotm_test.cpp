#include "store/test_files.h"
#include "support/data_file.h"

#include <gtest/gtest.h>

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

} // namespace
