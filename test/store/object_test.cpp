#include "store/things.h"
#include "support/failing_engine.h"

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

namespace
{

struct GivenUp {
};

class ObjectStores : public OverEngines
{
protected:
    std::unique_ptr<ObjectStore> Open(Mode mode = Mode::Change)
    {
        return std::make_unique<ObjectStore>(m_place->Open(mode), "store", Scratch());
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, ObjectStores,
                         testing::Values(PlaceKind{"Memory", MakePlace<MemoryPlace>, Mode::Change},
                                         PlaceKind{"Lmdb", MakePlace<FilePlace>, Mode::Change},
                                         PlaceKind{"Postgres", MakePlace<DatabasePlace>,
                                                   Mode::Change}),
                         [](const auto& info) { return info.param.name; });

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

TEST_P(ObjectStores, RefuseWhatIsNoValue)
{
    Values values(6);
    Objects model;
    AddAll(*Bulk::Create(m_place->Load(), values.GetSchema(), Scratch()), values, 3, model);
    const auto opened = Open();
    ObjectStore& store = *opened;
    const struct {
        const char* reason;
        std::size_t attribute;
        std::string form;
    } kCases[] = {{"absent without a null value", 0, ""},
                  {"too short", 0, "abc"},
                  {"too long", 1, std::string(6, '\0')},
                  {"a text without its end", 2, std::string("\5\0\1\0a", 5)},
                  {"not all of a day", 5, "\xE8\x07\x02"}};
    for (const auto& c : kCases) {
        EXPECT_THROW(
            store.Change([&](ObjectChange& change) { change.Update(1, c.attribute, c.form); }),
            Error)
            << c.reason;
        Object object = model[2];
        object[c.attribute] = c.form;
        EXPECT_THROW(store.Change([&](ObjectChange& change) { change.Insert(Views(object)); }),
                     Error)
            << c.reason;
    }
    std::string null;
    Value value(values.GetSchema().attributes[1].type);
    value.SetNull();
    value.Store(null);
    store.Change([&](ObjectChange& change) { change.Update(1, 1, null); });
    model[1][1].clear(); // as whoever imports stores it
    ExpectObjects(*store.Read(), model);
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
                model.clear();
                std::string room;
                for (const auto walk = now->Blocks(); walk->Next();) {
                    for (unsigned slot = 0; slot < walk->Block().Slots(); ++slot) {
                        const std::uint64_t number = walk->FirstObject() + slot;
                        for (std::size_t i = 0; walk->Block().Has(slot) && i < 6; ++i)
                            model[number].emplace_back(now->Form(walk->Block(), number, i, room));
                    }
                }
            }
        }
    }
}

TEST(ObjectStore, GivesUpAfterTenConflicts)
{
    MemoryStore memory;
    Bulk::Create(memory.StartLoad(), Values(1).GetSchema(), "scratch")->Commit();
    ObjectStore store(memory.Open(Mode::Change), "memory", "scratch");
    unsigned runs = 0;
    try {
        store.Change([&](ObjectChange&) {
            ++runs;
            throw Conflict();
        });
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), ErrorCode::Conflict) << error.what();
    }
    EXPECT_EQ(runs, 10U);
}
} // namespace
