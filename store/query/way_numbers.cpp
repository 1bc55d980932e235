#include "query/way_numbers.h"

#include "base/object_id.h"
#include "query/range_walk.h"

#include <algorithm>
#include <array>
#include <bit>

namespace ko::store::inner
{

namespace
{

/// A bit for each object of a store of up to so many takes 8 MiB.
constexpr std::uint64_t kMostBits = std::uint64_t{1} << 26;
/// Numbers are marked in such bits where at least one object in so many has one.
constexpr std::uint64_t kSparse = 1024;

/// Sorts digit by digit, from the least significant on: in less time than by comparing.
void SortByDigits(std::vector<std::uint64_t>& numbers)
{
    constexpr unsigned kBits = 11;
    const std::uint64_t highest = *std::max_element(numbers.begin(), numbers.end());
    std::vector<std::uint64_t> sorted(numbers.size());
    for (unsigned shift = 0; highest >> shift != 0; shift += kBits) {
        const auto digit = [&](std::uint64_t number) {
            return number >> shift & ((1U << kBits) - 1);
        };
        std::array<std::size_t, (1U << kBits) + 1> starts{};
        for (const std::uint64_t number : numbers)
            ++starts[digit(number) + 1];
        for (std::size_t i = 1; i < starts.size(); ++i)
            starts[i] += starts[i - 1];
        for (const std::uint64_t number : numbers)
            sorted[starts[digit(number)]++] = number;
        numbers.swap(sorted);
    }
}

/// Objects by their numbers.
class Marks
{
public:
    explicit Marks(std::uint64_t end) : m_words(static_cast<std::size_t>(end / 64 + 1)) {}

    void Set(std::uint64_t number) { m_words[number / 64] |= std::uint64_t{1} << number % 64; }
    bool Has(std::uint64_t number) const
    {
        return number / 64 < m_words.size() && (m_words[number / 64] >> number % 64 & 1) != 0;
    }
    void List(std::vector<std::uint64_t>& numbers) const
    {
        numbers.clear();
        for (std::size_t word = 0; word < m_words.size(); ++word) {
            for (std::uint64_t left = m_words[word]; left != 0; left &= left - 1)
                numbers.push_back(word * 64 + static_cast<unsigned>(std::countr_zero(left)));
        }
    }

private:
    std::vector<std::uint64_t> m_words;
};

std::vector<std::uint64_t> OfRange(Snapshot& snapshot, const IndexRange& range)
{
    std::vector<std::uint64_t> numbers;
    numbers.reserve(kMostRowNumbers);
    RangeWalk(snapshot, range, ScanOrder::Numbers).Collect(numbers);
    return numbers;
}

/// Leaves the numbers that are in a range of an index as well.
void Keep(Snapshot& snapshot, const IndexRange& range, std::vector<std::uint64_t>& numbers)
{
    if (numbers.empty())
        return;
    if (range.attribute == kObjectIdIndex) {
        const IdRange ids = IdsOf(range);
        std::erase_if(
            numbers, [&](std::uint64_t number) { return number < ids.first || number > ids.last; });
        return;
    }
    const std::uint64_t end = numbers.back() + 1;
    std::optional<Marks> marks;
    if (end <= kMostBits) {
        marks.emplace(end);
        for (const std::uint64_t number : numbers)
            marks->Set(number);
    }
    std::vector<std::uint64_t> kept;
    std::vector<std::uint64_t> row;
    RangeWalk walk(snapshot, range, ScanOrder::Numbers);
    walk.ReadMany();
    while (walk.Next(row)) {
        for (const std::uint64_t number : row) {
            if (marks ? marks->Has(number)
                      : std::binary_search(numbers.begin(), numbers.end(), number))
                kept.push_back(number);
        }
        row.clear();
    }
    numbers.swap(kept);
    SortNumbers(numbers, end);
}

} // namespace

/// No comparison reads the tag of an id.
IdRange IdsOf(const IndexRange& range)
{
    const auto first = [](const IndexRange::Edge& edge) {
        if (edge.form.empty())
            return std::uint64_t{0}; // before all objects, behind null as well
        return ObjectNumber(edge.form.data()) + (edge.behind ? 1 : 0);
    };
    IdRange ids;
    ids.first = std::max(first(range.low), ids.first);
    if (range.high)
        ids.last = std::min(std::max<std::uint64_t>(first(*range.high), 1) - 1, ids.last);
    return ids;
}

void SortNumbers(std::vector<std::uint64_t>& numbers, std::uint64_t end)
{
    constexpr std::size_t kFew = 256;
    if (!std::is_sorted(numbers.begin(), numbers.end())) {
        const bool inRange =
            std::all_of(numbers.begin(), numbers.end(), [&](auto number) { return number < end; });
        if (numbers.size() < kFew) {
            std::sort(numbers.begin(), numbers.end());
        } else if (inRange && end <= kMostBits && end / kSparse <= numbers.size()) {
            Marks marks(end);
            for (const std::uint64_t number : numbers)
                marks.Set(number);
            marks.List(numbers);
            return;
        } else {
            SortByDigits(numbers);
        }
    }
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

std::vector<std::uint64_t> NumbersOf(Snapshot& snapshot, const Way& way)
{
    std::vector<std::uint64_t> numbers;
    const std::uint64_t end = snapshot.GetCounts().nextNumber;
    if (way.kind == Way::Kind::Range) {
        numbers = OfRange(snapshot, way.range);
        SortNumbers(numbers, end);
        return numbers;
    }
    if (way.kind == Way::Kind::Either) {
        for (const Way& part : way.parts) {
            const std::vector<std::uint64_t> others = NumbersOf(snapshot, part);
            numbers.insert(numbers.end(), others.begin(), others.end());
        }
        SortNumbers(numbers, end);
        return numbers;
    }
    // The first part has the fewest.
    numbers = NumbersOf(snapshot, way.parts[0]);
    for (std::size_t i = 1; i < way.parts.size(); ++i) {
        if (way.parts[i].kind == Way::Kind::Range) {
            Keep(snapshot, way.parts[i].range, numbers);
            continue;
        }
        const std::vector<std::uint64_t> others = NumbersOf(snapshot, way.parts[i]);
        std::vector<std::uint64_t> both;
        std::set_intersection(numbers.begin(), numbers.end(), others.begin(), others.end(),
                              std::back_inserter(both));
        numbers.swap(both);
    }
    return numbers;
}

} // namespace ko::store::inner
