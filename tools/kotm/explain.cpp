#include "explain.h"

#include "output.h"
#include "text.h"

#include <kostore.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <ostream>

namespace kotm
{

using ko::store::Explanation;
using ko::store::Visible;

namespace
{

using nlohmann::ordered_json;

std::string Percent(double share)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g %%", share * 100.0);
    return text;
}

const char* NameOf(Explanation::Source source)
{
    using Source = Explanation::Source;
    switch (source) {
    case Source::Counted:
        return "counted";
    case Source::CommonValues:
        return "common values";
    case Source::Histogram:
        return "histogram";
    case Source::Sample:
        return "sample";
    case Source::Combined:
        return "combined";
    case Source::IndexWalk:
        return "walk of index";
    case Source::Fallback:
        break;
    }
    return "fallback";
}

std::string Text(const Explanation::Way& way)
{
    using Kind = Explanation::Way::Kind;
    switch (way.kind) {
    case Kind::AllObjects:
        return "all objects";
    case Kind::Index:
    case Kind::InOrder:
        return "index on " + way.part.attribute + ", from " + way.part.from + " to " + way.part.to +
               ", about " + Percent(way.part.share) + " of its entries" +
               (way.kind == Kind::InOrder ? ", in its order" : "");
    case Kind::Both:
    case Kind::Either:
        break;
    }
    std::string text;
    for (const Explanation::Way& part : way.ways) {
        if (!text.empty())
            text += way.kind == Kind::Both ? " and " : " or ";
        text += "(" + Text(part) + ")";
    }
    return text;
}

ordered_json Json(const Explanation::Way& way)
{
    using Kind = Explanation::Way::Kind;
    if (way.kind == Kind::AllObjects)
        return {{"index", nullptr}};
    if (way.kind == Kind::Index || way.kind == Kind::InOrder) {
        ordered_json json{{"index", way.part.attribute},
                          {"from", way.part.from},
                          {"to", way.part.to},
                          {"estimatedEntries", way.part.share}};
        if (way.kind == Kind::InOrder)
            json["inOrder"] = true;
        return json;
    }
    ordered_json parts = ordered_json::array();
    for (const Explanation::Way& part : way.ways)
        parts.push_back(Json(part));
    return {{way.kind == Kind::Both ? "both" : "either", std::move(parts)}};
}

/// The way that was chosen.
const Explanation::Way& Chosen(const Explanation& told)
{
    static const Explanation::Way kAll;
    for (const Explanation::Alternative& one : told.alternatives) {
        if (one.chosen)
            return one.way;
    }
    return kAll;
}

void WriteAlternatives(const Explanation& told, std::ostream& out)
{
    const std::vector<RowWriter::Column> columns = {{"way"}, {"looks at"}, {"cost"}, {"chosen"}};
    const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
    for (const Explanation::Alternative& one : told.alternatives) {
        char cost[32];
        std::snprintf(cost, sizeof cost, "%.4g us", one.cost);
        writer->TextRow(columns,
                        {Text(one.way), Percent(one.share), cost, one.chosen ? "yes" : ""});
    }
    writer->Finish();
}

void WriteTable(const Explanation& told, const std::string& predicate, std::ostream& out)
{
    const std::vector<RowWriter::Column> columns = {{"predicate"}, {"index"}, {"lowest"},
                                                    {"highest"},   {"from"},  {"to"},
                                                    {"estimated"}, {"true"},  {"estimated by"}};
    const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
    for (const Explanation::Comparison& one : told.comparisons)
        writer->TextRow(columns, {one.predicate, one.hasIndex ? "yes" : "no", one.lowest,
                                  one.highest, one.from, one.to, Percent(one.estimated),
                                  Percent(one.actual), NameOf(one.source)});
    writer->TextRow(columns, {predicate, "", "", "", "", "", Percent(told.estimated),
                              Percent(told.actual), NameOf(told.source)});
    writer->Finish();
    if (told.statistics)
        out << "\nstatistics: of " << told.statistics->objects << " objects, "
            << told.statistics->added << " added and " << told.statistics->erased
            << " erased since\n";
    else
        out << "\nstatistics: none\n";
    out << '\n';
    WriteAlternatives(told, out);
    out << "\nplan: " << Visible(Text(Chosen(told))) << '\n';
    out << "read " << told.read << ", found " << told.found << " of " << told.objects << '\n';
}

void WriteJson(const Explanation& told, const std::string& predicate, std::ostream& out)
{
    ordered_json conditions = ordered_json::array();
    for (const Explanation::Comparison& comparison : told.comparisons) {
        ordered_json one{{"predicate", comparison.predicate}};
        if (comparison.hasIndex) {
            one["index"] = comparison.attribute;
            one["bounds"] = {{"lowest", comparison.lowest}, {"highest", comparison.highest}};
            one["narrowed"] = {{"from", comparison.from}, {"to", comparison.to}};
        } else {
            one["index"] = nullptr;
        }
        one["estimated"] = comparison.estimated;
        one["true"] = comparison.actual;
        one["estimatedBy"] = NameOf(comparison.source);
        conditions.push_back(std::move(one));
    }
    ordered_json statistics = nullptr;
    if (told.statistics)
        statistics = {{"objects", told.statistics->objects},
                      {"added", told.statistics->added},
                      {"erased", told.statistics->erased}};
    ordered_json alternatives = ordered_json::array();
    for (const Explanation::Alternative& one : told.alternatives) {
        ordered_json way = Json(one.way);
        way["looksAt"] = one.share;
        way["microseconds"] = one.cost;
        way["chosen"] = one.chosen;
        alternatives.push_back(std::move(way));
    }
    ordered_json plan = Json(Chosen(told));
    plan["read"] = told.read;
    const ordered_json all{{"predicate", predicate},
                           {"conditions", std::move(conditions)},
                           {"estimated", told.estimated},
                           {"true", told.actual},
                           {"estimatedBy", NameOf(told.source)},
                           {"statistics", std::move(statistics)},
                           {"plan", std::move(plan)},
                           {"alternatives", std::move(alternatives)},
                           {"found", told.found},
                           {"objects", told.objects}};
    out << VisibleJson(all.dump(2, ' ', false, ordered_json::error_handler_t::replace)) << '\n';
}

} // namespace

void Explain(const ExplainRequest& request, std::ostream& out)
{
    const Explanation told = ko::store::Store::Open(request.store).Read().Explain(request.query);
    if (request.json)
        WriteJson(told, request.query.predicate, out);
    else
        WriteTable(told, request.query.predicate, out);
}

} // namespace kotm
