#include "ratio.h"

#include <kotms.h>

// What finding a type's function by its id costs: the operation through the manager beside the same
// function called directly, and one call for an array beside a call for each of its elements.

namespace
{

constexpr unsigned kCount = 1024;
const KoTypeMgr manager;
o_4b values[kCount];
unsigned char stored[sizeof values];

/// The id comes from memory, as it does where a field is read.
o_char id = Ko4B_T;

template <class Work>
void Run(const char* name, Work work)
{
    benchmark::RegisterBenchmark(name, [work](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(id);
            benchmark::DoNotOptimize(work());
            benchmark::ClobberMemory();
        }
    });
}

} // namespace

int main(int argc, char** argv)
{
    KoTypeDescriptor* type = koCurrentTypeTable.entry[Ko4B_T];
    benchmark::DoNotOptimize(type);

    Run("null test/ours", [] { return manager.IsNullValue(id, values); });
    Run("null test/direct", [type] { return type->isNull(values); });
    Run("compare one/ours", [] { return manager.Cmp(id, values, values + 1, 0, 1, 8); });
    Run("compare one/direct", [type] {
        int status = 0;
        return type->cmp(8, 0, values, 0, values + 1, 0, 1, status);
    });
    Run("store one/ours", [] { return manager.Store(id, stored, values, 2, 1); });
    Run("store one/direct", [type] { return type->store(stored, values, 2, 1); });
    Run("store array/ours", [] { return manager.Store(id, stored, values, 2, kCount); });
    Run("store array/each", [] {
        unsigned bytes = 0;
        for (unsigned i = 0; i < kCount; ++i)
            bytes += manager.Store(id, stored + bytes, values + i, 2, 1);
        return bytes;
    });
    return RunWithRatios(argc, argv);
}
