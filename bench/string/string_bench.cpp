#include "ratio.h"

#include <kostrcmp.h>
#include <kostring.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <random>

// Strings beside std::string: numbers to text and back, edits, stored strings.

namespace
{

constexpr unsigned kMany = 1024;

/// Numbers of all lengths, in an order that branch prediction cannot learn.
struct Numbers {
    int number[kMany];
    std::string text[kMany];
    KoString string[kMany];

    Numbers()
    {
        std::mt19937 random(1);
        for (unsigned i = 0; i < kMany; ++i) {
            number[i] = static_cast<int>(random()) >> (random() % 31);
            text[i] = std::to_string(number[i]);
            string[i] = text[i].c_str();
        }
    }
};

/// Runs `work(i)` over the numbers 0 to 1023 again and again.
template <class Work>
void Walk(benchmark::State& state, Work work)
{
    unsigned i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(i));
        i = (i + 1) % kMany;
    }
}

const Numbers& Shared()
{
    static const Numbers numbers;
    return numbers;
}

constexpr char kWords[] = "Strix aluco, the tawny owl, hunts from a perch after nightfall.";

/// Sixteen texts, in memory and stored.
struct Row {
    KoString strings[16];
    std::string peers[16];
    unsigned char stored[16 * 80];

    Row()
    {
        for (unsigned i = 0; i < 16; ++i) {
            strings[i] = KoString(kWords, static_cast<unsigned short>(4 * i));
            peers[i] = std::string(kWords, 4 * i);
        }
        StringStore(stored, strings, KoFMT_LITTLE, 16);
    }
};

} // namespace

int main(int argc, char** argv)
{
    using benchmark::State;
    const auto add = [](const char* name, auto work) {
        benchmark::RegisterBenchmark(name, [work](State& state) { Walk(state, work); });
    };
    add("int to text/ours", [](unsigned i) { return KoString(Shared().number[i]).ByteSize(); });
    add("int to text/to_string",
        [](unsigned i) { return std::to_string(Shared().number[i]).size(); });
    add("text to int/ours", [](unsigned i) { return static_cast<int>(Shared().string[i]); });
    add("text to int/strtol",
        [](unsigned i) { return std::strtol(Shared().text[i].c_str(), nullptr, 0); });
    add("text to int/from_chars", [](unsigned i) {
        const std::string& text = Shared().text[i];
        int n = 0;
        std::from_chars(text.data(), text.data() + text.size(), n);
        return n;
    });
    add("copy 63 and append 20/ours", [text = KoString(kWords)](unsigned) {
        KoString copy(text);
        copy << "abcdefghijklmnopqrst";
        return copy.ByteSize();
    });
    add("copy 63 and append 20/std::string", [text = std::string(kWords)](unsigned) {
        std::string copy(text);
        copy += "abcdefghijklmnopqrst";
        return copy.size();
    });
    add("insert 5 in the middle of 63/ours",
        [text = KoString(kWords), five = KoString("12345")](unsigned) {
            KoString copy(text);
            copy.Insert(five, 30);
            return copy.ByteSize();
        });
    add("insert 5 in the middle of 63/std::string", [text = std::string(kWords)](unsigned) {
        std::string copy(text);
        copy.insert(30, "12345");
        return copy.size();
    });
    add("63 characters to 16 bits and back/ours", [text = KoString(kWords)](unsigned) {
        KoString copy(text);
        copy.SetCodeSet(KoCS_UNICODE);
        copy.SetCodeSet(KoCS_LATIN1);
        return copy.ByteSize();
    });
    add("63 characters to 16 bits and back/u16string", [text = std::string(kWords)](unsigned) {
        const std::string copy(text);
        const std::u16string wide(copy.begin(), copy.end());
        std::string back;
        back.reserve(wide.size());
        for (const char16_t c : wide)
            back += static_cast<char>(c);
        return back.size();
    });

    static Row row;
    static unsigned char buffer[sizeof row.stored];
    add("store 16 texts/ours", [](unsigned) {
        const unsigned bytes = StringStore(buffer, row.strings, KoFMT_LITTLE, 16);
        benchmark::ClobberMemory();
        return bytes;
    });
    add("store 16 texts/length and memcpy", [](unsigned) {
        unsigned char* at = buffer;
        for (const std::string& text : row.peers) {
            const auto length = static_cast<unsigned short>(text.size());
            std::memcpy(at, &length, 2);
            std::memcpy(at + 2, text.data(), length);
            at += length + 6;
        }
        benchmark::ClobberMemory();
        return at - buffer;
    });
    add("load 16 texts/ours",
        [](unsigned) { return StringLoad(row.strings, row.stored, KoFMT_LITTLE, 16); });
    add("load 16 texts/std::string", [](unsigned) {
        const unsigned char* at = row.stored;
        for (std::string& text : row.peers) {
            const unsigned length = at[0] + at[1] * 256U;
            std::string(reinterpret_cast<const char*>(at) + 4, length - 4).swap(text);
            at += length + 2;
        }
        return at - row.stored;
    });
    add("compare 16 stored texts/ours", [](unsigned) {
        static Row other;
        int status;
        return StringCompare(KoFMT_LITTLE, sizeof row.stored, row.stored, sizeof other.stored,
                             other.stored, 0, 16, status);
    });
    add("compare 16 stored texts/std::string", [](unsigned) {
        static Row other;
        int order = 0;
        for (unsigned i = 0; i < 16 && order == 0; ++i)
            order = row.peers[i].compare(other.peers[i]);
        return order;
    });
    return RunWithRatios(argc, argv);
}
