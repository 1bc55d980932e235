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
