#include "blobs.h"

#include <gtest/gtest.h>
#include <kotms.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

/// Stored blobs and their texts.

namespace
{

using Bytes = std::vector<unsigned char>;

TEST(KoBlobRecord, Layout)
{
    const KoTypeMgr manager;
    KoBlob blobs[3] = {Of("ab"), Null(), KoBlob()};
    const Bytes big = {0, 0, 0, 14, 0, 0, 0, 2, 'a', 'b', 255, 255, 255, 255, 0, 0, 0, 0};
    Bytes stored(manager.DiskLenGet(KoBLOB_T, blobs, KoFMT_BIG, 3, KoFMT_MEMORY));
    EXPECT_EQ(manager.Store(KoBLOB_T, stored.data(), blobs, KoFMT_BIG, 3), stored.size());
    EXPECT_EQ(stored, big);
    EXPECT_EQ(manager.Store(KoBLOB_T, stored.data(), blobs, KoFMT_BIG, 0), 4U);
    EXPECT_EQ(stored[3], 0);
    const Bytes minusOne(4, 255);
    EXPECT_EQ(manager.DiskLenGet(KoBLOB_T, minusOne.data(), 1, 1, KoFMT_LITTLE), 4U);
    MemFile file(minusOne.data(), 4);
    EXPECT_EQ(manager.DiskLenGetFromMemFile(KoBLOB_T, &file, 1, 1), 4U);
    MemFile shortFile(minusOne.data(), 3);
    EXPECT_EQ(manager.DiskLenGetFromMemFile(KoBLOB_T, &shortFile, 1, 1), 0U);
}

/// What is damaged is read up to there: 0, and the elements before keep their new values.
TEST(KoBlobRecord, DamageIsFound)
{
    struct {
        const char* reason;
        Bytes bytes;
        unsigned read;
        const char* first;
        const char* second;
    } const rows[] = {
        {"sound", {0, 0, 0, 9, 0, 0, 0, 1, 'x', 0, 0, 0, 0}, 13, "1:x", "0:"},
        {"more than is asked for",
         {0, 0, 0, 12, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0, 0},
         16,
         "null",
         "0:"},
        {"total negative", {0x80, 0, 0, 0}, 0, "2:f1", "2:f2"},
        {"total -1", {255, 255, 255, 255}, 0, "2:f1", "2:f2"},
        {"total of nothing", {0, 0, 0, 0}, 0, "2:f1", "2:f2"},
        {"total within a length", {0, 0, 0, 3, 0, 0, 0}, 0, "2:f1", "2:f2"},
        {"first length negative", {0, 0, 0, 8, 255, 255, 255, 254, 0, 0, 0, 0}, 0, "2:f1", "2:f2"},
        {"first beyond the total", {0, 0, 0, 5, 0, 0, 0, 2, 'x'}, 0, "2:f1", "2:f2"},
        {"first far beyond", {0, 0, 0, 5, 0x7F, 255, 255, 255, 'x'}, 0, "2:f1", "2:f2"},
        {"second missing", {0, 0, 0, 5, 0, 0, 0, 1, 'x'}, 0, "1:x", "2:f2"},
        {"second negative", {0, 0, 0, 9, 0, 0, 0, 1, 'x', 0x80, 0, 0, 0}, 0, "1:x", "2:f2"},
        {"second beyond the total", {0, 0, 0, 9, 0, 0, 0, 1, 'x', 0, 0, 0, 1}, 0, "1:x", "2:f2"},
    };
    const KoTypeMgr manager;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        // Nothing behind the bytes is there to be read.
        const std::unique_ptr<unsigned char[]> exact(new unsigned char[row.bytes.size()]);
        std::memcpy(exact.get(), row.bytes.data(), row.bytes.size());
        KoBlob blobs[2] = {Of("f1"), Of("f2")};
        EXPECT_EQ(manager.Load(KoBLOB_T, blobs, exact.get(), KoFMT_BIG, 2), row.read);
        EXPECT_EQ(Shown(blobs[0]), row.first);
        EXPECT_EQ(Shown(blobs[1]), row.second);
        int status = 1;
        const int order = BlobCompare(KoFMT_BIG, 0, exact.get(), 0, exact.get(), 0, 2, status);
        EXPECT_EQ(order, row.read == 0 ? -1 : 0);
        EXPECT_EQ(status, row.read == 0 ? KoRC_NOT_SUPPORTED : KoRC_OK);
        manager.Hash(KoBLOB_T, 0, exact.get(), 2, KoFMT_BIG, status);
        EXPECT_EQ(status, row.read == 0 ? KoRC_NOT_SUPPORTED : KoRC_OK);
    }
}

TEST(KoBlobRecord, CutArraysCompareAsFarAsTheyGo)
{
    KoBlob two[2] = {Of("a"), Of("b")};
    KoBlob other[2] = {Of("a"), Of("c")};
    int status = 0;
    EXPECT_EQ(BlobCompare(KoFMT_MEMORY, 8, two, 16, other, 0, 2, status), 0);
    EXPECT_EQ(status, KoRC_TRUNCATED);
    EXPECT_LT(BlobCompare(KoFMT_MEMORY, 16, two, 16, other, 0, 2, status), 0);
    EXPECT_EQ(status, KoRC_OK);
}

TEST(KoBlobRecord, HashesTakeBytesUnsignedAndInBlocksAsOneByOne)
{
    std::string bytes;
    unsigned expected = 19;
    for (unsigned i = 0; i < 19; ++i) {
        bytes += static_cast<char>(200 + i);
        expected = expected * 9 + 200 + i;
    }
    int status = 1;
    KoBlob blob = Of(bytes);
    EXPECT_EQ(KoTypeMgr().Hash(KoBLOB_T, 0, &blob, 1, KoFMT_MEMORY, status), expected);
}

// ---- text

TEST(KoBlobText, LongestBlobInAText)
{
    KoTypeMgr manager;
    KoBlob blob(32765);
    std::memset(blob.Seek(0, 32765), 0xA5, 32765);
    const std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(KoBLOB_T, &blob, 1));
    ASSERT_NE(texts, nullptr);
    void* back = manager.ConvertFrom(KoBLOB_T, texts.get(), 1);
    EXPECT_EQ(*static_cast<KoBlob*>(back), blob);
    manager.Delete(KoBLOB_T, back, 1);
    blob.Append("x", 1);
    EXPECT_EQ(manager.ConvertTo(KoBLOB_T, &blob, 1), nullptr);
}

TEST(KoBlobText, NoneIsOne)
{
    const KoTypeMgr manager;
    auto* blob = static_cast<KoBlob*>(manager.Create(KoBLOB_T, 0));
    ASSERT_NE(blob, nullptr);
    blob->SetTo("x", 1);
    manager.Delete(KoBLOB_T, blob, 0);
}

} // namespace
