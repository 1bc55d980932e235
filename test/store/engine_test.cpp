#include "store/engine_suite.h"
#include "support/failing_engine.h"

#include <algorithm>
#include <barrier>
#include <thread>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;
using namespace std::string_literals;

class EveryEngine : public OverEngines
{
protected:
    std::unique_ptr<Engine> ToChange() { return m_place->Open(GetParam().mode); }
    Models Now() { return Everything(*m_place->Open(Mode::Read)->Read()); }
};

INSTANTIATE_TEST_SUITE_P(Engines, EveryEngine, testing::ValuesIn(kPlaces), NameOfPlace);

// Ends that are keys, lie between, before and after keys, are prefixes, and are longer than any
// key.
TEST_P(EveryEngine, WalksBetweenAllEnds)
{
    const std::string longest(kMaxKey, '\xff');
    const std::vector<std::string> keys = {
        "\0"s,    "\0\0"s,           "\0\1"s, "a"s, "a\0"s, "ab"s, "b"s, std::string(511, 'b'),
        "b\xff"s, longest.substr(1), longest};
    Model model;
    for (const std::string& key : keys)
        model[key] = "value of " + std::to_string(key.size());
    Create(*m_place, {{Space::Entries, model}, {Space::Blocks, {{"a", "of another space"}}}});
    std::vector<std::string> ends = keys;
    for (const std::string& key : keys)
        ends.push_back(key + '\0');
    for (const char* end : {"", "0", "aa", "c", "z"})
        ends.emplace_back(end);
    const auto engine = m_place->Open(Mode::Read);
    const auto reader = engine->Read();
    const auto expect = [&](const Range& range) {
        Pairs rows;
        for (const auto& row : model) {
            if (row.first >= range.low && (!range.high || row.first < *range.high))
                rows.push_back(row);
        }
        EXPECT_EQ(reader->CountRoughly(Space::Entries, range), rows.size());
        for (const auto direction : {Direction::Forwards, Direction::Backwards}) {
            for (const std::size_t most : {1U, 2U, 1000U})
                EXPECT_EQ(Walk(*reader, Space::Entries, range, direction, most), rows)
                    << range.low.size() << " to " << (range.high ? range.high->size() : 0);
            std::reverse(rows.begin(), rows.end());
        }
    };
    for (const std::string& low : ends) {
        expect({low, std::nullopt});
        for (const std::string& high : ends)
            expect({low, high});
    }
    EXPECT_TRUE(Walk(*reader, Space::Large, {}, Direction::Backwards, 5).empty());
}

TEST_P(EveryEngine, GetsBatchesAndGuessesRanges)
{
    Model model;
    for (int i = 100'000; i < 130'000; i += 3)
        model[std::to_string(i)] = std::to_string(i * 7);
    Create(*m_place, {{Space::Blocks, model}});
    const auto reader = m_place->Open(Mode::Read)->Read(); // which outlives its engine
    for (const std::size_t size : {1U, 2U, 1000U, 25'000U}) {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < size; ++i)
            texts.push_back(std::to_string(100'000 + i));
        const std::vector<std::string_view> keys(texts.begin(), texts.end());
        std::vector<std::string> found(size);
        reader->Get(Space::Blocks, keys,
                    [&](std::size_t key, std::string_view value) { found[key] = value; });
        for (std::size_t i = 0; i < size; ++i)
            ASSERT_EQ(found[i], i % 3 == 0 ? model[texts[i]] : "") << i;
    }
    EXPECT_FALSE(reader->GetOne(Space::Texts, "100000"));
    const struct {
        Range range;
        std::uint64_t rows;
    } kRanges[] = {{{"110000", "120000"}, 3333},
                   {{"", std::nullopt}, 10'000},
                   {{"1296", {}}, 134},
                   {{"2", {}}, 0},
                   {{"12", "11"}, 0}};
    for (const auto& c : kRanges)
        EXPECT_NEAR(static_cast<double>(reader->CountRoughly(Space::Blocks, c.range)),
                    static_cast<double>(c.rows),
                    c.rows <= 100 ? 0 : 200 + static_cast<double>(c.rows) * 0.1)
            << c.range.low;
}

TEST_P(EveryEngine, KeepsValuesOfEverySize)
{
    Model model;
    for (const std::size_t size :
         {0U, 1U, 2015U, 2030U, 4096U, 5000U, 32'752U, 1U << 20, 9U << 20}) {
        std::string value(size, 'v');
        for (std::size_t i = 0; i < size; i += 97)
            value[i] = static_cast<char>(i);
        model["key " + std::to_string(size)] = value;
    }
    Create(*m_place, {{Space::Large, model}});
    EXPECT_TRUE(Now()[Space::Large] == model);
    const auto engine = ToChange();
    const auto writer = engine->Write();
    for (auto& row : model) {
        std::reverse(row.second.begin(), row.second.end());
        writer->Put(Space::Large, row.first, row.second);
    }
    writer->Commit();
    EXPECT_TRUE(Now()[Space::Large] == model);
    m_place->Check();
}

TEST_P(EveryEngine, ShowsWholeChangesOnly)
{
    Create(*m_place, {{Space::Blocks, {{"a", "1"}, {"b", "1"}, {"c", "1"}}}});
    const Models before = Now();
    const auto engine = ToChange();
    const auto old = engine->Read();
    {
        const auto writer = engine->Write();
        writer->Put(Space::Blocks, "b", "2");
        writer->Erase(Space::Blocks, "c");
        writer->Erase(Space::Blocks, "not there");
        writer->Put(Space::Texts, "new", "2");
        EXPECT_EQ(writer->GetOne(Space::Blocks, "b"), "2");
        EXPECT_FALSE(writer->GetOne(Space::Blocks, "c"));
        EXPECT_EQ(Everything(*writer)[Space::Blocks], (Model{{"a", "1"}, {"b", "2"}}));
        EXPECT_EQ(Everything(*engine->Read()), before);
    }
    EXPECT_EQ(Now(), before) << "abandoned";
    const auto writer = engine->Write();
    // A walk meets what is changed ahead of it.
    const auto up = writer->Walk(Space::Blocks, {}, Direction::Forwards);
    const auto down = writer->Walk(Space::Blocks, {}, Direction::Backwards);
    EXPECT_EQ(up->Next(1)[0].key, "a");
    EXPECT_EQ(down->Next(1)[0].key, "c");
    writer->Erase(Space::Blocks, "a");
    writer->Put(Space::Blocks, "aa", "3");
    writer->Erase(Space::Blocks, "c");
    writer->Put(Space::Blocks, "bb", std::string(3000, 'x'));
    EXPECT_EQ(up->Next(1)[0].key, "aa");
    EXPECT_EQ(down->Next(1)[0].key, "bb");
    EXPECT_EQ(up->Next(1)[0].key, "b");
    writer->Commit();
    EXPECT_EQ(Everything(*old), before) << "a snapshot";
    EXPECT_EQ(Now()[Space::Blocks].size(), 3U);
    EXPECT_THROW(m_place->Open(Mode::Read)->Write(), Error);
}

TEST_P(EveryEngine, RefusesWhatCannotBe)
{
    const auto code = [](const std::function<void()>& call) {
        try {
            call();
        } catch (const Error& error) {
            return error.Code();
        }
        return ErrorCode{};
    };
    for (const Mode mode : {Mode::Read, Mode::Change, Mode::Grow})
        EXPECT_EQ(code([&] { m_place->Open(mode); }), ErrorCode::Missing);
    EXPECT_THROW(m_place->Load()->Append(Space::Texts, "", "x"), Error);
    EXPECT_THROW(m_place->Load()->Append(Space::Texts, std::string(kMaxKey + 1, 'x'), ""), Error);
    for (const char* second : {"b", "a", "bb"}) {
        const auto loader = m_place->Load();
        loader->Append(Space::Texts, "b", "");
        loader->Append(Space::Large, "a", "");
        if (std::string_view(second) == "bb")
            EXPECT_NO_THROW(loader->Append(Space::Texts, second, ""));
        else
            EXPECT_THROW(loader->Append(Space::Texts, second, ""), Error);
    }
    EXPECT_FALSE(m_place->Exists());
    Create(*m_place, {});
    EXPECT_EQ(Now(), Models());
    EXPECT_EQ(code([&] { m_place->Load(); }), ErrorCode::Exists);
    EXPECT_THROW(ToChange()->Write()->Put(Space::Texts, "", "x"), Error);
}

// Writers take the largest key of a walk and add one; every second time they also add one to a
// number and write it in two spaces, which two must not do from the same state; readers never find
// two numbers.
TEST_P(EveryEngine, ServesThreadsAtOnce)
{
    constexpr int kChanges = 60;
    Create(*m_place, {{Space::Blocks, {{"n", "0"}}},
                      {Space::Entries, {{"n", "0"}}},
                      {Space::Texts, {{"1000", ""}}}});
    const auto engine = ToChange();
    std::atomic<int> conflicts{0};
    std::atomic<bool> ended{false};
    std::atomic<int> reads{0};
    std::vector<std::thread> readers;
    readers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            for (int last = 0; !ended || reads < 8; ++reads) {
                const auto reader = engine->Read();
                const int first = std::stoi(*reader->GetOne(Space::Blocks, "n"));
                std::this_thread::yield();
                EXPECT_EQ(std::stoi(*reader->GetOne(Space::Entries, "n")), first);
                EXPECT_GE(first, last);
                last = first;
            }
        });
    }
    const auto write = [&](Engine& of) {
        for (int i = 0; i < kChanges; ++i) {
            conflicts += Change(of, [i](Writer& writer) {
                if (i % 2 == 0) {
                    const int n = std::stoi(*writer.GetOne(Space::Blocks, "n"));
                    writer.Put(Space::Blocks, "n", std::to_string(n + 1));
                    writer.Put(Space::Entries, "n", std::to_string(n + 1));
                }
                const auto last = writer.Walk(Space::Texts, {}, Direction::Backwards);
                const int top = std::stoi(std::string(last->Next(1)[0].key));
                std::this_thread::sleep_for(std::chrono::milliseconds(1)); // so that they meet
                writer.Put(Space::Texts, std::to_string(top + 1), "");
            });
        }
    };
    // An engine that grows the store is one writer's.
    const bool isOne = GetParam().mode == Mode::Grow;
    std::barrier start(isOne ? 1 : 2);
    std::thread other([&] {
        if (isOne)
            return;
        const auto own = ToChange();
        start.arrive_and_wait();
        write(*own);
    });
    start.arrive_and_wait();
    write(*engine);
    other.join();
    ended = true;
    for (std::thread& thread : readers)
        thread.join();
    const int made = isOne ? kChanges : 2 * kChanges;
    EXPECT_EQ(Now()[Space::Entries]["n"], std::to_string(made / 2));
    EXPECT_EQ(Now()[Space::Texts].size(), static_cast<std::size_t>(made + 1));
    EXPECT_TRUE(conflicts > 0 || std::string_view(GetParam().name) != "Postgres") << "they meet";
    EXPECT_GE(reads, 8);
}

TEST_P(EveryEngine, DoesWhatMapsDo)
{
    std::mt19937 random(4711); // NOLINT(cert-msc51-cpp): the same operations each time
    Models models;
    const auto take = [&](Models& of, Writer* writer) {
        const auto space = static_cast<Space>(random() % kSpaces);
        std::string key = RandomKey(random);
        Model& model = of[space];
        if (random() % 3 == 0) {
            const auto at = model.lower_bound(key);
            key = at == model.end() ? key : at->first;
            model.erase(key);
            if (writer != nullptr)
                writer->Erase(space, key);
            return;
        }
        const std::string value(random() % 40 == 0 ? random() % 9000 : random() % 60, 'v');
        model[key] = value;
        if (writer != nullptr)
            writer->Put(space, key, value);
    };
    for (int i = 0; i < 3000; ++i)
        take(models, nullptr);
    Create(*m_place, models);
    auto engine = ToChange();
    for (int change = 0; change < 60; ++change) {
        Models after = models;
        auto writer = engine->Write();
        for (auto i = random() % 200; i > 0; --i)
            take(after, writer.get());
        const auto space = static_cast<Space>(random() % kSpaces);
        std::string low = RandomKey(random);
        std::string high = RandomKey(random);
        const Model& model = after[space];
        Pairs expected;
        for (auto at = model.lower_bound(low); at != model.end() && at->first < high; ++at)
            expected.push_back(*at);
        ASSERT_EQ(Walk(*writer, space, {low, high}, Direction::Forwards, 7), expected);
        std::reverse(expected.begin(), expected.end());
        ASSERT_EQ(Walk(*writer, space, {low, high}, Direction::Backwards, 7), expected);
        if (random() % 4 != 0) {
            writer->Commit();
            models = std::move(after);
        }
        if (change % 10 == 0) {
            engine.reset(); // before its writer
            writer.reset();
            m_place->Check();
            engine = ToChange();
        }
    }
    std::erase_if(models, [](const auto& space) { return space.second.empty(); });
    EXPECT_TRUE(Now() == models);
}

// Whatever call fails, a store is whole or not there, and a change is made or was never.
TEST_P(EveryEngine, SurvivesEveryFailingCall)
{
    const Models loaded{{Space::Blocks, {{"a", "1"}, {"b", "1"}}}, {Space::Texts, {{"t", "1"}}}};
    const Models changed{{Space::Blocks, {{"a", "2"}, {"c", "2"}}}, {Space::Texts, {{"t", "1"}}}};
    int failed = 0;
    for (const auto kind :
         {Faults::Kind::NoSpace, Faults::Kind::Conflict, Faults::Kind::LostAnswer}) {
        for (int at = 1;; ++at) {
            m_place = GetParam().make();
            const auto faults = std::make_shared<Faults>(at, kind);
            const auto run = [&](const std::function<void()>& call) {
                try {
                    call();
                } catch (const Error&) {
                    ++failed;
                } catch (const Conflict&) {
                    ++failed;
                }
            };
            run([&] {
                FailingLoader loader(m_place->Load(), faults);
                Fill(loader, loaded);
                loader.Publish();
            });
            if (m_place->Exists())
                EXPECT_EQ(Now(), loaded) << at;
            else
                Create(*m_place, loaded);
            run([&] {
                FailingEngine engine(ToChange(), faults);
                EXPECT_EQ(engine.Read()->GetOne(Space::Texts, "t"), "1");
                const auto writer = engine.Write();
                writer->Put(Space::Blocks, "a", "2");
                writer->Erase(Space::Blocks, "b");
                writer->Put(Space::Blocks, "c", "2");
                EXPECT_EQ(Walk(*writer, Space::Blocks, {}, Direction::Forwards, 9).size(), 2U);
                writer->Commit();
            });
            const Models now = Now();
            EXPECT_TRUE(now == changed || (now == loaded && faults->Happened())) << at;
            m_place->Check();
            if (!faults->Happened())
                break;
        }
    }
    EXPECT_GT(failed, 40);
}

} // namespace
