// How far the estimates of plans are from the truth: for random conditions of several classes the
// median and the 95th percentile of max(estimate / true, true / estimate), on the example data and
// on keys that are spread evenly. Shares below that of one object count as one object's.

#include "store/random_predicate.h"
#include "store/test_files.h"

#include "import/importer.h"
#include "object/object_store.h"
#include "query/planner.h"
#include "query/scan.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>

namespace
{

using namespace ko::store::inner;

double ErrorOf(Snapshot& snapshot, const std::string& predicate)
{
    const Condition condition =
        Condition::Make(ParsePredicate(predicate), predicate, snapshot.GetSchema());
    Wanted wanted;
    wanted.tells = true;
    const Plan plan = MakePlan(snapshot, &condition, wanted);
    const auto found = static_cast<double>(
        Scan(snapshot, nullptr, ScanOrder::Numbers, &condition).Count(UINT64_MAX));
    const auto objects = static_cast<double>(snapshot.GetCounts().objects);
    const double share = std::max(plan.found.share, 1.0 / objects);
    const double truth = std::max(found, 1.0) / objects;
    return std::max(share / truth, truth / share);
}

void Report(Snapshot& snapshot, const char* data, const char* predicates,
            const std::function<std::string()>& make)
{
    constexpr std::size_t kCount = 200;
    std::vector<double> errors;
    for (std::size_t i = 0; i < kCount; ++i)
        errors.push_back(ErrorOf(snapshot, make()));
    std::sort(errors.begin(), errors.end());
    std::printf("%-8s %-26s %10.2f %14.2f\n", data, predicates, errors[kCount / 2],
                errors[kCount * 95 / 100]);
}

/// Classes of conditions on a number and on texts.
void ReportClasses(const std::string& path, const char* data, const char* number,
                   const std::vector<const char*>& texts)
{
    const std::unique_ptr<Snapshot> snapshot = ObjectStore::Open(path, Mode::Read)->Read();
    const Schema& schema = snapshot->GetSchema();
    RandomPredicates random(*snapshot, 11);
    const auto attribute = [&](const char* name) {
        return static_cast<std::size_t>(schema.Find(name) - schema.attributes.data());
    };
    const auto text = [&] { return texts[random.Below(texts.size())]; };
    const auto inequality = [&] {
        static const char* const kOperators[] = {" < ", " <= ", " > ", " >= "};
        return kOperators[random.Below(4)];
    };
    const auto quoted = [&](const char* name) {
        return RandomPredicates::Quoted(random.Literal(attribute(name)));
    };
    const auto range = [&](const char* name) { return name + (inequality() + quoted(name)); };
    Report(*snapshot, data, "number =", [&] { return number + (" = " + quoted(number)); });
    Report(*snapshot, data, "number range", [&] { return range(number); });
    Report(*snapshot, data, "number range and range",
           [&] { return range(number) + " and " + range(number); });
    if (schema.Find("date") != nullptr)
        Report(*snapshot, data, "date range", [&] { return range("date"); });
    Report(*snapshot, data, "text =", [&] {
        const char* name = text();
        return name + (" = " + quoted(name));
    });
    Report(*snapshot, data, "text range", [&] { return range(text()); });
    Report(*snapshot, data, "text pattern with a prefix", [&] {
        const char* name = text();
        const std::string& whole = random.Literal(attribute(name));
        const std::size_t shared = std::string_view(name) == "name" ? 4 : 0;
        const std::size_t kept = RandomPredicates::Cut(whole, shared + 1 + random.Below(3));
        std::string pattern = RandomPredicates::Quoted(whole.substr(0, kept));
        pattern.back() = '*';
        return name + (" = " + pattern + "\"");
    });
    Report(*snapshot, data, "text pattern without", [&] {
        const char* name = text();
        const std::string& whole = random.Literal(attribute(name));
        const std::size_t behind = whole.size() > 4 ? whole.size() - 4 : 0;
        const std::string part = whole.substr(RandomPredicates::Cut(whole, behind));
        std::string pattern = RandomPredicates::Quoted(part);
        pattern.back() = '*';
        return name + (" = \"*" + pattern.substr(1) + "\"");
    });
    Report(*snapshot, data, "and", [&] { return range(number) + " and " + range(text()); });
    Report(*snapshot, data, "or", [&] { return range(number) + " or " + range(text()); });
}

} // namespace

int main()
{
    const TestFolder folder;
    const auto import = [&](const char* name, const std::string& csv, const std::string& schema) {
        const ko::store::ImportRequest request{folder.Path(name), csv, {}};
        Import(request, Schema::FromJson(schema, name), std::cerr);
        return request.store;
    };
    std::printf("%-8s %-26s %10s %14s\n", "data", "condition", "median", "95 of 100");
    ReportClasses(import("sample", KOTM_EXAMPLES "/birdstrikes.csv",
                         ReadAll(KOTM_EXAMPLES "/birdstrikes.schema.json")),
                  "sample", "speed", {"state", "species"});

    std::string csv = "number,name\n";
    std::mt19937 random(5);
    std::vector<int> numbers(10000);
    for (int i = 0; i < 10000; ++i)
        numbers[static_cast<std::size_t>(i)] = i;
    for (std::size_t i = numbers.size(); i > 1; --i)
        std::swap(numbers[i - 1], numbers[random() % i]);
    for (const int number : numbers) {
        csv += std::to_string(number) + ",key-";
        for (int i = 0; i < 3; ++i)
            csv += static_cast<char>('a' + random() % 26);
        csv += "\n";
    }
    ReportClasses(import("even", folder.Write("csv", csv), R"({"class": "Even", "attributes": [
      {"name": "number", "column": "number", "type": "o_4b", "index": true},
      {"name": "name", "column": "name", "type": "KoString", "index": true}]})"),
                  "even", "number", {"name"});
    return 0;
}
