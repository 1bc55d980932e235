// Whatever the plan, the answer is the same: that of a model which tests every object by itself.
// Every way that indexes have is forced, alone and with others, and so are walks in an order.

#include "store/engine_suite.h"
#include "store/every_way.h"
#include "store/generated_store.h"
#include "store/generated_table.h"
#include "store/object_model.h"
#include "store/random_predicate.h"
#include "store/sample.h"
#include "store/things.h"

#include "object/copy_store.h"
#include "query/answer.h"
#include "query/explain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace
{

using ko::store::Error;
using ko::store::Query;
using namespace ko::store::inner;

/// What a scan or an answer finds, asked for a few objects at a time.
template <class Source>
Numbers Found(Source&& source, std::size_t limit = SIZE_MAX)
{
    Numbers found;
    for (std::size_t most = 1; found.size() < limit; most += 7) {
        const auto numbers = source.Next(std::min(most, limit - found.size()));
        if (numbers.empty())
            break;
        found.insert(found.end(), numbers.begin(), numbers.end());
    }
    return found;
}

/// How often each kind of plan was forced, and chosen.
struct Seen {
    std::size_t ranges = 0;
    std::size_t both = 0;
    std::size_t either = 0;
    std::size_t exact = 0;
    std::size_t walks = 0;
    std::size_t chosen[4] = {}; ///< by kind of way, and walks in order
};

class Checks
{
public:
    Checks(Snapshot& snapshot, const ObjectModel& model, unsigned seed)
        : m_snapshot(snapshot), m_model(model), m_random(snapshot, seed)
    {
    }

    Seen seen{};

    void Run(int predicates)
    {
        for (int i = 0; i < predicates && !testing::Test::HasFailure(); ++i) {
            const std::string text = m_random.Make(3);
            SCOPED_TRACE(text);
            try {
                const Condition condition =
                    Condition::Make(ParsePredicate(text), text, m_snapshot.GetSchema());
                Check(text, condition, m_model.Meeting(condition));
            } catch (const Error& error) {
                // Such as a literal that reads as null.
                ASSERT_EQ(error.Code(), ko::store::ErrorCode::Usage) << error.what();
            }
        }
    }

private:
    void Check(const std::string& text, const Condition& condition, const Numbers& all)
    {
        const Plan plan = MakePlan(m_snapshot, &condition, {});
        if (plan.way)
            ++seen.chosen[static_cast<std::size_t>(plan.way->kind)];
        ASSERT_EQ(Found(Scan(m_snapshot, nullptr, &condition)), all);
        for (const Way& way : EveryWay(plan.narrowed, 4)) {
            const Condition* const test = way.exact ? nullptr : &condition;
            seen.ranges += way.kind == Way::Kind::Range ? 1U : 0U;
            seen.both += way.kind == Way::Kind::Both ? 1U : 0U;
            seen.either += way.kind == Way::Kind::Either ? 1U : 0U;
            seen.exact += way.exact ? 1U : 0U;
            ASSERT_EQ(Found(Scan(m_snapshot, &way, test)), all)
                << "way " << static_cast<int>(way.kind);
            const std::uint64_t most = m_random.Below(50) + 1;
            ASSERT_EQ(Scan(m_snapshot, &way, test).Count(most),
                      std::min<std::uint64_t>(all.size(), most));
            if (way.kind == Way::Kind::Range)
                CheckWalks(way.range, test, all);
        }
        CheckAnswers(text, all);
    }

    void CheckWalks(const IndexRange& range, const Condition* test, const Numbers& all)
    {
        const bool descending = m_random.Below(2) == 0;
        const std::size_t limit = m_random.Below(3) == 0 ? SIZE_MAX : m_random.Below(20) + 1;
        ++seen.walks;
        ASSERT_EQ(Found(Scan(m_snapshot, &range,
                             descending ? ScanOrder::Backwards : ScanOrder::Forwards, test),
                        limit),
                  m_model.InOrder(all, range.attribute, descending, limit));
    }

    /// What the plan chooses, for answers of every kind.
    void CheckAnswers(const std::string& text, const Numbers& all)
    {
        const Schema& schema = m_snapshot.GetSchema();
        Query query{text};
        ASSERT_EQ(Answer(m_snapshot, query, true).Count(), all.size());
        query.limit = m_random.Below(2) == 0 ? query.limit : m_random.Below(30) + 1;
        const auto limit = static_cast<std::size_t>(std::min<std::uint64_t>(query.limit, SIZE_MAX));
        const Numbers first(all.begin(),
                            all.begin() + static_cast<std::ptrdiff_t>(std::min(limit, all.size())));
        ASSERT_EQ(Found(Answer(m_snapshot, query, false)), first);
        ASSERT_EQ(Answer(m_snapshot, query, true).Count(), first.size());
        const std::size_t order = m_random.Below(schema.attributes.size() + 1);
        const std::size_t place = order == schema.attributes.size() ? kObjectIdIndex : order;
        query.order = schema.Name(place);
        query.descending = m_random.Below(2) == 0;
        if (place != kObjectIdIndex) {
            const Condition condition = Condition::Make(ParsePredicate(text), text, schema);
            Wanted wanted;
            wanted.limit = query.limit;
            wanted.order = place;
            seen.chosen[3] += MakePlan(m_snapshot, &condition, wanted).inOrder ? 1U : 0U;
        }
        ASSERT_EQ(Found(Answer(m_snapshot, query, false)),
                  m_model.InOrder(all, place, query.descending, limit))
            << query.order << (query.descending ? " descending" : "") << " limit " << query.limit;
    }

    Snapshot& m_snapshot;
    const ObjectModel& m_model;
    RandomPredicates m_random;
};

int Predicates(int few)
{
    const char* many = std::getenv("KOTM_PREDICATES");
    return many != nullptr ? std::atoi(many) : few;
}

/// In every engine that can be used here, in those where a question is a round trip few predicates.
void CheckEngines(const ObjectStore& store, int predicates, unsigned seed)
{
    const auto snapshot = store.Read();
    const ObjectModel model(*snapshot);
    Checks checks(*snapshot, model, seed);
    checks.Run(predicates);
    const Seen& seen = checks.seen;
    EXPECT_GT(seen.ranges, static_cast<std::size_t>(predicates) / 4)
        << "most predicates use an index";
    for (const std::size_t count : {seen.both, seen.either, seen.exact, seen.walks, seen.chosen[0]})
        EXPECT_GT(count, 0U);
    FilePlace file;
    DatabasePlace database;
    for (Place* const place : std::initializer_list<Place*>{&file, &database}) {
        if (!place->WhyNot().empty())
            continue;
        CopyStore(store, *place->Load(), Scratch());
        const auto copy = ObjectStore(place->Open(Mode::Read), "copy", Scratch()).Read();
        Checks(*copy, model, seed + 1)
            .Run(place == &file ? predicates : std::max(predicates / 200, 20));
    }
}

/// The rows of a table in memory, with an index on all attributes but the last two.
std::unique_ptr<ObjectStore> StoreOf(Table& table, MemoryStore& engine)
{
    for (std::size_t i = 0; i + 2 < table.columns.size(); ++i)
        table.schema.attributes[i].index = true;
    const auto bulk = Bulk::Create(engine.StartLoad(), table.schema, Scratch());
    AddRows(table, *bulk);
    bulk->Commit();
    return std::make_unique<ObjectStore>(engine.Open(Mode::Change), "table", Scratch());
}

TEST(Plan, NeverChangesTheAnswerOnAllTypes)
{
    const GeneratedStore generated(300);
    EXPECT_GE(generated.store->GetSchema().attributes.size(), 20U);
    CheckEngines(*generated.store, Predicates(150), 1);
}

TEST(Plan, NeverChangesTheAnswerOnSkewedTables)
{
    std::mt19937_64 random(9);
    Table table = Generated(500, random);
    MemoryStore engine;
    const auto store = StoreOf(table, engine);
    CheckEngines(*store, Predicates(60), 5);
    // Objects that statistics do not know of.
    store->Change([&](ObjectChange& change) {
        for (std::uint64_t number = 2; number <= 300; number += 1 + random() % 3)
            change.Erase(number);
    });
    const auto snapshot = store->Read();
    const ObjectModel model(*snapshot);
    Checks(*snapshot, model, 6).Run(Predicates(60));
}

TEST(Plan, NeverChangesTheAnswerOnTheSample)
{
    FilePlace sample;
    ImportSample(sample.Path(), 3000);
    const auto snapshot = ObjectStore::Open(sample.Path(), Mode::Read)->Read();
    Checks(*snapshot, ObjectModel(*snapshot), 2).Run(Predicates(10));
}

TEST(Plan, ExplainsItsChoice)
{
    FilePlace sample;
    ImportSample(sample.Path(), 10'000);
    const auto snapshot = ObjectStore::Open(sample.Path(), Mode::Read)->Read();
    const auto plan =
        Explain(*snapshot, {"speed > 340 and (state = \"Texas\" or state = \"Ohio\")"});
    ASSERT_TRUE(plan.part);
    EXPECT_EQ(plan.part->attribute, "speed");
    EXPECT_EQ(plan.part->from, "340");
    EXPECT_EQ(plan.part->to, "(last)");
    ASSERT_EQ(plan.comparisons.size(), 3U);
    EXPECT_EQ(plan.comparisons[1].from, "Texas");
    EXPECT_LT(plan.read, 200U) << "a small part of the objects";
    EXPECT_EQ(plan.objects, 10000U);

    using Kind = ko::store::Explanation::Way::Kind;
    const struct {
        const char* why;
        Query query;
        Kind kind;
        std::uint64_t mostRead;
    } cases[] = {
        {"two values of an index", {"state = \"Ohio\" or state = \"Utah\""}, Kind::Either, 500},
        {"a limit is met soon", {"phase = \"Climb\"", {}, "speed", true, 5}, Kind::InOrder, 200},
        {"and not at all",
         {"speed > 340 and state = \"Ohio\"", {}, "date", false, 5},
         Kind::Index,
         200},
        {"no index", {"phase != \"Climb\""}, Kind::AllObjects, 10'000},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.why);
        const auto told = Explain(*snapshot, one.query);
        const auto chosen = std::find_if(told.alternatives.begin(), told.alternatives.end(),
                                         [](const auto& way) { return way.chosen; });
        ASSERT_NE(chosen, told.alternatives.end());
        EXPECT_EQ(chosen->way.kind, one.kind);
        EXPECT_LE(told.read, one.mostRead);
        EXPECT_TRUE(std::all_of(told.alternatives.begin(), told.alternatives.end(),
                                [&](const auto& way) { return way.cost >= chosen->cost; }));
        EXPECT_NEAR(told.estimated, told.actual, 1e-9) << "the sample is the whole store";
        EXPECT_EQ(told.source, ko::store::Explanation::Source::Sample);
    }

    const std::string table =
        RunKotm("explain " + sample.Path() + " 'species = \"*hawk*\"i and not phase = \"Climb\"'")
            .out;
    for (const char* part : {"plan: all objects", "species = \"*hawk*\"i", "not phase", "100 %",
                             "statistics: of 10000 objects", "chosen"})
        EXPECT_NE(table.find(part), std::string::npos) << part << "\n" << table;
}

// What an open store keeps of statistics holds as long as their rows do, whoever writes them.
TEST(Plan, SeesNewStatistics)
{
    for (const PlaceKind& kind : {kPlaces[0], kPlaces[1]}) {
        SCOPED_TRACE(kind.name);
        const GeneratedStore generated(300);
        const std::unique_ptr<Place> place = kind.make();
        CopyStore(*generated.store, *place->Load(), Scratch());
        ObjectStore writing(place->Open(kind.mode), "store", Scratch());
        const ObjectStore reading(place->Open(Mode::Read), "store", Scratch());
        const std::string name = reading.GetSchema().attributes[0].name;
        const auto age = [&] {
            return *Explain(*reading.Read(), {name + " is not null"}).statistics;
        };
        const std::uint64_t before = reading.Read()->GetCounts().objects;
        writing.Analyze();
        EXPECT_EQ(age().objects, before);
        const auto old = reading.Read();
        writing.Change([](ObjectChange& change) { change.Erase(1); });
        EXPECT_EQ(age().objects, before);
        EXPECT_EQ(age().erased, 1U);
        writing.Analyze();
        EXPECT_EQ(age().objects, before - 1);
        EXPECT_EQ(age().erased, 0U);
        EXPECT_EQ(Explain(*old, {name + " is not null"}).statistics->objects, before);
    }
}

// One low value makes all others look alike: whatever is below one of them seems to be nearly all.
TEST(Plan, CountsBeforeItReadsEverything)
{
    constexpr std::uint64_t kObjects = 120'000;
    FilePlace place;
    const Schema schema = Schema::FromJson(
        R"({"class": "Thing", "attributes": [
            {"name": "size", "column": "size", "type": "o_4b", "index": true}]})",
        "schema");
    auto bulk = Bulk::Create(place.Load(), schema, Scratch());
    for (std::uint64_t i = 1; i <= kObjects; ++i) {
        const auto size = i == kObjects ? 0 : 1'000'000 + i % 500;
        const std::vector<std::string> forms{FormOf(schema.attributes[0], std::to_string(size))};
        FormMemo memo;
        FormMemo* memos[] = {&memo};
        bulk->Add(Views(forms), memos);
    }
    bulk->Commit();
    bulk.reset();
    Change(*place.Open(Mode::Change), [](Writer& writer) { // as if it were an older store
        std::vector<std::string> keys;
        EachRow(writer, Space::Statistics, [&](const Row& row) { keys.emplace_back(row.key); });
        for (const std::string& key : keys)
            writer.Erase(Space::Statistics, key);
    });
    const auto snapshot = ObjectStore::Open(place.Path(), Mode::Read)->Read();
    const struct {
        const char* text;
        double share; ///< of the index that is read; 1: all objects are
    } kCases[] = {
        {"size < 1000005", 0.01}, {"size < 1000250", 1.0}, {"size < 1000000", 1.0 / kObjects}};
    for (const auto& c : kCases) {
        const Condition condition =
            Condition::Make(ParsePredicate(c.text), c.text, snapshot->GetSchema());
        const Plan plan = MakePlan(*snapshot, &condition, {});
        ASSERT_EQ(plan.way.has_value(), c.share < 1.0) << c.text;
        EXPECT_NEAR(plan.way ? plan.way->share : 1.0, c.share, 0.0001) << c.text;
    }
}

} // namespace
