#include "ratio.h"

#include <koobjid.h>

#include <cstring>
#include <vector>

// Storing and loading arrays of references, 16 bytes in memory and 14 stored, beside memcpy of 14
// bytes for each.

namespace
{

constexpr unsigned kStored = 14;

using Move = void (*)(unsigned char* stored, KoRef* values, unsigned count);

void Register(const std::string& name, unsigned count, Move move)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        std::vector<KoRef> values(count);
        for (unsigned i = 0; i < count; ++i)
            values[i] = {i, i * 7 + 1, 2, 3, 4, 0};
        std::vector<unsigned char> stored(std::size_t{count} * kStored);
        for (auto _ : state) {
            move(stored.data(), values.data(), count);
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * count);
    });
}

void CopyOut(unsigned char* stored, KoRef* values, unsigned count)
{
    for (unsigned i = 0; i < count; ++i)
        std::memcpy(stored + std::size_t{i} * kStored, values + i, kStored);
}

void CopyIn(unsigned char* stored, KoRef* values, unsigned count)
{
    for (unsigned i = 0; i < count; ++i) {
        std::memcpy(static_cast<void*>(values + i), stored + std::size_t{i} * kStored, kStored);
        values[i].version = 0;
    }
}

template <unsigned char format>
void Store(unsigned char* stored, KoRef* values, unsigned count)
{
    KoRef::Store(stored, values, format, count);
}

template <unsigned char format>
void Load(unsigned char* stored, KoRef* values, unsigned count)
{
    KoRef::Load(values, stored, format, count);
}

} // namespace

int main(int argc, char** argv)
{
    for (const unsigned count : {16U, 1024U}) {
        const std::string size = std::to_string(count);
        Register("store_" + size + "/ours", count, Store<KoFMT_LITTLE>);
        Register("store_" + size + "/memcpy", count, CopyOut);
        Register("store_turned_" + size + "/ours", count, Store<KoFMT_BIG>);
        Register("store_turned_" + size + "/memcpy", count, CopyOut);
        Register("load_" + size + "/ours", count, Load<KoFMT_LITTLE>);
        Register("load_" + size + "/memcpy", count, CopyIn);
        Register("load_turned_" + size + "/ours", count, Load<KoFMT_BIG>);
        Register("load_turned_" + size + "/memcpy", count, CopyIn);
    }
    return RunWithRatios(argc, argv);
}
