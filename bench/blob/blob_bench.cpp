#include "ratio.h"

#include <kotms.h>

#include <cstring>
#include <vector>

// Blobs beside std::vector<char>: copies, comparison, growth piece by piece, stored arrays.

namespace
{

constexpr int kShort = 64;
constexpr int kLong = 64 * 1024;

std::vector<char> Content(int size)
{
    std::vector<char> bytes(static_cast<std::size_t>(size));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 131);
    return bytes;
}

template <class Work>
void Add(const std::string& name, Work work)
{
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(work());
    });
}

void AddSize(int size, const std::string& of)
{
    const std::vector<char> vector = Content(size);
    const std::vector<char> sameVector = vector;
    const KoBlob blob(vector.data(), size);
    const KoBlob sameBlob = blob;
    Add("copy " + of + "/ours", [blob] { return KoBlob(blob).Length(); });
    Add("copy " + of + "/vector", [vector] { return std::vector<char>(vector).size(); });
    // Assigning the same number of bytes keeps the buffer in both.
    static KoBlob target;
    static std::vector<char> vectorTarget;
    Add("assign " + of + "/ours", [blob] { return (target = blob).Length(); });
    Add("assign " + of + "/vector", [vector] { return (vectorTarget = vector).size(); });
    Add("equal " + of + "/ours", [blob, sameBlob] { return blob == sameBlob; });
    Add("equal " + of + "/vector", [vector, sameVector] { return vector == sameVector; });
    static unsigned char stored[2][kLong + 8];
    Add("store, compare and load " + of + "/ours", [blob] {
        static const KoTypeMgr manager;
        static KoBlob loaded;
        for (auto& to : stored)
            manager.Store(KoBLOB_T, to, &blob, KoFMT_LITTLE, 1);
        const int order = manager.Cmp(KoBLOB_T, stored[0], stored[1], 0, 1, KoFMT_LITTLE);
        return order +
               static_cast<int>(manager.Load(KoBLOB_T, &loaded, stored[0], KoFMT_LITTLE, 1));
    });
    Add("store, compare and load " + of + "/memcpy and vector", [vector] {
        static std::vector<char> loaded;
        for (auto& to : stored)
            std::memcpy(to + 8, vector.data(), vector.size());
        benchmark::ClobberMemory();
        const int order = std::memcmp(stored[0] + 8, stored[1] + 8, vector.size());
        loaded.assign(stored[0] + 8, stored[0] + 8 + vector.size());
        return order + static_cast<int>(loaded.size());
    });
}

} // namespace

int main(int argc, char** argv)
{
    AddSize(kShort, "64 bytes");
    AddSize(kLong, "64 KiB");
    static constexpr char kPiece[17] = "0123456789abcdef";
    Add("append 100,000 times 16 bytes/ours", [] {
        KoBlob blob;
        for (int i = 0; i < 100000; ++i)
            blob.Append(kPiece, 16);
        return blob.Length();
    });
    Add("append 100,000 times 16 bytes/vector", [] {
        std::vector<char> vector;
        for (int i = 0; i < 100000; ++i)
            vector.insert(vector.end(), kPiece, kPiece + 16);
        return vector.size();
    });
    return RunWithRatios(argc, argv);
}
