// What statistics say is held against a count of everything: a small store is its own sample, in a
// larger one common values and nulls are exact, and an estimate is off by no more than the parts
// of it that nobody counted. Then going on from statistics that are there, and damaged rows.

#include "block/checksum.h"
#include "block/dictionary.h"
#include "query/condition_question.h"
#include "schema/field_reader.h"
#include "statistics/estimator.h"
#include "statistics/statistics_builder.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

const char* const kSchema = R"({"class": "Any", "attributes": [
  {"name": "number", "column": "n", "type": "KoNull_int"},
  {"name": "text", "column": "t", "type": "KoString"},
  {"name": "wide", "column": "w", "type": "o_double"}]})";

/// Objects whose values are kept, and statistics of them that were made in one or more goes.
class Model
{
public:
    Model()
    {
        for (const Attribute& attribute : schema.attributes)
            m_readers.emplace_back(attribute);
    }

    /// Adds objects with these texts' values to the statistics.
    void Add(const std::vector<std::vector<std::string>>& texts)
    {
        const std::uint32_t before[] = {0, m_dictionary.Size(), 0};
        StatisticsBuilder builder(schema, 1U << 20);
        const std::unique_ptr<Statistics> old = Open();
        if (old != nullptr)
            builder.Resume(*old, before);
        for (const std::vector<std::string>& row : texts) {
            builder.Begin(objects.size() + 1);
            objects.emplace_back();
            for (std::size_t i = 0; i < row.size(); ++i) {
                std::string form;
                TextFault fault;
                ASSERT_NE(m_readers[i].Read(row[i], form, fault), FieldReader::Result::Refused);
                const Cell cell = i == 1 ? m_dictionary.Place(form) : Cell::OfForm(form);
                std::uint32_t none = 0;
                builder.Add(i, cell, form, i == 2 ? none : m_hints[i][form]);
                objects.back().push_back(form);
            }
        }
        m_hints = {};
        rows.clear();
        builder.Finish([&](std::size_t, std::uint32_t entry) { return m_dictionary.Form(entry); },
                       [&](std::string_view key, std::string_view sealed) {
                           EXPECT_TRUE(rows.empty() || rows.rbegin()->first < key);
                           rows[std::string(key)] = sealed;
                       });
    }

    std::unique_ptr<Statistics> Open()
    {
        return Statistics::Open(schema, [this](const std::string& key) {
            const auto row = rows.find(key);
            return row == rows.end() ? std::nullopt : std::optional<std::string_view>(row->second);
        });
    }

    Condition Make(const std::string& predicate) const
    {
        return Condition::Make(ParsePredicate(predicate), predicate, schema);
    }
    Truth Test(const Condition& condition, std::size_t object) const
    {
        using Kind = Predicate::Kind;
        if (condition.parts.empty())
            return condition.Test(objects[object][condition.attribute]);
        Truth truth = Test(condition.parts[0], object);
        if (condition.kind == Kind::Not)
            return truth == Truth::True    ? Truth::False
                   : truth == Truth::False ? Truth::True
                                           : Truth::Unknown;
        for (const Condition& part : condition.parts) {
            const Truth other = Test(part, object);
            truth = condition.kind == Kind::And ? std::min(truth, other) : std::max(truth, other);
        }
        return truth;
    }
    double Count(const Condition& condition) const
    {
        double count = 0.0;
        for (std::size_t i = 0; i < objects.size(); ++i)
            count += Test(condition, i) == Truth::True ? 1.0 : 0.0;
        return count;
    }

    Schema schema = Schema::FromJson(kSchema, "schema");
    std::vector<std::vector<std::string>> objects; ///< forms
    std::map<std::string, std::string> rows;

private:
    std::vector<FieldReader> m_readers;
    Dictionary m_dictionary;
    std::map<std::size_t, std::map<std::string, std::uint32_t>> m_hints;
};

/// Numbers of which few are frequent and one in ten is null, texts that depend on them, and
/// floating numbers that hardly repeat.
std::vector<std::vector<std::string>> Rows(std::size_t count, unsigned seed)
{
    std::mt19937_64 random(seed);
    std::vector<std::vector<std::string>> rows;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = (random() % 1000) * (random() % 1000) * (random() % 1000) / 1'000'000;
        rows.push_back({random() % 10 == 0 ? "" : std::to_string(number),
                        "The " + std::string(1, static_cast<char>('a' + number % 26)) + "-" +
                            std::to_string(random() % (number + 1)),
                        std::to_string(random() % 1'000'000'007) + "e-3"});
    }
    return rows;
}

const struct {
    const char* predicate;
    const char* reason;
    double error;        ///< the larger of estimate and truth through the smaller, in a large store
    bool partly = false; ///< a plan has no time to test all of the sample's values
} kPredicates[] = {
    {"number is null", "nulls are counted", 1.0},
    {"number is not null", "and so is the rest", 1.0},
    {"number = 0", "the most common value", 1.0},
    {"not number != 0", "a negation of a negation", 1.0},
    {"number != 0", "everything but null and a common value", 1.01},
    {"number = 9e99", "outside of the type: nothing", 1.0},
    {"number < 9e99", "outside of the type: all but null", 1.0},
    {"number < 10", "common values and parts of buckets", 1.05},
    {"number >= 700", "few objects at the end of an order", 1.1},
    {"number > 20 and number <= 40", "the ends of a range are not independent", 1.1},
    {"number > 40 and number < 20", "a range with nothing in it", 1.0},
    {"text = \"The a*\"", "a pattern with a beginning that all share", 1.1},
    {"text = \"THE B-0\"i", "equal to more values than one", 1.1, true},
    {"text = \"*-1?\"", "a pattern that begins with a wildcard", 1.2, true},
    {"wide < 500000", "values that hardly repeat", 1.05},
    {"number = 27 and text = \"The b*\"", "one condition follows from the other", 1.2},
    {"number = 27 and text = \"The c*\"", "the two exclude each other: few, and not none", 20.0},
    {"number < 100 or text < \"The f\"", "either", 1.1},
    {"not (number < 100 or text < \"The f\")", "neither", 1.1},
    {"number is null and wide > 900000", "independent conditions", 1.2},
};

/// Of all predicates. `exact`: whatever the table allows.
void ExpectEstimates(Model& model, bool exact)
{
    const auto statistics = model.Open();
    ASSERT_NE(statistics, nullptr);
    for (const auto& row : kPredicates) {
        const Condition condition = model.Make(row.predicate);
        const double truth = std::max(model.Count(condition), 1.0);
        const Question question = QuestionOf(condition);
        const double estimate = std::max(Estimator(*statistics).Of(question).objects, 1.0);
        EXPECT_LE(std::max(estimate / truth, truth / estimate),
                  exact && !row.partly ? 1.0 : row.error + 1e-9)
            << row.predicate << " (" << row.reason << "): " << estimate << " for " << truth;
    }
}

TEST(Statistics, OfAStoreThatIsItsOwnSampleAreExact)
{
    Model model;
    model.Add(Rows(20'000, 1));
    ExpectEstimates(model, true);
    const auto statistics = model.Open();
    EXPECT_TRUE(statistics->Of(0).exact && statistics->IsWhole());
    model.Add(Rows(9'000, 2));
    ExpectEstimates(model, true); // nothing is lost by adding to them
}

TEST(Statistics, OfALargerStoreAreOffByPartsOfABucket)
{
    Model model;
    model.Add(Rows(60'000, 3));
    ExpectEstimates(model, false);
    const auto statistics = model.Open();
    for (std::size_t attribute : {0U, 1U}) {
        std::map<std::string, std::uint64_t> counts;
        for (const auto& object : model.objects)
            ++counts[object[attribute]];
        const Summary& summary = statistics->Of(attribute);
        EXPECT_EQ(summary.nulls, counts[""]);
        std::uint64_t all = 0;
        for (const Summary::Common& common : summary.common) {
            EXPECT_EQ(common.count, counts[common.form]);
            all += common.count;
        }
        for (const Summary::Bucket& bucket : summary.buckets)
            all += bucket.count;
        EXPECT_NEAR(static_cast<double>(all), static_cast<double>(summary.Values()), 200.0);
    }
    // A standard error of 1.6 %, three times.
    std::map<std::string, int> different;
    for (const auto& object : model.objects)
        different[object[2]] = 1;
    EXPECT_NEAR(static_cast<double>(statistics->Of(2).distinct),
                static_cast<double>(different.size()),
                0.048 * static_cast<double>(different.size()));
    EXPECT_EQ(statistics->AgeAt(60'010, 60'021).added, 20U);
    EXPECT_EQ(statistics->AgeAt(60'010, 60'021).erased, 10U);
}

TEST(Statistics, GoOnWhereTheyEnded)
{
    // The sample of two parts is that of the whole.
    Model whole;
    Model parts;
    const auto rows = Rows(80'000, 4);
    whole.Add(rows);
    parts.Add({rows.begin(), rows.begin() + 50'000});
    parts.Add({rows.begin() + 50'000, rows.end()});
    const std::string sample = StatisticsKey(kNoAttribute, kSamplePart);
    EXPECT_EQ(whole.rows[sample], parts.rows[sample]);
    for (std::size_t attribute = 0; attribute < 3; ++attribute)
        EXPECT_EQ(whole.rows[StatisticsKey(attribute, kSamplePart)],
                  parts.rows[StatisticsKey(attribute, kSamplePart)]);
    ExpectEstimates(parts, false);
}

TEST(Statistics, SayWhatIsWrongWithARow)
{
    Model model;
    model.Add(Rows(300, 5));
    std::mt19937_64 random(6);
    unsigned refused = 0;
    for (unsigned i = 0; i < 3000; ++i) {
        // Damage with a right checksum: whoever reads it reads nothing beyond its bytes.
        auto damaged = model.rows;
        const auto row = std::next(damaged.begin(), static_cast<int>(random() % damaged.size()));
        std::string bytes = row->second.substr(0, row->second.size() - kSealBytes);
        if (random() % 4 == 0)
            bytes.resize(random() % bytes.size());
        for (auto changes = 1 + random() % 3; changes > 0 && !bytes.empty(); --changes)
            bytes[random() % std::min<std::size_t>(bytes.size(), i % 2 == 0 ? 64 : SIZE_MAX)] =
                static_cast<char>(random());
        bytes.shrink_to_fit();
        Seal(Space::Statistics, row->first, bytes);
        row->second = bytes;
        std::swap(model.rows, damaged);
        try {
            const auto statistics = model.Open();
            for (const char* predicate :
                 {"number < 10", "text = \"*-1?\"", "wide > 10 or text > \"a\""}) {
                const Condition condition = model.Make(predicate);
                const Question question = QuestionOf(condition);
                EXPECT_GE(Estimator(*statistics).Of(question).objects, 0.0);
            }
        } catch (const Error& error) {
            EXPECT_EQ(error.Code(), ErrorCode::Damaged);
            ++refused;
        }
        std::swap(model.rows, damaged);
    }
    EXPECT_GT(refused, 500U);
}

} // namespace
