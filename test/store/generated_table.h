#ifndef KO_TEST_STORE_GENERATED_TABLE_H
#define KO_TEST_STORE_GENERATED_TABLE_H

#include "store/test_files.h"

#include "base/short_bytes.h"
#include "import/csv_reader.h"
#include "object/bulk.h"
#include "schema/field_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace ko::store::inner
{

/// Rows in memory: of each attribute the texts and forms of its values, and of each row which one.
struct Table {
    explicit Table(Schema schema_) : schema(std::move(schema_))
    {
        for (const Attribute& attribute : schema.attributes)
            columns.emplace_back(attribute);
    }

    struct Column {
        explicit Column(const Attribute& attribute) : reader(attribute) {}

        void Add(const std::string& text)
        {
            const auto [at, isNew] = known.try_emplace(text, 0);
            if (isNew) {
                std::string form;
                TextFault fault;
                if (reader.Read(text, form, fault) == FieldReader::Result::Refused)
                    throw std::runtime_error("\"" + text + "\" is refused: " + fault.reason);
                at->second = static_cast<std::uint32_t>(forms.size());
                forms.push_back(form);
                texts.push_back(text);
            }
            rows.push_back(at->second);
        }

        FieldReader reader;
        std::unordered_map<std::string, std::uint32_t> known;
        std::vector<std::string> texts;
        std::vector<std::string> forms; ///< empty: null
        std::vector<std::uint32_t> rows;
    };

    std::size_t Rows() const { return columns[0].rows.size(); }

    Schema schema;
    std::vector<Column> columns;
};

/// Adds all rows to a new store.
inline void AddRows(Table& table, Bulk& bulk)
{
    std::vector<FormMemo> memos(table.columns.size());
    std::vector<FormMemo*> places(memos.size());
    std::vector<std::string_view> row(memos.size());
    for (Table::Column& column : table.columns) {
        for (std::string& form : column.forms)
            form.reserve(form.size() + kCopySlack);
    }
    for (std::size_t i = 0; i < table.Rows(); ++i) {
        for (std::size_t at = 0; at < row.size(); ++at) {
            memos[at] = {};
            places[at] = &memos[at];
            row[at] = table.columns[at].forms[table.columns[at].rows[i]];
        }
        bulk.Add(row, places);
    }
}

inline Table FromCsv(const std::string& path, const std::string& schemaPath)
{
    Table table(Schema::FromJson(ReadAll(schemaPath), schemaPath));
    CsvReader csv(path);
    std::vector<std::size_t> columns;
    if (csv.Next() != CsvReader::Result::Row)
        throw std::runtime_error(path + " has no header");
    for (const Attribute& attribute : table.schema.attributes) {
        const auto found = std::find(csv.Fields().begin(), csv.Fields().end(), attribute.column);
        columns.push_back(static_cast<std::size_t>(found - csv.Fields().begin()));
    }
    while (csv.Next() == CsvReader::Result::Row) {
        for (std::size_t i = 0; i < columns.size(); ++i)
            table.columns[i].Add(std::string(csv.Fields()[columns[i]]));
    }
    return table;
}

/// Rows at random out of those of a table, with other numbers and dates.
inline Table Enlarged(const Table& small, std::size_t rows, std::mt19937_64& random)
{
    Table table(small.schema);
    for (std::size_t row = 0; row < rows; ++row) {
        const std::size_t from = random() % small.Rows();
        for (std::size_t i = 0; i < small.columns.size(); ++i) {
            std::string text = small.columns[i].texts[small.columns[i].rows[from]];
            const ValueType& type = small.schema.attributes[i].type;
            if (type.NumberKind() == ValueType::Number::Integer && !text.empty() && text != "0")
                text = std::to_string(std::stoll(text) + static_cast<long long>(random() % 20));
            table.columns[i].Add(text);
        }
    }
    return table;
}

/// Frequencies that fall by a power of the rank, correlated attributes, nearly nothing but null,
/// one value, long common beginnings, dates, floating numbers, and numbers that never repeat.
inline Table Generated(std::size_t rows, std::mt19937_64& random)
{
    Table table(Schema::FromJson(R"({"class": "Made", "attributes": [
      {"name": "zipf", "column": "zipf", "type": "o_4b"},
      {"name": "word", "column": "word", "type": "KoString"},
      {"name": "like", "column": "like", "type": "KoString"},
      {"name": "near", "column": "near", "type": "o_4b"},
      {"name": "rare", "column": "rare", "type": "KoNull_int"},
      {"name": "one", "column": "one", "type": "o_4b"},
      {"name": "path", "column": "path", "type": "KoString"},
      {"name": "day", "column": "day", "type": "KoDate", "format": "%Y-%m-%d"},
      {"name": "size", "column": "size", "type": "o_double"},
      {"name": "id", "column": "id", "type": "o_8b"}]})",
                                 "made"));
    const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    const auto rank = [&](double most) { return std::floor(std::pow(most, uniform())); };
    for (std::size_t row = 0; row < rows; ++row) {
        const int zipf = static_cast<int>(rank(100'000));
        const auto word = static_cast<unsigned>(rank(30'000));
        std::string spelled;
        for (unsigned left = word * 2654435761U % 100'000; left != 0; left /= 26)
            spelled += static_cast<char>('a' + left % 26);
        const double size = std::exp(3.0 * std::sqrt(-2.0 * std::log(1.0 - uniform())) *
                                     std::cos(6.283185307179586 * uniform()));
        char text[64];
        const auto add = [&](std::size_t at, const std::string& value) {
            table.columns[at].Add(value);
        };
        add(0, std::to_string(zipf));
        add(1, spelled.empty() ? "a" : spelled);
        add(2, (uniform() < 0.9 ? spelled.substr(0, 2) : std::to_string(random() % 50)) + "-like");
        add(3, std::to_string(zipf / 10 + static_cast<int>(random() % 20)));
        add(4, uniform() < 0.9 ? "" : std::to_string(random() % 5000));
        add(5, "7");
        std::snprintf(text, sizeof text, "/archive/of/all/files/%02u/%06u.dat",
                      static_cast<unsigned>(rank(40)), static_cast<unsigned>(random() % 900'000));
        add(6, text);
        std::snprintf(text, sizeof text, "%04u-%02u-%02u", static_cast<unsigned>(2024 - rank(30)),
                      static_cast<unsigned>(1 + random() % 12),
                      static_cast<unsigned>(1 + random() % 28));
        add(7, text);
        std::snprintf(text, sizeof text, "%.9g", size);
        add(8, text);
        add(9, std::to_string(row * 3 + 1'000'000));
    }
    return table;
}

} // namespace ko::store::inner

#endif
