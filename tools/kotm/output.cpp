#include "output.h"

#include "utf8.h"
#include "valuetype.h"
#include "visible.h"

#include <kostring.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <ostream>

namespace kotm
{

namespace
{

/// Rows that a table looks at for the widths of its columns.
constexpr std::size_t kMeasuredRows = 1000;

class TableWriter : public RowWriter
{
public:
    TableWriter(const std::vector<std::string>& columns, std::ostream& out) : m_out(out)
    {
        AppendUtf8(m_null, KoTypeMgr::GetNullPrintString());
        std::vector<std::string> header;
        for (const std::string& column : columns) {
            header.push_back(Visible(column));
            m_widths.push_back(CountCharacters(header.back()));
        }
        m_held.push_back(std::move(header));
        m_right.assign(columns.size(), true);
    }

    void Row(const std::vector<Cell>& cells) override
    {
        std::vector<std::string> row;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            row.push_back(cells[i].null ? m_null : Visible(cells[i].text));
            if (m_holding) {
                m_widths[i] = std::max(m_widths[i], CountCharacters(row[i]));
                m_right[i] = m_right[i] && (cells[i].null || cells[i].number);
            }
        }
        if (!m_holding) {
            Write(row);
            return;
        }
        m_held.push_back(std::move(row));
        if (m_held.size() > kMeasuredRows)
            Release();
    }

    void Finish() override { Release(); }

private:
    void Write(const std::vector<std::string>& row)
    {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t width = CountCharacters(row[i]);
            const std::string pad(m_widths[i] - std::min(width, m_widths[i]), ' ');
            line += i == 0 ? "" : "  ";
            line += m_right[i] ? pad + row[i] : row[i] + (i + 1 < row.size() ? pad : "");
        }
        m_out << line << '\n';
    }

    void Release()
    {
        if (!m_holding)
            return;
        m_holding = false;
        Write(m_held.front());
        std::vector<std::string> rule;
        for (const std::size_t width : m_widths)
            rule.emplace_back(width, '-');
        Write(rule);
        for (std::size_t i = 1; i < m_held.size(); ++i)
            Write(m_held[i]);
        m_held.clear();
    }

    std::ostream& m_out;
    std::string m_null;
    std::vector<std::vector<std::string>> m_held;
    std::vector<std::size_t> m_widths;
    std::vector<bool> m_right;
    bool m_holding = true;
};

class CsvWriter : public RowWriter
{
public:
    CsvWriter(const std::vector<std::string>& columns, bool toTerminal, std::ostream& out)
        : m_toTerminal(toTerminal), m_out(out)
    {
        std::vector<Cell> header;
        header.reserve(columns.size());
        for (const std::string& column : columns)
            header.push_back({column, false, false});
        Row(header);
    }

    void Row(const std::vector<Cell>& cells) override
    {
        std::string line;
        for (const Cell& cell : cells) {
            if (&cell != &cells.front())
                line.push_back(',');
            AppendField(line, cell);
        }
        m_out << (m_toTerminal ? Visible(line) : line) << '\n';
    }

    void Finish() override {}

private:
    static void AppendField(std::string& line, const Cell& cell)
    {
        if (cell.null)
            return;
        // An empty text is quoted to differ from null.
        if (!cell.text.empty() && cell.text.find_first_of(",\"\r\n") == std::string::npos) {
            line += cell.text;
            return;
        }
        line.push_back('"');
        for (const char c : cell.text)
            line.append(c == '"' ? 2 : 1, c);
        line.push_back('"');
    }

    bool m_toTerminal;
    std::ostream& m_out;
};

class JsonWriter : public RowWriter
{
public:
    JsonWriter(const std::vector<std::string>& columns, std::ostream& out) : m_out(out)
    {
        for (const std::string& column : columns)
            m_names.push_back(Quoted(column));
        m_out << '[';
    }

    void Row(const std::vector<Cell>& cells) override
    {
        std::string object = m_first ? "\n  {" : ",\n  {";
        m_first = false;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            object += (i == 0 ? "" : ", ") + m_names[i] + ": ";
            const Cell& cell = cells[i];
            object += cell.null                            ? "null"
                      : cell.number && IsNumber(cell.text) ? cell.text
                                                           : Quoted(cell.text);
        }
        m_out << object << '}';
    }

    void Finish() override { m_out << (m_first ? "]\n" : "\n]\n"); }

private:
    static std::string Quoted(const std::string& text)
    {
        return VisibleJson(nlohmann::json(text).dump());
    }

    static bool IsNumber(const std::string& text)
    {
        return !text.empty() && (text[0] == '-' || (text[0] >= '0' && text[0] <= '9')) &&
               nlohmann::json::accept(text);
    }

    std::ostream& m_out;
    std::vector<std::string> m_names;
    bool m_first = true;
};

} // namespace

std::unique_ptr<RowWriter> RowWriter::Make(Kind kind, const std::vector<std::string>& columns,
                                           std::ostream& out, bool toTerminal)
{
    switch (kind) {
    case Kind::Csv:
        return std::make_unique<CsvWriter>(columns, toTerminal, out);
    case Kind::Json:
        return std::make_unique<JsonWriter>(columns, out);
    case Kind::Table:
        break;
    }
    return std::make_unique<TableWriter>(columns, out);
}

} // namespace kotm
