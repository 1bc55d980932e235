// The library as programs link it: kostore.h and nothing else of the store.

#include "store/test_files.h"

#include <kostore.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

using namespace ko::store;

namespace
{

constexpr char kSchema[] = R"({"class": "Thing", "attributes": [
  {"name": "id", "column": "id", "type": "o_4b", "index": true},
  {"name": "weight", "column": "weight", "type": "KoNull_int"},
  {"name": "kind", "column": "kind", "type": "KoString", "index": true},
  {"name": "note", "column": "note", "type": "KoString"},
  {"name": "day", "column": "day", "type": "KoDate", "format": "%d.%m.%Y"}]})";

Schema ThingSchema()
{
    return Schema::FromJson(kSchema, "schema");
}

/// Forms of an object: a kind that repeats, notes of every length up to one that stands by itself.
std::vector<std::string> FormsOf(unsigned i)
{
    static const Schema schema = ThingSchema();
    static std::vector<Codec> codecs(std::make_move_iterator(schema.attributes.begin()),
                                     std::make_move_iterator(schema.attributes.end()));
    const std::string texts[] = {std::to_string(i * 7919 % 3001), i % 3 == 0 ? "" : "-4",
                                 i % 5 == 0 ? "" : "kind " + std::to_string(i % 20),
                                 i % 4 == 0 ? ""
                                            : std::string(i % 50 == 1 ? 2000 : i % 30, 'n') + "!",
                                 i % 9 == 0 ? "" : "29.02.2024"};
    std::vector<std::string> forms;
    for (std::size_t at = 0; at < codecs.size(); ++at)
        forms.push_back(codecs[at].Form(texts[at]));
    return forms;
}

class Library : public testing::Test
{
protected:
    /// A store with some objects less than it had, so that numbers are missing.
    Store Filled(const std::string& name, unsigned objects)
    {
        Store store = Store::Create(m_folder.Path(name), ThingSchema());
        store.Change([&](Transaction& change) {
            for (unsigned i = 1; i <= objects; ++i) {
                const std::vector<std::string> forms = FormsOf(i);
                EXPECT_EQ(
                    change.InsertForms(std::vector<std::string_view>(forms.begin(), forms.end())),
                    i);
            }
            for (unsigned i = 3; i <= objects; i += 17)
                EXPECT_TRUE(change.Erase(i));
        });
        return store;
    }

    TestFolder m_folder;
};

TEST_F(Library, KeepsObjects)
{
    const Store store = Store::Create(m_folder.Path("store"), ThingSchema());
    const ko::Type date = ko::Type::Find("KoDate").value();
    const ko::Value day = ko::Value::Parse(date, "2024-02-29").value();
    EXPECT_EQ(store.Insert({{"id", "7"}, {"kind", "bird"}, {"day", day}}), 1U);
    EXPECT_EQ(store.Insert({{"id", "8"}, {"weight", "40"}}), 2U);
    EXPECT_TRUE(store.Update(1, {{"weight", "-3"}, {"kind", ""}}));
    EXPECT_FALSE(store.Update(3, {{"weight", "1"}})) << "there is none";

    const Object object = store.Find(1).value();
    EXPECT_EQ(object.Value("day"), day);
    EXPECT_EQ(object.Value("weight").Text().value(), "-3");
    EXPECT_TRUE(object.Form("kind").empty()) << "no text is null";
    EXPECT_TRUE(object.Value("note").IsNull());
    std::string text = "on ";
    Codec(object.schema->attributes[4]).Print(object.Form("day"), text);
    EXPECT_EQ(text, "on 29.02.2024") << "as the attribute prints it";

    EXPECT_TRUE(store.Erase(2));
    EXPECT_FALSE(store.Erase(2));
    EXPECT_FALSE(store.Find(2) || store.Find(0) || store.Find(UINT64_MAX));
    EXPECT_EQ(store.Insert({{"id", "9"}}), 3U) << "numbers are not used again";
    EXPECT_EQ(store.Count(), 2U);
    EXPECT_EQ(store.Count("id > 7"), 1U);

    store.Change([](Transaction& change) {
        const auto number = change.Insert({{"id", "10"}, {"note", "new"}});
        EXPECT_EQ(change.Find(number).value().Value("note").Text().value(), "new");
        EXPECT_THROW(change.Update(number, {{"note", "old"}, {"id", "x"}}), Error);
        EXPECT_EQ(change.Find(number)->Value("note").Text().value(), "new") << "all or nothing";
        EXPECT_TRUE(change.Erase(3) && !change.Find(3)) << "a fault of the caller's ends nothing";
    });
    std::ostringstream faults;
    const CheckResult checked = Check(m_folder.Path("store"), faults);
    EXPECT_EQ(checked.objects, 2U);
    EXPECT_EQ(checked.faults, 0U) << faults.str();
}

TEST_F(Library, GivesEveryRowOnce)
{
    Snapshot now = Filled("store", 3000).Read();
    const struct {
        const char* reason;
        Query query;
        std::uint64_t rows;
    } kQueries[] = {
        {"all, as they lie", {""}, 2823},
        {"all, in the order of an index", {"", {}, "id"}, 2823},
        {"backwards", {"", {"kind", "note", "@id"}, "kind", true}, 2823},
        {"sorted without an index", {"", {"note", "weight"}, "note"}, 2823},
        {"sorted, the first of them", {"", {"day", "kind"}, "weight", true, 700}, 700},
        {"of an index, the first of them", {"", {"note"}, "kind", true, 40}, 40},
        {"by number, backwards", {"weight is null", {"id", "kind"}, "@id", true}, 941},
        {"few in every block", {"id < 100", {"note", "kind", "id", "day"}}, 94},
        {"one of an index", {"id = 1234", {}, "kind"}, 1},
        {"none", {"kind = \"no such\""}, 0},
        {"no row at all", {"", {}, "", false, 0}, 0},
    };
    for (const auto& [reason, query, rows] : kQueries) {
        SCOPED_TRACE(reason);
        Cursor cursor = Store::Open(m_folder.Path("store")).Select(query); // outlives its store
        const std::size_t width = cursor.Attributes().size();
        ASSERT_EQ(width, query.columns.empty() ? 5 : query.columns.size());
        std::map<std::uint64_t, unsigned> met;
        std::vector<std::map<std::uint32_t, std::string>> codes(width);
        std::size_t coded = 0;
        std::optional<std::pair<ko::Value, std::uint64_t>> last;
        for (Batch batch = cursor.Next(); !batch.Empty(); batch = cursor.Next()) {
            EXPECT_EQ(batch.Find(cursor.Attributes()[width - 1].name), width - 1);
            EXPECT_THROW(batch.Find("nothing"), Error);
            for (std::size_t row = 0; row < batch.Rows(); ++row) {
                ++met[batch.numbers[row]];
                const Object object = now.Find(batch.numbers[row]).value();
                if (!query.order.empty() && query.order != kObjectId) {
                    const std::pair next(object.Value(query.order), object.number);
                    ASSERT_TRUE(!last || (query.descending ? next < *last : *last < next));
                    last = next;
                }
                for (std::size_t i = 0; i < width; ++i) {
                    if (cursor.Attributes()[i].name == kObjectId)
                        ASSERT_EQ(batch.Form(row, i).size(), 10U);
                    else
                        ASSERT_EQ(batch.Form(row, i), object.Form(cursor.Attributes()[i].name));
                    const std::uint32_t code =
                        batch.columns[i].codes.empty() ? 0 : batch.columns[i].codes[row];
                    if (code == 0)
                        continue;
                    ++coded;
                    ASSERT_EQ(codes[i].emplace(code, batch.Form(row, i)).first->second,
                              batch.Form(row, i));
                }
            }
        }
        EXPECT_TRUE(cursor.Next().Empty()) << "and from then on";
        EXPECT_EQ(met.size(), rows);
        std::uint64_t before = 1; // of all objects, those that come before the last one
        for (std::uint64_t number = 1; last && query.predicate.empty() && number <= 3000;
             ++number) {
            if (const auto object = now.Find(number); object) {
                const std::pair one(object->Value(query.order), number);
                before += (query.descending ? *last < one : one < *last) ? 1 : 0;
            }
        }
        EXPECT_TRUE(!last || !query.predicate.empty() || before == rows) << before;
        for (const auto& [number, times] : met)
            ASSERT_EQ(times, 1U) << number;
        EXPECT_TRUE(rows < 700 || coded > rows / 2) << "kinds repeat";
        EXPECT_EQ(now.Count(query.predicate, query.limit), rows);
    }
    EXPECT_EQ(now.Count("id >= 0", 5), 5U);
}

TEST_F(Library, RefusesWithASentence)
{
    const Store store = Filled("store", 40);
    const std::string path = m_folder.Path("store");
    const std::string garbage = m_folder.Write("garbage", std::string(20000, 'x'));
    const ko::Type date = ko::Type::Find("KoDate").value();
    const ko::Value number = ko::Value::Parse(ko::Type::Find("o_2b").value(), "3").value();
    const auto insertForm = [&](std::size_t at, std::string_view form) {
        store.Change([&](Transaction& change) {
            change.Erase(1);
            std::vector<std::string> forms = FormsOf(1);
            forms[at] = form;
            change.InsertForms(std::vector<std::string_view>(forms.begin(), forms.end()));
        });
    };
    const auto create = [&](const std::string& name, const char* attribute, const char* type) {
        Store::Create(name, {"C", {{attribute, "c", ko::Type::Find(type).value()}}});
    };
    using Code = ErrorCode;
    using Fields = std::vector<Field>;
    const auto insert = [&](const Fields& of) { return [&, of] { store.Insert(of); }; };
    const auto update = [&](const Fields& of) { return [&, of] { store.Update(1, of); }; };
    const auto form = [&](std::size_t at, std::string_view bytes) {
        return [&, at, bytes] { insertForm(at, bytes); };
    };
    const auto made = [&](const char* attribute) {
        return [&, attribute] { create(path + "2", attribute, "o_4b"); };
    };
    const auto select = [&](const Query& query) { return [&, query] { store.Select(query); }; };
    const struct {
        std::function<void()> call;
        Code code;
        const char* sentence;
    } kFaults[] = {
        {insert({{"id", "1"}, {"wight", "1"}}), Code::Usage, "no attribute \"wight\""},
        {insert({{"id", "1"}, {"id", "2"}}), Code::Usage, "id: is named twice"},
        {insert({{"kind", "x"}}), Code::Usage, "id: there is no null value"},
        {insert({{"id", number}}), Code::Usage, "the type o_2b where o_4b"},
        {update({{"id", "1x"}}), Code::Usage, "\"1x\" is no value of the type o_4b"},
        {update({{"kind", "a\xFF"}}), Code::Usage, "no UTF-8"},
        {update({{"weight", "1"}, {"day", "2024"}}), Code::Usage, "format"},
        {form(0, ""), Code::Usage, "id: there is no null value"},
        {form(0, "123"), Code::Usage, "id: the bytes are no value"},
        {form(1, "too long"), Code::Usage, "weight: the bytes are no value"},
        {form(2, "\x09"), Code::Usage, "kind: the bytes are no value"},
        {form(2, {"\5\0\1\0a", 5}), Code::Usage, "kind: the bytes are no value"}, // without an end
        {form(4, "\xE8\x07\x02"), Code::Usage, "day: the bytes are no value"},
        {[&] { store.Change([](Transaction& change) { change.InsertForms({}); }); }, Code::Usage,
         "0 values where objects have 5"},
        {[&] { store.Count("id >"); }, Code::Usage, "character 5"},
        {select({"", {"nothing"}}), Code::Usage, "no attribute \"nothing\""},
        {select({"", {}, "nothing"}), Code::Usage, "no attribute \"nothing\""},
        {[&] { store.AddIndex("nothing"); }, Code::Usage, "no attribute \"nothing\""},
        {[&] { Schema::FromJson("{", "there"); }, Code::Usage, "there: line 1"},
        {made("and"), Code::Usage, "no word of a predicate"},
        {made("a\xFF"), Code::Usage, "no UTF-8"},
        {[&] {
             Store::Create(path + "2", Schema{"C", {}});
         },
         Code::Usage, "empty"},
        {[&] {
             Codec(Attribute{"", "", date}).Form("x");
         },
         Code::Usage, "\"x\" is no value"},
        {[&] { create(path, "a", "o_4b"); }, Code::Exists, "exists"},
        {[&] { Store::Open(path + "2"); }, Code::Missing, "No such file"},
        {[&] { Check(path + "2", std::cerr); }, Code::Missing, "No such file"},
        {[&] { Store::Open(garbage); }, Code::Damaged, "no store"},
        {[&] { Store::Open(path).Erase(1); }, Code::Io, "reading only"},
        {[&] { create("/no/such/folder", "a", "o_4b"); }, Code::Io, "No such file"},
    };
    const auto all = [&] {
        std::vector<std::string> bytes;
        for (std::uint64_t i = 0; i <= 41; ++i) {
            const auto object = store.Find(i);
            for (const std::string& form : object ? object->forms : std::vector<std::string>{"-"})
                bytes.push_back(form);
        }
        return bytes;
    };
    const auto before = all();
    for (const auto& fault : kFaults) {
        SCOPED_TRACE(fault.sentence);
        try {
            fault.call();
            ADD_FAILURE() << "no error";
        } catch (const Error& error) {
            EXPECT_EQ(error.Code(), fault.code) << error.what();
            EXPECT_NE(std::string(error.what()).find(fault.sentence), std::string::npos)
                << error.what();
        }
        ASSERT_EQ(all(), before) << "nothing has changed";
    }
    EXPECT_FALSE(Store::Exists(path + "2")) << "nothing is left of a store that could not be made";
    EXPECT_THROW(store.Change([](Transaction& change) {
        change.Erase(1);
        throw 17; // what is no error of the library's passes through it
    }),
                 int);
    EXPECT_EQ(all(), before);
    EXPECT_EQ(Visible("a\x1B[1mbcd", 3), "a\\x1B[...");
}

TEST_F(Library, ServesThreadsAndStores)
{
    // Of each store the objects 1 and 2 always weigh as much together.
    const Store stores[] = {Filled("one", 50), Filled("other", 60)};
    for (const Store& store : stores) {
        store.Update(1, {{"weight", "1000"}});
        store.Update(2, {{"weight", "1000"}});
    }
    std::atomic<bool> done = false;
    std::atomic<unsigned> looks = 0;
    const auto weight = [](const std::optional<Object>& object) {
        return std::stoi(object.value().Value("weight").Text().value());
    };
    std::vector<std::thread> readers;
    for (unsigned i = 0; i < 4; ++i)
        readers.emplace_back([&, store = stores[i % 2]] {
            for (; !done || looks < 8; ++looks) {
                Snapshot now = store.Read();
                EXPECT_EQ(weight(now.Find(1)) + weight(now.Find(2)), 2000);
                EXPECT_EQ(now.Count("id >= 0"), now.Count());
            }
        });
    for (int i = 0; i < 40; ++i)
        stores[i % 2].Change([&](Transaction& change) {
            change.Update(1, {{"weight", std::to_string(weight(change.Find(1)) - i)}});
            change.Update(2, {{"weight", std::to_string(weight(change.Find(2)) + i)}});
            change.Insert({{"id", "1"}});
        });
    done = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(stores[0].Count(), 67U);
    EXPECT_EQ(stores[1].Count(), 76U);
}

TEST_F(Library, ImportsIndexesAndExplains)
{
    ImportRequest request{m_folder.Path("store"), KOTM_EXAMPLES "/birdstrikes.csv",
                          Schema::FromJson(ReadAll(KOTM_EXAMPLES "/birdstrikes.schema.json"), "s")};
    EXPECT_EQ(Schema::FromJson(request.schema.ToJson(), "again").ToJson(), request.schema.ToJson());
    EXPECT_EQ(Import(request).stored, 10000U);
    const Store store = Store::Open(request.store, Mode::Grow);
    const std::string predicate = "operator = \"BUSINESS\" and cost_repair > 6900000";
    EXPECT_FALSE(store.Read().Explain(predicate).part);
    Snapshot before = store.Read();
    store.AddIndex("cost_repair");
    store.AddIndex("cost_repair");
    const Explanation told = store.Read().Explain(predicate);
    ASSERT_TRUE(told.part);
    EXPECT_EQ(told.part->attribute, "cost_repair");
    EXPECT_EQ(told.part->from, "6900000");
    EXPECT_EQ(told.comparisons.size(), 2U);
    EXPECT_EQ(told.found, before.Count(predicate)) << "a moment without the index";
    EXPECT_LT(told.read, 200U);
    store.Reindex();
    store.DropIndex("cost_repair");
    EXPECT_FALSE(store.GetSchema().attributes[store.GetSchema().Place("cost_repair")].index);
    std::ostringstream faults;
    EXPECT_EQ(Check(request.store, faults).faults, 0U) << faults.str();
}

// Values in dictionaries, in blocks and by themselves, found through an index and without one.
TEST_F(Library, CountsByValue)
{
    Snapshot now = Filled("store", 900).Read();
    for (const char* const predicate : {"", "id < 800", "kind = \"kind 1*\"", "weight is null"}) {
        for (const char* const attribute : {"id", "weight", "kind", "note", "day"}) {
            std::map<std::string, std::uint64_t> counts;
            std::vector<std::string> ordered;
            Cursor cursor = now.Select({predicate, {attribute}, attribute});
            for (Batch batch = cursor.Next(); !batch.Empty(); batch = cursor.Next()) {
                for (const std::string_view form : batch.columns[0].forms) {
                    if (++counts[std::string(form)] == 1)
                        ordered.emplace_back(form);
                }
            }
            std::vector<std::string> groups;
            for (const Group& group : now.CountBy(attribute, predicate)) {
                EXPECT_EQ(group.objects, counts[group.form]) << predicate << ' ' << attribute;
                groups.push_back(group.form);
            }
            EXPECT_EQ(groups, ordered) << predicate << ' ' << attribute;
        }
    }
    EXPECT_THROW(now.CountBy("none"), Error);
}

} // namespace
