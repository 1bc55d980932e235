#include "store/things.h"
#include "support/socket_proxy.h"

#include "query/predicate.h"
#include "query/scan.h"
#include <kostore.h>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

constexpr std::uint64_t kObjects = 30'000;

/// Objects 1 to kObjects: a number that each has for itself, and texts that repeat, that are one
/// object's alone, and, in every 500th, that stand by themselves.
void FillServer(Place& place)
{
    const Schema schema = Schema::FromJson(R"({"class": "Thing", "attributes": [
        {"name": "id", "column": "id", "type": "o_4b", "index": true},
        {"name": "kind", "column": "kind", "type": "KoString"},
        {"name": "note", "column": "note", "type": "KoString"}]})",
                                           "schema");
    const auto bulk = Bulk::Create(place.Load(), schema, Scratch());
    for (std::uint64_t i = 1; i <= kObjects; ++i) {
        const std::string texts[] = {std::to_string(i), "kind " + std::to_string(i * 7 % 3000),
                                     std::to_string(i * i) +
                                         (i % 500 == 0 ? std::string(1500, 'l') : "")};
        Object forms;
        FormMemo memos[3];
        FormMemo* pointers[] = {&memos[0], &memos[1], &memos[2]};
        for (std::size_t at = 0; at < 3; ++at)
            forms.push_back(FormOf(schema.attributes[at], texts[at]));
        bulk->Add(Views(forms), pointers);
    }
    bulk->Commit();
}

/// Finds the objects with an id below another and reads values of them. Returns how many.
std::uint64_t Find(Snapshot& now, std::uint64_t below, const char* test, std::size_t attributes)
{
    const std::string text = "id < " + std::to_string(below);
    const Condition range = Condition::Make(ParsePredicate(text), text, now.GetSchema());
    IndexRange index = IndexRange::Values(0);
    index.high = IndexRange::Edge{range.form, false};
    std::optional<Condition> condition;
    if (test != nullptr)
        condition = Condition::Make(ParsePredicate(test), test, now.GetSchema());
    Scan scan(now, &index, ScanOrder::Numbers, condition ? &*condition : nullptr);
    const std::size_t kAll[] = {0, 1, 2};
    const std::span<const std::size_t> wanted(kAll, attributes);
    std::uint64_t found = 0;
    std::string room;
    for (auto numbers = scan.Next(25'000); !numbers.empty(); numbers = scan.Next(25'000)) {
        for (std::size_t fetched = 0, i = 0; i < numbers.size(); ++i, ++found) {
            if (i == fetched)
                fetched += now.Fetch(numbers.subspan(i), wanted);
            for (const std::size_t attribute : wanted)
                EXPECT_FALSE(now.Value(numbers[i], attribute, room).value_or("").empty());
        }
    }
    return found;
}

// A find of n objects takes 2 + n / 4,000 round trips, and one for every 4,000 objects where values
// stand by themselves. The first one of a store that meets a part of a dictionary reads that too.
TEST(RoundTrips, OfFinds)
{
    if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
        GTEST_SKIP() << why;
    SocketProxy proxy(PostgresServer::Shared().Socket());
    DatabasePlace place(proxy.Folder());
    ASSERT_NO_FATAL_FAILURE(FillServer(place));
    ObjectStore store(place.Open(Mode::Change), "store", Scratch());
    const auto trips = [&](const std::function<void()>& call) {
        const int before = proxy.Trips();
        call();
        return proxy.Trips() - before;
    };
    // What went wrong is not asked for a second time.
    const int opens = trips([&] { OpenEngine(place.Address(), Mode::Read); });
    DatabasePlace none(proxy.Folder());
    EXPECT_LE(
        trips([&] { EXPECT_THROW(ko::store::Store::Open(none.Address()), ko::store::Error); }),
        opens);
    Find(*store.Read(), kObjects, nullptr, 3);
    const struct {
        const char* reason;
        const char* test;
        std::size_t attributes;
    } kCases[] = {{"numbers and texts that repeat", nullptr, 2},
                  {"objects are tested", "kind != \"kind 7\"", 2},
                  {"values by themselves", nullptr, 3},
                  {"all of it", "kind != \"kind 7\" and note != \"5\"", 3}};
    for (const auto& c : kCases) {
        for (const std::uint64_t n : {1U, 100U, 4'000U, 25'000U}) {
            std::unique_ptr<Snapshot> now;
            EXPECT_LE(trips([&] { now = store.Read(); }), 1);
            std::uint64_t found = 0;
            const int took = trips([&] { found = Find(*now, n + 1, c.test, c.attributes); });
            EXPECT_EQ(found, c.test == nullptr ? n : n - (n + 2'999) / 3'000) << "the first has it";
            const std::uint64_t large = c.attributes == 3 ? (n + 3'999) / 4'000 : 0;
            EXPECT_LE(took, static_cast<int>(2 + n / 4'000 + large)) << c.reason;
        }
    }
    // A change of the description is seen by the next snapshot.
    EXPECT_FALSE(store.Read()->GetSchema().attributes[1].index);
    store.AddIndex(1);
    EXPECT_TRUE(store.Read()->GetSchema().attributes[1].index);
}

// What a program or a user asks takes no more, whatever finds the objects.
TEST(RoundTrips, OfCursors)
{
    if (const std::string why = DatabasePlace().WhyNot(); !why.empty())
        GTEST_SKIP() << why;
    SocketProxy proxy(PostgresServer::Shared().Socket());
    DatabasePlace place(proxy.Folder());
    ASSERT_NO_FATAL_FAILURE(FillServer(place));
    const auto store = ko::store::Store::Open(place.Address());
    // The end of the snapshot before and the beginning of this one; and what a plan asks: the ends
    // of an index, their objects, and null values.
    constexpr int kBegin = 2;
    constexpr int kPlan = kBegin + 5;
    constexpr int kPages = 4; // of an index of numbers that each are one object's, or of blocks
    const struct {
        const char* reason;
        ko::store::Query query;
        std::uint64_t found;
        int most;
    } kCases[] = {
        {"an index alone, and a dictionary", {"id <= 12000", {"kind"}}, 12'000, kPlan + kPages + 4},
        {"few of an index", {"id <= 9", {"@id", "kind"}}, 9, kPlan + 2},
        {"with tests", {"id <= 12000 and kind != \"kind 7\"", {"id"}}, 11'996, kPlan + kPages + 3},
        {"values by themselves", {"id <= 12000"}, 12'000, kPlan + kPages + 3 + 3},
        {"all", {"", {"kind", "id"}}, kObjects, kBegin + kPages},
        {"all, with values by themselves", {}, kObjects, kBegin + kPages + 8},
        {"no index", {"kind < \"kind 2\"", {"kind"}}, 11'120, kBegin + kPages},
        {"the order of an index", {"", {"id"}, "id", true}, kObjects, kBegin + kPages + 2 + 8},
        {"another order", {"", {"id"}, "kind"}, kObjects, kBegin + kPages},
    };
    for (const auto& c : kCases) {
        const int before = proxy.Trips();
        std::uint64_t found = 0;
        auto cursor = store.Select(c.query);
        for (auto batch = cursor.Next(); !batch.Empty(); batch = cursor.Next())
            found += batch.Rows();
        EXPECT_EQ(found, c.found) << c.reason;
        EXPECT_LE(proxy.Trips() - before, c.most) << c.reason;
    }
}

} // namespace
