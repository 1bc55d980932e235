#ifndef KOTM_ROW_PRINTER_H
#define KOTM_ROW_PRINTER_H

#include "output.h"
#include "query_request.h"

#include <kostore.h>

#include <iosfwd>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace kotm
{

class ColumnPrinter;

/// Prints the rows of an answer.
class RowPrinter
{
public:
    RowPrinter(const QueryRequest& request, std::span<const ko::store::Attribute> attributes,
               std::ostream& out);
    ~RowPrinter();

    void Print(const ko::store::Batch& batch);
    void Finish() { m_writer->Finish(); }

private:
    std::unique_ptr<RowWriter> m_writer;
    std::vector<std::unique_ptr<ColumnPrinter>> m_columns;
    std::vector<std::string_view> m_shown; ///< of some rows, one after another
};

} // namespace kotm

#endif
