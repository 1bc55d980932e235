#ifndef KOTM_COLUMN_PRINTER_H
#define KOTM_COLUMN_PRINTER_H

#include "output.h"

#include "query/block_at.h"

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

/// Shows the values of one attribute. The text of a dictionary's entry is made once, and that of a
/// form of few bytes as long as it is remembered.
class ColumnPrinter
{
public:
    struct Wanted {
        std::uint64_t number;
        std::uint32_t row;
    };

    /// `format`: null for the type's own. What is handed over outlives the printer.
    ColumnPrinter(ko::store::inner::Snapshot& snapshot, std::size_t attribute, const char* format,
                  const RowWriter& writer, RowWriter::Column column);

    /// Shows the values of objects of a block: that of row n at shown[n * stride], null for an
    /// absent one. They hold until ForgetRows.
    void Show(const ko::store::inner::BlockAt& block, std::span<const Wanted> wanted,
              std::string_view* shown, std::size_t stride);
    void ForgetRows() { m_rows.Clear(); }

private:
    void ShowColumn(const ko::store::inner::BlockAt& block, const ko::store::inner::Column& column,
                    std::span<const Wanted> wanted, std::string_view* shown, std::size_t stride);
    std::string_view ShowCell(const ko::store::inner::Cell& cell, std::uint64_t number);
    std::string_view ShowEntry(std::uint16_t entry);
    std::string_view ShowFixed(std::string_view form);
    const std::string& Text(std::string_view form);

    ko::store::inner::Snapshot& m_snapshot;
    std::size_t m_attribute;
    std::string m_format;
    bool m_hasFormat;
    const RowWriter& m_writer;
    RowWriter::Column m_column;
    ko::store::inner::Value m_value;

    std::vector<std::string_view> m_entries; ///< shown; of no place where they were not yet
    TextRoom m_kept;                         ///< what these point to
    TextRoom m_rows;                         ///< what is shown for some rows alone
    struct ShortForm {
        static constexpr std::size_t kMost = 38;
        std::uint64_t word = 0;
        bool known = false;
        std::uint8_t size = 0;
        char text[kMost];
    };
    std::vector<ShortForm> m_shortForms;
    std::vector<char> m_forms; ///< of a whole column
    std::string m_text;
    std::string m_shown;
    std::string m_room;
    std::string m_large;
};

} // namespace kotm

#endif
