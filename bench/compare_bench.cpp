#include "ratio.h"

#include <kotypcmp.h>
#include <kotyphash.h>

#include <koencode.h>

#include <algorithm>
#include <cstring>
#include <random>

// Comparing arrays of 1,024 int32 that are equal, or differ in the last element or soon, in the
// machine's byte order and in the other one, against std::lexicographical_compare over the numbers
// and memcmp over the bytes; and single keys, as an index look-up compares them.

namespace
{

constexpr unsigned kCount = 1024;
constexpr unsigned char kSwapped =
    std::endian::native == std::endian::little ? KoFMT_BIG : KoFMT_LITTLE;

struct Operands {
    alignas(64) o_4b a[kCount];
    alignas(64) o_4b b[kCount];

    explicit Operands(unsigned differsAt)
    {
        std::mt19937 random(1);
        for (unsigned i = 0; i < kCount; ++i)
            a[i] = b[i] = static_cast<o_4b>(random());
        if (differsAt < kCount)
            b[differsAt] ^= 0x10;
    }
};

using Compare = int (*)(Operands& operands);

int OursNative(Operands& o)
{
    int status;
    return LongCompare(KoFMT_MEMORY, 0, o.a, 0, o.b, 0, kCount, status);
}

int OursSwapped(Operands& o)
{
    int status;
    return LongCompare(kSwapped, 0, o.a, 0, o.b, 0, kCount, status);
}

int Memcmp(Operands& o)
{
    return std::memcmp(o.a, o.b, sizeof o.a);
}

int Lexicographical(Operands& o)
{
    return std::lexicographical_compare(o.a, o.a + kCount, o.b, o.b + kCount) ? -1 : 0;
}

int LexicographicalSwapped(Operands& o)
{
    return std::lexicographical_compare(o.a, o.a + kCount, o.b, o.b + kCount,
                                        [](o_4b x, o_4b y) {
                                            const auto swapped = [](o_4b n) {
                                                return static_cast<o_4b>(
                                                    __builtin_bswap32(static_cast<o_u4b>(n)));
                                            };
                                            return swapped(x) < swapped(y);
                                        })
               ? -1
               : 0;
}

void Arrays(benchmark::State& state, Compare compare, unsigned differsAt)
{
    Operands operands(differsAt);
    for (auto _ : state) {
        benchmark::DoNotOptimize(&operands);
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(compare(operands));
    }
}

/// Keys in an order that branch prediction cannot learn.
template <class T>
struct Keys {
    static constexpr unsigned kKeys = 4096;
    unsigned char stored[kKeys][sizeof(T)];
    T numbers[kKeys];

    Keys()
    {
        std::mt19937_64 random(2);
        for (unsigned i = 0; i < kKeys; ++i) {
            numbers[i] = static_cast<T>(random());
            LongStore(stored[i], &numbers[i], KoFMT_BIG, sizeof(T) / 4);
        }
    }
};

void OneKeyOurs(benchmark::State& state)
{
    Keys<o_4b> keys;
    unsigned i = 0;
    int status;
    for (auto _ : state) {
        benchmark::DoNotOptimize(LongCompare(KoFMT_BIG, 0, keys.stored[i], 0,
                                             keys.stored[Keys<o_4b>::kKeys - 1 - i], 0, 1, status));
        i = (i + 1) % Keys<o_4b>::kKeys;
    }
}

void OneKeyPeer(benchmark::State& state)
{
    Keys<o_4b> keys;
    unsigned i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            std::memcmp(keys.stored[i], keys.stored[Keys<o_4b>::kKeys - 1 - i], sizeof(o_4b)));
        i = (i + 1) % Keys<o_4b>::kKeys;
    }
}

void HashOurs(benchmark::State& state)
{
    Operands operands(kCount);
    int status;
    for (auto _ : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(LongHash(kSwapped, 0, operands.a, kCount, status));
    }
}

void HashPerElement(benchmark::State& state)
{
    Operands operands(kCount);
    int status;
    for (auto _ : state) {
        benchmark::ClobberMemory();
        unsigned sum = 0;
        for (o_4b& element : operands.a)
            sum = sum * 9 + LongHash(kSwapped, 0, &element, 1, status);
        benchmark::DoNotOptimize(sum);
    }
}

} // namespace

int main(int argc, char** argv)
{
    struct {
        const char* work;
        unsigned differsAt;
    } const places[] = {{"equal", kCount}, {"differ at 1023", kCount - 1}, {"differ at 20", 20}};
    struct {
        const char* order;
        const char* name;
        Compare compare;
    } const rivals[] = {{"native", "ours", OursNative},
                        {"native", "memcmp", Memcmp},
                        {"native", "lexicographical_compare", Lexicographical},
                        {"swapped", "ours", OursSwapped},
                        {"swapped", "memcmp", Memcmp},
                        {"swapped", "lexicographical_compare", Lexicographical},
                        {"swapped", "swapping lexicographical_compare", LexicographicalSwapped}};
    for (const auto& place : places)
        for (const auto& rival : rivals)
            benchmark::RegisterBenchmark(
                (std::string(place.work) + ", " + rival.order + "/" + rival.name).c_str(), Arrays,
                rival.compare, place.differsAt);
    benchmark::RegisterBenchmark("one stored int32/ours", OneKeyOurs);
    benchmark::RegisterBenchmark("one stored int32/memcmp", OneKeyPeer);
    benchmark::RegisterBenchmark("hash of 1024 stored int32/ours", HashOurs);
    benchmark::RegisterBenchmark("hash of 1024 stored int32/call per element", HashPerElement);
    return RunWithRatios(argc, argv);
}
