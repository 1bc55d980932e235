#ifndef KO_STORE_OBJECT_ROW_JOIN_H
#define KO_STORE_OBJECT_ROW_JOIN_H

#include "engine/engine.h"
#include "index/entry_key.h"
#include "index/number_row.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// Rows of an index, one behind the other, that make one row together. Those that are met are
/// checked: throws Error (ErrorCode::Damaged).
class RowJoin
{
public:
    /// Begins with a row.
    void Start(const Row& row);
    /// Takes the row behind the last one if it is one of the same value and there is room for it;
    /// false, and nothing is changed, where it is not.
    bool Takes(const Row& row);
    /// How many were taken.
    std::size_t Rows() const { return m_rows; }
    /// Writes the value of the row that they make, without its checksum, over `bytes`; its key is
    /// the first one's.
    void Write(std::string& bytes) const;

private:
    void Read(const Row& row);

    std::size_t m_rows = 0;
    std::string m_valueKey;
    std::vector<std::uint64_t> m_numbers;
    std::size_t m_bytes = 0; ///< at most, of what they make
    EntryKey m_key;          ///< of the row that was read last, like the others
    NumberRow m_row;
    std::size_t m_rowBytes = 0;
};

} // namespace ko::store::inner

#endif
