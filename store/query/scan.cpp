#include "query/scan.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Most blocks that an answer from the last object on looks at together.
constexpr std::uint64_t kMostWindow = 16;

/// Those that a condition asks about.
void AddAttributes(const Condition& condition, std::vector<std::size_t>& attributes)
{
    for (const Condition& part : condition.parts)
        AddAttributes(part, attributes);
    const bool isLeaf = condition.parts.empty() && condition.attribute != kObjectIdIndex;
    if (isLeaf &&
        std::find(attributes.begin(), attributes.end(), condition.attribute) == attributes.end())
        attributes.push_back(condition.attribute);
}

} // namespace

Scan::Scan(Snapshot& snapshot, const IndexRange* range, ScanOrder order, const Condition* test)
    : m_snapshot(snapshot), m_order(order)
{
    SetTest(test);
    if (range != nullptr && range->attribute != kObjectIdIndex)
        m_walk.emplace(snapshot, *range, order);
    else
        StartOfIds(range);
}

Scan::Scan(Snapshot& snapshot, const Way* way, const Condition* test)
    : m_snapshot(snapshot), m_order(ScanOrder::Numbers)
{
    SetTest(test);
    if (way != nullptr && way->kind != Way::Kind::Range)
        m_way = way;
    else if (way != nullptr && way->range.attribute != kObjectIdIndex)
        m_walk.emplace(snapshot, way->range, m_order);
    else
        StartOfIds(way != nullptr ? &way->range : nullptr);
}

void Scan::SetTest(const Condition* test)
{
    if (test == nullptr)
        return;
    m_filter.emplace(*test, m_snapshot);
    AddAttributes(*test, m_tested);
}

void Scan::StartOfIds(const IndexRange* range)
{
    if (range != nullptr) {
        const IdRange ids = IdsOf(*range);
        m_first = ids.first;
        m_last = ids.last;
    }
    const std::uint64_t end = m_snapshot.GetCounts().nextNumber;
    m_last = std::min(m_last, std::max<std::uint64_t>(end, 1) - 1);
    if (m_order != ScanOrder::Backwards)
        m_groups = std::make_unique<AllObjects>(m_snapshot, m_first, m_last);
}

void Scan::CollectNumbers()
{
    if (m_way != nullptr) {
        m_candidates = NumbersOf(m_snapshot, *m_way);
    } else {
        m_candidates.reserve(kMostRowNumbers);
        m_walk->Collect(m_candidates);
        SortNumbers(m_candidates, m_snapshot.GetCounts().nextNumber);
    }
    m_groups = std::make_unique<NumberedObjects>(m_snapshot, m_candidates, m_tested);
}

/// In the order of their numbers.
void Scan::StartGroups()
{
    if (m_groups == nullptr && IsByIndex())
        CollectNumbers();
    if (m_groups == nullptr)
        m_groups = std::make_unique<AllObjects>(m_snapshot, m_first, m_last);
}

/// Leaves the objects of a group that meet the condition, and counts them.
std::uint64_t Scan::Test(BlockGroups& group)
{
    const unsigned slots = group.Block().view->Slots();
    std::uint64_t count = CountBits(group.Slots(), slots);
    m_looked += count;
    if (m_filter && count != 0) {
        m_filter->Keep(group.Block(), group.Slots());
        count = CountBits(group.Slots(), slots);
    }
    return count;
}

/// What is found is read soon.
void Scan::Append(BlockGroups& group)
{
    group.Keep();
    for (unsigned word = 0; word < group.Block().Words(); ++word) {
        const std::uint64_t first = group.Block().firstObject + std::uint64_t{word} * 64;
        for (std::uint64_t left = group.Slots()[word]; left != 0; left &= left - 1)
            m_found.push_back(first + static_cast<unsigned>(std::countr_zero(left)));
    }
}

bool Scan::NextBlock()
{
    if (m_groups == nullptr)
        CollectNumbers();
    if (IsByIndex() && !m_filter) { // nothing to look at in blocks: all of them are found at once
        if (m_candidates.empty())
            return false;
        m_looked += m_candidates.size();
        m_found.swap(m_candidates);
        return true;
    }
    if (!m_groups->Next())
        return false;
    if (Test(*m_groups) != 0)
        Append(*m_groups);
    return true;
}

bool Scan::NextBlocksBackwards()
{
    if (m_last < m_first)
        return false;
    const std::uint64_t lastBlock = m_snapshot.BlockOf(m_last);
    const std::uint64_t firstBlock = lastBlock - std::min(m_window - 1, lastBlock);
    const std::uint64_t first = std::max(m_first, firstBlock * m_snapshot.SlotsOfBlock());
    AllObjects window(m_snapshot, first, m_last);
    while (window.Next()) {
        if (Test(window) != 0)
            Append(window);
    }
    std::reverse(m_found.begin(), m_found.end());
    m_last = first - 1;
    m_window = std::min(m_window * 2, kMostWindow);
    return true;
}

/// Looks at more objects each time: few are enough for an answer with a limit.
bool Scan::NextInOrder(std::size_t most)
{
    m_candidates.clear();
    const std::size_t enough = std::min(most, kMostTogether);
    bool more = true;
    while (m_candidates.size() < enough && (more = m_walk->Next(m_candidates))) {
    }
    if (m_candidates.empty())
        return more;
    if (!m_filter) {
        m_looked += m_candidates.size();
        m_found.swap(m_candidates);
        return true;
    }
    const std::vector<std::uint64_t> inOrder = m_candidates;
    SortNumbers(m_candidates, m_snapshot.GetCounts().nextNumber);
    NumberedObjects groups(m_snapshot, m_candidates, m_tested);
    while (groups.Next()) {
        if (Test(groups) != 0)
            Append(groups);
    }
    std::vector<std::uint64_t> passed;
    passed.swap(m_found);
    for (const std::uint64_t number : inOrder) {
        if (std::binary_search(passed.begin(), passed.end(), number))
            m_found.push_back(number);
    }
    return true;
}

bool Scan::NextFound(std::size_t most)
{
    if (m_order == ScanOrder::Backwards && !m_walk)
        return NextBlocksBackwards();
    return m_walk && m_order != ScanOrder::Numbers ? NextInOrder(most) : NextBlock();
}

std::span<const std::uint64_t> Scan::Next(std::size_t most)
{
    if (m_taken == m_found.size()) {
        m_found.clear();
        m_taken = 0;
        // What they have is read together, and the few that are looked at first may not meet the
        // condition.
        const bool together = m_snapshot.IsAfar() && m_order == ScanOrder::Numbers;
        const std::size_t enough = together ? std::min(most, kMostTogether) : 1;
        for (std::size_t look = most; m_found.size() < enough && NextFound(look);)
            look = std::min(look, kMostTogether) * 2;
    }
    const std::size_t count = std::min(most, m_found.size() - m_taken);
    const std::span<const std::uint64_t> next(m_found.data() + m_taken, count);
    m_taken += count;
    return next;
}

std::uint64_t Scan::Count(std::uint64_t most)
{
    std::uint64_t count = m_found.size() - m_taken;
    m_taken = m_found.size();
    if (m_walk && !m_filter) {
        count += m_walk->Count(most - std::min(count, most));
        return std::min(count, most);
    }
    if (m_way != nullptr && !m_filter && m_groups == nullptr) {
        CollectNumbers();
        return std::min(count + m_candidates.size(), most);
    }
    StartGroups();
    while (count < most && m_groups->Next())
        count += Test(*m_groups);
    return std::min(count, most);
}

void Scan::Each(std::size_t attribute, const Take& take)
{
    m_tested.push_back(attribute);
    StartGroups();
    while (m_groups->Next()) {
        if (Test(*m_groups) != 0)
            take(m_groups->Block(), m_groups->Slots());
    }
}

} // namespace ko::store::inner
