#include "query/narrowing.h"

#include "query/index_ends.h"
#include "query/operators.h"
#include "statistics/owned_bounds.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

using Edge = IndexRange::Edge;

// What is assumed of attributes without an index, and of null values, which no index counts.
constexpr double kEqualShare = 0.1;
constexpr double kRangeShare = 1.0 / 3.0;
constexpr double kNullShare = 0.1;

using Part = Narrowed::Part;

/// Of an "and": more conditions have no bit of their own, and more unions do not help.
constexpr std::size_t kMostConditions = 63;
constexpr std::size_t kMostUnions = 4;

/// The order of two edges; the null value's empty form is the lowest.
int EdgeOrder(o_char type, const Edge& a, const Edge& b)
{
    int order = 0;
    int status = 0;
    if (a.form.empty() || b.form.empty())
        order = static_cast<int>(b.form.empty()) - static_cast<int>(a.form.empty());
    else
        order = ComparePersistent(type, a.form, b.form, kPlainOperator, status);
    return order != 0 ? order : static_cast<int>(a.behind) - static_cast<int>(b.behind);
}

bool HasLow(const IndexRange& range)
{
    return !range.low.form.empty();
}

class Narrower
{
public:
    Narrower(Snapshot& snapshot, bool estimates, std::vector<PlanTerm>& terms)
        : m_snapshot(snapshot), m_schema(snapshot.GetSchema()), m_estimates(estimates),
          m_terms(terms), m_ends(snapshot)
    {
    }

    Narrowed Look(const Condition& condition, bool negated)
    {
        using Kind = Predicate::Kind;
        switch (condition.kind) {
        case Kind::Not:
            return Look(condition.parts[0], !negated);
        case Kind::And:
        case Kind::Or: {
            std::vector<Narrowed> each;
            for (const Condition& part : condition.parts)
                each.push_back(Look(part, negated));
            return (condition.kind == Kind::And) != negated ? All(each) : Any(std::move(each));
        }
        default:
            return Leaf(condition, negated);
        }
    }

private:
    Narrowed Leaf(const Condition& condition, bool negated)
    {
        PlanTerm term{&condition, negated};
        const bool indexed = m_schema.IsIndexed(condition.attribute);
        bool hasNull = false;
        if (indexed && condition.attribute != kObjectIdIndex)
            m_snapshot.NeedIndexes();
        if (indexed && m_estimates) {
            const IndexEnds::Ends& ends = m_ends.Of(condition.attribute);
            term.lowest = ends.lowest;
            term.highest = ends.highest;
            hasNull = ends.hasNull;
        }
        if (condition.kind == Predicate::Kind::Compare) {
            Compare(term, indexed);
        } else {
            const bool wantsNull = (condition.kind == Predicate::Kind::IsNull) != negated;
            const double nullShare = indexed && !hasNull ? 0.0 : kNullShare;
            term.share = wantsNull ? nullShare : 1.0 - nullShare;
            if (condition.attribute == kObjectIdIndex)
                term.range.reset(); // no object has a null id: nothing to find by it
            else if (indexed && wantsNull)
                term.range = IndexRange::Nulls(condition.attribute);
            else if (indexed)
                term.range = IndexRange::Values(condition.attribute);
            if (term.range)
                term.range->exact = true;
        }
        Narrowed narrowed;
        narrowed.share = term.share;
        narrowed.attribute = condition.attribute;
        if (term.range) {
            const bool isNarrow = HasLow(*term.range) || term.range->high;
            const bool compared =
                condition.kind == Predicate::Kind::Compare && !term.lowest.empty();
            // What is rare, but in no narrower range, takes the whole index to find.
            const double share = compared && !isNarrow ? 1.0 : term.share;
            narrowed.parts.emplace(
                condition.attribute,
                Part{*term.range, share, std::uint64_t{term.range->exact ? 1U : 0U}});
        }
        m_terms.push_back(std::move(term));
        return narrowed;
    }

    /// Asks the type.
    void Compare(PlanTerm& term, bool indexed)
    {
        const Condition& condition = *term.condition;
        const Operator op = term.negated ? Negated(condition.op) : condition.op;
        if (condition.outside != Outside::No) {
            const bool all = IsMetByAll(op, condition.outside);
            term.share = all ? 1.0 : 0.0;
            if (indexed) {
                term.range = all ? IndexRange::Values(condition.attribute)
                                 : IndexRange::None(condition.attribute);
                term.range->exact = true;
            }
            return;
        }
        if (!indexed) {
            term.share = op == Operator::Equal      ? kEqualShare
                         : op == Operator::NotEqual ? 1.0 - kEqualShare
                                                    : kRangeShare;
            return;
        }
        term.range = IndexRange::Values(condition.attribute);
        if (m_estimates && (term.lowest.empty() || term.highest.empty())) {
            term.share = 0.0; // nothing but null values
            return;
        }
        OwnedBounds narrowed;
        const auto word = static_cast<unsigned short>(QueryBits(op) | condition.cmpOp);
        term.share = Ask(condition.attribute, word, condition.form, &narrowed);

        // Under the order of the index the literal itself is the edge. A narrowed end is the same
        // or, cut to the length that one has, further away.
        // Texts too long for an evaluator to narrow to are edges all the same.
        const bool plain = condition.cmpOp == kPlainOperator;
        const bool text = plain && m_schema.IsText(condition.attribute);
        const auto edge = [&](const void* end, unsigned length, bool behind) {
            return plain ? Edge{condition.form, behind}
                         : Edge{{static_cast<const char*>(end), length}, behind};
        };
        IndexRange& range = *term.range;
        const bool wantsLow = (QueryBits(op) & KoQOP_LESS) == 0;
        const bool wantsHigh = (QueryBits(op) & KoQOP_GREATER) == 0;
        const bool hasLow = narrowed.low != nullptr || (text && wantsLow);
        const bool hasHigh = narrowed.high != nullptr || (text && wantsHigh);
        if (hasLow)
            range.low = edge(narrowed.low, narrowed.lowLen, plain && op == Operator::Greater);
        if (hasHigh)
            range.high = edge(narrowed.high, narrowed.highLen, !plain || op != Operator::Less);
        if (hasHigh && !plain)
            range.high->shown = condition.ShownEnd();
        range.exact =
            plain && op != Operator::NotEqual && hasLow == wantsLow && hasHigh == wantsHigh;
    }

    /// The share of an index that a value selects. What narrowing leaves does not depend on the
    /// ends of the index.
    double Ask(std::size_t attribute, unsigned short word, const std::string& form,
               KoIdxBounds* narrowed) const
    {
        // Evaluators take their operands unqualified and do not write to them.
        const auto unqualified = [](const std::string& bytes) {
            return const_cast<char*>(bytes.data());
        };
        KoIdxBounds bounds{};
        if (m_estimates) {
            const IndexEnds::Ends& ends = m_ends.Of(attribute);
            bounds.low = unqualified(ends.lowest);
            bounds.high = unqualified(ends.highest);
        }
        return Manager().EvalAndBound(m_schema.TypeId(attribute), m_estimates ? &bounds : nullptr,
                                      word, unqualified(form), kStoreFormat, 1, narrowed, nullptr);
    }

    /// The share of what two conditions leave that cut off opposite ends of an index: what both
    /// have. A type that knows no distances gives every condition one share, and so does not count
    /// even all keys as everything; there, as one inside the other.
    double BetweenEnds(std::size_t attribute, double low, double high) const
    {
        constexpr unsigned short kAnyKey =
            KoQOP_LESS | KoQOP_EQUAL | KoQOP_GREATER | kPlainOperator;
        constexpr double kNearlyAll = 0.999;
        if (!m_estimates)
            return 1.0;
        const bool counts =
            !m_ends.HasValues(attribute) ||
            Ask(attribute, kAnyKey, m_ends.Of(attribute).highest, nullptr) > kNearlyAll;
        return counts ? std::max(low + high - 1.0, 0.0) : std::min(low, high);
    }

    /// Both have to hold on one attribute.
    Part Intersect(const Part& a, const Part& b) const
    {
        const o_char type = m_schema.TypeId(a.range.attribute);
        Part both = a;
        if (EdgeOrder(type, b.range.low, a.range.low) > 0)
            both.range.low = b.range.low;
        if (!a.range.high || (b.range.high && EdgeOrder(type, *b.range.high, *a.range.high) < 0))
            both.range.high = b.range.high;
        both.range.exact = a.range.exact && b.range.exact;
        both.answers = a.answers | b.answers;
        const auto oneSided = [](const IndexRange& low, const IndexRange& high) {
            return HasLow(low) && !low.high && !HasLow(high) && high.high;
        };
        both.share = oneSided(a.range, b.range) || oneSided(b.range, a.range)
                         ? BetweenEnds(a.range.attribute, a.share, b.share)
                         : std::min(a.share, b.share);
        return both;
    }

    Narrowed All(const std::vector<Narrowed>& each) const
    {
        Narrowed all;
        all.attribute = each[0].attribute;
        // The bit of the last ones, which nothing ever has, stands for all that are too many.
        all.all =
            each.size() > kMostConditions ? UINT64_MAX : (std::uint64_t{1} << each.size()) - 1;
        std::map<std::size_t, Part> alone; // of those that ask about one attribute
        for (std::size_t i = 0; i < each.size(); ++i) {
            const Narrowed& one = each[i];
            const auto answers = [&](std::uint64_t ofOne) {
                return ofOne == one.all && i < kMostConditions ? std::uint64_t{1} << i : 0;
            };
            if (one.attribute != all.attribute)
                all.attribute.reset();
            for (const auto& [attribute, part] : one.parts) {
                Merge(all.parts, attribute, {part.range, part.share, answers(part.answers)});
                if (one.attribute)
                    Merge(alone, attribute, part);
            }
            for (const Narrowed::Either& either : one.either) {
                if (all.either.size() < kMostUnions)
                    all.either.push_back({either.parts, answers(either.answers)});
            }
            if (!one.attribute || one.parts.empty())
                all.share *= one.share;
        }
        for (const auto& [attribute, part] : alone)
            all.share *= part.share;
        for (auto& [attribute, part] : all.parts)
            part.range.exact = part.answers == all.all;
        return all;
    }

    void Merge(std::map<std::size_t, Part>& parts, std::size_t attribute, const Part& part) const
    {
        const auto [at, isNew] = parts.emplace(attribute, part);
        if (!isNew)
            at->second = Intersect(at->second, part);
    }

    Narrowed Any(std::vector<Narrowed> each) const
    {
        Narrowed any;
        any.share = each[0].share;
        any.attribute = each[0].attribute;
        any.parts = each[0].parts;
        double none = 1.0 - any.share;
        double sum = any.share;
        bool isUnion = true;
        for (std::size_t i = 0; i < each.size(); ++i) {
            const Narrowed& one = each[i];
            isUnion = isUnion && !(one.parts.empty() && one.either.empty());
            if (i == 0)
                continue;
            if (one.attribute != any.attribute)
                any.attribute.reset();
            none *= 1.0 - one.share;
            sum += one.share;
            for (auto at = any.parts.begin(); at != any.parts.end();) {
                const auto other = one.parts.find(at->first);
                if (other == one.parts.end()) {
                    at = any.parts.erase(at);
                } else {
                    Span(at->second, other->second);
                    ++at;
                }
            }
        }
        any.share = any.attribute ? std::min(sum, 1.0) : 1.0 - none;
        if (isUnion)
            any.either.push_back({std::make_shared<std::vector<Narrowed>>(std::move(each)), 1});
        return any;
    }

    /// Takes in what lies between the two as well.
    void Span(Part& part, const Part& other) const
    {
        const o_char type = m_schema.TypeId(part.range.attribute);
        if (EdgeOrder(type, other.range.low, part.range.low) < 0)
            part.range.low = other.range.low;
        if (part.range.high &&
            (!other.range.high || EdgeOrder(type, *other.range.high, *part.range.high) > 0))
            part.range.high = other.range.high;
        part.range.exact = false;
        part.answers = 0;
        part.share = m_estimates ? ShareOf(part.range) : 1.0;
    }

    double ShareOf(const IndexRange& range) const
    {
        // Null values are in no estimate, and without others there is nothing to ask.
        if (!m_ends.HasValues(range.attribute))
            return 1.0;
        const double low = HasLow(range)
                               ? Ask(range.attribute, KoQOP_GREATER | KoQOP_EQUAL | kPlainOperator,
                                     range.low.form, nullptr)
                               : 1.0;
        const double high = range.high && !range.high->form.empty()
                                ? Ask(range.attribute, KoQOP_LESS | KoQOP_EQUAL | kPlainOperator,
                                      range.high->form, nullptr)
                                : 1.0;
        return BetweenEnds(range.attribute, low, high);
    }

    Snapshot& m_snapshot;
    const Schema& m_schema;
    bool m_estimates;
    std::vector<PlanTerm>& m_terms;
    mutable IndexEnds m_ends; ///< remembers
};

} // namespace

Narrowed Narrow(Snapshot& snapshot, const Condition& condition, bool estimates,
                std::vector<PlanTerm>& terms)
{
    return Narrower(snapshot, estimates, terms).Look(condition, false);
}

} // namespace ko::store::inner
