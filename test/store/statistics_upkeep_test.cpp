// The statistics of a store through its life, over every engine: made by an import, kept by single
// changes and by changes of indexes, continued by another import, and made anew.

#include "store/things.h"

#include "object/statistics_feed.h"

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

class StatisticsUpkeep : public ObjectStores
{
protected:
    void SetUp() override
    {
        ObjectStores::SetUp();
        if (!IsSkipped())
            AddAll(*Bulk::Create(m_place->Load(), m_values.GetSchema(), Scratch()), m_values, 300,
                   m_model);
    }

    Model Rows() { return Everything(*m_place->Open(Mode::Read)->Read())[Space::Statistics]; }
    void Put(const std::string& key, const std::string* value)
    {
        const auto writer = m_place->Open(Mode::Change)->Write();
        if (value != nullptr)
            writer->Put(Space::Statistics, key, *value);
        else
            writer->Erase(Space::Statistics, key);
        writer->Commit();
    }
    /// An import of more objects.
    void Grow(std::size_t count)
    {
        const auto engine = m_place->Open(GetParam().mode);
        AddAll(*Bulk::Grow(*engine, "store", Scratch()), m_values, count, m_model);
    }
    /// What statistics say, beside how many objects came and went since them.
    void Expect(std::uint64_t objects, std::uint64_t added, std::uint64_t erased)
    {
        const auto store = Open(Mode::Read);
        const auto now = store->Read();
        ASSERT_NO_FATAL_FAILURE(ExpectObjects(*now, m_model)); // the check is part of it
        const auto statistics = StatisticsOf(now->GetSchema(), now->Rows());
        ASSERT_TRUE(statistics);
        const auto age = statistics->AgeAt(now->GetCounts().objects, now->GetCounts().nextNumber);
        EXPECT_EQ(statistics->Objects(), objects);
        EXPECT_EQ(age.added, added);
        EXPECT_EQ(age.erased, erased);
    }
    /// Every number is that of the objects: a small store is its own sample.
    void ExpectExact()
    {
        ASSERT_NO_FATAL_FAILURE(Expect(m_model.size(), 0, 0));
        const auto store = Open(Mode::Read);
        const auto now = store->Read();
        const auto statistics = StatisticsOf(now->GetSchema(), now->Rows());
        for (std::size_t i = 0; i < now->GetSchema().attributes.size(); ++i) {
            std::map<std::string, std::uint64_t> counts;
            for (const auto& [number, object] : m_model)
                ++counts[object[i]];
            const Summary& summary = statistics->Of(i);
            EXPECT_TRUE(summary.exact);
            EXPECT_EQ(summary.nulls, counts.count("") != 0 ? counts[""] : 0);
            std::uint64_t known = 0;
            for (const Summary::Common& one : summary.common) {
                EXPECT_EQ(one.count, counts[one.form]) << now->GetSchema().attributes[i].name;
                known += one.count;
            }
            for (const Summary::Bucket& bucket : summary.buckets)
                known += bucket.count;
            for (const auto& [form, count] : counts)
                known += form.size() > kMostInline ? count : 0;
            EXPECT_EQ(known, summary.Values());
        }
    }

    Values m_values{5};
    Objects m_model;
};

INSTANTIATE_TEST_SUITE_P(Engines, StatisticsUpkeep, kEnginePlaces, NameOfPlace);

TEST_P(StatisticsUpkeep, GrowOldAndAreContinued)
{
    const Model made = Rows();
    ASSERT_NO_FATAL_FAILURE(ExpectExact());
    EXPECT_EQ(Open()->Analyze(), 300U);
    EXPECT_TRUE(Rows() == made) << "by blocks they are those of the import";

    const auto changing = Open();
    changing->Change([&](ObjectChange& change) {
        for (std::uint64_t number = 290; number <= 300; ++number) {
            change.Erase(number);
            m_model.erase(number);
        }
        for (int i = 0; i < 70; ++i) {
            const Object object = m_values.Make();
            m_model[change.Insert(Views(object))] = object;
        }
    });
    changing->AddIndex(4);
    changing->DropIndex(4);
    changing->Reindex();
    EXPECT_TRUE(Rows() == made) << "neither single changes nor indexes are theirs";
    Expect(300, 70, 11);
    {
        const auto engine = m_place->Open(GetParam().mode);
        const auto given = Bulk::Grow(*engine, "store", Scratch());
    }
    EXPECT_TRUE(Rows() == made) << "an import that was given up";
    Grow(30);
    Expect(400, 0, 11); // it took notice of the inserted objects
    Open()->Analyze();
    ExpectExact();
}

TEST_P(StatisticsUpkeep, AreMadeWhereTheyAreMissingOrDamaged)
{
    const Model made = Rows();
    for (const auto& [key, value] : made)
        Put(key, nullptr);
    Grow(10);
    EXPECT_TRUE(Rows().empty()) << "those of the new objects alone would lie";
    if (const auto* place = dynamic_cast<const AddressPlace*>(m_place.get())) {
        const Outcome none = RunKotm("stats '" + place->Address() + "'");
        EXPECT_EQ(none.status, 2);
        EXPECT_NE(none.out.find("has no statistics: \"kotm analyze\""), std::string::npos);
        EXPECT_EQ(RunKotm("analyze '" + place->Address() + "'").out, "objects counted 310\n");
        EXPECT_EQ(RunKotm("stats '" + place->Address() + "' title").status, 0);
    }
    EXPECT_EQ(Open()->Analyze(), 310U);
    ASSERT_NO_FATAL_FAILURE(ExpectExact());

    for (const auto& [key, value] : Rows()) {
        std::string changed = value;
        changed[changed.size() / 2] ^= 1;
        Put(key, &changed);
        std::ostringstream told;
        EXPECT_EQ(CheckRows(*Open(Mode::Read)->Read(), Scratch(), told), 1U) << told.str();
        EXPECT_NE(told.str().find("row of statistics"), std::string::npos) << told.str();
        EXPECT_THROW(Grow(1), Error);
        EXPECT_TRUE(ObjectsOf(*Open(Mode::Read)->Read()) == m_model);
        Put(key, &value);
    }
    const std::string key = StatisticsKey(3, kSummaryPart);
    Put(key, nullptr);
    EXPECT_THROW(Grow(1), Error);
    Open()->Analyze();
    ExpectExact();
    Grow(1);
    ExpectExact();
}

} // namespace
