#include "query/explain.h"

#include "query/answer.h"
#include "query/operators.h"
#include "query/planner.h"
#include "query/scan.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace ko::store::inner
{

namespace
{

Explanation::Source SourceOf(const Share& share)
{
    using Told = Explanation::Source;
    switch (share.source) {
    case Share::Source::Walk:
        return Told::IndexWalk;
    case Share::Source::Types:
        return Told::Fallback;
    case Share::Source::Statistics:
        break;
    }
    switch (share.estimate) {
    case Estimate::Source::Counts:
        return Told::Counted;
    case Estimate::Source::CommonValues:
        return Told::CommonValues;
    case Estimate::Source::Histogram:
    case Estimate::Source::Evaluator: // inside of one of its buckets
        return Told::Histogram;
    case Estimate::Source::Sample:
        return Told::Sample;
    case Estimate::Source::Combined:
        return Told::Combined;
    }
    return Told::Fallback;
}

class Explainer
{
public:
    Explainer(Snapshot& snapshot, const Query& query)
        : m_snapshot(snapshot), m_schema(snapshot.GetSchema()), m_query(query),
          m_condition(Condition::Make(ParsePredicate(query.predicate), query.predicate, m_schema)),
          m_plan(MakePlan(snapshot, &m_condition, WantedOf(m_schema, query)))
    {
    }

    Explanation Run()
    {
        RunPlan();
        Count();
        for (std::size_t i = 0; i < m_plan.terms.size(); ++i)
            m_told.comparisons.push_back(Tell(m_plan.terms[i], m_plan.shares[i], m_met[i]));
        for (const Alternative& one : m_plan.alternatives) {
            m_told.alternatives.push_back(Tell(one));
            if (one.chosen && one.way && one.way->kind == inner::Way::Kind::Range)
                m_told.part = m_told.alternatives.back().way.part;
        }
        if (m_plan.age)
            m_told.statistics = {m_plan.age->objects, m_plan.age->added, m_plan.age->erased};
        m_told.estimated = m_plan.found.share;
        m_told.source = SourceOf(m_plan.found);
        return std::move(m_told);
    }

private:
    static Wanted WantedOf(const Schema& schema, const Query& query)
    {
        Wanted wanted;
        wanted.limit = query.limit;
        wanted.tells = true;
        if (!query.order.empty() && PlaceOf(schema, query.order) != kObjectIdIndex)
            wanted.order = PlaceOf(schema, query.order);
        return wanted;
    }

    void RunPlan()
    {
        const inner::Way* const way = m_plan.way ? &*m_plan.way : nullptr;
        if (!m_plan.inOrder) {
            const bool isWhole =
                !m_query.order.empty() && PlaceOf(m_schema, m_query.order) != kObjectIdIndex;
            Scan scan(m_snapshot, way, &m_condition);
            m_told.found =
                std::min(scan.Count(isWhole ? UINT64_MAX : m_query.limit), m_query.limit);
            m_told.read = scan.Looked();
            return;
        }
        Scan scan(m_snapshot, &way->range,
                  m_query.descending ? ScanOrder::Backwards : ScanOrder::Forwards, &m_condition);
        while (m_told.found < m_query.limit) {
            const auto most =
                std::min<std::uint64_t>(m_query.limit - m_told.found, Scan::kMostTogether);
            const std::size_t found = scan.Next(static_cast<std::size_t>(most)).size();
            if (found == 0)
                break;
            m_told.found += found;
        }
        m_told.read = scan.Looked();
    }

    /// Tests the condition, and every comparison of it, on every object.
    void Count()
    {
        m_met.resize(m_plan.terms.size());
        std::vector<std::unique_ptr<BlockFilter>> filters;
        for (const PlanTerm& term : m_plan.terms)
            filters.push_back(std::make_unique<BlockFilter>(*term.condition, m_snapshot));
        BlockFilter filter(m_condition, m_snapshot);
        AllObjects all(m_snapshot, 1, kMaxObjectNumber);
        TruthBits truths;
        std::uint64_t found = 0;
        while (all.Next()) {
            const unsigned slots = all.Block().view->Slots();
            m_told.objects += CountBits(all.Slots(), slots);
            filter.Test(all.Block(), all.Slots(), truths);
            found += CountBits(truths.met, slots);
            for (std::size_t i = 0; i < m_met.size(); ++i) {
                filters[i]->Test(all.Block(), all.Slots(), truths);
                const std::uint64_t met = CountBits(truths.met, slots);
                const std::uint64_t rest =
                    CountBits(all.Slots(), slots) - met - CountBits(truths.unknown, slots);
                m_met[i] += m_plan.terms[i].negated ? rest : met;
            }
        }
        m_told.actual = Part(found);
    }

    double Part(std::uint64_t count) const
    {
        return m_told.objects == 0
                   ? 0.0
                   : static_cast<double>(count) / static_cast<double>(m_told.objects);
    }

    Explanation::Way Tell(const inner::Way& way, double share) const
    {
        using Kind = Explanation::Way::Kind;
        Explanation::Way told;
        if (way.kind == inner::Way::Kind::Range) {
            told.kind = Kind::Index;
            told.part = {m_schema.Name(way.range.attribute), Low(way.range), High(way.range),
                         share};
            return told;
        }
        told.kind = way.kind == inner::Way::Kind::Both ? Kind::Both : Kind::Either;
        for (std::size_t i = 0; i < way.parts.size(); ++i)
            told.ways.push_back(Tell(way.parts[i], way.parts[i].share));
        return told;
    }

    Explanation::Alternative Tell(const Alternative& one) const
    {
        Explanation::Alternative told;
        if (one.way)
            told.way = Tell(*one.way, one.way->share);
        if (one.inOrder)
            told.way.kind = Explanation::Way::Kind::InOrder;
        told.share = one.share;
        told.cost = one.cost / 1000.0;
        told.chosen = one.chosen;
        return told;
    }

    Explanation::Comparison Tell(const PlanTerm& term, const Share& share, std::uint64_t met) const
    {
        Explanation::Comparison told;
        told.predicate = Text(term);
        told.estimated = share.share;
        told.source = SourceOf(share);
        told.actual = Part(met);
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
    const Query& m_query;
    const Condition m_condition;
    Plan m_plan;
    std::vector<std::uint64_t> m_met;
    Explanation m_told;
};

} // namespace

Explanation Explain(Snapshot& snapshot, const Query& query)
{
    return Explainer(snapshot, query).Run();
}

} // namespace ko::store::inner
