#ifndef KO_TEST_STORE_GUARDED_BYTES_H
#define KO_TEST_STORE_GUARDED_BYTES_H

#include "support/page_end.h"

#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <string_view>

/// Hands over `bytes` cut off at every place, then `changes` times with some bytes changed, behind
/// which nothing can be read. Returns how often `read` took them for sound.
inline int ReadDamaged(const std::string& bytes, int changes,
                       const std::function<bool(std::string_view)>& read)
{
    static constexpr char kBytes[] = {0, 1, 2, 3, 0x10, 0x7F, '\x80', '\xFF'};
    const auto take = [&read](std::string_view given) {
        const PageEnd page(given.data(), given.size());
        return read({reinterpret_cast<const char*>(page.Bytes()), given.size()}) ? 1 : 0;
    };
    std::mt19937 random(1);
    int sound = 0;
    for (std::size_t size = 0; size < bytes.size(); ++size)
        sound += take(std::string_view(bytes).substr(0, size));
    for (int i = 0; i < changes; ++i) {
        std::string changed = bytes;
        // Most heads are short: half of the changes go there.
        for (auto k = random() % 3 + 1; k > 0; --k) {
            const std::size_t at =
                random() % (random() % 2 != 0 ? changed.size() : 24) % changed.size();
            changed[at] =
                random() % 2 != 0 ? kBytes[random() % sizeof kBytes] : static_cast<char>(random());
        }
        sound += take(changed);
    }
    return sound;
}

#endif
