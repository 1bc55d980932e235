#include "randompredicate.h"
#include "testfiles.h"

#include <explain.h>
#include <failure.h>
#include <fieldreader.h>
#include <importer.h>
#include <planner.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>

namespace
{

using namespace kotm;

std::string CsvField(const std::string& text)
{
    std::string field = "\"";
    for (const char c : text)
        field += c == '"' ? "\"\"" : std::string(1, c);
    return field + "\"";
}

/// Texts of a type that it reads as values, made from random forms. Few numbers, so that they
/// repeat.
std::vector<std::string> TextsOf(const Attribute& attribute, std::mt19937_64& random)
{
    std::vector<std::string> texts;
    if (attribute.type.IsText()) {
        texts = {"",      "Hawk",    "hawk",         "h\u00E4wk", "H\u00C4WK", "Stra\u00DFe",
                 "a*b",   "a?b",     "\\",           "-",         " a",        "a b",
                 "ab",    "\u03B1",  "\u4E00\u4E8C", "\u00C6sir", "zz\u0161",  "a-b",
                 "Hawks", "hawk 17", "10",           "\u516C"};
        texts.emplace_back(300, 'h');
        return texts;
    }
    if (attribute.type.Name() == "o_float" || attribute.type.Name() == "o_double" ||
        attribute.type.Name() == "KoNull_double" || attribute.type.Name() == "KoNull_float")
        texts = {"nan", "inf", "-inf", "-0", "1e30", "0.5", "1e-30", "-17"};
    FieldReader reader(attribute);
    for (int tries = 0; tries < 4000 && texts.size() < 40; ++tries) {
        std::string form(attribute.type.FixedSize(), '\0');
        for (char& byte : form)
            byte = static_cast<char>(random() % 3 == 0 ? random() % 24 : random() % 2);
        Value value(attribute.type);
        if (form.empty() || !value.LoadUntrusted(form, kStoreFormat) || value.IsNull())
            continue;
        std::string text;
        value.Print(text, attribute.Format());
        std::string read;
        TextFault fault;
        if (reader.Read(text, read, fault) == FieldReader::Result::Present && read == form)
            texts.push_back(text);
    }
    return texts;
}

/// A store with an indexed attribute of every type that has values to read.
class GeneratedStore
{
public:
    GeneratedStore()
    {
        nlohmann::json attributes = nlohmann::json::array();
        std::mt19937_64 random(7);
        std::vector<std::vector<std::string>> texts;
        std::vector<bool> nullable; // an empty field of another type rejects the row
        std::string csv;
        for (int id = 0; id < KoTYPE_COUNT; ++id) {
            const std::string type = Manager().NameGet(static_cast<o_char>(id));
            const std::string name = "a" + std::to_string(id);
            void* value = Manager().Create(static_cast<o_char>(id), 1);
            if (value == nullptr)
                continue;
            Manager().Delete(static_cast<o_char>(id), value, 1);
            const Attribute attribute{name, name, ValueType(static_cast<o_char>(id)), std::nullopt,
                                      true};
            texts.push_back(TextsOf(attribute, random));
            if (texts.back().size() < 2) {
                texts.pop_back();
                continue;
            }
            nullable.push_back(attribute.type.HasNull());
            attributes.push_back(
                {{"name", name}, {"column", name}, {"type", type}, {"index", id % 8 != 7}});
            csv += (csv.empty() ? "" : ",") + name;
        }
        types = texts.size();
        for (int row = 0; row < 300; ++row) {
            csv += "\n";
            for (std::size_t i = 0; i < texts.size(); ++i)
                csv += (i == 0 ? "" : ",") + (nullable[i] && random() % 8 == 0
                                                  ? ""
                                                  : CsvField(texts[i][random() % texts[i].size()]));
        }
        const std::string schema =
            nlohmann::json{{"class", "Any"}, {"attributes", attributes}}.dump();
        ImportRequest request{m_folder.Path("store"), m_folder.Write("csv", csv + "\n"), "", false};
        std::ostringstream messages;
        Import(request, Schema::FromJson(schema, "schema"), messages);
        store = Store::Open(request.store);
    }

    std::size_t types = 0;

private:
    TestFolder m_folder;

public:
    std::unique_ptr<Store> store;
};

/// The objects of a range that pass a test, in the order in which they come.
std::vector<std::uint64_t> Found(Store& store, const std::optional<IndexRange>& range,
                                 const Condition* test)
{
    std::vector<std::uint64_t> numbers;
    RecordReader reader(store.GetSchema());
    if (test != nullptr)
        test->Need(reader);
    Scan scan(store, range ? &*range : nullptr, ScanOrder::Numbers);
    while (scan.Next()) {
        reader.SetId(scan.Id());
        const bool holds = test == nullptr ||
                           (reader.Read(scan.Record()) && test->Evaluate(reader) == Truth::True);
        if (holds)
            numbers.push_back(ObjectNumber(scan.Id()));
    }
    return numbers;
}

/// Answers by every index that narrows, by the plan, and by reading all objects.
void CheckPlans(Store& store, int predicates, unsigned seed)
{
    RandomPredicates random(store, seed);
    int ranges = 0;
    int exact = 0;
    for (int i = 0; i < predicates; ++i) {
        const std::string text = random.Make(3);
        SCOPED_TRACE(text);
        std::optional<Condition> condition;
        try {
            condition = Condition::Make(ParsePredicate(text), text, store.GetSchema());
        } catch (const Failure&) {
            continue; // such as a literal that reads as null
        }
        if (i % 2 == 0)
            store.ForgetPlaces(); // objects are searched for, and then known
        const std::vector<std::uint64_t> all = Found(store, std::nullopt, &*condition);
        for (const bool countOnly : {false, true}) {
            const Plan plan = MakePlan(store, *condition, countOnly);
            ASSERT_TRUE(plan.share >= 0.0 && plan.share <= 1.0);
            const bool test = !countOnly || !plan.range || !plan.range->exact;
            ASSERT_EQ(Found(store, plan.range, test ? &*condition : nullptr), all);
            for (const auto& [attribute, range] : plan.ranges) {
                ASSERT_EQ(Found(store, range, range.exact ? nullptr : &*condition), all)
                    << "index on " << store.GetSchema().Name(attribute);
                ++ranges;
                exact += range.exact ? 1 : 0;
            }
        }
    }
    EXPECT_GT(ranges, predicates / 4) << "most predicates use an index";
    EXPECT_GT(exact, 0);
}

int Predicates(int few)
{
    const char* many = std::getenv("KOTM_PREDICATES");
    return many != nullptr ? std::atoi(many) : few;
}

TEST(Plan, NeverChangesTheAnswer)
{
    const GeneratedStore generated;
    EXPECT_GE(generated.types, 20U);
    EXPECT_GT(generated.store->Counts().objects, 200U);
    CheckPlans(*generated.store, Predicates(400), 1);
    // A type that gives every condition one share: two ends leave no less than one of them.
    const std::string flag = "a" + std::to_string(KoBOOLEAN_T);
    const std::string text = flag + " >= \"false\" and " + flag + " <= \"true\"";
    const Condition both =
        Condition::Make(ParsePredicate(text), text, generated.store->GetSchema());
    EXPECT_NEAR(MakePlan(*generated.store, both, false).share, 1.0 / 3.0, 1e-6);
}

class Sample
{
public:
    Sample()
    {
        const std::string schema = ReadAll(KOTM_EXAMPLES "/birdstrikes.schema.json");
        ImportRequest request{m_folder.Path("store"), KOTM_EXAMPLES "/birdstrikes.csv", "", false};
        std::ostringstream messages;
        Import(request, Schema::FromJson(schema, "schema"), messages);
        path = request.store;
    }
    std::string path;

private:
    TestFolder m_folder;
};

TEST(Plan, NeverChangesTheAnswerOnTheSample)
{
    const Sample sample;
    const std::unique_ptr<Store> store = Store::Open(sample.path);
    CheckPlans(*store, Predicates(10), 2);
}

TEST(Plan, ExplainsItsChoice)
{
    const Sample sample;
    const auto explain = [&](const std::string& predicate, bool json) {
        std::ostringstream out;
        Explain({sample.path, predicate, json}, out);
        return out.str();
    };
    const auto plan = nlohmann::json::parse(
        explain("speed > 340 and (state = \"Texas\" or state = \"Ohio\")", true));
    EXPECT_EQ(plan["plan"]["index"], "speed");
    EXPECT_EQ(plan["plan"]["from"], "340");
    EXPECT_EQ(plan["plan"]["to"], "(last)");
    ASSERT_EQ(plan["conditions"].size(), 3U);
    EXPECT_EQ(plan["conditions"][1]["narrowed"]["from"], "Texas");
    EXPECT_LT(plan["plan"]["read"], 200) << "a small part of the objects";
    EXPECT_EQ(plan["objects"], 10000);

    const std::string table = explain("species = \"*hawk*\"i and not phase = \"Climb\"", false);
    for (const char* part : {"plan: all objects", "species = \"*hawk*\"i", "not phase", "100 %"})
        EXPECT_NE(table.find(part), std::string::npos) << part << "\n" << table;
}

} // namespace
