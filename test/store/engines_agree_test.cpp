#include "store/engine_suite.h"
#include "store/generated_store.h"
#include "store/random_predicate.h"

#include "object/copy_store.h"
#include "query/planner.h"
#include "query/scan.h"

#include <cstdlib>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

/// What a condition finds by the plan that the store makes for it, how many, and what it finds by
/// another store's plan in the order of that plan's index, from either end.
std::vector<std::uint64_t> Answers(Snapshot& now, const Condition& condition, const Plan& other)
{
    const Plan plan = MakePlan(now, condition, false);
    std::vector<std::uint64_t> answers;
    const auto find = [&](const Plan& by, ScanOrder order) {
        Scan scan(now, by.range ? &*by.range : nullptr, order, &condition);
        for (auto some = scan.Next(50); !some.empty(); some = scan.Next(50))
            answers.insert(answers.end(), some.begin(), some.end());
    };
    find(plan, ScanOrder::Numbers);
    find(other, ScanOrder::Forwards);
    find(other, ScanOrder::Backwards);
    answers.push_back(Scan(now, plan.range ? &*plan.range : nullptr, ScanOrder::Numbers, &condition)
                          .Count(UINT64_MAX));
    return answers;
}

// KOTM_PREDICATES says how many.
TEST(Engines, GiveTheSameAnswers)
{
    DatabasePlace database;
    if (const std::string why = database.WhyNot(); !why.empty())
        GTEST_SKIP() << why;
    const GeneratedStore generated(300);
    FilePlace file;
    CopyStore(*generated.store, *file.Load(), Scratch());
    CopyStore(*generated.store, *database.Load(), Scratch());
    const auto inMemory = generated.store->Read();
    const auto inFile = ObjectStore(file.Open(Mode::Read), "file", Scratch()).Read();
    const auto inDatabase = ObjectStore(database.Open(Mode::Read), "database", Scratch()).Read();
    ASSERT_TRUE(inFile->SlotsOfBlock() != inDatabase->SlotsOfBlock());
    RandomPredicates random(*inMemory, 31);
    const char* const many = std::getenv("KOTM_PREDICATES");
    const int predicates = many != nullptr ? std::atoi(many) : 150;
    std::size_t found = 0;
    for (int asked = 0; asked < predicates;) {
        const std::string text = random.Make(3);
        SCOPED_TRACE(text);
        std::optional<Condition> condition;
        try {
            condition = Condition::Make(ParsePredicate(text), text, inFile->GetSchema());
        } catch (const Error&) {
            continue; // such as a literal that reads as null
        }
        const Plan plan = MakePlan(*inFile, *condition, false);
        const std::vector<std::uint64_t> expected = Answers(*inFile, *condition, plan);
        ASSERT_EQ(Answers(*inMemory, *condition, plan), expected);
        ASSERT_EQ(Answers(*inDatabase, *condition, plan), expected);
        found += expected.size() > 1 ? 1 : 0;
        ++asked;
    }
    EXPECT_GT(found, static_cast<std::size_t>(predicates) / 2);
}

} // namespace
