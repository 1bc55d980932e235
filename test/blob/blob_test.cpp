#include "support/blobs.h"
#include "support/failing_heap.h"
#include "support/reports.h"

#include <gtest/gtest.h>
#include <kotms.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What KoBlob keeps to itself.
struct KoBlobAccess {
    static KoBlob FromText(char* text) { return {text}; }
    static void Assign(KoBlob& blob, char* counted) { blob = counted; }
    static short Short(const KoBlob& blob) { return blob.operator short(); }
    static int Int(const KoBlob& blob) { return blob.operator int(); }
    static double Double(const KoBlob& blob) { return blob.operator double(); }
};

namespace
{

using Sizes = std::vector<std::size_t>;

TEST(KoBlob, Edits)
{
    char two[] = "ab";
    const std::string text = "abcdef";
    struct {
        const char* reason;
        KoBlob blob;
        std::function<void(KoBlob&)> edit;
        const char* expected;
    } const rows[] = {
        {"default is empty, not null", KoBlob(), [](KoBlob&) {}, "0:"},
        {"set to null", Of(text), [](KoBlob& b) { EXPECT_EQ(b.SetNullValue(), 0); }, "null"},
        {"set to a negative size", Of(text), [](KoBlob& b) { b.SetTo("xy", -1); }, "0:"},
        {"set to its own middle", Of(text), [](KoBlob& b) { b.SetTo(b.Seek(2, 3), 3); }, "3:cde"},
        {"assigned null", Of(text), [](KoBlob& b) { b = Null(); }, "null"},
        {"assigned itself", Of(text), [](KoBlob& b) { b = *&b; }, "6:abcdef"},
        {"resized down", Of(text), [](KoBlob& b) { b.Resize(2); }, "2:ab"},
        {"resized to a negative size", Of(text), [](KoBlob& b) { b.Resize(0x80000000U); }, "0:"},
        {"expanded to a negative size", Of(text), [](KoBlob& b) { b.Expand(-1); }, "0:"},
        {"appended to null", Null(), [](KoBlob& b) { b.Append("xy", 2); }, "2:xy"},
        {"nothing appended to null", Null(), [](KoBlob& b) { b.Append("xy", 0); }, "null"},
        {"null appended", Of(text), [](KoBlob& b) { b += Null(); }, "6:abcdef"},
        {"appended to itself", Of("ab"), [](KoBlob& b) { (b += b) += b; }, "8:abababab"},
        {"its part appended", Of("ab"), [](KoBlob& b) { b.Append(b.Seek(1, 1), 1); }, "3:abb"},
        {"cut in the middle", Of(text), [](KoBlob& b) { b.Cut(1, 2); }, "4:adef"},
        {"cut beyond the end", Of(text), [](KoBlob& b) { b.Cut(4, INT_MAX); }, "4:abcd"},
        {"cut before the start", Of(text), [](KoBlob& b) { b.Cut(-1, 3); }, "6:abcdef"},
        {"cut nothing", Of(text), [](KoBlob& b) { b.Cut(0, -1); }, "6:abcdef"},
        {"overwritten", Of(text), [](KoBlob& b) { b.CopyTo(Of("XYZ"), 1, 2); }, "6:aXYdef"},
        {"overwritten to the end", Of(text), [](KoBlob& b) { b.CopyTo(Of("XYZ"), 5, 3); },
         "6:abcdeX"},
        {"overwritten by itself", Of(text), [](KoBlob& b) { b.CopyTo(b, 2, 9); }, "6:ababcd"},
        {"a part", Of(text), [](KoBlob& b) { b = b.CopyFrom(2, 3); }, "3:cde"},
        {"a part beyond the end", Of(text), [](KoBlob& b) { b = b.CopyFrom(7, 1); }, "0:"},
        {"moved away", Of(text), [](KoBlob& b) { const KoBlob to(std::move(b)); }, "null"},
        {"with its terminator", Of(text), [&](KoBlob& b) { b = KoBlobAccess::FromText(two); },
         "3:ab\0"},
        {"no text", Of(text), [](KoBlob& b) { b = KoBlobAccess::FromText(nullptr); }, "1:\0"},
    };
    for (const auto& row : rows) {
        KoBlob blob = row.blob;
        row.edit(blob);
        std::string expected = row.expected;
        if (blob.Length() > 0 && expected.size() < Shown(blob).size())
            expected += '\0'; // which ends the literal
        EXPECT_EQ(Shown(blob), expected) << row.reason;
    }

    for (void (*grow)(KoBlob&) :
         {+[](KoBlob& b) { b.Resize(20); }, +[](KoBlob& b) { b.Expand(20); }}) {
        KoBlob grown = Of(text);
        grow(grown);
        EXPECT_EQ(grown.Length(), 20);
        EXPECT_EQ(std::memcmp(grown.Seek(0, 20), "abcdef", 6), 0);
    }
}

TEST(KoBlob, TakesOver)
{
    for (const bool hadRecord : {true, false}) {
        KoBlob to = hadRecord ? Of("old") : Null();
        KoBlob from = Of("new");
        to.Destroy(from);
        EXPECT_EQ(Shown(to), "3:new");
        EXPECT_EQ(Shown(from), "0:");
        from.SetNullValue();
        to.Destroy(from);
        EXPECT_EQ(Shown(to), "null");
        EXPECT_EQ(Shown(from), "null");
    }
    KoBlob own = Of("own");
    KoBlob& same = own;
    own.Destroy(same);
    EXPECT_EQ(Shown(own), "3:own");
}

TEST(KoBlob, SeekAndSearch)
{
    const KoBlob blob = Of("abcabd");
    EXPECT_EQ(*blob.Seek(3, 3), 'a');
    EXPECT_NE(blob.Seek(6, -1), nullptr);
    for (const auto& [pos, len] : {std::pair{3, 4}, {6, 1}, {7, -1}, {0, 0}, {-1, 2}, {5, INT_MAX}})
        EXPECT_EQ(blob.Seek(pos, len), nullptr) << pos << ' ' << len;
    EXPECT_EQ(Null().Seek(0, -1), nullptr);

    EXPECT_EQ(blob.Search(Of("abd")), 3);
    EXPECT_EQ(blob.Search(blob), 0);
    EXPECT_EQ(blob.Search(Of("")), 0);
    EXPECT_EQ(blob.Search(Of("abe")), 65535);
    EXPECT_EQ(blob.Search(Of("abcabde")), 65535);
    EXPECT_EQ(blob.Search(Null()), 65535);
    EXPECT_EQ(Null().Search(blob), 65535);
    EXPECT_EQ(KoBlob().Search(blob), 65535);
    const std::string zeros(70000, '\0');
    EXPECT_EQ(Of(zeros + "x").Search(Of("x")), 70000);
}

TEST(KoBlob, Numbers)
{
    // No terminator stands after the bytes.
    EXPECT_EQ(KoBlobAccess::Int(Of(" -42 ")), -42);
    EXPECT_EQ(KoBlobAccess::Int(Of("0x10")), 0);
    EXPECT_EQ(KoBlobAccess::Int(Null()), 0);
    EXPECT_EQ(KoBlobAccess::Short(Of("65537")), 1);
    EXPECT_EQ(KoBlobAccess::Double(Of("2.5e1z")), 25.0);
}

TEST(KoBlob, AssignsCountedBytes)
{
    char counted[8] = {};
    const o_4b three = 3;
    std::memcpy(counted, &three, 4);
    std::memcpy(counted + 4, "xyz", 3);
    KoBlob blob = Of("before");
    KoBlobAccess::Assign(blob, counted);
    EXPECT_EQ(Shown(blob), "3:xyz");
    std::memset(counted, 0xFF, 4);
    KoBlobAccess::Assign(blob, counted);
    EXPECT_EQ(Shown(blob), "null");
}

/// The buffer is kept where the length so far is 0 to 128 more than the new one, to the byte.
TEST(KoBlob, BufferIsReused)
{
    const std::string text(2000, 'x');
    struct {
        int before;
        int after;
        bool kept;
    } const rows[] = {{1000, 1000, true},  {1000, 872, true}, {1000, 871, false},
                      {1000, 1001, false}, {128, 0, true},    {129, 0, false},
                      {1000, 0, false},    {0, 0, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.before << " to " << row.after);
        const KoBlob source(text.data(), row.after);
        const FailingHeap heap(0, 0);
        KoBlob set(text.data(), row.before);
        KoBlob assigned(text.data(), row.before);
        heap.TakeSizes();
        set.SetTo(text.data(), row.after);
        assigned = source;
        const auto size = static_cast<std::size_t>(row.after);
        EXPECT_EQ(heap.TakeSizes(), row.kept || row.after == 0 ? Sizes() : Sizes({size, size}));
        EXPECT_EQ(set.Seek(0, -1) != nullptr, row.after != 0 || (row.before != 0 && row.kept));
        EXPECT_EQ(set, assigned);
    }
    {
        const FailingHeap heap(0, 0);
        KoBlob steps(text.data(), 1000);
        for (int size = 900; size > 0; size -= 100)
            steps.SetTo(text.data(), size);
        EXPECT_EQ(heap.TakeSizes().back(), 1000U) << "only the length counts";
        const struct {
            const char* reason;
            void (*edit)(KoBlob& b);
            Sizes taken;
        } edits[] = {
            {"shrinking keeps the buffer", [](KoBlob& b) { b.Resize(50); }, {}},
            {"expanding takes one", [](KoBlob& b) { b.Expand(51); }, {51}},
            {"the first of a run takes what it needs", [](KoBlob& b) { b.Append("x", 1); }, {52}},
            {"the next half as much again", [](KoBlob& b) { b.Append("x", 1); }, {53 + 26}},
            {"which is used", [](KoBlob& b) { b.Append("twenty-six bytes of a text", 26); }, {}},
            {"another edit ends the run", [](KoBlob& b) { b.Cut(0, 1), b.Append("x", 1); }, {79}},
            {"a shorter value, too", [](KoBlob& b) { b.SetTo("x", 1), b.Append("x", 1); }, {2}},
        };
        for (const auto& row : edits) {
            row.edit(steps);
            EXPECT_EQ(heap.TakeSizes(), row.taken) << row.reason;
        }
    }
}

TEST(KoBlob, AppendsInARunAreCheap)
{
    constexpr int kTimes = 100000;
    const char piece[17] = "0123456789abcdef";
    const FailingHeap heap(0, 0);
    KoBlob blob;
    for (int i = 0; i < kTimes; ++i)
        blob.Append(piece, 16);
    const Sizes sizes = heap.TakeSizes();
    std::size_t bytes = 0;
    for (const std::size_t size : sizes)
        bytes += size;
    // As the header promises, and one for the record.
    EXPECT_EQ(sizes.size(), 27U + 1);
    EXPECT_LE(bytes, 6700000U);
    EXPECT_EQ(blob.Length(), kTimes * 16);
    EXPECT_EQ(std::memcmp(blob.Seek(16 * (kTimes - 1), 16), piece, 16), 0);
}

/// Blobs of a size that no test has the memory for: their bytes are never touched.
TEST(KoBlob, SizesBeyondTheLimitAreRefused)
{
    const Reports reports;
    // Records are real, the large buffers are all the same few bytes.
    alignas(16) static unsigned char shared[64];
    KoSetAllocator(
        [](std::size_t size) -> void* { return size > 1U << 20 ? shared : std::malloc(size); },
        [](void* memory) {
            if (memory != shared)
                std::free(memory);
        });
    {
        KoBlob large[2] = {KoBlob(INT_MAX), KoBlob(INT_MAX)};
        large[0].Append("x", 1);
        EXPECT_EQ(large[0].Length(), INT_MAX);
        EXPECT_EQ(reports.Count(), 1);
        const KoTypeMgr manager;
        unsigned char untouched = 0x5A;
        for (const unsigned count : {1U, 2U}) {
            EXPECT_EQ(manager.DiskLenGet(KoBLOB_T, large, 1, count, KoFMT_MEMORY), 0U);
            EXPECT_EQ(manager.Store(KoBLOB_T, &untouched, large, 1, count), 0U);
        }
        EXPECT_EQ(untouched, 0x5A);
        EXPECT_EQ(reports.Count(), 3);
        large[0].Resize(INT_MAX - 8);
        large[1].SetNullValue();
        EXPECT_EQ(manager.DiskLenGet(KoBLOB_T, large, 1, 1, KoFMT_MEMORY), INT_MAX + 0U);
    }
    KoSetAllocator(nullptr, nullptr);
}

/// Each allocation of each operation fails in turn: the handler hears the size, nothing leaks, and
/// what was edited is what it was, what was made is null.
TEST(KoBlob, LackOfMemoryLeavesTheValue)
{
    const std::string more(500, 'm');
    const KoBlob source = Of(more);
    char text[] = "text";
    const std::function<void(KoBlob&)> edits[] = {
        [&](KoBlob& b) { b = source; },
        [&](KoBlob& b) { b.SetTo(more.data(), 300); },
        [&](KoBlob& b) { b.Resize(400); },
        [&](KoBlob& b) { b.Expand(1); },
        [&](KoBlob& b) { b.Append(more.data(), 10); },
        [&](KoBlob& b) { b += source; },
        // What is made of these is taken over, null where there was no memory.
        [&](KoBlob& b) { b = KoBlob(); },
        [&](KoBlob& b) { b = KoBlob(7); },
        [&](KoBlob& b) { b = KoBlob(more.data(), 7); },
        [&](KoBlob& b) { b = KoBlob(source); },
        [&](KoBlob& b) { b = source.CopyFrom(1, 5); },
        [&](KoBlob& b) { b = KoBlobAccess::FromText(text); },
    };
    constexpr std::size_t kMakers = 6;
    for (const KoBlob& before : {Of("before"), KoBlob(), Null()}) {
        for (const auto& edit : edits) {
            const bool makes = &edit >= edits + kMakers;
            for (int first = 0;; ++first) {
                KoBlob blob = before;
                const FailingHeap heap(first);
                edit(blob);
                EXPECT_EQ(heap.HandlerCalls(), heap.HasFailed() ? 1 : 0);
                if (!heap.HasFailed())
                    break;
                EXPECT_EQ(Shown(blob), makes ? "null" : Shown(before));
            }
        }
    }
    // The second append of a run asks for 9 bytes, and makes do with 6.
    const auto atMostSix = [](std::size_t size) { return size > 6 ? nullptr : std::malloc(size); };
    KoBlob blob = Of("1");
    KoSetAllocator(atMostSix, std::free);
    blob.Append("23", 2);
    blob.Append("456", 3);
    KoSetAllocator(nullptr, nullptr);
    EXPECT_EQ(Shown(blob), "6:123456");
}

} // namespace
