#include "store/things.h"

#include "object/copy_store.h"

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

/// Several blocks, and then objects that are erased, a whole block of them as well.
void FillThings(Place& place, Objects& model)
{
    Values values(11);
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 700, model);
    ObjectStore store(place.Open(Mode::Change), "store", Scratch());
    store.Change([&](ObjectChange& change) {
        for (std::uint64_t number = 1; number <= 700; number += number < 200 ? 1 : 7) {
            change.Erase(number);
            model.erase(number);
        }
        change.Erase(700);
        model.erase(700);
    });
}

// Every engine to every engine and back, which gives the rows that there were but for blocks.
TEST(CopyStores, BetweenAllEngines)
{
    for (const PlaceKind& fromKind : std::span(kPlaces, 3)) {
        const auto from = fromKind.make();
        if (!from->WhyNot().empty())
            continue;
        Objects model;
        FillThings(*from, model);
        const ObjectStore source(from->Open(Mode::Read), "source", Scratch());
        Models all = Everything(*from->Open(Mode::Read)->Read());
        for (const PlaceKind& toKind : std::span(kPlaces, 3)) {
            SCOPED_TRACE(std::string(fromKind.name) + " to " + toKind.name);
            const auto to = toKind.make();
            if (!to->WhyNot().empty())
                continue;
            EXPECT_EQ(CopyStore(source, *to->Load(), Scratch()), model.size());
            EXPECT_THROW(CopyStore(source, *to->Load(), Scratch()), Error) << "there is one";
            to->Check();
            ObjectStore copy(to->Open(Mode::Change), "copy", Scratch());
            EXPECT_EQ(copy.SlotsOfBlock() == source.SlotsOfBlock(),
                      copy.EngineTraits().blockBytes == source.EngineTraits().blockBytes);
            ASSERT_NO_FATAL_FAILURE(ExpectObjects(*copy.Read(), model));
            EXPECT_EQ(copy.Read()->GetCounts().nextNumber, source.Read()->GetCounts().nextNumber);
            Models copied = Everything(*to->Open(Mode::Read)->Read());
            for (const Space space :
                 {Space::Texts, Space::Large, Space::Entries, Space::Statistics})
                EXPECT_TRUE(copied[space] == all[space]) << SpaceName(space);
            EXPECT_EQ(copied[Space::Description][std::string(Counts::kKey)],
                      all[Space::Description][std::string(Counts::kKey)]);
            // It goes on as any store does.
            copy.Change([&](ObjectChange& change) { change.Erase(699); });
        }
    }
}

TEST(CopyStores, MakeIndexesOfAnotherOrderAnew)
{
    MemoryPlace from;
    Objects model;
    FillThings(from, model);
    Description other = ObjectStore(from.Open(Mode::Read), "store", Scratch()).About();
    other.order ^= 1;
    const auto writer = from.Open(Mode::Change)->Write();
    writer->Put(Space::Description, Description::kKey, other.Write());
    for (const auto& [key, value] : Walk(*writer, Space::Entries, {}, Direction::Forwards, 100))
        writer->Erase(Space::Entries, key);
    writer->Commit();
    FilePlace to;
    CopyStore(ObjectStore(from.Open(Mode::Read), "store", Scratch()), *to.Load(), Scratch());
    ExpectObjects(*ObjectStore(to.Open(Mode::Read), "copy", Scratch()).Read(), model);
}

} // namespace
