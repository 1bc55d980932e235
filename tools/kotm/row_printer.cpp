#include "row_printer.h"

#include "column_printer.h"

#include "query/range_walk.h"

#include <algorithm>

namespace kotm
{

using namespace ko::store;
using namespace ko::store::inner;

namespace
{

/// Rows that are read from their blocks together.
constexpr std::size_t kTogether = 1024;

} // namespace

std::size_t AttributeNamed(const Schema& schema, const std::string& name, const char* option)
{
    if (name == kObjectIdName)
        return kObjectIdIndex;
    const Attribute* attribute = schema.Find(name);
    if (attribute == nullptr)
        throw Error(ErrorCode::Usage, std::string(option) + ": " + schema.NoAttribute(name));
    return static_cast<std::size_t>(attribute - schema.attributes.data());
}

RowPrinter::RowPrinter(const QueryRequest& request, Snapshot& snapshot, std::ostream& out)
    : m_snapshot(snapshot)
{
    const Schema& schema = snapshot.GetSchema();
    std::vector<std::string> names = request.columns;
    if (names.empty()) {
        for (const Attribute& attribute : schema.attributes)
            names.push_back(attribute.name);
    }
    if (request.ids && std::find(names.begin(), names.end(), kObjectIdName) == names.end())
        names.insert(names.begin(), kObjectIdName);
    std::vector<RowWriter::Column> columns;
    columns.reserve(names.size());
    for (const std::string& name : names)
        columns.push_back({name, !schema.IsText(AttributeNamed(schema, name, "--columns"))});
    m_writer = RowWriter::Make(request.output, columns, out, request.toTerminal);
    for (const RowWriter::Column& column : columns) {
        const std::size_t attribute = AttributeNamed(schema, column.name, "--columns");
        const auto print = request.prints.find(column.name);
        const char* format =
            print != request.prints.end() ? print->second.c_str() : schema.Format(attribute);
        m_columns.push_back(
            std::make_unique<ColumnPrinter>(snapshot, attribute, format, *m_writer, column));
    }
}

RowPrinter::~RowPrinter() = default;

void RowPrinter::Print(std::span<const std::uint64_t> numbers)
{
    for (std::size_t at = 0; at < numbers.size(); at += kTogether)
        PrintTogether(numbers.subspan(at, std::min(kTogether, numbers.size() - at)));
}

void RowPrinter::PrintTogether(std::span<const std::uint64_t> numbers)
{
    std::vector<ColumnPrinter::Wanted> wanted;
    for (const std::uint64_t number : numbers)
        wanted.push_back({number, static_cast<std::uint32_t>(wanted.size())});
    if (!std::is_sorted(numbers.begin(), numbers.end()))
        std::sort(wanted.begin(), wanted.end(),
                  [](const auto& a, const auto& b) { return a.number < b.number; });
    const std::size_t width = m_columns.size();
    m_shown.resize(numbers.size() * width);
    for (std::size_t begin = 0; begin < wanted.size();) {
        const std::uint64_t number = m_snapshot.BlockOf(wanted[begin].number);
        const BlockAt block{m_snapshot.Block(number), number * m_snapshot.SlotsOfBlock()};
        std::size_t end = begin;
        for (; end < wanted.size() && m_snapshot.BlockOf(wanted[end].number) == number; ++end) {
            if (block.view == nullptr || !block.view->Has(m_snapshot.SlotOf(wanted[end].number)))
                FailNoObject(m_snapshot, wanted[end].number);
        }
        const std::span<const ColumnPrinter::Wanted> rows(wanted.data() + begin, end - begin);
        for (std::size_t i = 0; i < width; ++i)
            m_columns[i]->Show(block, rows, m_shown.data() + i, width);
        begin = end;
    }
    for (std::size_t row = 0; row < numbers.size(); ++row)
        m_writer->Row({m_shown.data() + row * width, width});
    for (const auto& column : m_columns)
        column->ForgetRows();
}

} // namespace kotm
