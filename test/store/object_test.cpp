#include "store/things.h"
#include "support/failing_engine.h"

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

namespace
{

struct GivenUp {
};

INSTANTIATE_TEST_SUITE_P(Engines, ObjectStores, kEnginePlaces, NameOfPlace);

TEST_P(ObjectStores, AreWhatWasDoneToThem)
{
    Values values(5);
    Objects model;
    AddAll(*Bulk::Create(m_place->Load(), values.GetSchema(), Scratch()), values, 150, model);
    auto store = Open();
    ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store->Read(), model));
    for (int round = 0; round < 40; ++round) {
        const auto before = store->Read();
        const Objects had = model;
        Objects next = model;
        switch (values.Below(12)) {
        case 0:
            EXPECT_THROW(store->Change([&](ObjectChange& change) {
                ChangeSome(change, values, next);
                throw GivenUp();
            }),
                         GivenUp);
            break;
        case 1:
            store.reset();
            AddAll(*Bulk::Grow(*m_place->Open(Mode::Grow), "store", Scratch()), values,
                   values.Below(200), model);
            store = Open();
            break;
        case 2: {
            const std::size_t attribute = values.Below(6);
            if (store->Read()->GetSchema().attributes[attribute].index)
                store->DropIndex(attribute);
            else
                store->AddIndex(attribute);
            break;
        }
        case 3:
            store->Reindex();
            break;
        default:
            store->Change([&](ObjectChange& change) {
                next = model;
                ChangeSome(change, values, next);
            });
            model = next;
        }
        ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store->Read(), model)) << round;
        if (round % 10 == 0) {
            ASSERT_NO_FATAL_FAILURE(ExpectObjects(*before, had)) << "a moment stays what it was";
        }
    }
    // All of it goes, and a number is still not used again.
    const std::uint64_t next = store->Read()->GetCounts().nextNumber;
    store->Change([&](ObjectChange& change) {
        for (const auto& [number, object] : model)
            EXPECT_TRUE(change.Erase(number));
        const Object object = values.Make();
        EXPECT_EQ(change.Insert(Views(object)), next);
        model = {{next, object}};
    });
    m_place->Check();
    ExpectObjects(*store->Read(), model);
}

// Of two changes the second to commit is run again; a change that fails at any call of the engine
// has happened or not.
TEST(ObjectStore, ChangesHappenOnceOrNotAtAll)
{
    Values values(7);
    Objects model;
    MemoryPlace place;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 40, model);
    ObjectStore store(place.Open(Mode::Change), "store", Scratch());
    ObjectStore rival(place.Open(Mode::Change), "store", Scratch());
    int runs = 0;
    store.Change([&](ObjectChange& change) {
        if (++runs == 1) {
            const Object object = values.Make();
            rival.Change([&](ObjectChange& other) { model[other.Insert(Views(object))] = object; });
        }
        model[1] = values.Make();
        for (std::size_t i = 0; i < model[1].size(); ++i)
            change.Update(1, i, model[1][i]);
    });
    EXPECT_EQ(runs, 2);
    try {
        store.Change([&](ObjectChange&) {
            ++runs;
            throw Conflict();
        });
        ADD_FAILURE() << "it is given up";
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), ErrorCode::Conflict) << error.what();
    }
    EXPECT_EQ(runs, 2 + 10);
    std::string null;
    Value value(values.GetSchema().attributes[1].type);
    value.SetNull();
    value.Store(null);
    store.Change([&](ObjectChange& change) {
        EXPECT_THROW(change.Update(1, 0, "abc"), Error) << "the library's test has what is no form";
        change.Update(1, 1, null);
    });
    model[1][1].clear(); // as whoever imports stores it
    ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store.Read(), model));

    for (const auto kind :
         {Faults::Kind::NoSpace, Faults::Kind::Conflict, Faults::Kind::LostAnswer}) {
        bool happened = true;
        for (int at = 1; happened; ++at) {
            const auto faults = std::make_shared<Faults>(at, kind);
            Objects next;
            bool failed = false;
            try {
                ObjectStore failing(
                    std::make_unique<FailingEngine>(place.Open(Mode::Change), faults), "store",
                    Scratch());
                failing.Change([&](ObjectChange& change) {
                    next = model;
                    ChangeSome(change, values, next);
                });
            } catch (const Error&) {
                failed = true;
            } catch (const Conflict&) {
                failed = true; // before there was a change
            }
            happened = faults->Happened();
            const auto now = store.Read();
            if (!failed || (kind == Faults::Kind::LostAnswer &&
                            now->GetCounts().nextNumber > model.rbegin()->first + 1))
                model = next;
            std::ostringstream told;
            EXPECT_EQ(CheckRows(*now, Scratch(), told), 0U) << at << told.str();
            if (!failed) {
                ASSERT_NO_FATAL_FAILURE(ExpectObjects(*now, model)) << at;
            } else {
                model = ObjectsOf(*now);
            }
        }
    }
}

} // namespace
