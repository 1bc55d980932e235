#include "laws/pool_laws.h"
#include "support/bounds.h"

#include <gtest/gtest.h>

// The laws that hold for the values of every type. A type is in by its row in the list: its values
// are drawn from its section of the golden corpus and from its bytes, and a law that it was never
// held to fails here. KO_LAW_TRIPLES sets the number of triples for all types together, KO_LAW_SEED
// where the drawing begins, KO_LAW_TYPE takes one type alone, and KO_LAW_TALLY=1 prints what each
// type was held to, and how many times a law was looked at so far.

namespace
{

/// Every word that there is, and twice as often those that leave out nothing but wildcards.
std::vector<o_u2b> Words()
{
    std::vector<o_u2b> words;
    for (const unsigned base : {unsigned{KoCMP_PLAIN}, unsigned{KoCMP_NO_WILDCARDS}, 0U}) {
        for (unsigned options = 0; options < 16; ++options)
            words.push_back(static_cast<o_u2b>(base | (options & 7) << 5 | (options & 8) << 6));
        words.push_back(static_cast<o_u2b>(KoCMP_PLAIN | base));
    }
    words.push_back(0xFFFF);
    return words;
}

bool HasKinds(o_char id)
{
    return id == KoSTRING_T || id == KoCASEISTRING_T;
}

void Report(const KoTypeMgr& manager, o_char id, const Tally& tally)
{
    std::printf("%-15s triples %llu, unequal %llu, equal %llu of other bytes %llu, keys back %llu, "
                "texts %llu, null %llu, cut %llu, changed %llu, damaged %llu; laws %llu\n",
                manager.NameGet(id), tally.triples, tally.less, tally.equal, tally.alike,
                tally.keysBack, tally.texts, tally.nulls, tally.cuts, tally.changed, tally.damaged,
                lawsChecked);
    std::fflush(stdout);
}

TEST(Laws, OfEveryType)
{
    const unsigned long long plain = Asked("KO_LAW_TRIPLES", 1'000'000) / (KoTYPE_COUNT - 1) + 1;
    const auto seed = static_cast<unsigned>(Asked("KO_LAW_SEED", 1));
    const std::vector<o_u2b> words = Words();
    const char* const only = std::getenv("KO_LAW_TYPE");
    ForEachType([&](const KoTypeMgr& manager, o_char id) {
        if (only != nullptr && std::string(only) != manager.NameGet(id))
            return;
        Tally tally;
        Source source(manager, id, seed * 128 + static_cast<unsigned>(id));
        ASSERT_NE(source.corpus.Count(), 0U) << "no section in the golden corpus";
        Pool pool(manager, id, source, tally);
        // Texts and blobs have more ways to be alike, and to be damaged.
        const unsigned long long each = plain * (manager.IsFixed(id) != 0 ? 1 : 4);
        // A third of the words and more give an order for any type, to most of the triples.
        const unsigned long long pools = 12 * (each / Pool::kTriples + words.size());
        for (unsigned long long i = 0; i < pools && (tally.triples < each || i < words.size());
             ++i) {
            const o_u2b word = words[i % words.size()];
            try {
                pool.Check(word);
            } catch (const Broken& broken) {
                FAIL() << broken.what() << "\nword " << word << ", pool " << i;
            }
        }
        if (Asked("KO_LAW_TALLY", 0) != 0)
            Report(manager, id, tally);
        EXPECT_GE(tally.triples, each);
        EXPECT_TRUE(tally.less != 0 && tally.equal != 0 && tally.texts != 0 && tally.cuts != 0 &&
                    tally.changed != 0 && tally.damaged != 0)
            << "held to nothing";
        EXPECT_EQ(tally.nulls != 0, manager.SupportsNullValue(id) != 0);
    });
}

// Identities in memory know no order, and the ends for texts are stored ones in any case.
TEST(Laws, NarrowingLosesNoMatch)
{
    std::vector<unsigned> options;
    for (const o_u2b word : Words())
        options.push_back(word & ~0x800FU);
    const auto seed = static_cast<unsigned>(Asked("KO_LAW_SEED", 1));
    ForEachType([&](const KoTypeMgr& manager, o_char id) {
        Source source(manager, id, seed * 128 + static_cast<unsigned>(id));
        Drawn values[] = {{manager, id}, {manager, id}};
        const bool isText = manager.IsFixed(id) == 0;
        for (int round = 0; round < (isText ? 20 : 4); ++round) {
            const unsigned form = round % 2 == 0 ? kLittle : kBig;
            const unsigned kind = static_cast<unsigned>(round) / 2 % 2;
            const auto make = [&](bool, bool other) {
                Drawn& value = values[source.random.Below(2)];
                do
                    value.Fill(source, 1, &values[source.random.Below(2)]);
                while (value.StoredIn(form).size() > 600 ||
                       (HasKinds(id) && value.Kind() != (other ? 1 - kind : kind)));
                return value.StoredIn(form);
            };
            CheckConditions({manager, id, kForms[form], make}, source.random, 100,
                            isText ? options : std::vector<unsigned>{KoCMP_PLAIN});
        }
    });
}

} // namespace
