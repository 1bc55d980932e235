#ifndef KOTM_OUTPUT_H
#define KOTM_OUTPUT_H

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace kotm
{

/// One printed value.
struct Cell {
    std::string text; ///< UTF-8
    bool null = false;
    bool number = false; ///< a value that may stand in JSON without quotes, if its text can
};

/// Writes rows of cells.
class RowWriter
{
public:
    enum class Kind { Table, Csv, Json };

    /// Table: columns as wide as the first rows ask for, control characters escaped, null as the
    /// type manager prints it. CSV: fields quoted where RFC 4180 asks for it, null empty, lines
    /// end with LF. JSON: an array of objects, null as null.
    static std::unique_ptr<RowWriter> Make(Kind kind, const std::vector<std::string>& columns,
                                           std::ostream& out);
    virtual ~RowWriter() = default;
    virtual void Row(const std::vector<Cell>& cells) = 0;
    /// Writes what is held back and the end.
    virtual void Finish() = 0;
};

} // namespace kotm

#endif
