#include "histogram.h"

#include "text.h"

#include <algorithm>
#include <compare>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kotm
{

using ko::store::AttributeStatistics;
using ko::store::Visible;

namespace
{

constexpr std::size_t kRows = 20;
constexpr std::size_t kFewestMarks = 10; ///< of the longest bar

/// The objects with values up to `high` that are above the part before.
struct Part {
    const std::string* high;
    std::uint64_t objects;
    bool alone; ///< they all have the value `high`
};

/// Common values and buckets in one ascending list.
std::vector<Part> PartsOf(ko::Type type, const AttributeStatistics& about)
{
    const auto isBelow = [&](const std::string& a, const std::string& b) {
        const auto order =
            ko::Compare(type, std::as_bytes(std::span(a)), std::as_bytes(std::span(b)),
                        ko::Word::plain, ko::Order::little);
        return order && std::is_lt(*order);
    };
    std::vector<Part> parts;
    auto common = about.common.begin();
    for (const AttributeStatistics::Bucket& bucket : about.buckets) {
        for (; common != about.common.end() && isBelow(common->form, bucket.high); ++common)
            parts.push_back({&common->form, common->objects, true});
        parts.push_back({&bucket.high, bucket.objects, bucket.distinct == 1});
    }
    for (; common != about.common.end(); ++common)
        parts.push_back({&common->form, common->objects, true});
    return parts;
}

struct Row {
    std::string from; ///< empty: there is one value, `to`
    std::string to;
    std::uint64_t objects;
};

/// Joins parts until a row has its share of the objects, and leaves one with a share alone.
std::vector<Row> RowsOf(const ko::store::Attribute& attribute, const AttributeStatistics& about)
{
    ko::store::Codec codec(attribute);
    const auto text = [&](const std::string& form) {
        std::string utf8;
        codec.Print(form, utf8);
        return utf8;
    };
    const std::vector<Part> parts = PartsOf(attribute.type, about);
    std::uint64_t all = 0;
    for (const Part& part : parts)
        all += part.objects;
    const std::uint64_t full = parts.size() <= kRows ? 1 : all / kRows + 1;
    std::vector<Row> rows;
    const std::string* before = &about.lowest;
    for (std::size_t i = 0; i < parts.size();) {
        std::size_t end = i;
        std::uint64_t objects = 0;
        do {
            objects += parts[end++].objects;
        } while (end < parts.size() && objects < full && parts[end].objects < full);
        const bool alone = end == i + 1 && parts[i].alone;
        const Part& last = parts[end - 1];
        rows.push_back({alone ? "" : text(*before), text(*last.high), objects});
        before = last.high;
        i = end;
    }
    return rows;
}

std::string Padded(const std::string& text, std::size_t width, bool right)
{
    const std::string pad(width - std::min(width, CountCharacters(text)), ' ');
    return right ? pad + text : text + pad;
}

} // namespace

void DrawHistogram(const ko::store::Attribute& attribute, const AttributeStatistics& about,
                   std::size_t width, std::ostream& out)
{
    const std::size_t mostText = std::max<std::size_t>(width / 4, 8);
    struct Line {
        std::string from, to, count;
        std::uint64_t objects;
    };
    std::vector<Line> lines;
    std::size_t widths[3] = {};
    std::uint64_t most = 1;
    for (const Row& row : RowsOf(attribute, about)) {
        lines.push_back({row.from.empty() ? "" : Visible(row.from, mostText) + " ..",
                         Visible(row.to, mostText), std::to_string(row.objects), row.objects});
        const Line& line = lines.back();
        widths[0] = std::max(widths[0], CountCharacters(line.from));
        widths[1] = std::max(widths[1], CountCharacters(line.to));
        widths[2] = std::max(widths[2], line.count.size());
        most = std::max(most, row.objects);
    }
    const std::size_t taken = widths[0] + widths[1] + widths[2] + 4;
    const std::size_t marks = std::max(width - std::min(width, taken), kFewestMarks);
    for (const Line& line : lines) {
        // At least one for what is there.
        const auto bar =
            static_cast<std::size_t>(static_cast<double>(line.objects) / static_cast<double>(most) *
                                     static_cast<double>(marks));
        out << Padded(line.from, widths[0], true) << (widths[0] != 0 ? " " : "")
            << Padded(line.to, widths[1], false) << ' ' << Padded(line.count, widths[2], true)
            << ' ' << std::string(line.objects == 0 ? 0 : std::max<std::size_t>(bar, 1), '#')
            << '\n';
    }
}

} // namespace kotm
