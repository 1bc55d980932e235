#include "number/number_text.h"
#include "ratio.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace ko;

// Numbers to text and back under the formats of the types, beside the standard library, which
// interprets no format (to_chars, from_chars) or depends on the locale (snprintf, strtod).

namespace
{

constexpr std::size_t kCount = 1024;

template <class T>
struct Sample {
    std::vector<T> values;
    std::vector<std::string> texts;
};

template <class T, class Next>
Sample<T> MakeSample(const char* format, Next next)
{
    std::mt19937_64 random(12);
    Sample<T> sample;
    for (std::size_t i = 0; i < kCount; ++i) {
        sample.values.push_back(next(random));
        char text[64];
        const std::size_t length = PrintNumber(text, sizeof text, format, sample.values.back());
        sample.texts.emplace_back(text, length);
    }
    return sample;
}

template <class T, class Print>
void RegisterPrint(const std::string& name, const Sample<T>& sample, Print print)
{
    benchmark::RegisterBenchmark(name.c_str(), [&sample, print](benchmark::State& state) {
        char text[512];
        std::size_t i = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(print(text, sizeof text, sample.values[i++ % kCount]));
            benchmark::ClobberMemory();
        }
    });
}

template <class T, class Read>
void RegisterRead(const std::string& name, const Sample<T>& sample, Read read)
{
    benchmark::RegisterBenchmark(name.c_str(), [&sample, read](benchmark::State& state) {
        std::size_t i = 0;
        for (auto _ : state) {
            const std::string& text = sample.texts[i++ % kCount];
            T value{};
            read(text.data(), text.size(), value);
            benchmark::DoNotOptimize(value);
        }
    });
}

template <class T, class... Form>
auto ToChars(Form... form)
{
    return [=](char* out, std::size_t size, T value) {
        return static_cast<std::size_t>(std::to_chars(out, out + size, value, form...).ptr - out);
    };
}

template <class T>
auto Ours(const char* format)
{
    return
        [=](char* out, std::size_t size, T value) { return PrintNumber(out, size, format, value); };
}

template <class T>
void RegisterReading(const std::string& work, const Sample<T>& sample, const char* format)
{
    RegisterRead(work + "_leniently/ours", sample,
                 [=](const char* s, std::size_t n, T& value) { ScanNumber(value, s, n, format); });
    RegisterRead(work + "_strictly/ours", sample, [=](const char* s, std::size_t n, T& value) {
        unsigned errorAt;
        ParseNumber(value, s, n, format, errorAt);
    });
    for (const char* side : {"_leniently", "_strictly"}) {
        RegisterRead(
            work + side + "/from_chars", sample,
            [](const char* s, std::size_t n, T& value) { std::from_chars(s, s + n, value); });
        RegisterRead(work + side + "/strtox", sample, [](const char* s, std::size_t, T& value) {
            if constexpr (std::is_floating_point_v<T>)
                value = std::strtod(s, nullptr);
            else
                value = std::strtoll(s, nullptr, 10);
        });
    }
}

} // namespace

int main(int argc, char** argv)
{
    const auto integers = MakeSample<o_8b>("%I64d", [](std::mt19937_64& random) {
        const auto bits = static_cast<o_8b>(random());
        return bits >> (random() % 64);
    });
    RegisterPrint("print_int64/ours", integers, Ours<o_8b>("%I64d"));
    RegisterPrint("print_int64/to_chars", integers, ToChars<o_8b>());
    RegisterPrint("print_int64/snprintf", integers, [](char* out, std::size_t size, o_8b value) {
        return std::snprintf(out, size, "%lld", value);
    });
    RegisterPrint("print_int64_padded/ours", integers, Ours<o_8b>("[%+24I64d]"));
    RegisterPrint("print_int64_padded/snprintf", integers,
                  [](char* out, std::size_t size, o_8b value) {
                      return std::snprintf(out, size, "[%+24lld]", value);
                  });
    RegisterReading("read_int64", integers, "%I64d");

    const auto anyDoubles = MakeSample<double>("%.17g", [](std::mt19937_64& random) {
        double d;
        do
            d = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
        while (!(d - d == 0));
        return d;
    });
    const auto shortDoubles = MakeSample<double>("%.17g", [](std::mt19937_64& random) {
        return static_cast<double>(random() % 2000000) / 64;
    });
    const struct {
        const char* name;
        const Sample<double>& sample;
    } kinds[] = {{"any_double", anyDoubles}, {"short_double", shortDoubles}};
    for (const auto& [name, sample] : kinds) {
        const std::string print = std::string("print_") + name;
        RegisterPrint(print + "/ours", sample, Ours<double>("%.17g"));
        RegisterPrint(print + "/to_chars", sample, ToChars<double>(std::chars_format::general, 17));
        RegisterPrint(print + "/snprintf", sample, [](char* out, std::size_t size, double value) {
            return std::snprintf(out, size, "%.17g", value);
        });
        RegisterReading(std::string("read_") + name, sample, "%.17g");
    }
    RegisterPrint("print_fixed/ours", shortDoubles, Ours<double>("[%+10.3f]"));
    RegisterPrint("print_fixed/snprintf", shortDoubles,
                  [](char* out, std::size_t size, double value) {
                      return std::snprintf(out, size, "[%+10.3f]", value);
                  });
    return RunWithRatios(argc, argv);
}
