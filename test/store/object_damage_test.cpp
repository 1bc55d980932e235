#include "store/things.h"

#include "block/checksum.h"
#include "object/copy_store.h"
#include "object/fingerprint.h"
#include "object/statistics_feed.h"

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

namespace
{

/// What reading everything meets: true where it is damage.
bool ReadingMeetsDamage(Engine& engine)
{
    try {
        Snapshot now(engine.Read(), engine.About().viewsLast, "store");
        ObjectsOf(now);
        for (const auto walk = now.Entries({}, Direction::Forwards); walk->Next();) {
        }
        ProveStatistics(now.GetSchema(), now.Rows());
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
        return CheckRows(now, Scratch(), told) != 0;
    } catch (const Error& failure) {
        return failure.Code() == ErrorCode::Damaged;
    }
}

// Every byte of every row, every row that goes, and every row that stands under another's key as
// well: the check finds it, so does who reads the row, and no copy is made of it.
TEST(ObjectStore, EveryChangedByteIsFound)
{
    Values values(8);
    Objects model;
    MemoryPlace place;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 25, model);
    const auto engine = place.Open(Mode::Change);
    const auto put = [&](Space space, const std::string& key, const std::string* value) {
        const auto writer = engine->Write();
        if (value != nullptr)
            writer->Put(space, key, *value);
        else
            writer->Erase(space, key);
        writer->Commit();
    };
    const auto copies = [&] {
        MemoryPlace to;
        try {
            CopyStore(ObjectStore(place.Open(Mode::Read), "store", Scratch()), *to.Load(),
                      Scratch());
            return true;
        } catch (const Error&) {
            EXPECT_FALSE(to.Exists());
            return false;
        }
    };
    std::size_t changes = 0;
    for (std::size_t number = 0; number < kSpaces; ++number) {
        const auto space = static_cast<Space>(number);
        const Pairs rows = Walk(*engine->Read(), space, {}, Direction::Forwards, 64);
        EXPECT_FALSE(rows.empty());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            const auto& [key, value] = rows[row];
            const std::size_t step = space == Space::Large        ? 97
                                     : space == Space::Statistics ? 13
                                                                  : 1; // these are long
            for (std::size_t i = value.size() % step; i < value.size(); i += step, ++changes) {
                std::string changed = value;
                changed[i] = static_cast<char>(changed[i] ^ 1 << i % 8);
                put(space, key, &changed);
                ASSERT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " at " << i;
                ASSERT_TRUE(ReadingMeetsDamage(*engine)) << RowName(space) << row << " at " << i;
                ASSERT_FALSE(i % 8 == 0 && copies()) << RowName(space) << row << " at " << i;
            }
            put(space, key, nullptr);
            EXPECT_TRUE(CheckFindsDamage(*engine)) << RowName(space) << row << " is gone";
            EXPECT_FALSE(space != Space::Entries && copies())
                << "entries are for the check to find";
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
    EXPECT_FALSE(CheckFindsDamage(*engine) || ReadingMeetsDamage(*engine) || !copies());
}

constexpr std::size_t kKind = 3;

std::string FormOfKind(const Values& values, const std::string& text)
{
    std::string bytes;
    TextFault fault;
    FieldReader(values.GetSchema().attributes[kKind]).Read(text, bytes, fault);
    return bytes;
}

/// A store in memory that says of itself what one says that is spread over servers.
class ManyMoments : public Engine
{
public:
    explicit ManyMoments(std::unique_ptr<Engine> inner)
        : m_inner(std::move(inner)), m_traits(m_inner->About())
    {
        m_traits.snapshots = false;
    }
    const Traits& About() const override { return m_traits; }
    std::unique_ptr<Reader> Read() override { return m_inner->Read(); }
    std::unique_ptr<Writer> Write() override { return m_inner->Write(); }

private:
    std::unique_ptr<Engine> m_inner;
    Traits m_traits;
};

/// As a server in front of others: some spaces are seen as they were at the beginning, the others
/// as they are at each look.
class LaterReader : public Reader
{
public:
    LaterReader(Engine& engine, std::vector<Space> kept)
        : m_engine(engine), m_kept(std::move(kept)), m_first(engine.Read())
    {
    }
    void Get(Space space, std::span<const std::string_view> keys, const Found& found) override
    {
        const bool isKept = std::count(m_kept.begin(), m_kept.end(), space) != 0;
        (isKept ? m_first.get() : m_engine.Read().get())->Get(space, keys, found);
    }
    std::unique_ptr<Cursor> Walk(Space space, const Range& range, Direction direction) override
    {
        m_walked.push_back(m_engine.Read());
        return m_walked.back()->Walk(space, range, direction);
    }
    std::uint64_t CountRoughly(Space space, const Range& range) override
    {
        return m_engine.Read()->CountRoughly(space, range);
    }

private:
    Engine& m_engine;
    const std::vector<Space> m_kept;
    const std::unique_ptr<Reader> m_first;
    std::vector<std::unique_ptr<Reader>> m_walked;
};

// What a reader has not yet seen of a change is read again, or asked for again, and no damage; what
// no change explains is.
TEST(ObjectStore, TellsLaterMomentsFromDamage)
{
    Values values(10);
    Objects model;
    MemoryPlace place;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 200, model);
    const auto form = [&](const std::string& text) { return FormOfKind(values, text); };
    ObjectStore store(place.Open(Mode::Change), "store", Scratch());
    const auto engine = place.Open(Mode::Change);
    const auto read = [&](std::vector<Space> kept) {
        return std::make_unique<Snapshot>(std::make_shared<LaterReader>(*engine, std::move(kept)),
                                          false, "store", nullptr, [&] { return engine->Read(); });
    };
    const auto outcome = [&](Snapshot& now, std::uint64_t number) -> std::string {
        try {
            std::string room;
            return std::string(now.Value(number, kKind, room).value_or("gone"));
        } catch (const Conflict&) {
            return "conflict";
        } catch (const Error& error) {
            return error.Code() == ErrorCode::Damaged ? "damaged" : error.what();
        }
    };
    const auto add = [&](const std::string& text) {
        Object object = values.Make();
        object[kKind] = text;
        std::uint64_t number = 0;
        store.Change([&](ObjectChange& change) { number = change.Insert(Views(object)); });
        return number;
    };
    // New entries, in the last row and in rows that were not there.
    const auto before = read({Space::Description, Space::Texts, Space::Large});
    const std::string first = outcome(*before, 1);
    std::vector<std::uint64_t> numbers;
    for (unsigned i = 0; i < 200; ++i)
        numbers.push_back(add(form("later " + std::to_string(i / 2))));
    for (unsigned i = 0; i < 200; ++i)
        EXPECT_EQ(outcome(*before, numbers[i]), form("later " + std::to_string(i / 2)));
    EXPECT_EQ(outcome(*before, 1), first);
    EXPECT_GT(read({})->Texts(kKind), before->Texts(kKind) + 2 * kEntriesInRow);
    EXPECT_TRUE(before->HasChanged());
    EXPECT_FALSE(read({})->HasChanged());
    std::ostringstream told;
    EXPECT_THROW(CheckRows(*before, Scratch(), told), Conflict);

    // A value that stands by itself comes before its block, and goes while that is at hand.
    const auto without = read({Space::Description, Space::Texts, Space::Large});
    const std::uint64_t large = add(form(std::string(3000, 'l')));
    EXPECT_EQ(outcome(*without, large), form(std::string(3000, 'l')));
    for (const bool changes : {true, false}) {
        const auto now = read({});
        std::string room;
        EXPECT_TRUE(now->Value(large, 0, room));
        if (changes)
            store.Change([&](ObjectChange& change) { change.Update(large, kKind, form("short")); });
        else
            Change(*engine,
                   [&](Writer& writer) { writer.Erase(Space::Large, LargeKey(large, kKind)); });
        EXPECT_EQ(outcome(*now, large), changes ? "conflict" : "damaged");
        if (changes)
            store.Change([&](ObjectChange& change) {
                change.Update(large, kKind, form(std::string(3000, 'l')));
            });
    }
    // An entry that no counts have.
    Change(*engine, [&](Writer& writer) {
        for (std::uint32_t row = 0; row < 20; ++row)
            writer.Erase(Space::Texts, TextKey(kKind, row));
    });
    const auto torn = read({});
    EXPECT_GT(std::count_if(numbers.begin(), numbers.end(),
                            [&](auto number) { return outcome(*torn, number) == "damaged"; }),
              90);
}

// A change that broke has left entries of a dictionary that the counts do not have: nobody minds
// them, and others come in their place.
TEST(ObjectStore, TakesAsManyTextsAsTheCountsSay)
{
    for (const unsigned surplus : {2U, 40U}) { // in the last row, and in one more
        SCOPED_TRACE(surplus);
        Values values(10);
        Objects model;
        MemoryPlace place;
        AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 200, model);
        const auto form = [&](const std::string& text) { return FormOfKind(values, text); };
        Change(*place.Open(Mode::Change), [&](Writer& writer) {
            Dictionary torn;
            const std::string first = *writer.GetOne(Space::Texts, TextKey(kKind, 0));
            EXPECT_TRUE(torn.LoadRow(0, SealedBytes(first)));
            for (unsigned i = 0; i < 2 * surplus; ++i)
                torn.Place(form("torn " + std::to_string(i / 2)));
            EXPECT_EQ(torn.Size(), torn.SavedSize() + surplus);
            for (std::uint32_t row = 0; row < torn.Rows(); ++row) {
                std::string bytes;
                torn.WriteRow(row, bytes);
                Seal(Space::Texts, TextKey(kKind, row), bytes);
                writer.Put(Space::Texts, TextKey(kKind, row), bytes);
            }
        });
        EXPECT_TRUE(CheckFindsDamage(*place.Open(Mode::Read))) << "where no change is torn";

        const auto open = [&] { return std::make_unique<ManyMoments>(place.Open(Mode::Change)); };
        ObjectStore store(open(), "store", Scratch());
        ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store.Read(), model));
        MemoryPlace copy;
        CopyStore(store, *copy.Load(), Scratch());
        ASSERT_NO_FATAL_FAILURE(
            ExpectObjects(*ObjectStore(copy.Open(Mode::Read), "copy", Scratch()).Read(), model));
        store.Reindex();
        ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store.Read(), model));
        // An entry more than there were, and then so many that no row has any of the others.
        for (const unsigned kinds : {1U, 60U}) {
            store.Change([&](ObjectChange& change) {
                for (unsigned i = 0; i < 2 * kinds; ++i) {
                    Object object = values.Make();
                    object[kKind] = form("new " + std::to_string(kinds + i / 2));
                    model[change.Insert(Views(object))] = object;
                }
            });
            ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store.Read(), model)) << kinds;
        }
        AddAll(*Bulk::Grow(*open(), "store", Scratch()), values, 50, model);
        ASSERT_NO_FATAL_FAILURE(ExpectObjects(*store.Read(), model));
        EXPECT_FALSE(CheckFindsDamage(*place.Open(Mode::Read))) << "nothing is left of it";
    }
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
    EXPECT_EQ(FingerprintOfOrder(all), 7785047028826024141U);

    FilePlace place;
    Values values(9);
    Objects model;
    AddAll(*Bulk::Create(place.Load(), values.GetSchema(), Scratch()), values, 25, model);
    {
        ObjectStore store(place.Open(Mode::Change), "store", Scratch());
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
