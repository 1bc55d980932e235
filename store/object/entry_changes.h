#ifndef KO_STORE_OBJECT_ENTRY_CHANGES_H
#define KO_STORE_OBJECT_ENTRY_CHANGES_H

#include "engine/engine.h"
#include "index/entry_builder.h"
#include "index/postings.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// The index rows of a store that changes.
class EntryChanges : private EntryRows
{
public:
    explicit EntryChanges(Writer& writer) : m_writer(writer), m_postings(*this) {}

    void Insert(std::string_view valueKey, std::uint64_t number)
    {
        m_postings.Insert(valueKey, number);
    }
    /// Ends with Error (ErrorCode::Damaged) where the number does not stand there.
    void Erase(std::string_view valueKey, std::uint64_t number);

    /// Adds what was gathered to an index.
    void Merge(EntryBuilder& entries);
    /// The same for one without any row.
    void Fill(EntryBuilder& entries);
    /// Takes away all rows of a range.
    void Clear(const Range& range);
    /// Joins neighbouring rows of one value as long as they are one row together, among the first
    /// `most` rows of a range. Returns the key of the last row that there is now of these; empty
    /// where there are none. `gone` grows by the rows that are no more.
    std::string Join(const Range& range, std::size_t most, std::uint64_t& gone);

private:
    bool AtOrBefore(std::string_view key, std::string& found, std::string& value) override;
    bool Behind(std::string_view key, std::string& found, std::string& value) override;
    void Put(std::string_view key, std::string_view value) override;
    void Erase(std::string_view key) override { m_writer.Erase(Space::Entries, key); }
    bool First(const Range& range, Direction direction, std::string& found, std::string& value);

    Writer& m_writer;
    Postings m_postings;
    std::string m_sealed;
};

} // namespace ko::store::inner

#endif
