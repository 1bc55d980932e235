#include <kotms.h>

#include "ratio.h"

#include <chrono>
#include <random>
#include <string>
#include <vector>

// Dates beside the standard library's calendar, and stored dates and times beside numbers of 64
// bits that hold the same fields.

namespace
{

using namespace std::chrono;

constexpr std::size_t kCount = 4096;
constexpr int kDayOf1970 = 2440588;

/// Day numbers of the years 1600 to 2400, in no order.
std::vector<int> MakeDays()
{
    std::mt19937 random(1600);
    std::uniform_int_distribution<int> any(KoDate(1600, 1, 1).dayabs(),
                                           KoDate(2400, 12, 31).dayabs());
    std::vector<int> days(kCount);
    for (int& day : days)
        day = any(random);
    return days;
}

/// Gives `work` each of `inputs`: call by call, and into an array, where a compiler may make one
/// vector loop of the calls.
template <class Result, class Input, class Work>
void Register(const std::string& name, const std::string& whose, const std::vector<Input>& inputs,
              Work work)
{
    const auto add = [&](const std::string& full, auto keep) {
        benchmark::RegisterBenchmark(full.c_str(), [inputs, work, keep](benchmark::State& state) {
            std::vector<Result> results(inputs.size());
            for (auto _ : state) {
                for (std::size_t i = 0; i < inputs.size(); ++i)
                    keep(results[i], work(inputs[i]));
                benchmark::DoNotOptimize(results.data());
                benchmark::ClobberMemory();
            }
            state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                                    static_cast<std::int64_t>(inputs.size()));
        });
    };
    add(name + '/' + whose,
        [](Result&, const Result& result) { benchmark::DoNotOptimize(result); });
    add(name + "_array/" + whose, [](Result& kept, const Result& result) { kept = result; });
}

void RegisterCalendar()
{
    const std::vector<int> dayNumbers = MakeDays();
    std::vector<KoDate> dates;
    std::vector<year_month_day> peers;
    for (const int day : dayNumbers) {
        dates.emplace_back(day);
        peers.emplace_back(sys_days(days(day - kDayOf1970)));
    }
    Register<int>("date_to_day", "ours", dates, [](const KoDate& date) { return date.dayabs(); });
    Register<int>("date_to_day", "chrono", peers, [](const year_month_day& date) {
        return static_cast<int>(sys_days(date).time_since_epoch().count()) + kDayOf1970;
    });
    Register<KoDate>("day_to_date", "ours", dayNumbers, [](int day) { return KoDate(day); });
    Register<year_month_day>("day_to_date", "chrono", dayNumbers, [](int day) {
        return year_month_day(sys_days(days(day - kDayOf1970)));
    });
}

/// Stored elements, each compared with the one before it by the function of a type.
void RegisterCompare(const std::string& name, o_char id, unsigned char format,
                     const std::vector<unsigned char>& bytes)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        std::vector<unsigned char> elements = bytes;
        const std::size_t size = elements.size() / kCount;
        const KoTypeCmpFunc compare = KoTypeMgr().CmpFuncPtrGet(id);
        int status = 0;
        for (auto _ : state) {
            int sum = 0;
            for (std::size_t i = 1; i < kCount; ++i)
                sum += compare(format, 0, &elements[i * size], 0, &elements[(i - 1) * size], 0, 1,
                               status);
            benchmark::DoNotOptimize(sum);
        }
        state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                                static_cast<std::int64_t>(kCount - 1));
    });
}

/// Values of `span` days beside the same fields in one number.
void RegisterCompares(const std::string& work, unsigned span, unsigned char format)
{
    std::mt19937 random(span);
    std::vector<KoDateTime> values;
    std::vector<KoDateTimeN> precise;
    std::vector<o_8b> packed;
    for (std::size_t i = 0; i < kCount; ++i) {
        const KoDate date(2460000 + static_cast<int>(random() % span));
        const KoTime time(static_cast<int>(random() % 86400));
        values.emplace_back(date, time);
        precise.emplace_back(date, time);
        o_8b fields = date.Year();
        for (const int field :
             {date.Month(), date.Day(), time.Hour(), time.Minute(), time.Second()})
            fields = fields << 8 | field;
        packed.push_back(fields);
    }
    const KoTypeMgr manager;
    const auto store = [&](o_char id, const void* array) {
        std::vector<unsigned char> bytes(
            manager.DiskLenGet(id, array, format, kCount, KoFMT_MEMORY));
        manager.Store(id, bytes.data(), array, format, kCount);
        return bytes;
    };
    RegisterCompare(work + "/ours", KoDATIME_T, format, store(KoDATIME_T, values.data()));
    RegisterCompare(work + "/packed", Ko8B_T, format, store(Ko8B_T, packed.data()));
    RegisterCompare(work + "_n/ours", KoDATIME_N_T, format, store(KoDATIME_N_T, precise.data()));
    RegisterCompare(work + "_n/packed", Ko8B_T, format, store(Ko8B_T, packed.data()));
}

} // namespace

int main(int argc, char** argv)
{
    RegisterCalendar();
    RegisterCompares("compare_little", 10000, KoFMT_LITTLE);
    RegisterCompares("compare_big", 10000, KoFMT_BIG);
    RegisterCompares("compare_same_day", 1, KoFMT_BIG);
    return RunWithRatios(argc, argv);
}
