#ifndef KO_STORE_STATISTICS_ESTIMATOR_H
#define KO_STORE_STATISTICS_ESTIMATOR_H

#include "statistics/attribute_estimate.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// Estimates for the questions of one plan. What it found out of a comparison it remembers.
class Estimator
{
public:
    /// The statistics outlive it.
    explicit Estimator(Statistics& statistics) : m_statistics(statistics) {}

    /// Of the objects that the store had when the statistics were made. A predicate of several
    /// comparisons is tested on the sample, whose objects are given weights so that every single
    /// comparison has its own estimate there (iterative proportional fitting, Deming and Stephan,
    /// 1940). Fewer hits than kEnoughHits only correct what the single estimates make.
    Estimate Of(const Question& question);
    double Objects() const { return static_cast<double>(m_statistics.Objects()); }
    Statistics& Known() const { return m_statistics; }

private:
    /// A comparison, two that are the ends of one range, or a question for null.
    struct Leaf {
        Estimate estimate;
        std::size_t attribute = 0;
        bool isNull = false; ///< a question for null, or for values with `isValue`
        bool isValue = false;
        SampleTruth truth{};
        std::size_t objects = 0;        ///< of the sample, the first ones, that were tested
        std::vector<std::uint64_t> met; ///< a bit for each that meets it; none until they are asked
    };
    /// A predicate over some of the leaves.
    struct Tree {
        std::vector<std::size_t> order;  ///< the leaf of each comparison, as they are written
        std::vector<std::size_t> leaves; ///< of these, each once
    };
    /// Comparisons of an "and" that are parts of one leaf.
    using Joined = std::map<const Question*, std::size_t>;

    AttributeEstimate& OfAttribute(std::size_t attribute);
    void Gather(const Question& question, Tree& tree, const Joined& joined);
    Joined JoinRanges(const Question& question);
    std::size_t LeafOf(const Question& question);
    Leaf MakeLeaf(const Question& question);
    Leaf MakeRange(const Question& low, const Question& high);
    void Mark(Leaf& leaf, std::size_t objects);
    double Combined(const Question& question, const Tree& tree, std::size_t& next) const;
    Estimate OnSample(const Question& question, const Tree& tree, double combined);
    std::vector<double> CountCells(const Tree& tree, std::size_t objects) const;
    std::vector<double> FitCells(const Tree& tree, std::vector<double> cells) const;

    Statistics& m_statistics;
    std::map<std::size_t, AttributeEstimate> m_attributes;
    std::map<std::string, std::size_t, std::less<>> m_leafOf; ///< by what they ask
    std::vector<Leaf> m_leaves;
};

} // namespace ko::store::inner

#endif
