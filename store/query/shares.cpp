#include "query/shares.h"

#include "query/condition_question.h"
#include "query/range_walk.h"

#include <algorithm>
#include <cmath>

namespace ko::store::inner
{

namespace
{

/// So many entries of a range are counted in less time than it takes to know better, and so many
/// where statistics know that they are few.
constexpr std::uint64_t kMostCounted = 200;
constexpr std::uint64_t kMostExpected = 50;
/// Statistics are old when more than one in so many objects came or went since.
constexpr std::uint64_t kOld = 100;
/// An edge of a longer form may have objects to look at beside it.
constexpr std::size_t kMostEdge = 128;

bool IsSame(const IndexRange::Edge& a, const IndexRange::Edge& b)
{
    return a.behind == b.behind && a.form == b.form;
}

bool IsSame(const IndexRange& a, const IndexRange& b)
{
    return a.attribute == b.attribute && IsSame(a.low, b.low) &&
           a.high.has_value() == b.high.has_value() && (!a.high || IsSame(*a.high, *b.high));
}

} // namespace

Shares::Shares(Snapshot& snapshot, Estimator* estimator, std::span<const PlanTerm> terms)
    : m_snapshot(snapshot), m_estimator(estimator), m_terms(terms),
      m_objects(std::max(static_cast<double>(snapshot.GetCounts().objects), 1.0)),
      m_mostCounted(kMostCounted)
{
    if (estimator == nullptr)
        return;
    const Counts& now = snapshot.GetCounts();
    const Statistics::Age age = estimator->Known().AgeAt(now.objects, now.nextNumber);
    if (age.added + age.erased <= now.objects / kOld)
        m_mostCounted = kMostExpected;
}

/// Counts the first entries of a range; null where that costs more than it tells.
const Shares::Counted* Shares::Walk(const IndexRange& range, std::uint64_t most)
{
    if (m_snapshot.EngineReach() == Reach::Server || range.attribute == kObjectIdIndex ||
        (range.low.form.empty() && !range.high) || range.low.form.size() > kMostEdge ||
        (range.high && range.high->form.size() > kMostEdge))
        return nullptr;
    auto same = std::find_if(m_counted.begin(), m_counted.end(),
                             [&](const Counted& one) { return IsSame(one.range, range); });
    if (same == m_counted.end())
        same = m_counted.insert(same, {range, 1, 0});
    if (!same->IsAll() && same->most < most)
        *same = {range, RangeWalk(m_snapshot, range, ScanOrder::Numbers).Count(most + 1), most};
    return &*same;
}

std::optional<std::uint64_t> Shares::Count(const IndexRange& range, std::uint64_t most)
{
    const Counted* const counted = Walk(range, most);
    if (counted == nullptr || !counted->IsAll() || counted->entries > most)
        return {};
    return counted->entries;
}

Share Shares::OfQuestion(const Question& question)
{
    const Estimate estimate = m_estimator->Of(question);
    // Statistics grow old: what came since is taken to be like the rest.
    return {std::clamp(estimate.objects / std::max(m_estimator->Objects(), 1.0), 0.0, 1.0),
            Share::Source::Statistics, estimate.source};
}

/// Types know the ends of an index and nothing of what lies between: one high number makes all
/// others look alike. Where reading everything for that takes many times what it costs, the entries
/// are counted, as far as few rows hold them.
std::optional<std::uint64_t> Shares::CountBlindly(const IndexRange& range)
{
    constexpr double kPays = 50'000.0;
    if (m_estimator != nullptr || m_objects < kPays || range.attribute == kObjectIdIndex ||
        (range.low.form.empty() && !range.high))
        return {};
    return RangeWalk(m_snapshot, range, ScanOrder::Numbers).CountFew();
}

Share Shares::OfRange(const IndexRange& range, double byTypes)
{
    if (range.IsNone())
        return {0.0, Share::Source::Statistics, Estimate::Source::Counts};
    Share share{byTypes, Share::Source::Types};
    if (m_estimator != nullptr && range.attribute != kObjectIdIndex)
        share = OfQuestion(QuestionOf(range));
    // What is expected to be much is not counted.
    if (share.source == Share::Source::Statistics &&
        share.share * m_objects > static_cast<double>(m_mostCounted))
        return share;
    if (const auto few = CountBlindly(range))
        return {static_cast<double>(*few) / m_objects, Share::Source::Walk};
    const Counted* const counted = Walk(range, m_mostCounted);
    if (counted == nullptr)
        return share;
    const double entries = static_cast<double>(counted->entries) / m_objects;
    if (counted->IsAll())
        return {entries, Share::Source::Walk};
    // There are more than were counted, whatever old statistics say.
    share.share = std::max(share.share, entries);
    return share;
}

Share Shares::OfWay(const Way& way, double byTypes)
{
    if (m_estimator == nullptr)
        return {byTypes, Share::Source::Types};
    return OfQuestion(QuestionOf(way));
}

Share Shares::OfCondition(const Condition& condition, bool negated, double byTypes)
{
    if (m_estimator == nullptr)
        return {byTypes, Share::Source::Types};
    if (AsksForIds(condition))
        return WithIds(condition, negated);
    return OfQuestion(QuestionOf(condition, negated));
}

/// Ids are taken to be independent of values.
Share Shares::WithIds(const Condition& condition, bool negated)
{
    using Kind = Predicate::Kind;
    if (condition.kind == Kind::Not)
        return OfCondition(condition.parts[0], !negated, 1.0);
    if (condition.parts.empty()) {
        const auto term = std::find_if(m_terms.begin(), m_terms.end(), [&](const PlanTerm& one) {
            return one.condition == &condition;
        });
        return {term != m_terms.end() ? term->share : 1.0, Share::Source::Types};
    }
    const bool isAnd = (condition.kind == Kind::And) != negated;
    double all = 1.0;
    for (const Condition& part : condition.parts) {
        const double one = OfCondition(part, negated, 1.0).share;
        all *= isAnd ? one : 1.0 - one;
    }
    return {isAnd ? all : 1.0 - all, Share::Source::Statistics, Estimate::Source::Combined};
}

/// A text that repeats is tested once and then looked up by its code; numbers are remembered as
/// long as they are few. bench/store/plan_costs measures all this.
TestCost Shares::TestLeaf(const Condition& condition)
{
    if (!condition.DependsOnValue())
        return {1.5, 15.0};
    if (m_estimator == nullptr || condition.attribute == kObjectIdIndex)
        return {};
    const Summary& summary = m_estimator->Known().Of(condition.attribute);
    const double all = std::max(static_cast<double>(summary.objects), 1.0);
    const double values = static_cast<double>(summary.Values()) / all;
    const double distinct = static_cast<double>(summary.distinct) / all;
    if (m_snapshot.GetSchema().IsText(condition.attribute))
        return {2.0 + 110.0 * distinct, 25.0 + 100.0 * distinct};
    return {2.0 + 11.0 * values + 8.0 * distinct, 30.0};
}

Shares::Tested Shares::Test(const Condition& condition, bool negated)
{
    using Kind = Predicate::Kind;
    if (condition.kind == Kind::Not)
        return Test(condition.parts[0], !negated);
    if (condition.parts.empty()) {
        constexpr double kUnknown = 1.0 / 3.0;
        const double share = m_estimator == nullptr || condition.attribute == kObjectIdIndex
                                 ? kUnknown
                                 : OfCondition(condition, negated, kUnknown).share;
        return {TestLeaf(condition), share};
    }
    const bool isAnd = (condition.kind == Kind::And) != negated;
    Tested all{{0.0, 0.0}, 1.0};
    double open = 1.0;
    for (const Condition& part : condition.parts) {
        const Tested one = Test(part, negated);
        // A word of slots is looked at where any of its objects is open.
        constexpr double kSlots = 64.0;
        constexpr double kOfWord = 0.4;
        all.cost.ofAll +=
            one.cost.ofAll * std::max(open, kOfWord * (1.0 - std::pow(1.0 - open, kSlots)));
        all.cost.ofOne += one.cost.ofOne * open;
        open *= isAnd ? one.share : 1.0 - one.share;
    }
    all.share = isAnd ? open : 1.0 - open;
    return all;
}

TestCost Shares::CostOf(const Condition& condition)
{
    return Test(condition, false).cost;
}

double Shares::Rows(const IndexRange& range, double objects)
{
    const double full = objects / kMostRowNumbers + 1.0;
    if (range.high && IsSame({range.low.form, true}, *range.high))
        return full;
    constexpr double kUnknown = 0.5;
    double each = kUnknown; // of these there is a row
    if (m_estimator != nullptr && range.attribute != kObjectIdIndex) {
        const Summary& summary = m_estimator->Known().Of(range.attribute);
        each = std::min(static_cast<double>(summary.distinct) /
                            std::max(static_cast<double>(summary.Values()), 1.0),
                        1.0);
    }
    return full + objects * each;
}

} // namespace ko::store::inner
