#include <koint64.h>

#include "ratio.h"

#include <random>
#include <string>
#include <vector>

// KoInt64, two halves with an alignment of 4, beside the built-in 64-bit integer.

namespace
{

constexpr std::size_t kCount = 4096;

template <class T>
std::vector<T> MakeNumbers()
{
    std::mt19937_64 random(64);
    std::vector<T> numbers;
    for (std::size_t i = 0; i < kCount; ++i)
        numbers.emplace_back(static_cast<o_8b>(random()) >> (random() % 64));
    return numbers;
}

/// Applies `work` to each number and the one before it.
template <class T, class Result, class Work>
void Register(const std::string& name, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        const std::vector<T> numbers = MakeNumbers<T>();
        std::vector<Result> results(kCount);
        for (auto _ : state) {
            for (std::size_t i = 1; i < kCount; ++i)
                results[i] = work(numbers[i], numbers[i - 1]);
            benchmark::DoNotOptimize(results.data());
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                                static_cast<std::int64_t>(kCount));
    });
}

template <class T>
void RegisterAll(const std::string& side)
{
    Register<T, int>("compare/" + side, [](const T& a, const T& b) -> int { return a < b; });
    // Unsigned where it is built in: sums and products wrap.
    const auto wrap = [](const T& n) {
        if constexpr (std::is_same_v<T, o_8b>)
            return static_cast<o_u8b>(n);
        else
            return n;
    };
    Register<T, T>("add/" + side,
                   [wrap](const T& a, const T& b) { return static_cast<T>(wrap(a) + wrap(b)); });
    Register<T, T>("multiply/" + side,
                   [wrap](const T& a, const T& b) { return static_cast<T>(wrap(a) * wrap(b)); });
    Register<T, T>("divide/" + side,
                   [](const T& a, const T& b) { return a / (b == 0 ? T(7) : b); });
}

} // namespace

int main(int argc, char** argv)
{
    RegisterAll<KoInt64>("ours");
    RegisterAll<o_8b>("built_in");
    return RunWithRatios(argc, argv);
}
