#ifndef KO_STORE_IMPORT_CSV_READER_H
#define KO_STORE_IMPORT_CSV_READER_H

#include "import/file_position.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Reads a CSV file row by row and knows where every row and field stands.
///
/// RFC 4180: fields may be quoted, a quote in a quoted field is doubled, quoted fields may hold
/// line breaks; rows end with LF, CRLF or CR. Blanks belong to the field. A byte order mark at
/// the start is passed over, and so are empty lines. Memory does not grow with the file.
class CsvReader
{
public:
    enum class Result { Row, Malformed, End };

    static constexpr std::uint64_t kMaxRowBytes = 16U << 20;

    /// Throws Error (ErrorCode::Io) for a file that cannot be read.
    explicit CsvReader(const std::string& path);
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// The next row. Malformed: the row is not well formed, Reason and FaultPosition say why, and
    /// the reader stands after its line (after the whole row if a quote is never closed or the
    /// row is longer than kMaxRowBytes).
    Result Next();

    /// The fields of the row, valid until the next call of Next.
    const std::vector<std::string_view>& Fields() const;

    const std::string& Reason() const;
    FilePosition FaultPosition() const;

    /// Where byte `byte` of the text of field `field` of the current row stands.
    FilePosition Locate(std::size_t field, std::size_t byte) const;
    FilePosition RowStart() const;
    /// The bytes of the current row as they stand in the file, line end included, from `from` on
    /// and at most `most` of them.
    std::string RowBytes(std::uint64_t from, std::size_t most) const;
    std::uint64_t RowLength() const;

    std::uint64_t FileSize() const;
    std::uint64_t Offset() const; ///< bytes read so far

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ko::store::inner

#endif
