#include "store/test_files.h"

#include "engine/engine.h"
#include "engine/lmdb_page.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

namespace
{

using namespace ko::store::inner;
namespace lmdb = ko::store::inner::lmdb;
using lmdb::kPageHeader;
using lmdb::NumberAt;

constexpr std::size_t kPage = 4096; // of a store that was made here

/// A store of several imports, so that pages of it are free, and changes of its bytes.
class StoreDamage : public testing::Test
{
protected:
    StoreDamage()
        : m_store(m_folder.Path("store")),
          m_import("import " + m_store + " " + m_folder.Write("csv", Rows(2000)) +
                   " --schema " KO_TEST_DATA "/stores/items.schema.json")
    {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(RunKotm(m_import).status, 0);
            m_folder.Write("csv", Rows(20));
        }
        m_whole = ReadAll(m_store);
        m_place = Head(1).transaction > Head(0).transaction ? 1 : 0;
    }

    static std::string Rows(int count)
    {
        std::string csv = "Id,Title,Latin,Weight\n";
        for (int i = 0; i < count; ++i)
            csv += std::to_string(i) + "," +
                   (i % 50 == 0 ? std::string(static_cast<std::size_t>(300 + i % 9 * 700), 'x')
                                : "title ") +
                   std::to_string(i * 7919 % 2000) + ",x," + std::to_string(i % 100) + "\n";
        return csv;
    }

    lmdb::Head Head(std::size_t place) const { return At<lmdb::Head>(place * kPage + kPageHeader); }
    template <class Field>
    Field At(std::size_t offset) const
    {
        return NumberAt<Field>(m_whole, offset);
    }
    lmdb::Page PageOf(std::uint64_t number) const
    {
        const auto* page = m_whole.data() + number * kPage;
        return {number, {page, page + kPage}};
    }
    /// Where bytes that stand on a page once are in the file.
    std::size_t Find(std::string_view bytes, std::uint64_t page) const
    {
        return m_whole.find(bytes, page * kPage);
    }

    template <class Field>
    void Change(std::size_t offset, Field with)
    {
        std::string bytes = m_whole;
        std::memcpy(bytes.data() + offset, &with, sizeof with);
        m_changed = bytes;
        m_folder.Write("store", bytes);
    }
    /// That commands end with status 3 and a sentence and leave the store alone.
    void ExpectRefused(const std::string& reason, const std::string& sentence,
                       const std::vector<std::string>& commands)
    {
        for (const std::string& command : commands) {
            const Outcome run = RunKotm(command);
            EXPECT_EQ(run.status, 3) << reason << "\n" << command << "\n" << run.out;
            EXPECT_NE(run.out.find(sentence), std::string::npos) << reason << "\n" << run.out;
        }
        EXPECT_TRUE(ReadAll(m_store) == m_changed) << reason;
    }

    TestFolder m_folder;
    std::string m_store;
    std::string m_import;
    std::string m_whole;
    std::string m_changed;
    std::size_t m_place = 0; ///< of the newer head
};

TEST_F(StoreDamage, Heads)
{
    constexpr std::size_t kNames = offsetof(lmdb::Head, trees) + sizeof(lmdb::Tree);
    constexpr std::size_t kRoot = offsetof(lmdb::Tree, root);
    constexpr std::size_t kLastPage = offsetof(lmdb::Head, lastPage);
    const std::uint64_t pages = m_whole.size() / kPage;
    const struct {
        const char* reason;
        std::size_t offset;
        std::uint64_t with;
        std::size_t bytes;
        std::string sentence;
        bool inOlder = false;
    } kCases[] = {
        {"pages of no bytes", offsetof(lmdb::Head, trees), 0, 4, "page size"},
        {"pages of a gigabyte", offsetof(lmdb::Head, trees), 1U << 30, 4, "page size"},
        {"pages of twice the size", offsetof(lmdb::Head, trees), 2 * kPage, 4, "page size"},
        {"the same, older", offsetof(lmdb::Head, trees), 2 * kPage, 4, "is damaged", true},
        {"another version", offsetof(lmdb::Head, version), 2, 4, "version"},
        {"no magic", offsetof(lmdb::Head, magic), 0, 4, "store", true},
        {"no pages", kLastPage, 0, 8, "no last page"},
        {"more pages than the file", kLastPage, pages, 8, "is truncated"},
        {"more pages than there are bytes", kLastPage, ~0ULL >> 4, 8, "no last page"},
        {"a map that is too small", offsetof(lmdb::Head, mapSize), kPage, 8, "size of a map"},
        {"a map that nobody has", offsetof(lmdb::Head, mapSize), 1ULL << 60, 8, "size of a map"},
        {"the same, older", offsetof(lmdb::Head, mapSize), 1ULL << 60, 8, "size of a map", true},
        {"doubled keys", kNames + offsetof(lmdb::Tree, flags), 4, 2, "trees of another kind"},
        {"a head as a root", kNames + kRoot, 1, 8, "root that is no page"},
        {"a root outside", kNames + kRoot, pages, 8, "root that is no page"},
        {"a tree without end", kNames + offsetof(lmdb::Tree, depth), 33, 2, "root that is no page"},
        {"the turn of the other", offsetof(lmdb::Head, transaction), 1001, 8, "follow each other"},
        {"an older one from the future", offsetof(lmdb::Head, transaction), 4002, 8,
         "follow each other", true},
    };
    for (const auto& c : kCases) {
        std::string bytes = m_whole;
        const std::size_t place = c.inOlder ? 1 - m_place : m_place;
        std::memcpy(bytes.data() + place * kPage + kPageHeader + c.offset, &c.with, c.bytes);
        m_folder.Write("store", m_changed = bytes);
        ExpectRefused(
            c.reason, c.sentence,
            {"check " + m_store, "query " + m_store, "explain " + m_store + " id=1", m_import});
    }
}

TEST_F(StoreDamage, WholeFiles)
{
    const auto overwritten = [&](const std::string& what, const std::string& with) {
        std::string bytes = m_whole;
        for (std::size_t at = 0; (at = bytes.find(what, at)) != std::string::npos;)
            bytes.replace(at, with.size(), with);
        return bytes;
    };
    const struct {
        const char* reason;
        std::string bytes;
        std::string sentence;
        bool mends = false; ///< an import does not look at it
    } kCases[] = {
        {"empty", "", "is no store (too short)"},
        {"cut", m_whole.substr(0, m_whole.size() - 1), "is truncated"},
        {"cut to the first page", m_whole.substr(0, kPage), "its second page is missing"},
        {"another's", overwritten("description", "designation"), "is no store of this program"},
        {"another description", overwritten("\"format\":3", "\"format\":7"), "another checksum"},
        {"a value in its block alone", overwritten("title 777", "Title 777"), "fault: ", true},
    };
    for (const auto& c : kCases) {
        m_folder.Write("store", m_changed = c.bytes);
        ExpectRefused(c.reason, c.sentence, {"check " + m_store});
        if (!c.mends)
            ExpectRefused(c.reason, c.sentence, {"query " + m_store, m_import});
    }
}

TEST_F(StoreDamage, ListsOfFreePages)
{
    const lmdb::Head head = Head(m_place);
    const std::uint64_t root = head.trees[0].root;
    ASSERT_EQ(head.trees[0].depth, 1);
    const lmdb::Page page = PageOf(root);
    lmdb::Node list = page.NodeAt(0);
    for (std::size_t i = 1; i < page.Nodes() && NumberAt<std::uint64_t>(list.value, 0) < 3; ++i)
        list = page.NodeAt(i);
    const std::size_t at = Find(list.value, root);
    ASSERT_GE(At<std::uint64_t>(at), 3U);
    const std::uint64_t count = At<std::uint64_t>(at);
    const struct {
        const char* reason;
        std::size_t offset;
        std::uint64_t with;
    } kCases[] = {
        {"the root in use", at + 8, root},
        {"a page beyond the file", at + 8, head.lastPage + 1},
        {"a page beyond everything", at + 8, ~0ULL},
        {"a head", at + 8 * count, 1},
        {"one twice", at + 16, At<std::uint64_t>(at + 8)},
        {"another order", at + 8, At<std::uint64_t>(at + 16) - 1},
        {"one is lost", at, count - 1},
        {"one after the list", at, count + 1},
        {"without end", at, ~0ULL},
        {"a transaction to come", Find(list.key, root), head.transaction + 1},
        {"no transaction", Find(list.key, root), 0},
    };
    for (const auto& c : kCases) {
        Change(c.offset, c.with);
        ExpectRefused(c.reason, "is damaged: page ", {"check " + m_store, m_import});
    }
}

// LMDB finds keys by those in the branches; walked in order, all of them are still there.
TEST_F(StoreDamage, KeysOfBranches)
{
    const lmdb::Page names = PageOf(Head(m_place).trees[1].root);
    int branches = 0;
    for (std::size_t i = 0; i < names.Nodes(); ++i) {
        const auto tree = NumberAt<lmdb::Tree>(names.NodeAt(i).value, 0);
        if (tree.depth <= 1)
            continue;
        const lmdb::Page root = PageOf(tree.root);
        ++branches;
        for (const std::size_t fromEnd : {4U, 5U}) { // the number of an object
            const std::string_view key = root.NodeAt(root.Nodes() / 2).key;
            const std::size_t offset = Find(key, tree.root) + key.size() - fromEnd;
            Change(offset, static_cast<char>(m_whole[offset] ^ 1));
            ExpectRefused(std::string(names.NodeAt(i).key), "has a wrong key",
                          {"check " + m_store});
        }
    }
    EXPECT_EQ(branches, 2) << "large values and entries";
}

// A row whose key was changed has left its place: whoever looks there meets it, or its neighbours.
TEST_F(StoreDamage, KeysThatLeftTheirPlaces)
{
    const std::string queries[] = {
        "query " + m_store + " --columns id --output csv",
        "query " + m_store + " \"@id = 5\" --columns id --output csv",
        "query " + m_store + " \"id > 1500\" --count",
        "query " + m_store + " --order title --columns title --output csv",
        "query " + m_store + " --order weight --desc --columns weight --output csv"};
    std::vector<std::string> answers;
    for (const std::string& query : queries)
        answers.push_back(RunKotm(query).out);
    std::vector<std::string> keys;
    {
        const auto reader = OpenEngine(m_store, Mode::Read)->Read();
        for (const Space space : {Space::Blocks, Space::Entries}) {
            const auto cursor = reader->Walk(space, {}, Direction::Forwards);
            std::size_t number = 0;
            for (const Row& row : cursor->Next(10'000)) {
                if (number++ % (space == Space::Blocks ? 1 : 401) == 0)
                    keys.emplace_back(row.key);
            }
        }
    }
    int refused = 0;
    for (const std::string& key : keys) {
        for (const char with : {'\0', '\xFF'}) {
            std::string bytes = m_whole;
            for (std::size_t at = bytes.find(key); at != std::string::npos;
                 at = bytes.find(key, at + 1))
                bytes[at + key.size() / 2] = with;
            m_folder.Write("store", bytes);
            for (std::size_t i = 0; i < std::size(queries); ++i) {
                const Outcome run = RunKotm(queries[i]);
                if (run.status != 3) {
                    EXPECT_EQ(run.out, answers[i]) << queries[i];
                }
                refused += run.status == 3 ? 1 : 0;
            }
        }
    }
    EXPECT_GT(keys.size(), 6U);
    EXPECT_GT(refused, 20);
}

} // namespace
