#ifndef KO_STORE_INDEX_POSTINGS_H
#define KO_STORE_INDEX_POSTINGS_H

#include "index/number_row.h"

#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The rows of Space::Entries, in the order of their keys, to be changed. Values are without their
/// checksums: whoever implements this checks and appends them.
class EntryRows
{
public:
    virtual ~EntryRows() = default;
    /// The last row whose key is not greater than `key`; false where there is none.
    virtual bool AtOrBefore(std::string_view key, std::string& found, std::string& value) = 0;
    /// The first row whose key is greater; false where there is none.
    virtual bool Behind(std::string_view key, std::string& found, std::string& value) = 0;
    virtual void Put(std::string_view key, std::string_view value) = 0;
    virtual void Erase(std::string_view key) = 0;
};

/// Changes the rows so that no two of one value overlap, and every number stands once. A row that
/// is met and damaged ends in Error (ErrorCode::Damaged).
class Postings
{
public:
    explicit Postings(EntryRows& rows) : m_rows(rows) {}

    /// Adds ascending numbers to those of a value; one that is there stays.
    ///
    /// A row grows where its neighbours leave it room: the one that covers a number takes it, or
    /// else the one before. Rows that become too full are split in the middle, but for numbers that
    /// come behind all others: these fill rows one after another.
    void Insert(std::string_view valueKey, const std::uint64_t* numbers, std::size_t count);
    void Insert(std::string_view valueKey, std::uint64_t number) { Insert(valueKey, &number, 1); }

    /// Takes a number from those of a value; false where it is not there. What is left of a row
    /// joins the one behind it where both are small.
    bool Erase(std::string_view valueKey, std::uint64_t number);

private:
    struct Found {
        std::string key;
        std::string value;
        NumberRow row;
    };
    bool Before(std::string_view valueKey, std::uint64_t number, Found& found);
    bool Behind(std::string_view valueKey, std::uint64_t number, Found& found);
    static bool Take(std::string_view valueKey, Found& found);
    void PutRows(std::string_view valueKey, bool fill);

    EntryRows& m_rows;
    Found m_found;
    Found m_next;
    std::vector<std::uint64_t> m_numbers;
    std::string m_bytes;
};

} // namespace ko::store::inner

#endif
