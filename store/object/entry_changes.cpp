#include "object/entry_changes.h"

#include "block/checksum.h"
#include "index/entry_key.h"
#include "object/row_join.h"

#include <utility>
#include <vector>

namespace ko::store::inner
{

void EntryChanges::Erase(std::string_view valueKey, std::uint64_t number)
{
    if (!m_postings.Erase(valueKey, number))
        FailDamaged(Space::Entries, MakeEntryKey(valueKey, number),
                    "should stand in an index, and does not");
}

void EntryChanges::Merge(EntryBuilder& entries)
{
    NumberRow row;
    entries.Finish([&](std::string_view key, std::string_view value, std::size_t) {
        EntryKey parts;
        parts.Open(key);
        row.Decode(parts.first, value);
        m_postings.Insert(parts.valueKey, row.begin(), row.count);
    });
}

void EntryChanges::Fill(EntryBuilder& entries)
{
    entries.Finish(
        [&](std::string_view key, std::string_view value, std::size_t) { Put(key, value); });
}

void EntryChanges::Clear(const Range& range)
{
    constexpr std::size_t kAtOnce = 256;
    const auto cursor = m_writer.Walk(Space::Entries, range, Direction::Forwards);
    std::vector<std::string> keys;
    do {
        keys.clear();
        for (const Row& row : cursor->Next(kAtOnce))
            keys.emplace_back(row.key);
        for (const std::string& key : keys)
            m_writer.Erase(Space::Entries, key);
    } while (!keys.empty());
}

std::string EntryChanges::Join(const Range& range, std::size_t most, std::uint64_t& gone)
{
    RowJoin join;
    std::vector<std::string> keys;
    std::vector<std::pair<std::string, std::string>> puts;
    std::string last;
    std::string bytes;
    const auto finish = [&] {
        if (join.Rows() > 1) {
            join.Write(bytes);
            puts.emplace_back(last, bytes);
            gone += join.Rows() - 1;
        }
    };
    // What is written while a walk goes on makes it slower.
    const auto cursor = m_writer.Walk(Space::Entries, range, Direction::Forwards);
    std::size_t seen = 0;
    for (auto rows = cursor->Next(most); !rows.empty() && seen < most;
         rows = cursor->Next(most - seen)) {
        seen += rows.size();
        for (const Row& row : rows) {
            if (join.Takes(row)) {
                keys.emplace_back(row.key);
                continue;
            }
            finish();
            last = row.key;
            join.Start(row);
        }
        if (seen == most)
            break;
    }
    finish();
    for (const std::string& key : keys)
        m_writer.Erase(Space::Entries, key);
    for (const auto& [key, value] : puts)
        Put(key, value);
    return last;
}

bool EntryChanges::First(const Range& range, Direction direction, std::string& found,
                         std::string& value)
{
    const auto cursor = m_writer.Walk(Space::Entries, range, direction);
    const auto rows = cursor->Next(1);
    if (rows.empty())
        return false;
    found = rows.front().key;
    value = Unseal(Space::Entries, found, rows.front().value);
    return true;
}

// The first key behind another is that with a zero behind it.

bool EntryChanges::AtOrBefore(std::string_view key, std::string& found, std::string& value)
{
    return First({{}, std::string(key) + '\0'}, Direction::Backwards, found, value);
}

bool EntryChanges::Behind(std::string_view key, std::string& found, std::string& value)
{
    return First({std::string(key) + '\0', {}}, Direction::Forwards, found, value);
}

void EntryChanges::Put(std::string_view key, std::string_view value)
{
    m_sealed = value;
    Seal(Space::Entries, key, m_sealed);
    m_writer.Put(Space::Entries, key, m_sealed);
}

} // namespace ko::store::inner
