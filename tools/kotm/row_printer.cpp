#include "row_printer.h"

#include "column_printer.h"

namespace kotm
{

using namespace ko::store;

RowPrinter::RowPrinter(const QueryRequest& request, std::span<const Attribute> attributes,
                       std::ostream& out)
{
    std::vector<RowWriter::Column> columns;
    for (const Attribute& attribute : attributes)
        columns.push_back({attribute.name, !IsText(attribute.type)});
    m_writer = RowWriter::Make(request.output, columns, out, request.toTerminal);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        Attribute attribute = attributes[i];
        const auto print = request.prints.find(attribute.name);
        if (print != request.prints.end())
            attribute.format = print->second;
        m_columns.push_back(std::make_unique<ColumnPrinter>(attribute, *m_writer, columns[i]));
    }
}

RowPrinter::~RowPrinter() = default;

void RowPrinter::Print(const Batch& batch)
{
    const std::size_t width = m_columns.size();
    m_shown.resize(batch.Rows() * width);
    for (std::size_t i = 0; i < width; ++i)
        m_columns[i]->Show(batch.columns[i], m_shown.data() + i, width);
    for (std::size_t row = 0; row < batch.Rows(); ++row)
        m_writer->Row({m_shown.data() + row * width, width});
    for (const auto& column : m_columns)
        column->ForgetRows();
}

} // namespace kotm
