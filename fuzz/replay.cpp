#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Runs the target once on nothing and once on every file of the folders named; a folder that is
/// not there holds nothing.
int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    LLVMFuzzerTestOneInput(nullptr, 0);
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i]))
            continue;
        for (const fs::directory_entry& entry : fs::directory_iterator(argv[i])) {
            std::ifstream in(entry.path(), std::ios::binary);
            const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++files;
        }
    }
    std::printf("%d inputs replayed\n", files);
    return files == 0;
}
