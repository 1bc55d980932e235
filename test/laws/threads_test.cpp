#include "laws/pool_laws.h"
#include "support/bounds.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

// The library is called by several threads at once, each with values of its own and all with the
// same ones to look at. The thread sanitizer looks on where it is built in.

namespace
{

/// Every call that takes const values, of values that others look at as well.
std::string Told(const KoTypeMgr& manager, o_char id, FixtureArray& values)
{
    std::string told;
    for (unsigned i = 0; i < values.Count(); ++i) {
        const void* const value = values[i];
        unsigned char key[64] = {};
        told += std::to_string(manager.HashUnder(id, value, KoFMT_MEMORY, 1, KoCMP_PLAIN)) + ' ' +
                std::to_string(
                    manager.SortKey(id, key, sizeof key, value, KoFMT_MEMORY, 1, KoCMP_PLAIN)) +
                ' ' + std::to_string(manager.DiskLenGet(id, value, KoFMT_BIG, 1, KoFMT_MEMORY)) +
                ' ' + Hex(Bytes(key, key + sizeof key)) + '\n';
    }
    return told;
}

TEST(Threads, KeepAllLaws)
{
    ForEachType([&](const KoTypeMgr& manager, o_char id) {
        FixtureArray shared(manager, id);
        std::string told[3]; // what is made at the first call is made by one of them
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < std::size(told); ++i)
            threads.emplace_back([&, i] {
                try {
                    told[i] = Told(manager, id, shared);
                    Tally tally;
                    Source source(manager, id, i);
                    Pool pool(manager, id, source, tally);
                    for (const o_u2b word : {KoCMP_PLAIN, KoCMP_NO_WILDCARDS})
                        pool.Check(word);
                } catch (const Broken& broken) {
                    ADD_FAILURE() << broken.what();
                }
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_NE(told[0], "");
        EXPECT_TRUE(told[0] == told[1] && told[0] == told[2]) << "not all were told the same";
    });
}

} // namespace
