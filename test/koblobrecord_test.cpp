#include "blobs.h"
#include "fixtures.h"

#include <gtest/gtest.h>
#include <kotms.h>

#include <cstring>
#include <memory>
#include <string>

/// Stored blobs and their texts.

namespace
{

TEST(KoBlobRecord, CutArraysCompareAsFarAsTheyGo)
{
    const KoTypeMgr manager;
    KoBlob two[2] = {Of("a"), Of("b")};
    KoBlob other[2] = {Of("a"), Of("c")};
    int status = -1;
    const auto inMemory = [&](unsigned bound) {
        return BlobCompare(KoFMT_MEMORY, 0, two, bound, other, 0, 2, status);
    };
    EXPECT_TRUE(inMemory(8) == 0 && status == KoRC_TRUNCATED);
    EXPECT_TRUE(inMemory(16) == -1 && status == KoRC_OK);
    Bytes a = Stored(manager, KoBLOB_T, two, KoFMT_BIG, 2);
    Bytes b = Stored(manager, KoBLOB_T, other, KoFMT_BIG, 2);
    const auto stored = [&](unsigned bound) {
        return BlobCompare(KoFMT_BIG, 0, a.data(), bound, b.data(), 0, 2, status);
    };
    EXPECT_TRUE(stored(9) == 0 && status == KoRC_TRUNCATED) << "total, length and byte";
    EXPECT_TRUE(stored(14) == -1 && status == KoRC_OK);
    manager.Hash(KoBLOB_T, 9, a.data(), 2, KoFMT_BIG, status);
    EXPECT_EQ(status, KoRC_TRUNCATED);
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
