#include "query/answer.h"

#include "query/value_counts.h"

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Objects that are asked for together where all of them are needed: as many as are fetched so.
constexpr std::size_t kTogether = 4000;

/// Holds the objects of an answer that no index brings in order, or the first `limit` of them.
class Sorter
{
    struct Row {
        std::string form;
        std::uint64_t number;
    };

    /// The order of the index: null first, then the values, equal ones by their objects.
    auto Order() const
    {
        return [this](const Row& a, const Row& b) {
            int order = 0;
            int status = 0;
            if (a.form.empty() || b.form.empty())
                order = static_cast<int>(b.form.empty()) - static_cast<int>(a.form.empty());
            else
                order = ComparePersistent(m_type, a.form, b.form, kPlainOperator, status);
            if (order == 0)
                order = a.number < b.number ? -1 : a.number > b.number ? 1 : 0;
            return m_descending ? order > 0 : order < 0;
        };
    }

public:
    Sorter(o_char type, bool descending, std::uint64_t limit)
        : m_type(type), m_descending(descending), m_limit(limit)
    {
    }

    void Add(std::string_view form, std::uint64_t number)
    {
        m_rows.push_back({std::string(form), number});
        if (m_limit < m_rows.size() / 2 && m_rows.size() >= kTogether)
            Cut();
    }

    std::vector<std::uint64_t> Sort()
    {
        std::sort(m_rows.begin(), m_rows.end(), Order());
        if (m_rows.size() > m_limit)
            m_rows.resize(static_cast<std::size_t>(m_limit));
        std::vector<std::uint64_t> numbers;
        for (const Row& row : m_rows)
            numbers.push_back(row.number);
        return numbers;
    }

private:
    void Cut()
    {
        const auto end = m_rows.begin() + static_cast<std::ptrdiff_t>(m_limit);
        std::nth_element(m_rows.begin(), end, m_rows.end(), Order());
        m_rows.erase(end, m_rows.end());
    }

    o_char m_type;
    bool m_descending;
    std::uint64_t m_limit;
    std::vector<Row> m_rows;
};

} // namespace

std::size_t PlaceOf(const Schema& schema, const std::string& name)
{
    if (name == kObjectIdName)
        return kObjectIdIndex;
    const Attribute* attribute = schema.Find(name);
    if (attribute == nullptr)
        throw Error(ErrorCode::Usage, schema.NoAttribute(name));
    return static_cast<std::size_t>(attribute - schema.attributes.data());
}

Answer::Answer(Snapshot& snapshot, const Query& query, bool count)
    : m_snapshot(snapshot), m_descending(query.descending), m_left(query.limit)
{
    if (!query.predicate.empty())
        m_condition =
            Condition::Make(ParsePredicate(query.predicate), query.predicate, snapshot.GetSchema());
    Wanted wanted;
    wanted.countOnly = count;
    wanted.limit = query.limit;
    if (!query.order.empty() && !count)
        m_order = PlaceOf(snapshot.GetSchema(), query.order);
    // The objects themselves lie in the order of their ids, and without another one come in it.
    const bool byId = m_order == kObjectIdIndex;
    if (!byId)
        wanted.order = m_order;
    if (m_condition || wanted.order)
        m_plan = MakePlan(snapshot, m_condition ? &*m_condition : nullptr, wanted);
    m_isExact = !m_condition || (m_plan.way && m_plan.way->exact);
    if (byId && !m_descending)
        m_order.reset();
    const bool byIndex = m_plan.way && !(m_plan.way->kind == Way::Kind::Range &&
                                         m_plan.way->range.attribute == kObjectIdIndex);
    m_mustSort = byId ? m_descending && byIndex : m_order && !m_plan.inOrder;
}

std::vector<Group> Answer::CountBy(std::size_t attribute)
{
    ValueCounts counts(m_snapshot, attribute);
    Start().Each(attribute,
                 [&](const BlockAt& block, const SlotBits& slots) { counts.Add(block, slots); });
    return counts.Groups();
}

Scan& Answer::Start()
{
    if (!m_scan) {
        const Condition* const test = m_isExact ? nullptr : &*m_condition;
        const Way* const way = m_plan.way ? &*m_plan.way : nullptr;
        if (m_order && !m_mustSort)
            m_scan.emplace(m_snapshot, way != nullptr ? &way->range : nullptr,
                           m_descending ? ScanOrder::Backwards : ScanOrder::Forwards, test);
        else
            m_scan.emplace(m_snapshot, way, test);
    }
    return *m_scan;
}

void Answer::Sort()
{
    const bool byId = *m_order == kObjectIdIndex;
    Sorter sorter(m_snapshot.GetSchema().TypeId(*m_order), m_descending, m_left);
    std::string room;
    Scan& scan = Start();
    for (auto numbers = scan.Next(kTogether); !numbers.empty(); numbers = scan.Next(kTogether)) {
        std::size_t fetched = 0;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const std::uint64_t number = numbers[i];
            if (i == fetched && !byId)
                fetched += m_snapshot.Fetch(numbers.subspan(i), {&*m_order, 1});
            const auto form = byId ? std::string_view() : m_snapshot.Value(number, *m_order, room);
            if (!form)
                FailNoObject(m_snapshot, number);
            sorter.Add(*form, number);
        }
    }
    m_sorted = sorter.Sort();
    m_isSorted = true;
}

std::span<const std::uint64_t> Answer::Next(std::size_t most)
{
    most = static_cast<std::size_t>(std::min<std::uint64_t>(most, m_left));
    if (most == 0)
        return {};
    if (m_mustSort && !m_isSorted)
        Sort();
    std::span<const std::uint64_t> numbers;
    if (m_mustSort) {
        numbers = std::span<const std::uint64_t>(m_sorted).subspan(m_taken);
        numbers = numbers.first(std::min(most, numbers.size()));
        m_taken += numbers.size();
    } else {
        numbers = Start().Next(most);
    }
    m_left -= numbers.size();
    return numbers;
}

std::uint64_t Answer::Count()
{
    if (!m_condition)
        return std::min(m_snapshot.GetCounts().objects, m_left);
    return Start().Count(m_left);
}

} // namespace ko::store::inner
