#ifndef KO_BENCH_RATIO_H
#define KO_BENCH_RATIO_H

// Ours beside its peers, in one run. Benchmarks that do the same work are called "work/ours" and
// "work/peer"; their repetitions are mixed at random, and the ratios of the medians are printed
// after the times. Any option of Google Benchmark given on the command line comes after, and so
// overrides, the ones set here.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    RatioReporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median")
                continue;
            const std::string& name = run.run_name.function_name;
            const std::size_t slash = name.rfind('/');
            if (slash == std::string::npos)
                continue;
            m_works[name.substr(0, slash)][name.substr(slash + 1)] = run.GetAdjustedCPUTime();
        }
    }

    /// One line for each peer: how many times its speed ours has.
    void PrintRatios() const
    {
        for (const auto& [work, times] : m_works) {
            const auto ours = times.find("ours");
            if (ours == times.end())
                continue;
            for (const auto& [peer, time] : times)
                if (peer != "ours")
                    std::printf("%-40s %6.2f times the speed of %s\n", work.c_str(),
                                time / ours->second, peer.c_str());
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> m_works;
};

/// Runs what is registered and prints the ratios; the body of main.
inline int RunWithRatios(int argc, char** argv)
{
    std::vector<std::string> words = {
        argv[0], "--benchmark_repetitions=7", "--benchmark_min_time=0.05",
        "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    return 0;
}

#endif
