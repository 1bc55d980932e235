// How far the estimates that statistics give are from the truth, over tables of many kinds: the
// median, the 90th and the 99th percentile of the larger of estimate and truth through the smaller,
// at least one object each, for random single conditions and for predicates of two or three. Then
// what gathering took for each value and an estimate for each predicate.
//
//     statistics_accuracy [CONDITIONS [ROWS [SEED [CSV SCHEMA.json]]]]

#include "store/generated_table.h"
#include "store/random_conditions.h"

#include "block/dictionary.h"
#include "query/condition_question.h"
#include "statistics/estimator.h"
#include "statistics/statistics_builder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <random>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

/// Time of the processor, so that other programs have no part in it.
double Now()
{
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double Nanoseconds(double since)
{
    return Now() - since;
}

/// Statistics that were gathered as an import does, and read back.
struct Gathered {
    explicit Gathered(const Table& table)
    {
        const std::size_t attributes = table.columns.size();
        StatisticsBuilder builder(table.schema, 16U << 20);
        std::vector<Dictionary> dictionaries(attributes);
        std::vector<std::vector<std::uint32_t>> hints;
        std::vector<Cell> cells(table.Rows() * attributes);
        for (std::size_t i = 0; i < attributes; ++i) {
            const Table::Column& column = table.columns[i];
            hints.emplace_back(column.forms.size());
            for (std::size_t row = 0; row < table.Rows(); ++row) {
                const std::string& form = column.forms[column.rows[row]];
                const bool varies = table.schema.attributes[i].type.FixedSize() == 0;
                cells[row * attributes + i] =
                    varies ? dictionaries[i].Place(form) : Cell::OfForm(form);
            }
        }
        double start = Now();
        for (std::size_t row = 0; row < table.Rows(); ++row) {
            builder.Begin(row + 1);
            for (std::size_t i = 0; i < attributes; ++i) {
                const std::uint32_t value = table.columns[i].rows[row];
                builder.Add(i, cells[row * attributes + i], table.columns[i].forms[value],
                            hints[i][value]);
            }
        }
        perValue = Nanoseconds(start) / static_cast<double>(table.Rows() * attributes);
        start = Now();
        builder.Finish([&](std::size_t attribute,
                           std::uint32_t entry) { return dictionaries[attribute].Form(entry); },
                       [&](std::string_view key, std::string_view sealed) {
                           rows[std::string(key)] = sealed;
                           bytes += sealed.size();
                       });
        finish = Nanoseconds(start);
        statistics = Statistics::Open(table.schema, [this](const std::string& key) {
            const auto row = rows.find(key);
            return row == rows.end() ? std::nullopt : std::optional<std::string_view>(row->second);
        });
        start = Now();
        for (std::size_t i = 0; i < attributes; ++i)
            statistics->RestBefore(i);
        load = Nanoseconds(start);
    }

    double perValue;
    double finish;
    double load;
    std::size_t bytes = 0;
    std::map<std::string, std::string> rows;
    std::unique_ptr<Statistics> statistics;
};

struct Errors {
    struct One {
        double error;
        double estimate;
        double truth;
        std::string predicate;
    };
    std::vector<One> all;
    std::vector<double> times;

    void Print(const char* table, const char* kind)
    {
        const auto percentile = [](auto& sorted, std::size_t percent) -> auto&
        {
            return sorted[std::min(sorted.size() - 1, sorted.size() * percent / 100)];
        };
        std::sort(all.begin(), all.end(),
                  [](const One& a, const One& b) { return a.error < b.error; });
        std::sort(times.begin(), times.end());
        std::printf("%-12s %-10s %8.3f %8.3f %8.2f %10.1f %10.1f\n", table, kind,
                    percentile(all, 50).error, percentile(all, 90).error, percentile(all, 99).error,
                    percentile(times, 50) / 1000, percentile(times, 99) / 1000);
        if (std::getenv("KOTM_WORST") == nullptr)
            return;
        for (std::size_t i = all.size() - std::min<std::size_t>(all.size(), 25); i < all.size();
             ++i)
            std::printf("    %8.2f  estimate %.1f truth %.0f  %s\n", all[i].error, all[i].estimate,
                        all[i].truth, all[i].predicate.c_str());
    }
};

Errors::One Measure(const Table& table, Statistics& statistics, RandomConditions& conditions,
                    const std::string& predicate, std::vector<double>& times)
{
    const Condition condition = Condition::Make(ParsePredicate(predicate), predicate, table.schema);
    const double start = Now();
    const Question question = QuestionOf(condition);
    const double estimate = std::max(Estimator(statistics).Of(question).objects, 1.0);
    times.push_back(Nanoseconds(start));
    const double truth = std::max(static_cast<double>(conditions.Count(condition)), 1.0);
    return {std::max(estimate / truth, truth / estimate), estimate, truth, predicate};
}

void Report(const char* name, const Table& table, std::size_t count, unsigned seed, Errors& singles,
            Errors& several)
{
    const Gathered gathered(table);
    RandomConditions conditions(table, seed);
    Errors single;
    Errors more;
    for (std::size_t i = 0; i < count; ++i) {
        single.all.push_back(
            Measure(table, *gathered.statistics, conditions, conditions.Single(), single.times));
        more.all.push_back(
            Measure(table, *gathered.statistics, conditions, conditions.Several(), more.times));
    }
    for (const auto& [from, to] : {std::pair(&single, &singles), std::pair(&more, &several)}) {
        to->all.insert(to->all.end(), from->all.begin(), from->all.end());
        to->times.insert(to->times.end(), from->times.begin(), from->times.end());
    }
    single.Print(name, "single");
    more.Print(name, "several");
    std::printf(
        "    %zu objects, %zu attributes: gathering %.1f ns a value and %.1f ms in the end; "
        "%.2f MB, loaded in %.2f ms\n",
        table.Rows(), table.columns.size(), gathered.perValue, gathered.finish / 1e6,
        static_cast<double>(gathered.bytes) / 1e6, gathered.load / 1e6);
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    const auto number = [&](int at, unsigned long otherwise) {
        return count > at ? std::strtoul(arguments[at], nullptr, 10) : otherwise;
    };
    const std::size_t conditions = number(1, 1500);
    const std::size_t rows = number(2, 200'000);
    const auto seed = static_cast<unsigned>(number(3, 1));
    std::printf("%-12s %-10s %8s %8s %8s %10s %10s\n", "table", "predicates", "median", "90", "99",
                "us median", "us 99");
    Errors singles;
    Errors several;
    if (count > 5) {
        Report("file", FromCsv(arguments[4], arguments[5]), conditions, seed, singles, several);
        return 0;
    }
    std::mt19937_64 random(seed);
    const Table sample =
        FromCsv(KOTM_EXAMPLES "/birdstrikes.csv", KOTM_EXAMPLES "/birdstrikes.schema.json");
    Report("sample", sample, conditions, seed, singles, several);
    Report("enlarged", Enlarged(sample, rows, random), conditions, seed, singles, several);
    Report("generated", Generated(rows, random), conditions, seed, singles, several);
    singles.Print("all", "single");
    several.Print("all", "several");
    return 0;
}
