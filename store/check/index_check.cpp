#include "check/index_check.h"

#include "block/checksum.h"
#include "index/entry_key.h"
#include "index/number_row.h"
#include "object/row_walk.h"

#include <memory>
#include <string>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kRowsAtOnce = 64;

/// The numbers of an index one after another, with the values' keys. Rows that are damaged are told
/// and passed over.
class IndexNumbers
{
public:
    IndexNumbers(Reader& reader, std::size_t attribute, FaultList& faults)
        : m_cursor(reader.Walk(Space::Entries,
                               {BeforeAttribute(attribute), BehindAttribute(attribute)},
                               Direction::Forwards)),
          m_faults(faults)
    {
    }

    /// Moves to the next row that is sound; false at the end.
    bool NextRow()
    {
        for (;;) {
            if (m_next == m_rows.size()) {
                m_rows = m_cursor->Next(kRowsAtOnce);
                m_next = 0;
            }
            if (m_rows.empty())
                return false;
            const Row& row = m_rows[m_next++];
            if (m_faults.Try([&] { Take(row); }))
                return true;
        }
    }

    std::string_view Key() const { return m_rows[m_next - 1].key; }
    std::string_view ValueKey() const { return m_key.valueKey; }
    const NumberRow& Numbers() const { return m_numbers; }

private:
    void Take(const Row& row)
    {
        const std::string_view bytes = Unseal(Space::Entries, row.key, row.value);
        if (!m_key.Open(row.key) || !m_numbers.Decode(m_key.first, bytes))
            FailDamaged(Space::Entries, row.key, "holds no numbers of objects");
        const bool overlaps = m_valueKey == m_key.valueKey && m_last >= m_key.first;
        m_valueKey = m_key.valueKey;
        m_last = m_numbers.Last();
        if (overlaps)
            FailDamaged(Space::Entries, row.key, "overlaps the row before it");
    }

    std::unique_ptr<Cursor> m_cursor;
    std::span<const Row> m_rows;
    std::size_t m_next = 0;
    FaultList& m_faults;
    EntryKey m_key;
    NumberRow m_numbers;
    std::string m_valueKey; ///< of the row before
    std::uint64_t m_last = 0;
};

/// Compares what the objects ask for, row by row, with what is there; rows may be divided
/// differently.
class Comparison
{
public:
    Comparison(IndexNumbers& found, FaultList& faults) : m_found(found), m_faults(faults)
    {
        m_any = m_found.NextRow();
    }

    void Take(std::string_view key, std::string_view value)
    {
        if (m_differs)
            return;
        EntryKey expected;
        expected.Open(key);
        m_expected.Decode(expected.first, value);
        for (const std::uint64_t number : m_expected) {
            if (m_any && m_at == m_found.Numbers().count) {
                m_any = m_found.NextRow();
                m_at = 0;
            }
            if (m_any && m_found.Numbers().numbers[m_at] == number &&
                m_found.ValueKey() == expected.valueKey) {
                ++m_at;
                continue;
            }
            Differ(expected.valueKey, number);
            return;
        }
    }

    void Finish()
    {
        if (m_any && m_at == m_found.Numbers().count) {
            m_any = m_found.NextRow();
            m_at = 0;
        }
        if (m_any && !m_differs)
            m_faults.Add(Space::Entries, m_found.Key(), Surplus());
        while (m_any)
            m_any = m_found.NextRow();
    }

private:
    void Differ(std::string_view valueKey, std::uint64_t number)
    {
        m_differs = true;
        const bool surplus =
            m_any && (m_found.ValueKey() != valueKey ? m_found.ValueKey() < valueKey
                                                     : m_found.Numbers().numbers[m_at] < number);
        if (surplus)
            m_faults.Add(Space::Entries, m_found.Key(), Surplus());
        else
            m_faults.Add(Space::Entries, MakeEntryKey(valueKey, number),
                         "lacks object " + std::to_string(number) + ", which has its value");
    }
    std::string Surplus() const
    {
        return "holds object " + std::to_string(m_found.Numbers().numbers[m_at]) +
               ", which is not there or has another value";
    }

    IndexNumbers& m_found;
    FaultList& m_faults;
    NumberRow m_expected;
    bool m_any = false;
    std::size_t m_at = 0; ///< in the numbers of the found row
    bool m_differs = false;
};

/// Rows under attributes that have no index.
void CheckOthers(Reader& reader, const Range& range, FaultList& faults)
{
    EachRow(
        reader, Space::Entries,
        [&](const Row& row) { faults.Add(Space::Entries, row.key, "belongs to no index"); }, range);
}

} // namespace

void CheckIndexes(Reader& reader, const Schema& schema, IndexFeed* expected, FaultList& faults)
{
    std::string from; // behind the index before
    std::size_t place = 0;
    for (const std::size_t attribute : IndexedAttributes(schema)) {
        CheckOthers(reader, {from, BeforeAttribute(attribute)}, faults);
        from = BehindAttribute(attribute);
        IndexNumbers found(reader, attribute, faults);
        if (expected != nullptr) {
            Comparison comparison(found, faults);
            expected->Entries(place++).Finish([&](std::string_view key, std::string_view value,
                                                  std::size_t) { comparison.Take(key, value); });
            comparison.Finish();
        } else {
            while (found.NextRow()) {
            }
        }
    }
    CheckOthers(reader, {from, {}}, faults);
}

} // namespace ko::store::inner
