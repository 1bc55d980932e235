#include "ratio.h"

#include <kotms.h>

#include <algorithm>
#include <string>
#include <vector>

// What asking for the share of an index costs beside ten comparisons of the same type: the estimate
// alone, and with one end or both narrowed, the buffers released.

namespace
{

const KoTypeMgr manager;

struct Subject {
    std::string name;
    o_char id; ///< comes from memory, as it does where a field is read
    std::vector<unsigned char> low, high, value;
};

enum class Wish { kEstimate, kOneEnd, kBothEnds };

float Evaluate(Subject& s, Wish wish)
{
    KoIdxBounds bounds{s.low.data(), s.high.data(), 0, 0};
    KoIdxBounds narrowed{};
    unsigned short op = wish == Wish::kBothEnds ? KoQOP_EQUAL : KoQOP_LESS;
    const float share =
        manager.EvalAndBound(s.id, &bounds, op, s.value.data(), KoFMT_LITTLE, 1,
                             wish == Wish::kEstimate ? nullptr : &narrowed, nullptr);
    if (wish != Wish::kEstimate) {
        KoFree(narrowed.low);
        KoFree(narrowed.high);
    }
    return share;
}

int CompareTen(Subject& s)
{
    int sum = 0;
    for (int i = 0; i < 10; ++i) {
        benchmark::DoNotOptimize(s.id);
        sum += manager.Cmp(s.id, i % 2 == 0 ? s.low.data() : s.high.data(), s.value.data(), 0x10, 1,
                           KoFMT_LITTLE);
    }
    return sum;
}

Subject Make(KoTypeId id, const char* low, const char* high, const char* value)
{
    const auto stored = [id](const char* text) {
        void* element = manager.Create(id, 1);
        KoString source(text);
        manager.ScanFromKoString(id, element, source, nullptr, 1);
        std::vector<unsigned char> bytes(
            manager.DiskLenGet(id, element, KoFMT_LITTLE, 1, KoFMT_MEMORY));
        manager.Store(id, bytes.data(), element, KoFMT_LITTLE, 1);
        manager.Delete(id, element, 1);
        return bytes;
    };
    return {manager.NameGet(id), id, stored(low), stored(high), stored(value)};
}

template <class Work>
void Run(const std::string& name, Subject& subject, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(), [&subject, work](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(subject.id);
            benchmark::DoNotOptimize(work(subject));
            benchmark::ClobberMemory();
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    Subject subjects[] = {
        Make(Ko4B_T, "-70000", "70000", "1234"),
        Make(KoDOUBLE_T, "-7e4", "7e4", "12.5"),
        Make(KoINT64_T, "-70000", "70000", "1234"),
        Make(KoNULL_INT_T, "-70000", "70000", "1234"),
    };
    const struct {
        const char* name;
        Wish wish;
    } wishes[] = {{"estimate", Wish::kEstimate},
                  {"and one end", Wish::kOneEnd},
                  {"and both ends", Wish::kBothEnds}};
    for (Subject& subject : subjects) {
        for (const auto& wish : wishes) {
            const std::string work = subject.name + ", " + wish.name + "/";
            Run(work + "ours", subject, [=](Subject& s) { return Evaluate(s, wish.wish); });
            Run(work + "ten comparisons", subject, CompareTen);
        }
    }
    return RunWithRatios(argc, argv);
}
