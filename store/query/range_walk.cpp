#include "query/range_walk.h"

#include <kostore.h>

#include <algorithm>
#include <utility>

namespace ko::store::inner
{

void FailNoObject(const Snapshot& snapshot, std::uint64_t number)
{
    if (!snapshot.IsOneMoment())
        throw Conflict();
    throw Error(ErrorCode::Damaged, snapshot.Name() + ": is damaged: an index names object " +
                                        std::to_string(number) + ", which does not exist");
}

RangeWalk::RangeWalk(Snapshot& snapshot, const IndexRange& range, ScanOrder order)
    : m_snapshot(snapshot), m_range(range), m_order(order),
      m_type(snapshot.GetSchema().TypeId(range.attribute)),
      m_keys(range.attribute, snapshot.GetSchema().attributes[range.attribute].type),
      m_walk(Begin())
{
}

EntryWalk RangeWalk::Begin()
{
    m_snapshot.NeedIndexes();
    return m_snapshot.Entries(Keys(), m_order == ScanOrder::Backwards ? Direction::Backwards
                                                                      : Direction::Forwards);
}

Range RangeWalk::Keys()
{
    const std::size_t attribute = m_range.attribute;
    const bool hasNull = m_snapshot.GetSchema().attributes[attribute].type.HasNull();
    const auto end = [&](const IndexRange::Edge& edge, bool behindAlikes, std::string& cut) {
        // Null values come first, and some types have none.
        if (edge.form.empty() && (!edge.behind || !hasNull))
            return BeforeAttribute(attribute);
        const std::string_view key = m_keys.Of(edge.form);
        if (!ValueKeys::MayBeCut(key))
            return edge.behind ? BehindValue(key) : BeforeValue(key);
        cut = key;
        return behindAlikes ? BehindValue(key) : BeforeValue(key);
    };
    Range range{end(m_range.low, false, m_cutLow), BehindAttribute(attribute)};
    if (m_range.high)
        range.high = end(*m_range.high, true, m_cutHigh);
    return range;
}

bool RangeWalk::Advance()
{
    return std::exchange(m_isAhead, false) || m_walk.Next();
}

bool RangeWalk::IsAtCutEdge() const
{
    const std::string_view key = m_walk.Key().valueKey;
    return m_walk.Key().MayBeCut() && (key == m_cutLow || key == m_cutHigh);
}

bool RangeWalk::IsInside(std::string_view form) const
{
    int status = 0;
    const auto order = [&](const IndexRange::Edge& edge) {
        return ComparePersistent(m_type, form, edge.form, kPlainOperator, status);
    };
    if (!m_cutLow.empty() && order(m_range.low) < (m_range.low.behind ? 1 : 0))
        return false;
    return m_cutHigh.empty() || order(*m_range.high) < (m_range.high->behind ? 1 : 0);
}

/// The value of an object; absent where the object may have gone.
std::optional<std::string_view> RangeWalk::FormOf(std::uint64_t number)
{
    const auto form = m_snapshot.Value(number, m_range.attribute, m_room);
    if (!form && m_snapshot.IsOneMoment())
        FailNoObject(m_snapshot, number);
    return form;
}

/// Gathers the objects of all rows that have the key of the one that the walk is at, as the objects
/// lie. Where a change may be there in part, rows of one key may have objects twice, and such whose
/// value has another key now.
void RangeWalk::GatherKey()
{
    const std::string key(m_walk.Key().valueKey);
    m_row.clear();
    do {
        m_row.insert(m_row.end(), m_walk.Numbers().begin(), m_walk.Numbers().end());
        m_isAhead = m_walk.Next();
    } while (m_isAhead && m_walk.Key().valueKey == key);
    std::sort(m_row.begin(), m_row.end());
    if (m_snapshot.IsOneMoment())
        return;
    m_row.erase(std::unique(m_row.begin(), m_row.end()), m_row.end());
    std::size_t kept = 0;
    std::size_t fetched = 0;
    for (std::size_t i = 0; i < m_row.size(); ++i) {
        if (i == fetched)
            fetched += m_snapshot.Fetch(std::span(m_row).subspan(i), {&m_range.attribute, 1});
        const auto form = FormOf(m_row[i]);
        if (form && m_keys.Of(*form) == key)
            m_row[kept++] = m_row[i];
    }
    m_row.resize(kept);
}

bool RangeWalk::Next(std::vector<std::uint64_t>& numbers)
{
    if (!Advance())
        return false;
    const EntryKey& key = m_walk.Key();
    if (key.MayBeCut() && (m_order != ScanOrder::Numbers || IsAtCutEdge())) {
        TakeAlikes(numbers);
        return true;
    }
    const std::size_t size = numbers.size();
    if (m_snapshot.IsOneMoment()) {
        const NumberRow& row = m_walk.Numbers();
        numbers.insert(numbers.end(), row.begin(), row.end());
    } else {
        GatherKey();
        numbers.insert(numbers.end(), m_row.begin(), m_row.end());
    }
    if (m_order == ScanOrder::Backwards)
        std::reverse(numbers.begin() + static_cast<std::ptrdiff_t>(size), numbers.end());
    return true;
}

/// Takes all rows that have the key of the one that the walk is at.
void RangeWalk::TakeAlikes(std::vector<std::uint64_t>& numbers)
{
    const bool atEdge = IsAtCutEdge();
    GatherKey();
    if (m_row.size() == 1 && !atEdge) {
        numbers.push_back(m_row.front());
        return;
    }

    std::vector<std::pair<std::string, std::uint64_t>> found;
    std::size_t fetched = 0;
    for (std::size_t i = 0; i < m_row.size(); ++i) {
        const std::uint64_t number = m_row[i];
        if (i == fetched)
            fetched += m_snapshot.Fetch(std::span(m_row).subspan(i), {&m_range.attribute, 1});
        const auto form = FormOf(number);
        if (!form || form->empty() || (atEdge && !IsInside(*form)))
            continue;
        if (m_order == ScanOrder::Numbers)
            numbers.push_back(number);
        else
            found.emplace_back(*form, number);
    }
    const bool backwards = m_order == ScanOrder::Backwards;
    std::stable_sort(found.begin(), found.end(), [&](const auto& a, const auto& b) {
        int status = 0;
        const int order = ComparePersistent(m_type, a.first, b.first, kPlainOperator, status);
        return order < 0 || (order == 0 && a.second < b.second);
    });
    if (backwards)
        std::reverse(found.begin(), found.end());
    for (const auto& [form, number] : found)
        numbers.push_back(number);
}

void RangeWalk::Collect(std::vector<std::uint64_t>& numbers)
{
    m_walk.ReadMany();
    while (Next(numbers)) {
    }
}

std::uint64_t RangeWalk::Count(std::uint64_t most)
{
    constexpr std::uint64_t kMany = 10'000;
    if (most > kMany)
        m_walk.ReadMany();
    std::uint64_t count = 0;
    std::vector<std::uint64_t> numbers;
    while (count < most) {
        numbers.clear();
        if (!m_snapshot.IsOneMoment()) {
            if (!Next(numbers))
                break;
        } else if (!Advance()) {
            break;
        } else if (IsAtCutEdge()) {
            TakeAlikes(numbers);
        } else {
            count += m_walk.Numbers().count;
        }
        count += numbers.size();
    }
    return count;
}

std::optional<std::uint64_t> RangeWalk::CountFew()
{
    constexpr std::size_t kFew = 1000;
    m_walk.ReadMany();
    std::uint64_t count = 0;
    for (std::size_t rows = 0; m_walk.Next();) {
        count += m_walk.Numbers().count;
        if (++rows == kFew)
            return std::nullopt;
    }
    return count;
}

} // namespace ko::store::inner
