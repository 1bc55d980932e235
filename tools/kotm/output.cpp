#include "output.h"

#include "text.h"

#include <kostore.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <ostream>

namespace kotm
{

using ko::store::Visible;

namespace
{

/// Rows that a table looks at for the widths of its columns.
constexpr std::size_t kMeasuredRows = 1000;

class TableWriter : public RowWriter
{
public:
    TableWriter(const std::vector<Column>& columns, std::ostream& out) : RowWriter(out)
    {
        ko::store::Codec({"", "", ko::Type::Find("KoString").value()}).Print({}, m_null);
        std::vector<std::string> header;
        for (const Column& column : columns) {
            header.push_back(Visible(column.name));
            m_widths.push_back(CountCharacters(header.back()));
            m_numbers.push_back(column.number);
        }
        m_held.push_back(std::move(header));
        m_right.assign(columns.size(), true);
    }

    void Show(const Column&, std::string_view text, std::string& shown) const override
    {
        shown += Visible(text);
    }

    void Row(std::span<const std::string_view> shown) override
    {
        std::vector<std::string> row;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            const bool null = shown[i].data() == nullptr;
            row.push_back(null ? m_null : std::string(shown[i]));
            if (m_holding) {
                m_widths[i] = std::max(m_widths[i], CountCharacters(row[i]));
                m_right[i] = m_right[i] && (null || m_numbers[i]);
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

    void Finish() override
    {
        Release();
        Flush();
    }

private:
    void Write(const std::vector<std::string>& row)
    {
        std::string& line = Rows();
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t width = CountCharacters(row[i]);
            const std::string pad(m_widths[i] - std::min(width, m_widths[i]), ' ');
            line += i == 0 ? "" : "  ";
            line += m_right[i] ? pad + row[i] : row[i] + (i + 1 < row.size() ? pad : "");
        }
        line += '\n';
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

    std::string m_null;
    std::vector<std::vector<std::string>> m_held;
    std::vector<std::size_t> m_widths;
    std::vector<bool> m_numbers;
    std::vector<bool> m_right;
    bool m_holding = true;
};

class CsvWriter : public RowWriter
{
public:
    CsvWriter(const std::vector<Column>& columns, bool toTerminal, std::ostream& out)
        : RowWriter(out), m_toTerminal(toTerminal)
    {
        std::vector<std::string> names;
        names.reserve(columns.size());
        for (const Column& column : columns)
            names.push_back(column.name);
        TextRow(columns, names);
    }

    void Show(const Column&, std::string_view text, std::string& shown) const override
    {
        // An empty text is quoted to differ from null.
        if (!text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos) {
            shown += m_toTerminal ? Visible(text) : text;
            return;
        }
        std::string quoted = "\"";
        for (const char c : text)
            quoted.append(c == '"' ? 2 : 1, c);
        quoted.push_back('"');
        shown += m_toTerminal ? Visible(quoted) : quoted;
    }

    void Row(std::span<const std::string_view> shown) override
    {
        std::string& line = Rows();
        for (const std::string_view field : shown) {
            line += field;
            line += ',';
        }
        line.back() = '\n';
    }

    void Finish() override { Flush(); }

private:
    bool m_toTerminal;
};

class JsonWriter : public RowWriter
{
public:
    JsonWriter(const std::vector<Column>& columns, std::ostream& out) : RowWriter(out)
    {
        for (const Column& column : columns) {
            std::string name = m_names.empty() ? "{" : ", ";
            AppendQuoted(name, column.name);
            m_names.push_back(name + ": ");
        }
        Rows() += '[';
    }

    void Show(const Column& column, std::string_view text, std::string& shown) const override
    {
        if (column.number && IsNumber(text))
            shown += text;
        else
            AppendQuoted(shown, text);
    }

    void Row(std::span<const std::string_view> shown) override
    {
        std::string& object = Rows();
        object += m_first ? "\n  " : ",\n  ";
        m_first = false;
        for (std::size_t i = 0; i < shown.size(); ++i) {
            object += m_names[i];
            object += shown[i].data() == nullptr ? std::string_view("null") : shown[i];
        }
        object += '}';
    }

    void Finish() override
    {
        Rows() += m_first ? "]\n" : "\n]\n";
        Flush();
    }

private:
    static void AppendQuoted(std::string& json, std::string_view text)
    {
        const auto isPlain = [](char c) { return c >= ' ' && c < 0x7F && c != '"' && c != '\\'; };
        if (!std::all_of(text.begin(), text.end(), isPlain)) {
            json += VisibleJson(nlohmann::json(text).dump());
            return;
        }
        json += '"';
        json += text;
        json += '"';
    }

    static bool IsNumber(std::string_view text)
    {
        if (text.empty() || (text[0] != '-' && (text[0] < '0' || text[0] > '9')))
            return false;
        const std::string_view digits = text.substr(text[0] == '-' ? 1 : 0);
        constexpr std::size_t kSurelyHeld = 18;
        const bool isInteger = !digits.empty() && digits.size() <= kSurelyHeld &&
                               (digits[0] != '0' || digits.size() == 1) &&
                               digits.find_first_not_of("0123456789") == std::string_view::npos;
        return isInteger || nlohmann::json::accept(text);
    }

    std::vector<std::string> m_names; ///< with what stands around them
    bool m_first = true;
};

} // namespace

std::unique_ptr<RowWriter> RowWriter::Make(Kind kind, const std::vector<Column>& columns,
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

void RowWriter::Flush()
{
    m_out.write(m_rows.data(), static_cast<std::streamsize>(m_rows.size()));
    m_rows.clear();
}

void RowWriter::TextRow(const std::vector<Column>& columns, const std::vector<std::string>& texts)
{
    std::vector<std::string> shown(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        Show(columns[i], texts[i], shown[i]);
    Row(std::vector<std::string_view>(shown.begin(), shown.end()));
}

} // namespace kotm
