#include "blobs.h"
#include "failing_heap.h"

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
    KoBlob first[2] = {Null(), Of("b")};
    const KoTypeMgr manager;
    const struct {
        KoBlob* a;
        KoBlob* b;
        unsigned elements; ///< inside the bound of `b`
        int order;
        int status;
        const char* reason;
    } rows[] = {
        {two, other, 1, 0, KoRC_TRUNCATED, "equal as far as it goes"},
        {two, other, 2, -1, KoRC_OK, "whole"},
        {other, first, 1, 2, KoRC_TRUNCATED, "the step is tried after what decides"},
        {other, first, 2, 2, KoRC_OK, "and succeeds"},
    };
    for (const auto& row : rows) {
        for (const unsigned char format : {KoFMT_MEMORY, KoFMT_BIG}) {
            SCOPED_TRACE(row.reason);
            const bool memory = format == KoFMT_MEMORY;
            unsigned char stored[2][64];
            manager.Store(KoBLOB_T, stored[0], row.a, KoFMT_BIG, 2);
            manager.Store(KoBLOB_T, stored[1], row.b, KoFMT_BIG, 2);
            const unsigned bound =
                memory ? row.elements * 8
                       : manager.DiskLenGet(KoBLOB_T, row.b, format, row.elements, KoFMT_MEMORY);
            void* a = memory ? static_cast<void*>(row.a) : stored[0];
            void* b = memory ? static_cast<void*>(row.b) : stored[1];
            int status = -1;
            EXPECT_EQ(BlobCompare(format, 0, a, bound, b, 0, 2, status), row.order);
            EXPECT_EQ(status, row.status);
            EXPECT_EQ(BlobCompare(format, bound, b, 0, a, 0, 2, status), -row.order);
            EXPECT_EQ(status, row.status);
            manager.Hash(KoBLOB_T, bound, b, 2, format, status);
            EXPECT_EQ(status, row.elements == 2 ? KoRC_OK : KoRC_TRUNCATED);
        }
    }
}

TEST(KoBlobRecord, ALoadWithoutMemorySaysSo)
{
    const KoTypeMgr manager;
    const KoBlob source[2] = {Of("new"), Of("newer")};
    unsigned char stored[64];
    const unsigned size = manager.Store(KoBLOB_T, stored, source, KoFMT_LITTLE, 2);
    for (const KoBlob& before : {Of("b"), KoBlob(), Null()}) {
        for (int first = 0;; ++first) {
            KoBlob loaded[2] = {before, before};
            const FailingHeap heap(first);
            const unsigned read = manager.Load(KoBLOB_T, loaded, stored, KoFMT_LITTLE, 2);
            EXPECT_EQ(read, heap.HasFailed() ? 0 : size);
            EXPECT_EQ(heap.HandlerCalls(), heap.HasFailed() ? 1 : 0);
            EXPECT_EQ(Shown(loaded[1]), Shown(heap.HasFailed() ? before : source[1]));
            if (!heap.HasFailed())
                break;
        }
    }
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
