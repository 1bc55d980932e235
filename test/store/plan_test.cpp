#include "store/engine_suite.h"
#include "store/generated_store.h"
#include "store/random_predicate.h"
#include "store/sample.h"

#include "object/copy_store.h"
#include "query/explain.h"
#include "query/planner.h"
#include "query/scan.h"
#include <kostore.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace
{

using ko::store::Error;
using namespace ko::store::inner;

/// The objects of a range that pass a test, in the order in which they come.
std::vector<std::uint64_t> Found(Snapshot& snapshot, const std::optional<IndexRange>& range,
                                 const Condition* test, ScanOrder order = ScanOrder::Numbers)
{
    std::vector<std::uint64_t> found;
    Scan scan(snapshot, range ? &*range : nullptr, order, test);
    for (std::size_t most = 1;; most += 7) {
        const auto numbers = scan.Next(most);
        if (numbers.empty())
            return found;
        found.insert(found.end(), numbers.begin(), numbers.end());
    }
}

/// In the order of an index: null first, then the values, equal ones by their objects.
void Sort(Snapshot& snapshot, std::size_t attribute, std::vector<std::uint64_t>& numbers)
{
    std::vector<std::pair<std::string, std::uint64_t>> forms;
    std::string room;
    forms.reserve(numbers.size());
    for (const std::uint64_t number : numbers)
        forms.emplace_back(
            attribute == kObjectIdIndex ? "" : *snapshot.Value(number, attribute, room), number);
    const o_char type = snapshot.GetSchema().TypeId(attribute);
    std::sort(forms.begin(), forms.end(), [&](const auto& a, const auto& b) {
        int status = 0;
        const int order =
            a.first.empty() || b.first.empty()
                ? static_cast<int>(b.first.empty()) - static_cast<int>(a.first.empty())
                : ComparePersistent(type, a.first, b.first, kPlainOperator, status);
        return order < 0 || (order == 0 && a.second < b.second);
    });
    for (std::size_t i = 0; i < forms.size(); ++i)
        numbers[i] = forms[i].second;
}

/// Answers by every index that narrows, by the plan, by reading all objects, and by the plans of
/// copies in other engines.
void CheckPlans(Snapshot& snapshot, int predicates, unsigned seed,
                const std::vector<Snapshot*>& copies = {})
{
    RandomPredicates random(snapshot, seed);
    int ranges = 0;
    int exact = 0;
    for (int i = 0; i < predicates; ++i) {
        const std::string text = random.Make(3);
        SCOPED_TRACE(text);
        std::optional<Condition> condition;
        try {
            condition = Condition::Make(ParsePredicate(text), text, snapshot.GetSchema());
        } catch (const Error&) {
            continue; // such as a literal that reads as null
        }
        const std::vector<std::uint64_t> all = Found(snapshot, std::nullopt, &*condition);
        const Plan chosen = MakePlan(snapshot, *condition, false);
        for (Snapshot* const copy : copies) {
            ASSERT_EQ(Found(*copy, MakePlan(*copy, *condition, false).range, &*condition), all);
            for (const auto order : {ScanOrder::Forwards, ScanOrder::Backwards})
                ASSERT_EQ(Found(*copy, chosen.range, &*condition, order),
                          Found(snapshot, chosen.range, &*condition, order));
        }
        for (const bool countOnly : {false, true}) {
            const Plan plan = MakePlan(snapshot, *condition, countOnly);
            ASSERT_TRUE(plan.share >= 0.0 && plan.share <= 1.0);
            ASSERT_EQ(Found(snapshot, plan.range, &*condition), all);
            for (const auto& [attribute, range] : plan.ranges) {
                const Condition* test = range.exact ? nullptr : &*condition;
                ASSERT_EQ(Found(snapshot, range, test), all)
                    << "index on " << snapshot.GetSchema().Name(attribute);
                const std::uint64_t most = random.Below(50) + 1;
                ASSERT_EQ(Scan(snapshot, &range, ScanOrder::Numbers, test).Count(most),
                          std::min<std::uint64_t>(all.size(), most));
                ++ranges;
                exact += range.exact ? 1 : 0;
                if (countOnly)
                    continue;
                std::vector<std::uint64_t> ordered = all;
                Sort(snapshot, attribute, ordered);
                ASSERT_EQ(Found(snapshot, range, test, ScanOrder::Forwards), ordered);
                std::reverse(ordered.begin(), ordered.end());
                ASSERT_EQ(Found(snapshot, range, test, ScanOrder::Backwards), ordered);
            }
        }
    }
    EXPECT_GT(ranges, predicates / 4) << "most predicates use an index";
    EXPECT_GT(exact, 0);
}

int Predicates(int few)
{
    const char* many = std::getenv("KOTM_PREDICATES");
    return many != nullptr ? std::atoi(many) : few;
}

TEST(Plan, NeverChangesTheAnswer)
{
    const GeneratedStore generated(300);
    const std::unique_ptr<Snapshot> snapshot = generated.store->Read();
    EXPECT_GE(snapshot->GetSchema().attributes.size(), 20U);
    FilePlace file;
    DatabasePlace database;
    std::vector<std::unique_ptr<Snapshot>> now;
    std::vector<Snapshot*> copies;
    for (Place* const place : std::initializer_list<Place*>{&file, &database}) {
        if (!place->WhyNot().empty())
            continue;
        CopyStore(*generated.store, *place->Load(), Scratch());
        now.push_back(ObjectStore(place->Open(Mode::Read), "copy", Scratch()).Read());
        copies.push_back(now.back().get());
    }
    ASSERT_TRUE(copies.size() < 2 || now[0]->SlotsOfBlock() != now[1]->SlotsOfBlock());
    CheckPlans(*snapshot, Predicates(250), 1, copies);
    CheckPlans(*snapshot, Predicates(250), 3);
    // A type that gives every condition one share: two ends leave no less than one of them.
    const std::string flag = "a" + std::to_string(KoBOOLEAN_T);
    const std::string text = flag + " >= \"false\" and " + flag + " <= \"true\"";
    const Condition both = Condition::Make(ParsePredicate(text), text, snapshot->GetSchema());
    EXPECT_NEAR(MakePlan(*snapshot, both, false).share, 1.0 / 3.0, 1e-6);
}

TEST(Plan, NeverChangesTheAnswerOnTheSample)
{
    FilePlace sample;
    ImportSample(sample.Path(), 10'000);
    CheckPlans(*ObjectStore::Open(sample.Path(), Mode::Read)->Read(), Predicates(10), 2);
}

TEST(Plan, ExplainsItsChoice)
{
    FilePlace sample;
    ImportSample(sample.Path(), 10'000);
    const auto snapshot = ObjectStore::Open(sample.Path(), Mode::Read)->Read();
    const auto plan = Explain(*snapshot, "speed > 340 and (state = \"Texas\" or state = \"Ohio\")");
    ASSERT_TRUE(plan.part);
    EXPECT_EQ(plan.part->attribute, "speed");
    EXPECT_EQ(plan.part->from, "340");
    EXPECT_EQ(plan.part->to, "(last)");
    ASSERT_EQ(plan.comparisons.size(), 3U);
    EXPECT_EQ(plan.comparisons[1].from, "Texas");
    EXPECT_LT(plan.read, 200U) << "a small part of the objects";
    EXPECT_EQ(plan.objects, 10000U);

    const std::string table =
        RunKotm("explain " + sample.Path() + " 'species = \"*hawk*\"i and not phase = \"Climb\"'")
            .out;
    for (const char* part : {"plan: all objects", "species = \"*hawk*\"i", "not phase", "100 %"})
        EXPECT_NE(table.find(part), std::string::npos) << part << "\n" << table;
}

} // namespace
