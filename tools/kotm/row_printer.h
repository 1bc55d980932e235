#ifndef KOTM_ROW_PRINTER_H
#define KOTM_ROW_PRINTER_H

#include "output.h"
#include "query_request.h"

#include "object/snapshot.h"

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace kotm
{

class ColumnPrinter;

/// Prints the chosen attributes of objects. No others are looked at.
class RowPrinter
{
public:
    /// Throws Error (ErrorCode::Usage) for a column that does not exist.
    RowPrinter(const QueryRequest& request, ko::store::inner::Snapshot& snapshot,
               std::ostream& out);
    ~RowPrinter();

    /// Prints the rows of objects, in this order. Throws Error (ErrorCode::Damaged), also for one
    /// that does not exist.
    void Print(std::span<const std::uint64_t> numbers);
    void Finish() { m_writer->Finish(); }

private:
    void PrintTogether(std::span<const std::uint64_t> numbers);

    ko::store::inner::Snapshot& m_snapshot;
    std::unique_ptr<RowWriter> m_writer;
    std::vector<std::unique_ptr<ColumnPrinter>> m_columns;
    std::vector<std::string_view> m_shown; ///< of some rows, one after another
};

/// The place of an attribute that a request names, or kObjectIdIndex. Throws Error
/// (ErrorCode::Usage), which names the option, where there is none.
std::size_t AttributeNamed(const ko::store::inner::Schema& schema, const std::string& name,
                           const char* option);

} // namespace kotm

#endif
