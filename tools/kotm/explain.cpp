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

void WriteTable(const Explanation& told, const std::string& predicate, std::ostream& out)
{
    const std::vector<RowWriter::Column> columns = {{"predicate"}, {"index"}, {"lowest"},
                                                    {"highest"},   {"from"},  {"to"},
                                                    {"estimated"}, {"true"}};
    const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
    for (const Explanation::Comparison& one : told.comparisons)
        writer->TextRow(columns,
                        {one.predicate, one.hasIndex ? "yes" : "no", one.lowest, one.highest,
                         one.from, one.to, Percent(one.estimated), Percent(one.actual)});
    writer->TextRow(columns,
                    {predicate, "", "", "", "", "", Percent(told.estimated), Percent(told.actual)});
    writer->Finish();
    if (told.part)
        out << "\nplan: index on " << Visible(told.part->attribute) << ", from "
            << Visible(told.part->from) << " to " << Visible(told.part->to) << ", about "
            << Percent(told.part->share) << " of its entries\n";
    else
        out << "\nplan: all objects\n";
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
        conditions.push_back(std::move(one));
    }
    ordered_json plan{{"index", nullptr}};
    if (told.part)
        plan = {{"index", told.part->attribute},
                {"from", told.part->from},
                {"to", told.part->to},
                {"estimatedEntries", told.part->share}};
    plan["read"] = told.read;
    const ordered_json all{{"predicate", predicate},      {"conditions", std::move(conditions)},
                           {"estimated", told.estimated}, {"true", told.actual},
                           {"plan", std::move(plan)},     {"found", told.found},
                           {"objects", told.objects}};
    out << VisibleJson(all.dump(2, ' ', false, ordered_json::error_handler_t::replace)) << '\n';
}

} // namespace

void Explain(const ExplainRequest& request, std::ostream& out)
{
    const Explanation told =
        ko::store::Store::Open(request.store).Read().Explain(request.predicate);
    if (request.json)
        WriteJson(told, request.predicate, out);
    else
        WriteTable(told, request.predicate, out);
}

} // namespace kotm
