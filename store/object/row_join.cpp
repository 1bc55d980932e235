#include "object/row_join.h"

#include "block/checksum.h"

namespace ko::store::inner
{

namespace
{

/// Of the difference between the last number of a row and the first of the next.
constexpr std::size_t kMostDifferenceBytes = 7;

} // namespace

void RowJoin::Read(const Row& row)
{
    const std::string_view bytes = Unseal(Space::Entries, row.key, row.value);
    if (!m_key.Open(row.key) || !m_row.Decode(m_key.first, bytes))
        FailDamaged(Space::Entries, row.key, "holds no numbers of objects");
    m_rowBytes = bytes.size();
}

void RowJoin::Start(const Row& row)
{
    Read(row);
    m_rows = 1;
    m_valueKey = m_key.valueKey;
    m_numbers.assign(m_row.begin(), m_row.end());
    m_bytes = m_rowBytes;
}

bool RowJoin::Takes(const Row& row)
{
    if (m_rows == 0)
        return false;
    Read(row);
    if (m_key.valueKey != m_valueKey)
        return false;
    if (m_key.first <= m_numbers.back())
        FailDamaged(Space::Entries, row.key, "holds numbers that the row before it has as well");
    const std::size_t bytes = m_bytes + kMostDifferenceBytes + m_rowBytes;
    if (m_numbers.size() + m_row.count > kMostRowNumbers || bytes > kMostRowBytes)
        return false;
    m_numbers.insert(m_numbers.end(), m_row.begin(), m_row.end());
    m_bytes = bytes;
    ++m_rows;
    return true;
}

void RowJoin::Write(std::string& bytes) const
{
    EncodeRow(m_numbers.data(), m_numbers.size(), bytes);
}

} // namespace ko::store::inner
