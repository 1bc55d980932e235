#include "query/explain.h"

#include "query/operators.h"
#include "query/planner.h"
#include "query/scan.h"

#include <memory>
#include <utility>
#include <vector>

namespace ko::store::inner
{

namespace
{

class Explainer
{
public:
    Explainer(Snapshot& snapshot, const std::string& predicate)
        : m_snapshot(snapshot), m_schema(snapshot.GetSchema()),
          m_condition(Condition::Make(ParsePredicate(predicate), predicate, m_schema)),
          m_plan(MakePlan(snapshot, m_condition, false))
    {
    }

    Explanation Run()
    {
        Count();
        for (std::size_t i = 0; i < m_plan.terms.size(); ++i)
            m_told.comparisons.push_back(Tell(m_plan.terms[i], m_met[i]));
        if (m_plan.range)
            m_told.part = {m_schema.Name(m_plan.range->attribute), Low(*m_plan.range),
                           High(*m_plan.range), m_plan.rangeShare};
        m_told.estimated = m_plan.share;
        m_told.actual = Share(m_told.found);
        return std::move(m_told);
    }

private:
    /// Runs the plan, and tests every comparison on every object.
    void Count()
    {
        Scan planned(m_snapshot, m_plan.range ? &*m_plan.range : nullptr, ScanOrder::Numbers,
                     &m_condition);
        m_told.found = planned.Count(UINT64_MAX);
        m_told.read = planned.Looked();
        m_met.resize(m_plan.terms.size());
        std::vector<std::unique_ptr<BlockFilter>> filters;
        for (const PlanTerm& term : m_plan.terms)
            filters.push_back(std::make_unique<BlockFilter>(*term.condition, m_snapshot));
        AllObjects all(m_snapshot, 1, kMaxObjectNumber);
        TruthBits truths;
        while (all.Next()) {
            const unsigned slots = all.Block().view->Slots();
            m_told.objects += CountBits(all.Slots(), slots);
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
        return m_told.objects == 0
                   ? 0.0
                   : static_cast<double>(count) / static_cast<double>(m_told.objects);
    }

    Explanation::Comparison Tell(const PlanTerm& term, std::uint64_t met) const
    {
        Explanation::Comparison told;
        told.predicate = Text(term);
        told.estimated = term.share;
        told.actual = Share(met);
        const std::size_t attribute = term.condition->attribute;
        told.hasIndex = m_schema.IsIndexed(attribute);
        if (told.hasIndex) {
            told.attribute = m_schema.Name(attribute);
            told.lowest = Printed(attribute, term.lowest);
            told.highest = Printed(attribute, term.highest);
        }
        if (term.range) {
            told.from = Low(*term.range);
            told.to = High(*term.range);
        }
        return told;
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
    const Condition m_condition;
    Plan m_plan;
    std::vector<std::uint64_t> m_met;
    Explanation m_told;
};

} // namespace

Explanation Explain(Snapshot& snapshot, const std::string& predicate)
{
    return Explainer(snapshot, predicate).Run();
}

} // namespace ko::store::inner
