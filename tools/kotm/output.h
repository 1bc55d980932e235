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

    /// Table: columns as wide as the first rows ask for, hidden characters by their codes, null as
    /// the type manager prints it. CSV: fields quoted where RFC 4180 asks for it, null empty, lines
    /// end with LF, texts as they are unless `toTerminal`. JSON: an array of objects, null as null,
    /// hidden characters as JSON escapes them.
    static std::unique_ptr<RowWriter> Make(Kind kind, const std::vector<std::string>& columns,
                                           std::ostream& out, bool toTerminal = false);
    virtual ~RowWriter() = default;
    virtual void Row(const std::vector<Cell>& cells) = 0;
    /// Writes what is held back and the end.
    virtual void Finish() = 0;
};

} // namespace kotm

#endif
