#include "ratio.h"

#include <koencode.h>
#include <kotypemgr.h>

#include <koswap.h>

#include <random>
#include <string>

// Sort keys of 1,024 numbers in one call, against a swap of the same bytes and against storing the
// same array most significant byte first, which is what a key adds a sign to.

namespace
{

constexpr unsigned kCount = 1024;

template <class T>
struct Numbers {
    alignas(64) T from[kCount];
    alignas(64) unsigned char to[sizeof from];

    Numbers()
    {
        std::mt19937_64 random(1);
        for (T& n : from)
            n = static_cast<T>(static_cast<o_8b>(random()) >> (random() % 64));
    }
};

template <class T>
void Register(const std::string& type, o_char id)
{
    const auto add = [&](const std::string& who, auto work) {
        benchmark::RegisterBenchmark(
            ("keys_of_" + type + "/" + who).c_str(), [work](benchmark::State& state) {
                Numbers<T> numbers;
                for (auto _ : state) {
                    work(numbers);
                    benchmark::ClobberMemory();
                }
                state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                                        static_cast<std::int64_t>(sizeof numbers.from));
            });
    };
    static const KoTypeMgr manager;
    add("ours", [id](Numbers<T>& n) {
        benchmark::DoNotOptimize(
            manager.SortKey(id, n.to, sizeof n.to, n.from, KoFMT_MEMORY, kCount, KoCMP_PLAIN));
    });
    add("swap", [](Numbers<T>& n) { KoSwapCopy(n.to, n.from, sizeof(T), kCount); });
    add("store", [id](Numbers<T>& n) { manager.Store(id, n.to, n.from, KoFMT_BIG, kCount); });
}

} // namespace

int main(int argc, char** argv)
{
    Register<o_4b>("int32", Ko4B_T);
    Register<o_8b>("int64", Ko8B_T);
    Register<o_double>("double", KoDOUBLE_T);
    return RunWithRatios(argc, argv);
}
