#include "ratio.h"

#include <kodate.h>
#include <kodatetime.h>
#include <kotime.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>

// Dates and times to text and back, beside the functions of the C library that know the same
// directives. Ours prints into a new KoString, its allocation included, and reads from one; the
// peers use a buffer of their caller.

namespace
{

constexpr unsigned kMany = 1024;

/// Dates and times between 1900 and 2100, in an order that branch prediction cannot learn.
struct Moments {
    KoDateTime value[kMany];
    std::tm peer[kMany] = {};

    Moments()
    {
        std::mt19937 random(1);
        const auto below = [&random](int limit) {
            return static_cast<int>(random() % static_cast<unsigned>(limit));
        };
        for (unsigned i = 0; i < kMany; ++i) {
            const KoDate date(2415021 + below(73049));
            const KoTime time(below(24), below(60), below(60));
            value[i] = KoDateTime(date, time);
            std::tm& tm = peer[i];
            tm.tm_year = date.Year() - 1900;
            tm.tm_mon = date.Month() - 1;
            tm.tm_mday = date.Day();
            tm.tm_hour = time.Hour();
            tm.tm_min = time.Minute();
            tm.tm_sec = time.Second();
            tm.tm_wday = (date.dayabs() + 1) % 7;
        }
    }
};

const Moments& Shared()
{
    static const Moments moments;
    return moments;
}

template <class Work>
void Walk(benchmark::State& state, Work work)
{
    unsigned i = 0;
    for (auto _ : state) {
        work(i);
        i = (i + 1) % kMany;
    }
}

/// February's weekdays are ours alone, and so are two names of months.
bool SameText(const char* ours, const char* peer, const std::tm& tm)
{
    return std::strcmp(ours, peer) == 0 || tm.tm_mon < 2;
}

void Print(const char* work, const char* format)
{
    for (unsigned i = 0; i < kMany; ++i) {
        KoString text;
        Shared().value[i].PrintToKoString(text, format);
        char buffer[80];
        std::strftime(buffer, sizeof buffer, format, &Shared().peer[i]);
        if (!SameText(text.StrGet(), buffer, Shared().peer[i])) {
            std::fprintf(stderr, "%s is not %s\n", text.StrGet(), buffer);
            std::exit(1);
        }
    }
    const std::string name = std::string("print ") + work;
    benchmark::RegisterBenchmark((name + "/ours").c_str(), [format](benchmark::State& state) {
        Walk(state, [format](unsigned i) {
            KoString text;
            Shared().value[i].PrintToKoString(text, format);
            benchmark::DoNotOptimize(text);
        });
    });
    benchmark::RegisterBenchmark((name + "/strftime").c_str(), [format](benchmark::State& state) {
        Walk(state, [format](unsigned i) {
            char buffer[80];
            std::strftime(buffer, sizeof buffer, format, &Shared().peer[i]);
            benchmark::DoNotOptimize(buffer);
        });
    });
}

#ifndef _WIN32
struct Texts {
    KoString ours[kMany];

    explicit Texts(const char* format)
    {
        for (unsigned i = 0; i < kMany; ++i)
            Shared().value[i].PrintToKoString(ours[i], format);
    }
};

void Scan(const char* work, const char* format)
{
    auto* texts = new Texts(format); // for the benchmarks, which run to the end of the program
    for (unsigned i = 0; i < kMany; ++i) {
        KoDateTime read;
        read.ScanFromKoString(texts->ours[i], format);
        std::tm tm = {};
        strptime(texts->ours[i].StrGet(), format, &tm);
        if (read.Date().Day() != tm.tm_mday || read.Time().Minute() != tm.tm_min) {
            std::fprintf(stderr, "%s is not read alike\n", texts->ours[i].StrGet());
            std::exit(1);
        }
    }
    const std::string name = std::string("scan ") + work;
    benchmark::RegisterBenchmark((name + "/ours").c_str(),
                                 [texts, format](benchmark::State& state) {
                                     Walk(state, [texts, format](unsigned i) {
                                         KoDateTime read(KoDate(0, 0, 0), KoTime(0, 0, 0));
                                         read.ScanFromKoString(texts->ours[i], format);
                                         benchmark::DoNotOptimize(read);
                                     });
                                 });
    benchmark::RegisterBenchmark((name + "/strptime").c_str(),
                                 [texts, format](benchmark::State& state) {
                                     Walk(state, [texts, format](unsigned i) {
                                         std::tm tm = {};
                                         strptime(texts->ours[i].StrGet(), format, &tm);
                                         benchmark::DoNotOptimize(tm);
                                     });
                                 });
}
#endif

} // namespace

int main(int argc, char** argv)
{
    Print("date", "%Y-%m-%d");
    Print("date and time", "%Y-%m-%dT%H:%M:%S");
    Print("names", "%a %d.%b %Y %H:%M:%S");
    Print("sentence", "on %A, the %d of %B %Y, at %H:%M and %S seconds");
#ifndef _WIN32
    Scan("date", "%Y-%m-%d");
    Scan("date and time", "%Y-%m-%dT%H:%M:%S");
    Scan("names", "%a %d.%b %Y %H:%M:%S");
#endif
    return RunWithRatios(argc, argv);
}
