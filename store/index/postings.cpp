#include "index/postings.h"

#include "block/checksum.h"
#include "index/entry_key.h"

#include <algorithm>
#include <bit>

namespace ko::store::inner
{

namespace
{

/// A row of fewer numbers looks for another to join, and what they make has so many at the most.
constexpr std::size_t kFewNumbers = kMostRowNumbers / 4;
constexpr std::size_t kJoined = kMostRowNumbers / 2;

constexpr std::size_t Parts(std::size_t whole, std::size_t most)
{
    return (whole + most - 1) / most;
}

} // namespace

/// False for a row of another value.
bool Postings::Take(std::string_view valueKey, Found& found)
{
    EntryKey key;
    if (!key.Open(found.key) || key.valueKey != valueKey)
        return false;
    if (!found.row.Decode(key.first, found.value))
        FailDamaged(Space::Entries, found.key, "holds no numbers of objects");
    return true;
}

bool Postings::Before(std::string_view valueKey, std::uint64_t number, Found& found)
{
    return m_rows.AtOrBefore(MakeEntryKey(valueKey, number), found.key, found.value) &&
           Take(valueKey, found);
}

bool Postings::Behind(std::string_view valueKey, std::uint64_t number, Found& found)
{
    return m_rows.Behind(MakeEntryKey(valueKey, number), found.key, found.value) &&
           Take(valueKey, found);
}

void Postings::Insert(std::string_view valueKey, const std::uint64_t* numbers, std::size_t count)
{
    for (std::size_t at = 0; at < count;) {
        const bool hasRow = Before(valueKey, numbers[at], m_found);
        const bool hasNext = Behind(valueKey, numbers[at], m_next);
        // Those that come before the next row, which must not overlap this one.
        const std::uint64_t* const from = numbers + at;
        const std::uint64_t* const to =
            hasNext ? std::lower_bound(from, numbers + count, m_next.row.numbers[0])
                    : numbers + count;
        // `numbers[at]` is before the next row: a row of that very number is the one found.
        at += static_cast<std::size_t>(to - from);
        m_numbers.clear();
        const bool behind = !hasRow || *from > m_found.row.Last();
        const bool full = hasRow && m_found.row.count == kMostRowNumbers;
        if (hasRow && !(behind && full)) { // and keeps its first number, thus its key
            std::set_union(m_found.row.begin(), m_found.row.end(), from, to,
                           std::back_inserter(m_numbers));
        } else {
            m_numbers.assign(from, to);
        }
        PutRows(valueKey, behind);
    }
}

/// Writes m_numbers, in full rows and a last one, or in as few as there must be of one size.
void Postings::PutRows(std::string_view valueKey, bool fill)
{
    std::size_t most = kMostRowNumbers;
    if (!fill) {
        std::size_t bytes = 0;
        for (std::size_t i = 1; i < m_numbers.size(); ++i)
            bytes +=
                Parts(static_cast<std::size_t>(std::bit_width(m_numbers[i] - m_numbers[i - 1])), 7);
        const std::size_t rows =
            std::max(Parts(m_numbers.size(), kMostRowNumbers), Parts(bytes, kMostRowBytes));
        most = Parts(m_numbers.size(), std::max<std::size_t>(rows, 1));
    }
    for (std::size_t at = 0; at < m_numbers.size();) {
        const std::size_t taken =
            EncodeRow(m_numbers.data() + at, m_numbers.size() - at, m_bytes, most);
        m_rows.Put(MakeEntryKey(valueKey, m_numbers[at]), m_bytes);
        at += taken;
    }
}

bool Postings::Erase(std::string_view valueKey, std::uint64_t number)
{
    if (!Before(valueKey, number, m_found))
        return false;
    const NumberRow& row = m_found.row;
    const std::uint64_t* const at = std::lower_bound(row.begin(), row.end(), number);
    if (at == row.end() || *at != number)
        return false;
    m_numbers.assign(row.begin(), at);
    m_numbers.insert(m_numbers.end(), at + 1, row.end());
    if (m_numbers.empty() || at == row.begin())
        m_rows.Erase(m_found.key);
    if (!m_numbers.empty() && m_numbers.size() < kFewNumbers && Behind(valueKey, number, m_next) &&
        m_numbers.size() + m_next.row.count <= kJoined) {
        m_rows.Erase(m_next.key);
        m_numbers.insert(m_numbers.end(), m_next.row.begin(), m_next.row.end());
    }
    PutRows(valueKey, true);
    return true;
}

} // namespace ko::store::inner
