#include "value.h"

/// The order of values of several types, as the files of test/data/order say and explain.

namespace
{

struct Key {
    std::unique_ptr<unsigned char[]> bytes;
    unsigned told = 0; ///< the length that a comparison is told
};

Key Cut(const KoTypeMgr& manager, const Value& value, unsigned char format, const std::string& kept)
{
    Bytes bytes = Stored(manager, value.Id(), value.Data(), format, 1);
    Key key;
    if (kept != "-")
        bytes.resize(key.told = static_cast<unsigned>(std::stoul(kept)));
    key.bytes = Exactly(bytes);
    return key;
}

// As test/data/order/cutkeys.txt has them.
TEST(Order, CutKeysDecideOnlyWhatTheyShow)
{
    data::ForEachRow("order/cutkeys.txt", 7, [](const auto& head, const data::Row& row) {
        const std::size_t end = head[0].find(" older");
        const KoTypeMgr manager(end == std::string::npos ? 5 : 3);
        Value left(head[0].substr(0, end));
        Value right(head[0].substr(0, end));
        left.Set(row[0], head[1]);
        right.Set(row[2], head[1]);
        const int expected = row[5] == "ok"    ? KoRC_OK
                             : row[5] == "cut" ? KoRC_TRUNCATED
                                               : KoRC_NOT_SUPPORTED;
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG}) {
            const Key a = Cut(manager, left, format, row[1]);
            const Key b = Cut(manager, right, format, row[3]);
            int status = 1;
            EXPECT_EQ(Sign(manager.Cmp(left.Id(), a.told, a.bytes.get(), b.told, b.bytes.get(),
                                       KoCMP_PLAIN, 1, format, status)),
                      std::stoi(row[4]));
            EXPECT_EQ(status, expected);
            const int turned = manager.Cmp(left.Id(), b.told, b.bytes.get(), a.told, a.bytes.get(),
                                           KoCMP_PLAIN, 1, format, status);
            EXPECT_EQ(Sign(turned), expected == KoRC_NOT_SUPPORTED ? -1 : -std::stoi(row[4]));
            EXPECT_EQ(status, expected);
        }
    });
}

TEST(Order, StoredIdentitiesComparedByteByByte)
{
    const KoTypeMgr manager;
    data::ForEachRow("order/stored.txt", 4, [&](const auto& head, const data::Row& row) {
        const auto id = static_cast<o_char>(FindType(head[0]));
        const unsigned size = manager.DiskLenGet(id, nullptr, KoFMT_LITTLE, 1, KoFMT_LITTLE);
        Bytes a = data::ParseBytes(row[0]);
        Bytes b = data::ParseBytes(row[1]);
        a.resize(size);
        b.resize(size);
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG}) {
            EXPECT_EQ(manager.Cmp(id, a.data(), b.data(), 0, 1, format), std::stoi(row[2]));
            EXPECT_EQ(manager.Cmp(id, b.data(), a.data(), 0, 1, format), -std::stoi(row[2]));
        }
    });
}

TEST(Order, WildcardsCountUnlessExact)
{
    const KoTypeMgr manager;
    data::ForEachRow("order/wildcards.txt", 5, [&](const auto& head, const data::Row& row) {
        Value a(head[0]);
        Value b(head[0]);
        a.Set(row[0], head[1]);
        b.Set(row[1], head[1]);
        for (const unsigned op : {0U, 0xFFEFU, 0x10U, 0xFFFFU}) {
            const int order = std::stoi(row[(op & 0x10) == 0 ? 2 : 3]);
            const auto word = static_cast<unsigned short>(op);
            EXPECT_EQ(manager.Cmp(a.Id(), a.Data(), b.Data(), word, 1, KoFMT_MEMORY), order);
            EXPECT_EQ(manager.Cmp(a.Id(), b.Data(), a.Data(), word, 1, KoFMT_MEMORY), -order);
        }
    });
}

TEST(Order, HashesOfArrays)
{
    const KoTypeMgr manager;
    data::ForEachRow("order/arrayhashes.txt", 3, [&](const auto& head, const data::Row& row) {
        Bytes bytes = data::ParseBytes(row[0]);
        int status = 77;
        EXPECT_EQ(manager.Hash(static_cast<o_char>(FindType(head[0])), 0, bytes.data(), 2,
                               KoFMT_LITTLE, status),
                  data::Hex(row[1]));
        EXPECT_EQ(status, 0);
    });
}

} // namespace
