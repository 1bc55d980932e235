#ifndef KO_TEST_STORE_THINGS_H
#define KO_TEST_STORE_THINGS_H

#include "store/engine_suite.h"

#include "check/checker.h"
#include "object/bulk.h"
#include "object/object_change.h"
#include "object/object_store.h"
#include "schema/field_reader.h"

#include <set>
#include <sstream>

using ko::store::inner::BeforeAttribute;
using ko::store::inner::BehindAttribute;
using ko::store::inner::Bulk;
using ko::store::inner::FieldReader;
using ko::store::inner::FormMemo;
using ko::store::inner::kMaxObjectNumber;
using ko::store::inner::ObjectChange;
using ko::store::inner::ObjectStore;
using ko::store::inner::Schema;
using ko::store::inner::Snapshot;
using ko::store::inner::TextFault;
using ko::store::inner::ValueKeys;

class ObjectStores : public OverEngines
{
protected:
    std::unique_ptr<ObjectStore> Open(Mode mode = Mode::Change)
    {
        return std::make_unique<ObjectStore>(m_place->Open(mode), "store", Scratch());
    }
};

/// Values of one size with a null value and without, texts that repeat, texts as long as index keys
/// are and longer, and values that stand by themselves.
inline constexpr const char* kThingSchema = R"({"class": "Thing", "attributes": [
  {"name": "id", "column": "id", "type": "o_4b", "index": true},
  {"name": "weight", "column": "weight", "type": "KoNull_int", "index": true},
  {"name": "title", "column": "title", "type": "KoString", "index": true},
  {"name": "kind", "column": "kind", "type": "KoIString", "index": true},
  {"name": "note", "column": "note", "type": "KoString"},
  {"name": "day", "column": "day", "type": "KoDate", "format": "%Y-%m-%d"}]})";

using Object = std::vector<std::string>;
using Objects = std::map<std::uint64_t, Object>;

inline std::string FormOf(const ko::store::inner::Attribute& attribute, const std::string& text)
{
    std::string form;
    TextFault fault;
    EXPECT_NE(FieldReader(attribute).Read(text, form, fault), FieldReader::Result::Refused)
        << text << fault.reason;
    return form;
}

class Values
{
public:
    explicit Values(unsigned seed)
        : m_random(seed), m_schema(Schema::FromJson(kThingSchema, "schema"))
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
        return FormOf(m_schema.attributes[attribute], texts[attribute]);
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

inline std::vector<std::string_view> Views(const Object& object)
{
    return {object.begin(), object.end()};
}

inline void AddAll(Bulk& bulk, Values& values, std::size_t count, Objects& objects)
{
    std::vector<FormMemo> memos(values.GetSchema().attributes.size());
    std::vector<FormMemo*> pointers;
    pointers.reserve(memos.size());
    for (FormMemo& memo : memos)
        pointers.push_back(&memo);
    for (std::size_t i = 0; i < count; ++i) {
        std::fill(memos.begin(), memos.end(), FormMemo());
        const Object object = values.Make();
        objects[bulk.Add(Views(object), pointers)] = object;
    }
    bulk.Commit();
}

/// The objects of a store, block by block.
inline Objects ObjectsOf(Snapshot& now)
{
    const std::size_t attributes = now.GetSchema().attributes.size();
    std::string room;
    Objects found;
    for (const auto walk = now.Blocks(); walk->Next();) {
        for (unsigned slot = 0; slot < walk->Block().Slots(); ++slot) {
            const std::uint64_t number = walk->FirstObject() + slot;
            for (std::size_t i = 0; walk->Block().Has(slot) && i < attributes; ++i)
                found[number].emplace_back(now.Form(walk->Block(), number, i, room));
        }
    }
    return found;
}

/// Everything in a store: the objects block by block and by their numbers, every index forwards and
/// backwards.
inline void ExpectObjects(Snapshot& now, const Objects& objects)
{
    const Schema& schema = now.GetSchema();
    std::string room;
    ASSERT_TRUE(ObjectsOf(now) == objects);
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
            auto walk = now.Entries({BeforeAttribute(i), BehindAttribute(i)}, direction);
            while (walk.Next()) {
                for (const std::uint64_t number : walk.Numbers())
                    ASSERT_TRUE(entries.emplace(walk.Key().valueKey, number).second);
            }
            ASSERT_TRUE(entries == expected) << schema.attributes[i].name;
        }
    }
    ASSERT_FALSE(now.Value(0, 0, room) || now.Value(now.GetCounts().nextNumber, 0, room) ||
                 now.Value(kMaxObjectNumber, 0, room));
    std::ostringstream told;
    EXPECT_EQ(ko::store::inner::CheckRows(now, Scratch(), told), 0U) << told.str();
}

/// Changes some objects; the model gets the same.
inline void ChangeSome(ObjectChange& change, Values& values, Objects& model)
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

#endif
