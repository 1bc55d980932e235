#ifndef KO_BENCH_COLLATION_KEY_LIST_H
#define KO_BENCH_COLLATION_KEY_LIST_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

/// Sort keys one after another.
struct KeyList {
    struct Entry {
        std::uint64_t word;  ///< eight bytes of a key as a number
        std::uint32_t index; ///< whose key it is
    };
    static constexpr unsigned kWord = 8;
    std::vector<unsigned char> bytes; ///< a word may be read at any of the keys' bytes
    std::vector<std::uint32_t> ends;
    std::vector<Entry> entries;

    std::uint32_t Begin(std::uint32_t index) const { return index == 0 ? 0 : ends[index - 1]; }
    std::uint32_t Length(std::uint32_t index) const { return ends[index] - Begin(index); }

    /// `make(text, key, room)` writes a key and returns its length.
    template <class Text, class Make>
    void Fill(const std::vector<Text>& texts, Make make)
    {
        constexpr unsigned kMostBytes = 256;
        ends.resize(texts.size());
        entries.resize(texts.size());
        std::uint32_t at = 0;
        for (std::uint32_t i = 0; i < texts.size(); ++i) {
            if (bytes.size() - at < kMostBytes)
                bytes.resize(2 * bytes.size() + kMostBytes);
            at += make(texts[i], bytes.data() + at, kMostBytes);
            ends[i] = at;
            entries[i].index = i;
        }
        if (bytes.size() - at < kWord)
            bytes.resize(at + kWord);
    }
};

#endif
