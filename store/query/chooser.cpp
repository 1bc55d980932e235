#include "query/chooser.h"

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

namespace
{

bool IsById(const Way& way)
{
    return way.kind == Way::Kind::Range && way.range.attribute == kObjectIdIndex;
}

} // namespace

Chooser::Chooser(Shares& shares, const Costs& costs, const Wanted& wanted)
    : m_shares(shares), m_costs(costs), m_wanted(wanted)
{
}

double Chooser::Looked(double share) const
{
    const double found = m_found * m_costs.Objects();
    const auto limit = static_cast<double>(m_wanted.limit);
    // Nothing is looked at in parts where all of it is put in order.
    if (m_wanted.order || m_depth != 0 || limit >= found)
        return share;
    return share * limit / found;
}

/// The cost of a way whose numbers cost what they do.
void Chooser::Weigh(Weighed& weighed) const
{
    const double looked = Looked(weighed.share.share);
    if (IsById(weighed.way))
        weighed.cost = m_costs.InOrder(looked);
    else if (m_wanted.countOnly && weighed.way.exact)
        weighed.cost = weighed.numbers;
    else
        weighed.cost =
            weighed.numbers + m_costs.ByNumber(looked * m_costs.Objects(), !weighed.way.exact);
}

Weighed Chooser::OfRange(const Narrowed::Part& part, std::uint64_t all)
{
    Weighed one;
    one.way = Way::Of(part.range);
    one.answers = part.answers;
    one.way.exact = one.answers == all;
    one.share = m_shares.OfRange(part.range, part.share);
    one.way.share = one.share.share;
    const double entries = one.share.share * m_costs.Objects();
    if (!IsById(one.way))
        one.numbers = m_costs.Entries(entries, m_shares.Rows(part.range, entries));
    Weigh(one);
    return one;
}

/// The objects that meet one of several conditions, of which each has to have a way.
std::optional<Weighed> Chooser::OfEither(const Narrowed::Either& either)
{
    Weighed all;
    all.way.kind = Way::Kind::Either;
    all.way.exact = true;
    double none = 1.0;
    for (const Narrowed& part : *either.parts) {
        ++m_depth;
        std::optional<Weighed> best = Best(part);
        --m_depth;
        if (!best || IsById(best->way))
            return {};
        all.numbers += best->numbers;
        all.way.exact = all.way.exact && best->way.exact;
        none *= 1.0 - best->share.share;
        all.way.parts.push_back(std::move(best->way));
    }
    all.answers = all.way.exact ? either.answers : 0;
    all.share = m_shares.OfWay(all.way, 1.0 - none);
    all.way.share = all.share.share;
    return all;
}

std::vector<Weighed> Chooser::Singles(const Narrowed& narrowed)
{
    std::vector<Weighed> singles;
    for (const auto& [attribute, part] : narrowed.parts)
        singles.push_back(OfRange(part, narrowed.all));
    for (const Narrowed::Either& either : narrowed.either) {
        if (auto one = OfEither(either)) {
            one->way.exact = one->answers == narrowed.all;
            Weigh(*one);
            singles.push_back(std::move(*one));
        }
    }
    std::sort(singles.begin(), singles.end(),
              [](const Weighed& a, const Weighed& b) { return a.share.share < b.share.share; });
    return singles;
}

/// The objects that are on both ways; none where finding them costs more than one way does alone.
std::optional<Weighed> Chooser::Both(const Weighed& a, const Weighed& b, std::uint64_t all)
{
    Weighed both;
    both.numbers = a.numbers + b.numbers;
    if (both.numbers >= a.cost && !m_wanted.tells)
        return {};
    both.answers = a.answers | b.answers;
    both.way.kind = Way::Kind::Both;
    both.way.exact = both.answers == all;
    if (a.way.kind == Way::Kind::Both)
        both.way.parts = a.way.parts;
    else
        both.way.parts.push_back(a.way);
    both.way.parts.push_back(b.way);
    both.share = m_shares.OfWay(both.way, a.share.share * b.share.share);
    both.share.share = std::min({both.share.share, a.share.share, b.share.share});
    both.way.share = both.share.share;
    Weigh(both);
    return both;
}

void Chooser::Tell(const Weighed& weighed)
{
    if (m_wanted.tells && m_depth == 0)
        m_told.push_back({weighed.way, false, weighed.share.share, weighed.cost, false});
}

std::optional<Weighed> Chooser::Best(const Narrowed& narrowed)
{
    const std::vector<Weighed> singles = Singles(narrowed);
    if (singles.empty())
        return {};
    const Weighed* best = &singles[0];
    for (const Weighed& one : singles) {
        Tell(one);
        if (one.cost < best->cost)
            best = &one;
    }
    // From the rarest on, as long as one more makes it cheaper.
    std::optional<Weighed> several;
    for (const Weighed& one : singles) {
        const Weighed& until = several ? *several : singles[0];
        if (&one == &singles[0] || IsById(one.way) || IsById(until.way))
            continue;
        std::optional<Weighed> both = Both(until, one, narrowed.all);
        if (!both)
            continue;
        Tell(*both);
        if (both->cost < until.cost)
            several = std::move(both);
    }
    return several && several->cost < best->cost ? *several : *best;
}

} // namespace ko::store::inner
