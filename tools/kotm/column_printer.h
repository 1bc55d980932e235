#ifndef KOTM_COLUMN_PRINTER_H
#define KOTM_COLUMN_PRINTER_H

#include "output.h"

#include <kostore.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// Texts that stay where they are until all of them go.
class TextRoom
{
public:
    std::string_view Keep(std::string_view text);
    void Clear() { m_used = 0; }

private:
    static constexpr std::size_t kChunk = 1U << 16;
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        std::size_t size;
        std::size_t filled;
    };
    std::vector<Chunk> m_chunks;
    std::size_t m_used = 0; ///< chunks
};

/// Shows the values of one attribute. The text of values with a code is made once, and that of a
/// form of few bytes as long as it is remembered.
class ColumnPrinter
{
public:
    /// The writer outlives the printer.
    ColumnPrinter(const ko::store::Attribute& attribute, const RowWriter& writer,
                  RowWriter::Column column);

    /// Shows a column: the value of row n at shown[n * stride], of no place at all for null. What
    /// is shown holds until ForgetRows.
    void Show(const ko::store::Batch::Column& column, std::string_view* shown, std::size_t stride);
    void ForgetRows() { m_rows.Clear(); }

private:
    std::string_view ShowForm(std::string_view form);
    const std::string& Text(std::string_view form);

    ko::store::Codec m_codec;
    const RowWriter& m_writer;
    RowWriter::Column m_column;

    std::vector<std::string_view> m_coded; ///< shown; of no place where they were not yet
    TextRoom m_kept;                       ///< what these point to
    TextRoom m_rows;                       ///< what is shown for some rows alone
    struct ShortForm {
        static constexpr std::size_t kMost = 37;
        std::uint64_t word = 0;
        bool known = false;
        std::uint8_t form = 0; ///< its bytes
        std::uint8_t size = 0;
        char text[kMost];
    };
    std::vector<ShortForm> m_shortForms;
    std::string m_text;
    std::string m_shown;
};

} // namespace kotm

#endif
