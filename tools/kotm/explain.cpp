#include "explain.h"

#include "base/visible.h"
#include "object/object_store.h"
#include "output.h"
#include "query/operators.h"
#include "query/planner.h"
#include "query/scan.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <ostream>

namespace kotm
{

using namespace ko::store;
using namespace ko::store::inner;

namespace
{

using nlohmann::ordered_json;

std::string Percent(double share)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g %%", share * 100.0);
    return text;
}

class Explainer
{
public:
    Explainer(Snapshot& snapshot, const std::string& predicate)
        : m_snapshot(snapshot), m_schema(snapshot.GetSchema()), m_predicate(predicate),
          m_condition(Condition::Make(ParsePredicate(predicate), predicate, m_schema)),
          m_plan(MakePlan(snapshot, m_condition, false))
    {
        Count();
    }

    void WriteTable(std::ostream& out)
    {
        const std::vector<RowWriter::Column> columns = {{"predicate"}, {"index"}, {"lowest"},
                                                        {"highest"},   {"from"},  {"to"},
                                                        {"estimated"}, {"true"}};
        const auto writer = RowWriter::Make(RowWriter::Kind::Table, columns, out);
        for (std::size_t i = 0; i < m_plan.terms.size(); ++i) {
            const PlanTerm& term = m_plan.terms[i];
            const bool indexed = m_schema.IsIndexed(term.condition->attribute);
            writer->TextRow(columns,
                            {Text(term), indexed ? "yes" : "no", Lowest(term), Highest(term),
                             From(term), To(term), Percent(term.share), Percent(Share(m_met[i]))});
        }
        writer->TextRow(columns, {m_predicate, "", "", "", "", "", Percent(m_plan.share),
                                  Percent(Share(m_found))});
        writer->Finish();
        if (m_plan.range)
            out << "\nplan: index on " << Visible(m_schema.Name(m_plan.range->attribute))
                << ", from " << Visible(Low(*m_plan.range)) << " to "
                << Visible(High(*m_plan.range)) << ", about " << Percent(m_plan.rangeShare)
                << " of its entries\n";
        else
            out << "\nplan: all objects\n";
        out << "read " << m_read << ", found " << m_found << " of " << m_objects << '\n';
    }

    void WriteJson(std::ostream& out)
    {
        ordered_json conditions = ordered_json::array();
        for (std::size_t i = 0; i < m_plan.terms.size(); ++i) {
            const PlanTerm& term = m_plan.terms[i];
            ordered_json one{{"predicate", Text(term)}};
            if (m_schema.IsIndexed(term.condition->attribute)) {
                one["index"] = m_schema.Name(term.condition->attribute);
                one["bounds"] = {{"lowest", Lowest(term)}, {"highest", Highest(term)}};
                one["narrowed"] = {{"from", From(term)}, {"to", To(term)}};
            } else {
                one["index"] = nullptr;
            }
            one["estimated"] = term.share;
            one["true"] = Share(m_met[i]);
            conditions.push_back(std::move(one));
        }
        ordered_json plan{{"index", nullptr}};
        if (m_plan.range)
            plan = {{"index", m_schema.Name(m_plan.range->attribute)},
                    {"from", Low(*m_plan.range)},
                    {"to", High(*m_plan.range)},
                    {"estimatedEntries", m_plan.rangeShare}};
        plan["read"] = m_read;
        const ordered_json all{{"predicate", m_predicate},  {"conditions", std::move(conditions)},
                               {"estimated", m_plan.share}, {"true", Share(m_found)},
                               {"plan", std::move(plan)},   {"found", m_found},
                               {"objects", m_objects}};
        out << VisibleJson(all.dump(2, ' ', false, ordered_json::error_handler_t::replace)) << '\n';
    }

private:
    /// Runs the plan, and tests every comparison on every object.
    void Count()
    {
        Scan planned(m_snapshot, m_plan.range ? &*m_plan.range : nullptr, ScanOrder::Numbers,
                     &m_condition);
        m_found = planned.Count(UINT64_MAX);
        m_read = planned.Looked();
        m_met.resize(m_plan.terms.size());
        std::vector<std::unique_ptr<BlockFilter>> filters;
        for (const PlanTerm& term : m_plan.terms)
            filters.push_back(std::make_unique<BlockFilter>(*term.condition, m_snapshot));
        AllObjects all(m_snapshot, 1, kMaxObjectNumber);
        TruthBits truths;
        while (all.Next()) {
            const unsigned slots = all.Block().view->Slots();
            m_objects += CountBits(all.Slots(), slots);
            for (std::size_t i = 0; i < m_met.size(); ++i) {
                filters[i]->Test(all.Block(), all.Slots(), truths);
                const std::uint64_t met = CountBits(truths.met, slots);
                const std::uint64_t rest =
                    CountBits(all.Slots(), slots) - met - CountBits(truths.unknown, slots);
                m_met[i] += m_plan.terms[i].negated ? rest : met;
            }
        }
    }

    double Share(std::uint64_t count) const
    {
        return m_objects == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(m_objects);
    }

    std::string Printed(std::size_t attribute, const std::string& form) const
    {
        if (form.empty())
            return "null";
        std::string text;
        Value value{ValueType(m_schema.TypeId(attribute))};
        value.Load(form);
        value.Print(text, m_schema.Format(attribute));
        return text;
    }

    /// The comparison as it would be written.
    std::string Text(const PlanTerm& term) const
    {
        const Condition& condition = *term.condition;
        std::string text = (term.negated ? "not " : "") + m_schema.Name(condition.attribute);
        if (condition.kind == Predicate::Kind::IsNull)
            return text + " is null";
        if (condition.kind == Predicate::Kind::IsNotNull)
            return text + " is not null";
        const std::string value = condition.outside == Outside::No
                                      ? Printed(condition.attribute, condition.form)
                                      : condition.written;
        text += std::string(" ") + Symbol(condition.op) + " " +
                (ValueType(condition.type).IsText() ? "\"" + value + "\"" : value);
        return text + condition.Suffixes();
    }

    std::string Lowest(const PlanTerm& term) const { return End(term, term.lowest); }
    std::string Highest(const PlanTerm& term) const { return End(term, term.highest); }
    std::string End(const PlanTerm& term, const std::string& form) const
    {
        const bool indexed = m_schema.IsIndexed(term.condition->attribute);
        return indexed ? Printed(term.condition->attribute, form) : "";
    }
    std::string From(const PlanTerm& term) const { return term.range ? Low(*term.range) : ""; }
    std::string To(const PlanTerm& term) const { return term.range ? High(*term.range) : ""; }
    /// An open end is the first or last value; a range that holds nothing has neither.
    std::string Low(const IndexRange& range) const
    {
        if (range.IsNone())
            return "(none)";
        if (range.low.form.empty())
            return range.low.behind ? "(first)" : "null";
        return Printed(range.attribute, range.low.form);
    }
    std::string High(const IndexRange& range) const
    {
        if (range.IsNone())
            return "(none)";
        if (!range.high)
            return "(last)";
        return range.high->shown.empty() ? Printed(range.attribute, range.high->form)
                                         : range.high->shown;
    }

    Snapshot& m_snapshot;
    const Schema& m_schema;
    const std::string& m_predicate;
    const Condition m_condition;
    Plan m_plan;
    std::vector<std::uint64_t> m_met;
    std::uint64_t m_objects = 0;
    std::uint64_t m_read = 0;
    std::uint64_t m_found = 0;
};

} // namespace

void Explain(const ExplainRequest& request, std::ostream& out)
{
    const std::unique_ptr<Snapshot> snapshot = ObjectStore::Open(request.store, Mode::Read)->Read();
    Explainer explainer(*snapshot, request.predicate);
    if (request.json)
        explainer.WriteJson(out);
    else
        explainer.WriteTable(out);
}

} // namespace kotm
