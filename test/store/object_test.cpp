#include "store/engine_suite.h"
#include "support/failing_engine.h"

#include "block/checksum.h"
#include "check/checker.h"
#include "object/bulk.h"
#include "object/fingerprint.h"
#include "object/object_change.h"
#include "object/object_store.h"
#include "schema/field_reader.h"

#include <set>
#include <sstream>

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

namespace
{

/// Values of one size with a null value and without, texts that repeat, texts as long as index keys
/// are and longer, and values that stand by themselves.
const char* const kSchema = R"({"class": "Thing", "attributes": [
  {"name": "id", "column": "id", "type": "o_4b", "index": true},
  {"name": "weight", "column": "weight", "type": "KoNull_int", "index": true},
  {"name": "title", "column": "title", "type": "KoString", "index": true},
  {"name": "kind", "column": "kind", "type": "KoIString", "index": true},
  {"name": "note", "column": "note", "type": "KoString"},
  {"name": "day", "column": "day", "type": "KoDate", "format": "%Y-%m-%d"}]})";

using Object = std::vector<std::string>;
using Objects = std::map<std::uint64_t, Object>;

class Values
{
public:
    explicit Values(unsigned seed) : m_random(seed), m_schema(Schema::FromJson(kSchema, "schema"))
    {
    }

    unsigned Below(std::size_t end) { return static_cast<unsigned>(m_random() % end); }
    const Schema& GetSchema() const { return m_schema; }

    std::string Form(std::size_t attribute)
    {
        const std::string number = std::to_string(Below(40));
        const std::string longTexts[] = {std::string(200 + Below(8), 'x') +
                                             std::string(Below(3), 'y'),
                                         std::string(1500 + Below(3) * 3000, 'm') + number};
        const std::string texts[] = {number,
                                     Below(4) == 0 ? "" : number,
                                     Below(10) == 0   ? longTexts[Below(2)]
                                     : Below(10) == 0 ? ""
                                                      : "title " + number,
                                     "kind " + std::to_string(Below(5)),
                                     Below(8) == 0 ? longTexts[1] : std::to_string(m_random()),
                                     Below(3) == 0 ? ""
                                                   : "2024-02-" + std::to_string(10 + Below(9))};
        std::string form;
        TextFault fault;
        FieldReader reader(m_schema.attributes[attribute]);
        EXPECT_NE(reader.Read(texts[attribute], form, fault), FieldReader::Result::Refused)
            << texts[attribute] << fault.reason;
        return form;
    }
    Object Make()
    {
        Object object;
        for (std::size_t i = 0; i < m_schema.attributes.size(); ++i)
            object.push_back(Form(i));
        return object;
    }

private:
    std::mt19937 m_random;
    Schema m_schema;
};

std::vector<std::string_view> Views(const Object& object)
{
    return {object.begin(), object.end()};
}

void AddAll(Bulk& bulk, Values& values, std::size_t count, Objects& objects)
{
    std::vector<FormMemo> memos(values.GetSchema().attributes.size());
    std::vector<FormMemo*> pointers;
    for (FormMemo& memo : memos)
        pointers.push_back(&memo);
    for (std::size_t i = 0; i < count; ++i) {
        std::fill(memos.begin(), memos.end(), FormMemo());
        const Object object = values.Make();
        objects[bulk.Add(Views(object), pointers)] = object;
    }
    bulk.Commit();
}

/// Everything in a store: the objects block by block and by their numbers, every index forwards and
/// backwards.
void ExpectObjects(Snapshot& now, const Objects& objects)
{
    const Schema& schema = now.GetSchema();
    std::string room;
    Objects found;
    for (const auto walk = now.Blocks(); walk->Next();) {
        for (unsigned slot = 0; slot < walk->Block().Slots(); ++slot) {
            const std::uint64_t number = walk->FirstObject() + slot;
            for (std::size_t i = 0; walk->Block().Has(slot) && i < schema.attributes.size(); ++i)
                found[number].emplace_back(now.Form(walk->Block(), number, i, room));
        }
    }
    ASSERT_TRUE(found == objects);
    ASSERT_EQ(now.GetCounts().objects, objects.size());
    for (std::size_t i = 0; i < schema.attributes.size(); ++i) {
        ValueKeys keys(i, schema.attributes[i].type);
        std::set<std::pair<std::string, std::uint64_t>> expected;
        for (const auto& [number, object] : objects) {
            ASSERT_EQ(now.Value(number, i, room), object[i]);
            if (schema.attributes[i].index)
                expected.emplace(keys.Of(object[i]), number);
        }
        for (const Direction direction : {Direction::Forwards, Direction::Backwards}) {
            std::set<std::pair<std::string, std::uint64_t>> entries;
            const auto walk = now.Entries({BeforeAttribute(i), BehindAttribute(i)}, direction);
            while (walk->Next()) {
                for (const std::uint64_t number : walk->Numbers())
                    ASSERT_TRUE(entries.emplace(walk->Key().valueKey, number).second);
            }
            ASSERT_TRUE(entries == expected) << schema.attributes[i].name;
        }
    }
    ASSERT_FALSE(now.Value(0, 0, room) || now.Value(now.GetCounts().nextNumber, 0, room) ||
                 now.Value(kMaxObjectNumber, 0, room));
    std::ostringstream told;
    EXPECT_EQ(CheckRows(now, "/tmp/check", told), 0U) << told.str();
}

/// Changes some objects; the model gets the same.
void ChangeSome(ObjectChange& change, Values& values, Objects& model)
{
    const std::size_t attributes = values.GetSchema().attributes.size();
    for (unsigned step = values.Below(30) + 1; step > 0; --step) {
        const std::uint64_t number =
            1 + values.Below(model.empty() ? 9 : model.rbegin()->first + 2);
        const bool exists = model.count(number) != 0;
        switch (values.Below(4)) {
        case 0: {
            const Object object = values.Make();
            const std::uint64_t added = change.Insert(Views(object));
            EXPECT_FALSE(model.count(added)) << "a number is used again";
            model[added] = object;
            break;
        }
        case 1:
            EXPECT_EQ(change.Erase(number), exists);
            model.erase(number);
            break;
        default: {
            const std::size_t attribute = values.Below(attributes);
            const std::string form = values.Form(attribute);
            EXPECT_EQ(change.Update(number, attribute, form), exists);
            if (exists) {
                model[number][attribute] = form;
                EXPECT_EQ(change.Form(number, attribute), form);
            }
        }
        }
    }
}

struct GivenUp {
};

class ObjectStores : public testing::TestWithParam<bool>
{
protected:
    ObjectStores()
    {
        if (GetParam())
            m_place = std::make_unique<FilePlace>();
        else
            m_place = std::make_unique<MemoryPlace>();
    }
    std::unique_ptr<ObjectStore> Open(Mode mode = Mode::Change)
    {
        return std::make_unique<ObjectStore>(m_place->Open(mode), "store");
    }

    std::unique_ptr<Place> m_place;
};

TEST_P(ObjectStores, AreWhatWasDoneToThem)
{
    Values values(5);
    Objects model;
    AddAll(*Bulk::Create(m_place->Load(), values.GetSchema(), "/tmp/bulk"), values, 150, model);
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
            AddAll(*Bulk::Grow(*m_place->Open(Mode::Grow), "store", "/tmp/bulk"), values,
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

INSTANTIATE_TEST_SUITE_P(Engines, ObjectStores, testing::Bool(), [](const auto& engine) {
    return std::string(engine.param ? "Lmdb" : "Memory");
});

TEST(ObjectStore, RefusesWhatIsNoValue)
{
    Values values(6);
    Objects model;
    MemoryPlace place;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), "/tmp/bulk"), values, 3, model);
    ObjectStore store(place.Open(Mode::Change), "store");
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
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), "/tmp/bulk"), values, 40, model);
    ObjectStore store(place.Open(Mode::Change), "store");
    ObjectStore rival(place.Open(Mode::Change), "store");
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
                    std::make_unique<FailingEngine>(place.Open(Mode::Change), faults), "store");
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
            EXPECT_EQ(CheckRows(*now, "/tmp/check", told), 0U) << at << told.str();
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

/// What reading everything meets: true where it is damage.
bool ReadingMeetsDamage(Engine& engine)
{
    try {
        Snapshot now(engine.Read(), engine.About().viewsLast, "store");
        std::string room;
        for (const auto walk = now.Blocks(); walk->Next();) {
            for (unsigned slot = 0; slot < walk->Block().Slots(); ++slot) {
                for (std::size_t i = 0; walk->Block().Has(slot) && i < 6; ++i)
                    now.Form(walk->Block(), walk->FirstObject() + slot, i, room);
            }
        }
        for (const auto walk = now.Entries({}, Direction::Forwards); walk->Next();) {
        }
        return false;
    } catch (const Error& failure) {
        return failure.Code() == ErrorCode::Damaged;
    }
}

bool CheckFindsDamage(Engine& engine)
{
    try {
        Snapshot now(engine.Read(), engine.About().viewsLast, "store");
        std::ostringstream told;
        return CheckRows(now, "/tmp/check", told) != 0;
    } catch (const Error& failure) {
        return failure.Code() == ErrorCode::Damaged;
    }
}

// Every byte of every row, every row that goes, and every row that stands under another's key as
// well: the check finds it, and so does who reads the row.
TEST(ObjectStore, EveryChangedByteIsFound)
{
    Values values(8);
    Objects model;
    MemoryPlace place;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), "/tmp/bulk"), values, 25, model);
    const auto engine = place.Open(Mode::Change);
    const auto put = [&](Space space, const std::string& key, const std::string* value) {
        const auto writer = engine->Write();
        if (value != nullptr)
            writer->Put(space, key, *value);
        else
            writer->Erase(space, key);
        writer->Commit();
    };
    std::size_t changes = 0;
    for (std::size_t number = 0; number < kSpaces; ++number) {
        const auto space = static_cast<Space>(number);
        const Pairs rows = Walk(*engine->Read(), space, {}, Direction::Forwards, 64);
        EXPECT_EQ(rows.empty(), space == Space::Statistics);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            const auto& [key, value] = rows[row];
            const std::size_t step = space == Space::Large ? 97 : 1; // these are long
            for (std::size_t i = value.size() % step; i < value.size(); i += step, ++changes) {
                std::string changed = value;
                changed[i] = static_cast<char>(changed[i] ^ 1 << i % 8);
                put(space, key, &changed);
                ASSERT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " at " << i;
                ASSERT_TRUE(ReadingMeetsDamage(*engine)) << RowName(space) << row << " at " << i;
            }
            put(space, key, nullptr);
            EXPECT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " is gone";
            const std::string& other = rows[(row + 1) % rows.size()].second;
            if (rows.size() > 1) {
                put(space, key, &other);
                EXPECT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " is another";
            }
            put(space, key, &value);
            std::string beside = key;
            beside.back() = static_cast<char>(beside.back() ^ 0x40);
            std::string sealed(value.substr(0, value.size() - kSealBytes));
            Seal(space, beside, sealed);
            put(space, beside, &sealed);
            EXPECT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " stands twice";
            put(space, beside, nullptr);
        }
    }
    EXPECT_GT(changes, 2000U);
    EXPECT_FALSE(CheckFindsDamage(*engine) || ReadingMeetsDamage(*engine));
}

TEST(ObjectStore, GivesUpAfterTenConflicts)
{
    MemoryStore memory;
    Bulk::Create(memory.StartLoad(), Values(1).GetSchema(), "scratch")->Commit();
    ObjectStore store(memory.Open(Mode::Change), "memory");
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

// Whoever changes an order on purpose changes this number with it: stores then ask for "reindex".
TEST(ObjectStore, KnowTheirOrder)
{
    Schema all;
    for (int id = 0; id < 100; ++id) {
        const auto type = static_cast<o_char>(id);
        void* const value = Manager().IsValidType(type) != 0 ? Manager().Create(type, 1) : nullptr;
        if (value == nullptr)
            continue;
        Manager().Delete(type, value, 1);
        all.attributes.push_back({Manager().NameGet(type), "", ValueType(type), {}, false, 0});
    }
    EXPECT_GT(all.attributes.size(), 40U);
    EXPECT_EQ(FingerprintOfOrder(all), 3891628357987305190U);

    FilePlace place;
    Values values(9);
    Objects model;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), "/tmp/bulk"), values, 25, model);
    {
        ObjectStore store(place.Open(Mode::Change), "store");
        Description other = store.About();
        other.order ^= 1;
        const auto writer = place.Open(Mode::Change)->Write();
        writer->Put(Space::Description, Description::kKey, other.Write());
        writer->Commit();
        EXPECT_THROW(store.Change([](ObjectChange& change) { change.Erase(1); }), Error);
        EXPECT_EQ(store.Read()->GetCounts().objects, 25U);
    }
    const std::string path = place.Path();
    const struct {
        const char* reason;
        std::string arguments;
        int status;
        std::string output;
    } kCases[] = {
        {"objects are read", "query " + path + " --count", 0, "25\n"},
        {"without an index", "query " + path + " --columns id --limit 1 --output csv", 0, "id\n"},
        {"what is damaged is something else", "check " + path, 3, "kotm reindex"},
        {"an index", "query " + path + " --order title", 3, "kotm reindex"},
        {"another index", "index " + path + " add note", 3, "kotm reindex"},
        {"the way out", "reindex " + path, 0, ""},
        {"all is well", "check " + path, 0, "no faults"},
        {"there is one", "index " + path + " add title", 2, "has an index"},
        {"no attribute", "index " + path + " drop size", 2, "has no attribute"},
        {"no action", "index " + path + " make title", 2, "make"},
        {"it goes", "index " + path + " drop title", 0, ""},
        {"and comes", "index " + path + " add title", 0, ""},
        {"all is well again", "check " + path, 0, "no faults"},
    };
    for (const auto& c : kCases) {
        const Outcome run = RunKotm(c.arguments);
        EXPECT_EQ(run.status, c.status) << c.reason << "\n" << run.out;
        EXPECT_NE(run.out.find(c.output), std::string::npos) << c.reason << "\n" << run.out;
    }
}

} // namespace
