// Snapshots of one open store share what it keeps of descriptions, counts, texts, statistics and
// blocks; each thread has its own. The thread sanitizer looks on where it is built in.

#include "store/engine_suite.h"
#include "store/generated_store.h"
#include "store/random_predicate.h"

#include "object/copy_store.h"
#include "query/answer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace
{

using ko::store::Query;
using namespace ko::store::inner;
using Numbers = std::vector<std::uint64_t>;

/// The objects that are found, and what one attribute of them holds.
Numbers Found(Snapshot& snapshot, const Query& query, std::size_t attribute)
{
    Numbers found;
    std::string room;
    Answer answer(snapshot, query, false);
    for (auto numbers = answer.Next(100); !numbers.empty(); numbers = answer.Next(100)) {
        for (const std::uint64_t number : numbers) {
            found.push_back(number);
            found.push_back(
                std::hash<std::string_view>()(*snapshot.Value(number, attribute, room)));
        }
    }
    return found;
}

TEST(Threads, ReadTheSameBesideChanges)
{
    const GeneratedStore generated(700);
    FilePlace place;
    CopyStore(*generated.store, *place.Load(), place.Path());
    ObjectStore store(place.Open(Mode::Change), "store", place.Path());
    store.Analyze();
    std::vector<Query> queries(40);
    std::vector<Numbers> expected;
    const auto alone = generated.store->Read();
    const std::size_t attributes = alone->GetSchema().attributes.size();
    RandomPredicates random(*alone, 17);
    for (std::size_t i = 0; i < queries.size(); ++i) {
        queries[i].predicate = random.Make(2);
        queries[i].order = i % 3 == 0 ? alone->GetSchema().Name(i % attributes) : "";
        expected.push_back(Found(*alone, queries[i], i % attributes));
    }

    std::atomic<int> reading = 3;
    std::vector<std::thread> readers;
    for (std::size_t thread = 0; thread < 3; ++thread)
        readers.emplace_back([&, thread] {
            std::shared_ptr<Snapshot> snapshot;
            for (std::size_t i = 0; i < 3 * queries.size(); ++i) {
                const std::size_t at = (i * 7 + thread * 11) % queries.size();
                if (i % 5 == 0)
                    snapshot = store.Read();
                EXPECT_EQ(Found(*snapshot, queries[at], at % attributes), expected[at])
                    << queries[at].predicate;
            }
            --reading;
        });
    while (reading > 0)
        store.Change([&](ObjectChange& change) {
            std::vector<std::string> forms;
            for (std::size_t i = 0; i < attributes; ++i)
                forms.push_back(change.Form(1, i));
            change.Erase(change.Insert(std::vector<std::string_view>(forms.begin(), forms.end())));
        });
    for (std::thread& reader : readers)
        reader.join();
}

} // namespace
