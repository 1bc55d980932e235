#include "ratio.h"

#include <ko.h>
#include <kotms.h>

#include <cstdio>
#include <string>
#include <vector>

// The calls of ko.h beside what stands below them. Reading: the strict reader with a string that is
// there already ("reader"), and with one that is made of each text ("reader and string"). The
// others: the same call of the dispatcher, which looks at no bytes before.

namespace
{

struct Subject {
    const char* name;
    const char* type;
    const char* format;
    std::vector<std::string> texts;
};

constexpr std::size_t kCount = 512;

std::vector<std::string> Texts(const char* kind)
{
    std::vector<std::string> texts;
    unsigned long long seed = 1;
    for (std::size_t i = 0; i < kCount; ++i) {
        seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
        const auto random = static_cast<unsigned>(seed >> 33U);
        char text[64];
        switch (*kind) {
        case 'd':
            std::snprintf(text, sizeof text, "%.17g",
                          random / 1e3 * (1.0 + 1.0 / (static_cast<double>(i) + 3.0)));
            break;
        case 'i':
            std::snprintf(text, sizeof text, "%d", static_cast<int>(random) - 0x40000000);
            break;
        case 't':
            std::snprintf(text, sizeof text, "%04u-%02u-%02u", 1900 + random % 200,
                          1 + random / 200 % 12, 1 + random / 2400 % 28);
            break;
        default:
            std::snprintf(text, sizeof text, "turkey vulture %u", random % 100000);
        }
        texts.emplace_back(text);
    }
    return texts;
}

const Subject& Of(std::size_t index)
{
    static const Subject s_subjects[] = {{"double", "o_double", nullptr, Texts("double")},
                                         {"int", "o_4b", nullptr, Texts("int")},
                                         {"date", "KoDate", "%Y-%m-%d", Texts("time")},
                                         {"text", "KoString", nullptr, Texts("string")}};
    return s_subjects[index];
}

void Pack(benchmark::State& state, std::size_t index)
{
    const Subject& of = Of(index);
    const int type = ko_type(of.type);
    std::size_t i = 0;
    for (auto _ : state) {
        const std::string& text = of.texts[i++ % kCount];
        unsigned char out[64];
        std::size_t size = sizeof out;
        if (ko_pack(type, text.data(), text.size(), of.format, KO_LITTLE, out, &size, nullptr) !=
            KO_OK)
            state.SkipWithError("a text was not read");
        benchmark::DoNotOptimize(out);
    }
}

void Parse(benchmark::State& state, std::size_t index, bool makesString)
{
    const Subject& of = Of(index);
    const auto id = static_cast<o_char>(ko_type(of.type));
    const KoTypeMgr manager;
    std::vector<KoString> strings;
    for (const std::string& text : of.texts)
        strings.emplace_back(text.c_str());
    void* const value = manager.Create(id, 1);
    std::size_t i = 0;
    for (auto _ : state) {
        const std::size_t at = i++ % kCount;
        unsigned errorAt = 0;
        int code = 0;
        if (makesString) {
            const KoString string(of.texts[at].c_str());
            code = manager.ParseFromKoString(id, value, string, of.format, errorAt);
        } else {
            code = manager.ParseFromKoString(id, value, strings[at], of.format, errorAt);
        }
        if (code != 0)
            state.SkipWithError("a text was not read");
        benchmark::DoNotOptimize(value);
    }
    manager.Delete(id, value, 1);
}

std::vector<std::vector<unsigned char>> Stored(const Subject& of)
{
    std::vector<std::vector<unsigned char>> all;
    for (const std::string& text : of.texts) {
        std::vector<unsigned char> bytes(64);
        std::size_t size = bytes.size();
        ko_pack(ko_type(of.type), text.data(), text.size(), of.format, KO_LITTLE, bytes.data(),
                &size, nullptr);
        bytes.resize(size);
        all.push_back(bytes);
    }
    return all;
}

void Compare(benchmark::State& state, std::size_t index, bool direct)
{
    const Subject& of = Of(index);
    const int type = ko_type(of.type);
    auto all = Stored(of);
    const KoTypeMgr manager;
    std::size_t i = 0;
    for (auto _ : state) {
        auto& a = all[i % kCount];
        auto& b = all[(i++ * 7 + 1) % kCount];
        int order = 0;
        if (direct)
            order = manager.Cmp(static_cast<o_char>(type), static_cast<unsigned>(a.size()),
                                a.data(), static_cast<unsigned>(b.size()), b.data(), KoCMP_PLAIN, 1,
                                KoFMT_LITTLE, order);
        else
            ko_compare(type, a.data(), a.size(), b.data(), b.size(), KO_PLAIN, KO_LITTLE, &order);
        benchmark::DoNotOptimize(order);
    }
}

void Key(benchmark::State& state, std::size_t index, bool direct)
{
    const Subject& of = Of(index);
    const int type = ko_type(of.type);
    const auto all = Stored(of);
    const KoTypeMgr manager;
    std::size_t i = 0;
    for (auto _ : state) {
        const auto& bytes = all[i++ % kCount];
        unsigned char key[128];
        std::size_t size = sizeof key;
        if (direct)
            size = manager.SortKey(static_cast<o_char>(type), key, sizeof key, bytes.data(),
                                   KoFMT_LITTLE, 1, KoCMP_PLAIN);
        else
            ko_key(type, bytes.data(), bytes.size(), KO_PLAIN, KO_LITTLE, key, &size);
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(key);
    }
}

} // namespace

int main(int argc, char** argv)
{
    for (std::size_t index = 0; index < 4; ++index) {
        const std::string name = Of(index).name;
        const auto add = [&](const std::string& work, const char* peer, auto run) {
            benchmark::RegisterBenchmark((work + " " + name + "/" + peer).c_str(), run);
        };
        add("read", "ours", [index](benchmark::State& state) { Pack(state, index); });
        add("read", "reader", [index](benchmark::State& state) { Parse(state, index, false); });
        add("read", "reader and string",
            [index](benchmark::State& state) { Parse(state, index, true); });
        for (const bool direct : {false, true}) {
            const char* const peer = direct ? "dispatcher" : "ours";
            add("compare", peer,
                [index, direct](benchmark::State& state) { Compare(state, index, direct); });
            add("key", peer,
                [index, direct](benchmark::State& state) { Key(state, index, direct); });
        }
    }
    return RunWithRatios(argc, argv);
}
