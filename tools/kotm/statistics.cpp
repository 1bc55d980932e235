#include "statistics.h"

#include "histogram.h"
#include "output.h"
#include "text.h"

#include <kostore.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <ostream>
#include <vector>

namespace kotm
{

using ko::store::Attribute;
using ko::store::AttributeStatistics;
using ko::store::Error;
using ko::store::ErrorCode;
using ko::store::Schema;
using ko::store::StoreStatistics;
using ko::store::Visible;

namespace
{

using nlohmann::ordered_json;

constexpr std::size_t kMostShown = 24;   ///< characters of a value in a table
constexpr std::size_t kCommonOfEach = 3; ///< common values in the table of all attributes
constexpr std::size_t kCommonOfOne = 20; ///< and in that of one

std::string TextOf(ko::store::Codec& codec, const std::string& form)
{
    std::string text;
    codec.Print(form, text);
    return text;
}

double Share(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0.0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::string Percent(std::uint64_t part, std::uint64_t whole)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f %%", Share(part, whole) * 100.0);
    return text;
}

std::string Distinct(const AttributeStatistics& about)
{
    return (about.exact ? "" : "about ") + std::to_string(about.distinct);
}

/// Most objects first; of equal ones the lowest value.
std::vector<AttributeStatistics::Common> MostFirst(const AttributeStatistics& about)
{
    std::vector<AttributeStatistics::Common> common = about.common;
    std::stable_sort(common.begin(), common.end(),
                     [](const auto& a, const auto& b) { return a.objects > b.objects; });
    return common;
}

void WriteHead(const StoreStatistics& told, std::ostream& out)
{
    out << "objects " << told.objects << ", sample " << told.sample << "; since then added "
        << told.added << ", erased " << told.erased << "\n\n";
}

void WriteAll(const Schema& schema, const StoreStatistics& told, std::ostream& out)
{
    const std::vector<RowWriter::Column> columns = {{"attribute"},      {"type"},   {"null", true},
                                                    {"distinct", true}, {"lowest"}, {"highest"},
                                                    {"most common"}};
    const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
    for (std::size_t i = 0; i < schema.attributes.size(); ++i) {
        const AttributeStatistics& about = told.attributes[i];
        ko::store::Codec codec(schema.attributes[i]);
        const auto value = [&](const std::string& form) {
            return form.empty() ? std::string() : Visible(TextOf(codec, form), kMostShown);
        };
        const std::vector<AttributeStatistics::Common> common = MostFirst(about);
        std::string most;
        for (std::size_t at = 0; at < std::min(common.size(), kCommonOfEach); ++at)
            most += (at == 0 ? "" : ", ") + value(common[at].form) + ' ' +
                    Percent(common[at].objects, told.objects);
        writer->TextRow(columns,
                        {schema.attributes[i].name, std::string(schema.attributes[i].type.Name()),
                         Percent(about.nulls, told.objects), Distinct(about), value(about.lowest),
                         value(about.highest), most});
    }
    writer->Finish();
}

void WriteCommon(const Attribute& attribute, const StoreStatistics& told,
                 const AttributeStatistics& about, std::ostream& out)
{
    ko::store::Codec codec(attribute);
    const std::vector<AttributeStatistics::Common> common = MostFirst(about);
    const std::vector<RowWriter::Column> columns = {
        {"most common"}, {"objects", true}, {"share", true}};
    const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
    for (std::size_t i = 0; i < std::min(common.size(), kCommonOfOne); ++i)
        writer->TextRow(columns, {Visible(TextOf(codec, common[i].form), 2 * kMostShown),
                                  std::to_string(common[i].objects),
                                  Percent(common[i].objects, told.objects)});
    writer->Finish();
    if (common.size() > kCommonOfOne)
        out << "and " << common.size() - kCommonOfOne << " more\n";
}

void WriteOne(const Attribute& attribute, const StoreStatistics& told,
              const AttributeStatistics& about, std::size_t width, std::ostream& out)
{
    ko::store::Codec codec(attribute);
    out << "attribute " << Visible(attribute.name) << " (" << attribute.type.Name() << "), null "
        << about.nulls << " (" << Percent(about.nulls, told.objects) << "), distinct "
        << Distinct(about) << '\n';
    if (about.lowest.empty())
        return;
    out << "lowest " << Visible(TextOf(codec, about.lowest)) << "\nhighest "
        << Visible(TextOf(codec, about.highest)) << "\n\n";
    if (!about.common.empty()) {
        WriteCommon(attribute, told, about, out);
        out << '\n';
    }
    DrawHistogram(attribute, about, width, out);
}

ordered_json ToJson(const Attribute& attribute, const StoreStatistics& told,
                    const AttributeStatistics& about)
{
    ko::store::Codec codec(attribute);
    const auto value = [&](const std::string& form) {
        return form.empty() ? ordered_json() : ordered_json(TextOf(codec, form));
    };
    ordered_json common = ordered_json::array();
    for (const auto& one : MostFirst(about))
        common.push_back({{"value", value(one.form)},
                          {"objects", one.objects},
                          {"share", Share(one.objects, told.objects)}});
    ordered_json histogram = ordered_json::array();
    for (const AttributeStatistics::Bucket& one : about.buckets)
        histogram.push_back({{"to", value(one.high)},
                             {"objects", one.objects},
                             {"withHighest", one.ofHigh},
                             {"distinct", one.distinct}});
    return {{"name", attribute.name},
            {"type", attribute.type.Name()},
            {"nulls", about.nulls},
            {"nullShare", Share(about.nulls, told.objects)},
            {"distinct", about.distinct},
            {"exact", about.exact},
            {"lowest", value(about.lowest)},
            {"highest", value(about.highest)},
            {"sample", about.sample},
            {"common", std::move(common)},
            {"histogram", std::move(histogram)}};
}

} // namespace

void ShowStatistics(const StatisticsRequest& request, std::ostream& out)
{
    auto now = ko::store::Store::Open(request.store).Read();
    const Schema& schema = now.GetSchema();
    const bool one = !request.attribute.empty();
    const std::size_t place = one ? schema.Place(request.attribute) : 0;
    const auto told = now.GetStatistics();
    if (!told)
        throw Error(ErrorCode::Usage, ko::store::NameOf(request.store) +
                                          ": has no statistics: \"kotm analyze\" makes them");
    if (request.json) {
        ordered_json all{{"objects", told->objects},
                         {"sample", told->sample},
                         {"added", told->added},
                         {"erased", told->erased},
                         {"attributes", ordered_json::array()}};
        for (std::size_t i = 0; i < schema.attributes.size(); ++i) {
            if (!one || i == place)
                all["attributes"].push_back(
                    ToJson(schema.attributes[i], *told, told->attributes[i]));
        }
        out << VisibleJson(all.dump(2, ' ', false, ordered_json::error_handler_t::replace)) << '\n';
        return;
    }
    WriteHead(*told, out);
    if (one)
        WriteOne(schema.attributes[place], *told, told->attributes[place], request.width, out);
    else
        WriteAll(schema, *told, out);
}

void Analyze(const std::string& store, std::ostream& messages)
{
    const std::uint64_t objects = ko::store::Store::Open(store, ko::store::Mode::Change).Analyze();
    messages << "objects counted " << objects << '\n';
}

} // namespace kotm
