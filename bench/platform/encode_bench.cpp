#include "ratio.h"

#include <koencode.h>
#include <koswap.h>

#include <cstdint>
#include <cstring>
#include <new>

// Storing an array in the other byte order, against memcpy of the same bytes, a loop that swaps one
// element after the other, and one call of the library per element.

namespace
{

constexpr unsigned char kOther =
    std::endian::native == std::endian::little ? KoFMT_BIG : KoFMT_LITTLE;

// Operands that start on a cache line, as arrays whose layout is the library's do.
class Buffer
{
public:
    explicit Buffer(std::size_t bytes)
        : m_bytes(static_cast<unsigned char*>(operator new (bytes, std::align_val_t{64})))
    {
        for (std::size_t at = 0; at < bytes; ++at)
            m_bytes[at] = static_cast<unsigned char>(at * 7 + 3);
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { operator delete (m_bytes, std::align_val_t{64}); }
    unsigned char* Data() const { return m_bytes; }

private:
    unsigned char* m_bytes;
};

using Work = void (*)(void* to, const void* from, std::size_t bytes);

void Run(benchmark::State& state, Work work, std::size_t bytes)
{
    const Buffer from(bytes);
    const Buffer to(bytes);
    for (auto _ : state) {
        work(to.Data(), from.Data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
}

void Memcpy(void* to, const void* from, std::size_t bytes)
{
    std::memcpy(to, from, bytes);
}

template <unsigned (*Store)(void*, const void*, unsigned char, unsigned), unsigned Width>
void Ours(void* to, const void* from, std::size_t bytes)
{
    Store(to, from, kOther, static_cast<unsigned>(bytes / Width));
}

template <unsigned Width>
void PlainLoop(void* to, const void* from, std::size_t bytes)
{
    KoSwapCopyAs(KoSwapForm::Plain, to, from, Width, bytes / Width);
}

template <unsigned (*StoreOne)(void*, const void*, unsigned char), unsigned Width>
void CallPerElement(void* to, const void* from, std::size_t bytes)
{
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    for (std::size_t at = 0; at < bytes; at += Width)
        StoreOne(target + at, source + at, kOther);
}

template <unsigned Width, unsigned (*Store)(void*, const void*, unsigned char, unsigned),
          unsigned (*StoreOne)(void*, const void*, unsigned char)>
void Register(std::size_t bytes)
{
    const struct {
        const char* who;
        Work work;
    } sides[] = {{"ours", Ours<Store, Width>},
                 {"memcpy", Memcpy},
                 {"plain_loop", PlainLoop<Width>},
                 {"call_per_element", CallPerElement<StoreOne, Width>}};
    for (const auto& [who, work] : sides) {
        const std::string name = "swap_" + std::to_string(Width * 8) + "_bits/" +
                                 std::to_string(bytes) + "_bytes/" + who;
        benchmark::RegisterBenchmark(name.c_str(), Run, work, bytes);
    }
}

} // namespace

int main(int argc, char** argv)
{
    for (const std::size_t bytes : {64, 4096, 65536}) {
        Register<2, ShortStore, ShortStoreOne>(bytes);
        Register<4, LongStore, LongStoreOne>(bytes);
        Register<8, O_8BStore, O_8BStoreOne>(bytes);
    }
    return RunWithRatios(argc, argv);
}
