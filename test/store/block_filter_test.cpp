#include "store/generated_store.h"
#include "store/random_predicate.h"

#include "base/object_id.h"
#include "query/block_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace
{

using ko::store::Error;
using namespace ko::store::inner;

/// What a condition says of one object, by the rules of three truth values.
Truth Evaluate(const Condition& condition, Snapshot& snapshot, std::uint64_t number)
{
    std::vector<Truth> parts;
    for (const Condition& part : condition.parts)
        parts.push_back(Evaluate(part, snapshot, number));
    switch (condition.kind) {
    case Predicate::Kind::And:
        return *std::min_element(parts.begin(), parts.end());
    case Predicate::Kind::Or:
        return *std::max_element(parts.begin(), parts.end());
    case Predicate::Kind::Not:
        return parts[0] == Truth::True    ? Truth::False
               : parts[0] == Truth::False ? Truth::True
                                          : Truth::Unknown;
    default:
        break;
    }
    if (condition.attribute == kObjectIdIndex) {
        char id[kObjectIdBytes];
        PutObjectId(id, number);
        return condition.Test({id, sizeof id});
    }
    std::string room;
    return condition.Test(*snapshot.Value(number, condition.attribute, room));
}

/// Each condition is asked of some objects of every block, of few and of many.
void CheckConditions(Snapshot& snapshot, int conditions, unsigned seed)
{
    RandomPredicates random(snapshot, seed);
    const std::uint64_t blocks = snapshot.BlockOf(snapshot.GetCounts().nextNumber) + 1;
    int answers[3] = {};
    for (int i = 0; i < conditions; ++i) {
        const std::string text = random.Make(3);
        SCOPED_TRACE(text);
        std::optional<Condition> condition;
        try {
            condition = Condition::Make(ParsePredicate(text), text, snapshot.GetSchema());
        } catch (const Error&) {
            continue; // such as a literal that reads as null
        }
        BlockFilter filter(*condition, snapshot);
        for (int turn = 0; turn < 2; ++turn) {
            const std::uint64_t block = random.Below(blocks);
            const BlockAt at{snapshot.Block(block), block * snapshot.SlotsOfBlock()};
            if (at.view == nullptr)
                continue;
            SlotBits among{};
            const unsigned oneIn = random.Below(3) == 0 ? 40 : 1 + random.Below(2);
            for (unsigned slot = 0; slot < at.view->Slots(); ++slot) {
                if (at.view->Has(slot) && random.Below(oneIn) == 0)
                    SetBit(among, slot);
            }
            TruthBits truths;
            filter.Test(at, among, truths);
            SlotBits kept = among;
            filter.Keep(at, kept);
            for (unsigned slot = 0; slot < at.Words() * 64; ++slot) {
                const bool asked = TestBit(among, slot);
                const Truth truth =
                    asked ? Evaluate(*condition, snapshot, at.firstObject + slot) : Truth::False;
                ASSERT_EQ(TestBit(truths.met, slot), truth == Truth::True) << slot;
                ASSERT_EQ(TestBit(truths.unknown, slot), truth == Truth::Unknown) << slot;
                ASSERT_EQ(TestBit(kept, slot), truth == Truth::True) << slot;
                answers[static_cast<int>(truth)] += asked ? 1 : 0;
            }
        }
    }
    EXPECT_GT(*std::min_element(answers, answers + 3), conditions / 4) << "all answers are met";
}

TEST(BlockFilter, SaysWhatTheConditionSaysOfEachObject)
{
    const char* many = std::getenv("KOTM_PREDICATES");
    const int conditions = many != nullptr ? std::atoi(many) : 10000;
    // Blocks of few objects with all types, and of many with a few.
    CheckConditions(*GeneratedStore(300).store->Read(), conditions, 5);
    CheckConditions(*GeneratedStore(900, {"KoString", "o_4b", "KoDate"}).store->Read(),
                    conditions / 10, 6);
}

} // namespace
