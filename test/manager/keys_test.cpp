#include "support/keys.h"

#include <gtest/gtest.h>

// Golden keys and keys of many elements; laws/laws_test has what holds for all types, and less_test
// the keys of classes.

namespace
{

// The keys that doc/formats.md gives the golden corpus; test/manager/documented_keys.py made them
// from the document alone.
TEST(Keys, GoldenKeys)
{
    const KoTypeMgr manager;
    data::ForEachRow("corpuskeys.txt", 3, [&](const auto& head, const data::Row& row) {
        const auto id = static_cast<o_char>(FindType(head[0]));
        const Bytes stored = data::ParseBytes(row[0]);
        const auto exact = Exactly(stored);
        const Bytes expected = data::ParseBytes(row[1]);
        const Bytes made = Key(manager, id, exact.get(), KoFMT_LITTLE, 1, KoCMP_PLAIN);
        EXPECT_TRUE(made == expected) << data::FormatBytes(made).substr(0, 300);
    });
}

// Many numbers take another way than few.
TEST(Keys, KeysOfManyAreThoseOfEach)
{
    const KoTypeMgr manager;
    Random random(7);
    static constexpr unsigned char kBytes[] = {0, 0, 0, 1, 0x7F, 0x80, 0xC0, 0xF0, 0xFF, 0xFF};
    for (const o_char id : {Ko1B_T, KoU2B_T, Ko2B_T, Ko4B_T, KoFLOAT_T, KoDOUBLE_T, KoU8B_T, Ko8B_T,
                            KoINT64_T, D_INTERVAL_T})
        for (unsigned count = 7; count < 50; ++count) {
            const unsigned size = manager.DiskLenGet(id, nullptr, KoFMT_BIG, 1, KoFMT_MEMORY);
            Bytes stored(1 + std::size_t{count} * size); // at an odd address
            for (unsigned char& byte : stored)
                byte = kBytes[random.Below(std::size(kBytes))];
            for (const unsigned char form : {KoFMT_LITTLE, KoFMT_BIG}) {
                Bytes each;
                for (unsigned i = 0; i < count; ++i)
                    for (const unsigned char byte :
                         Key(manager, id, stored.data() + 1 + i * size, form, 1, KoCMP_PLAIN))
                        each.push_back(byte);
                const unsigned char* const elements = stored.data() + 1;
                EXPECT_EQ(data::FormatBytes(Key(manager, id, elements, form, count, KoCMP_PLAIN)),
                          data::FormatBytes(each));
                Bytes cut(each.size(), 0xA5);
                const unsigned room = random.Below(static_cast<unsigned>(each.size()));
                manager.SortKey(id, cut.data(), room, elements, form, count, KoCMP_PLAIN);
                std::fill(each.begin() + static_cast<std::ptrdiff_t>(room), each.end(), 0xA5);
                EXPECT_EQ(data::FormatBytes(cut), data::FormatBytes(each)) << "room " << room;
            }
        }
}

} // namespace
