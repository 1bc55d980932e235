#include "statistics/estimator.h"

#include "block/bits.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ko::store::inner
{

namespace
{

using Kind = Question::Kind;

/// Predicates of more comparisons are not tested on the sample: cells are 2 to the power of these.
constexpr std::size_t kMostLeaves = 6;
/// And of more than these on a part of it, for a plan has little time.
constexpr std::size_t kFullLeaves = 4;
constexpr unsigned kMostFits = 20;
/// A predicate is tested on so many objects of the sample first, and on all of them only where
/// fewer than these hits, which are off by a twentieth, came of it.
constexpr std::size_t kFirstObjects = 8192;
constexpr double kSureHits = 400.0;
/// How sure single estimates that were combined are, as so many objects of the sample. It is also
/// what no hits at all count as: conditions that exclude each other are frequent among these.
constexpr double kCombinedWeight = 0.2;
/// What is not known to be nothing is more than that.
constexpr double kLeast = 0.5;

/// Which of 64 bytes are not 0.
std::uint64_t Pack(const std::uint8_t* bytes)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        const auto eight = GetLittle<std::uint64_t>(reinterpret_cast<const char*>(bytes) + 8 * i);
        bits |= (eight * 0x0102040810204080) >> 56 << 8 * i;
    }
    return bits;
}

/// Bits of the first objects whose code is one that `isMet` says 1 of; 0 for all others. Those that
/// `met` has are known already, whole words of them.
template <class IsMet>
void MarkCodes(const SampleColumn& column, std::size_t objects, std::vector<std::uint64_t>& met,
               const IsMet& isMet)
{
    constexpr std::size_t kAtOnce = 64;
    const std::size_t known = met.size();
    met.resize((objects + kAtOnce - 1) / kAtOnce);
    for (std::size_t begin = known * kAtOnce; begin < objects; begin += kAtOnce) {
        std::uint8_t bytes[kAtOnce] = {};
        const std::uint16_t* const codes = column.Codes().data() + begin;
        const std::size_t count = std::min(kAtOnce, objects - begin);
        if (count == kAtOnce) {
            for (std::size_t i = 0; i < kAtOnce; ++i)
                bytes[i] = isMet(codes[i]);
        } else {
            for (std::size_t i = 0; i < count; ++i)
                bytes[i] = isMet(codes[i]);
        }
        met[begin / kAtOnce] = Pack(bytes);
    }
}

void MarkTruth(const SampleColumn& column, const SampleTruth& truth, std::size_t objects,
               std::vector<std::uint64_t>& met)
{
    if (!truth.isRange) {
        MarkCodes(column, objects, met,
                  [codes = truth.ofCode.data()](std::uint16_t code) { return codes[code]; });
        return;
    }
    const std::uint16_t begin = truth.range.begin;
    const auto size = static_cast<std::uint16_t>(truth.range.end - begin);
    if (!truth.outside) {
        MarkCodes(column, objects, met, [=](std::uint16_t code) {
            return static_cast<std::uint8_t>(static_cast<std::uint16_t>(code - begin) < size);
        });
        return;
    }
    MarkCodes(column, objects, met, [=](std::uint16_t code) {
        return static_cast<std::uint8_t>(static_cast<std::uint16_t>(code - begin) >= size &&
                                         code != SampleColumn::kNull);
    });
}

/// Whether the objects of a cell meet the predicate: bit i of `cell` tells of leaf i.
bool Holds(const Question& question, const std::vector<unsigned>& bits, std::size_t cell,
           std::size_t& next)
{
    if (question.kind == Kind::Nothing)
        return false;
    if (question.parts.empty())
        return (cell >> bits[next++] & 1) != 0;
    const bool isAnd = question.kind == Kind::And;
    bool holds = isAnd;
    for (const Question& part : question.parts) {
        const bool one = Holds(part, bits, cell, next);
        holds = isAnd ? holds && one : holds || one;
    }
    return holds;
}

/// What a leaf asks, as bytes that differ where it differs.
std::string KeyOf(const Question& question)
{
    std::string key;
    AppendLittle(key, static_cast<std::uint8_t>(question.kind));
    AppendLittle(key, static_cast<std::uint16_t>(question.attribute));
    if (question.kind != Kind::Compare)
        return key;
    AppendLittle(key, static_cast<std::uint16_t>(question.comparison.bits));
    AppendLittle(key, static_cast<std::uint16_t>(question.comparison.cmpOp));
    AppendLittle(key, static_cast<std::uint32_t>(question.comparison.form.size()));
    key += question.comparison.form;
    return key;
}

bool IsEnd(const Question& question, unsigned side)
{
    const unsigned bits = question.comparison.bits & ~unsigned{KoQOP_EQUAL};
    return question.kind == Kind::Compare && question.comparison.IsPlain() && bits == side;
}

} // namespace

AttributeEstimate& Estimator::OfAttribute(std::size_t attribute)
{
    return m_attributes.try_emplace(attribute, m_statistics, attribute).first->second;
}

Estimator::Leaf Estimator::MakeLeaf(const Question& question)
{
    Leaf leaf;
    leaf.attribute = question.attribute;
    if (question.kind != Kind::Compare) {
        const Summary& summary = m_statistics.Of(question.attribute);
        leaf.isNull = question.kind == Kind::Null;
        leaf.isValue = !leaf.isNull;
        leaf.estimate.objects = static_cast<double>(leaf.isNull ? summary.nulls : summary.Values());
        leaf.objects = m_statistics.Column(question.attribute).Objects();
        return leaf;
    }
    const AttributeEstimate& attribute = OfAttribute(question.attribute);
    leaf.truth = attribute.Test(question.comparison);
    leaf.estimate = attribute.Of(question.comparison, leaf.truth);
    leaf.objects = leaf.truth.objects;
    return leaf;
}

/// What lies between two ends is what both have beyond all values, which no sample knows as well.
Estimator::Leaf Estimator::MakeRange(const Question& low, const Question& high)
{
    const auto values = static_cast<double>(m_statistics.Of(low.attribute).Values());
    Leaf range = MakeLeaf(low);
    const Leaf other = MakeLeaf(high);
    CodeRange& codes = range.truth.range;
    codes.end = std::max(codes.begin, other.truth.range.end);
    range.estimate.objects =
        std::max(range.estimate.objects + other.estimate.objects - values, 0.0);
    return range;
}

/// Finds out which of the sample's first objects meet a leaf, in whole words unless it is all.
void Estimator::Mark(Leaf& leaf, std::size_t objects)
{
    if (leaf.met.size() * 64 >= objects)
        return;
    objects = std::min((objects + 63) / 64 * 64, leaf.objects);
    const SampleColumn& column = m_statistics.Column(leaf.attribute);
    if (!leaf.isNull && !leaf.isValue) {
        MarkTruth(column, leaf.truth, objects, leaf.met);
        return;
    }
    MarkCodes(column, objects, leaf.met, [nulls = leaf.isNull](std::uint16_t code) {
        return static_cast<std::uint8_t>((code == SampleColumn::kNull) == nulls);
    });
}

std::size_t Estimator::LeafOf(const Question& question)
{
    const auto [at, isNew] = m_leafOf.try_emplace(KeyOf(question), m_leaves.size());
    if (isNew)
        m_leaves.push_back(MakeLeaf(question));
    return at->second;
}

/// Two comparisons of an "and" that are the ends of one range become one leaf.
Estimator::Joined Estimator::JoinRanges(const Question& question)
{
    Joined joined;
    for (const Question& low : question.parts) {
        if (!IsEnd(low, KoQOP_GREATER) || joined.count(&low) != 0)
            continue;
        for (const Question& high : question.parts) {
            if (!IsEnd(high, KoQOP_LESS) || high.attribute != low.attribute ||
                joined.count(&high) != 0)
                continue;
            const auto [at, isNew] =
                m_leafOf.try_emplace(KeyOf(low) + KeyOf(high), m_leaves.size());
            if (isNew)
                m_leaves.push_back(MakeRange(low, high));
            joined[&low] = joined[&high] = at->second;
            break;
        }
    }
    return joined;
}

void Estimator::Gather(const Question& question, Tree& tree, const Joined& joined)
{
    if (!question.parts.empty()) {
        const Joined here = question.kind == Kind::And ? JoinRanges(question) : Joined();
        for (const Question& part : question.parts)
            Gather(part, tree, here);
        return;
    }
    if (question.kind == Kind::Nothing)
        return;
    const auto at = joined.find(&question);
    const std::size_t leaf = at != joined.end() ? at->second : LeafOf(question);
    tree.order.push_back(leaf);
    if (std::find(tree.leaves.begin(), tree.leaves.end(), leaf) == tree.leaves.end())
        tree.leaves.push_back(leaf);
}

/// What the single estimates make of a predicate. Of conditions that have to hold together the
/// rarest counts in full, the next one by its square root, and so on: conditions depend on each
/// other more often than they exclude each other.
double Estimator::Combined(const Question& question, const Tree& tree, std::size_t& next) const
{
    if (question.kind == Kind::Nothing)
        return 0.0;
    if (question.parts.empty())
        return m_leaves[tree.order[next++]].estimate.objects;
    const double all = std::max(Objects(), 1.0);
    std::vector<double> shares;
    std::vector<std::size_t> joined;
    for (const Question& part : question.parts) {
        const std::size_t leaf =
            part.parts.empty() && part.kind != Kind::Nothing ? tree.order[next] : m_leaves.size();
        const double share = Combined(part, tree, next) / all;
        // Both ends of a range are one leaf.
        if (leaf != m_leaves.size() &&
            std::find(joined.begin(), joined.end(), leaf) != joined.end())
            continue;
        joined.push_back(leaf);
        shares.push_back(share);
    }
    double share = 1.0;
    if (question.kind == Kind::And) {
        std::sort(shares.begin(), shares.end());
        double power = 1.0;
        for (const double one : shares) {
            share *= std::pow(one, power);
            power /= 2.0;
        }
        return share * all;
    }
    for (const double one : shares)
        share *= 1.0 - one;
    return (1.0 - share) * all;
}

/// How many of the sample's first objects meet which of the leaves: a cell for each set of them.
std::vector<double> Estimator::CountCells(const Tree& tree, std::size_t objects) const
{
    const std::size_t count = std::size_t{1} << tree.leaves.size();
    std::array<std::uint32_t, std::size_t{1} << kMostLeaves> counts{};
    std::array<std::uint64_t, std::size_t{1} << kMostLeaves> met;
    for (std::size_t word = 0; word * 64 < objects; ++word) {
        met[0] = objects - word * 64 >= 64 ? ~std::uint64_t{0}
                                           : (std::uint64_t{1} << (objects - word * 64)) - 1;
        // Each leaf divides every cell of those before it.
        for (std::size_t i = 0; i < tree.leaves.size(); ++i) {
            const std::uint64_t bits = m_leaves[tree.leaves[i]].met[word];
            const std::size_t half = std::size_t{1} << i;
            for (std::size_t cell = 0; cell < half; ++cell) {
                met[cell + half] = met[cell] & bits;
                met[cell] &= ~bits;
            }
        }
        for (std::size_t cell = 0; cell < count; ++cell)
            counts[cell] += CountBits(met[cell]);
    }
    return {counts.begin(), counts.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// Weighs the cells so that all together are 1, and those of every leaf its estimate.
std::vector<double> Estimator::FitCells(const Tree& tree, std::vector<double> cells) const
{
    for (unsigned fit = 0; fit < kMostFits; ++fit) {
        double change = 0.0;
        for (std::size_t i = 0; i < tree.leaves.size(); ++i) {
            double met = 0.0;
            double all = 0.0;
            for (std::size_t cell = 0; cell < cells.size(); ++cell) {
                all += cells[cell];
                met += (cell >> i & 1) != 0 ? cells[cell] : 0.0;
            }
            const double share =
                std::min(m_leaves[tree.leaves[i]].estimate.objects / std::max(Objects(), 1.0), 1.0);
            for (std::size_t cell = 0; cell < cells.size(); ++cell) {
                const bool holds = (cell >> i & 1) != 0;
                const double now = holds ? met : all - met;
                if (now > 0.0 && met > 0.0 && met < all)
                    cells[cell] *= (holds ? share : 1.0 - share) / now;
                else
                    cells[cell] /= all;
            }
            change = std::max(change, std::abs(met / all - share) / std::max(share, 1e-9));
        }
        if (change < 1e-3)
            break;
    }
    return cells;
}

Estimate Estimator::OnSample(const Question& question, const Tree& tree, double combined)
{
    std::size_t objects = m_statistics.Sample();
    for (const std::size_t leaf : tree.leaves)
        objects = std::min(objects, m_leaves[leaf].objects);
    if (objects == 0 || tree.leaves.size() > kMostLeaves)
        return {std::max(combined, kLeast), Estimate::Source::Combined};
    if (tree.leaves.size() > kFullLeaves)
        objects = std::min(objects, kMostSample >> (tree.leaves.size() - kFullLeaves));
    std::vector<unsigned> bits;
    for (const std::size_t leaf : tree.order)
        bits.push_back(static_cast<unsigned>(
            std::find(tree.leaves.begin(), tree.leaves.end(), leaf) - tree.leaves.begin()));
    std::vector<bool> holds(std::size_t{1} << tree.leaves.size());
    for (std::size_t cell = 0; cell < holds.size(); ++cell) {
        std::size_t next = 0;
        holds[cell] = Holds(question, bits, cell, next);
    }
    const auto sum = [&](const std::vector<double>& cells) {
        double all = 0.0;
        for (std::size_t cell = 0; cell < cells.size(); ++cell)
            all += holds[cell] ? cells[cell] : 0.0;
        return all;
    };
    std::vector<double> cells;
    double hits = 0.0;
    const std::size_t most = objects;
    const std::size_t first = m_statistics.IsWhole() ? most : std::min(most, kFirstObjects);
    for (objects = first;; objects = most) {
        for (const std::size_t leaf : tree.leaves)
            Mark(m_leaves[leaf], objects);
        cells = CountCells(tree, objects);
        hits = sum(cells);
        if (objects == most || hits >= kSureHits)
            break;
    }
    const double share = sum(FitCells(tree, std::move(cells)));
    const auto sampled = static_cast<double>(objects);
    if (sampled == Objects())
        return {hits, Estimate::Source::Sample};
    if (hits >= kEnoughHits)
        return {share * Objects(), Estimate::Source::Sample};
    const double rate = sampled / Objects();
    const double weight = kCombinedWeight;
    const double least = std::max(combined, kLeast);
    return {(weight + share * sampled) / (weight / least + rate), Estimate::Source::Combined};
}

Estimate Estimator::Of(const Question& question)
{
    Tree tree;
    Gather(question, tree, {});
    if (tree.leaves.empty())
        return {};
    if (tree.leaves.size() == 1 &&
        tree.order.size() == question.parts.size() + (question.parts.empty() ? 1 : 0))
        return m_leaves[tree.leaves[0]].estimate;
    std::size_t next = 0;
    return OnSample(question, tree, Combined(question, tree, next));
}

} // namespace ko::store::inner
