#ifndef KO_STORE_QUERY_CHOOSER_H
#define KO_STORE_QUERY_CHOOSER_H

#include "query/costs.h"
#include "query/plan.h"
#include "query/shares.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ko::store::inner
{

/// A way with what it is expected to take.
struct Weighed {
    Way way;
    Share share;               ///< of the objects that are on the way
    double numbers = 0.0;      ///< cost of getting their numbers
    double cost = 0.0;         ///< of the whole find
    std::uint64_t answers = 0; ///< conditions of an "and" that all these objects meet
};

/// Weighs the ways that indexes have for a condition.
class Chooser
{
public:
    /// What is handed over outlives the chooser.
    Chooser(Shares& shares, const Costs& costs, const Wanted& wanted);

    /// The cheapest way; none where no index helps.
    std::optional<Weighed> Best(const Narrowed& narrowed);
    /// What Best weighed, but within an "or"; where Wanted::tells.
    std::vector<Alternative> Told() && { return std::move(m_told); }
    /// The share of the objects that meet the condition: a limit ends a find before the last one.
    void SetFound(double share) { m_found = share; }
    /// The share of the objects that are looked at, of those on a way, before the limit is met.
    double Looked(double share) const;

private:
    std::vector<Weighed> Singles(const Narrowed& narrowed);
    std::optional<Weighed> OfEither(const Narrowed::Either& either);
    Weighed OfRange(const Narrowed::Part& part, std::uint64_t all);
    std::optional<Weighed> Both(const Weighed& a, const Weighed& b, std::uint64_t all);
    void Weigh(Weighed& weighed) const;
    void Tell(const Weighed& weighed);

    Shares& m_shares;
    const Costs& m_costs;
    const Wanted& m_wanted;
    double m_found = 0.0;
    unsigned m_depth = 0; ///< of conditions in an "or"
    std::vector<Alternative> m_told;
};

} // namespace ko::store::inner

#endif
