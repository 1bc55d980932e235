#ifndef KOTM_OUTPUT_H
#define KOTM_OUTPUT_H

#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// Writes rows of values. A value is shown first, maybe once for many rows with it, and then stands
/// in rows as it was shown.
class RowWriter
{
public:
    enum class Kind { Table, Csv, Json };
    struct Column {
        std::string name;
        bool number = false; ///< its values may stand in JSON without quotes, if their texts can
    };

    /// Table: columns as wide as the first rows ask for, hidden characters by their codes, null as
    /// the type manager prints it. CSV: fields quoted where RFC 4180 asks for it, null empty, lines
    /// end with LF, texts as they are unless `toTerminal`. JSON: an array of objects, null as null,
    /// hidden characters as JSON escapes them.
    static std::unique_ptr<RowWriter> Make(Kind kind, const std::vector<Column>& columns,
                                           std::ostream& out, bool toTerminal = false);
    explicit RowWriter(std::ostream& out) : m_out(out) {}
    virtual ~RowWriter() = default;

    /// Appends a value's text in UTF-8 as rows of this kind show it.
    virtual void Show(const Column& column, std::string_view text, std::string& shown) const = 0;
    /// Writes what was shown, one for each column; null for a view of no place at all.
    virtual void Row(std::span<const std::string_view> shown) = 0;
    /// Hands over the rows up to here, but for those that a table holds back to measure them.
    void Flush();
    /// Writes what is held back and the end.
    virtual void Finish() = 0;

    /// A row of texts.
    void TextRow(const std::vector<Column>& columns, const std::vector<std::string>& texts);

protected:
    /// Where rows are appended; Flush is called now and then.
    std::string& Rows()
    {
        if (m_rows.size() >= kMostHeld)
            Flush();
        return m_rows;
    }

private:
    static constexpr std::size_t kMostHeld = 1U << 16;

    std::ostream& m_out;
    std::string m_rows;
};

} // namespace kotm

#endif
