#include "column_printer.h"

#include "base/object_id.h"

#include <array>
#include <cstring>

namespace kotm
{

using namespace ko::store;
using namespace ko::store::inner;

namespace
{

constexpr unsigned kShortFormBits = 12;
/// A column is unpacked where at least one in so many of its slots is wanted.
constexpr std::size_t kFew = 8;

} // namespace

std::string_view TextRoom::Keep(std::string_view text)
{
    while (m_used == 0 || m_chunks[m_used - 1].size - m_chunks[m_used - 1].filled < text.size()) {
        if (m_used == m_chunks.size()) {
            const std::size_t size = std::max(kChunk, text.size());
            m_chunks.push_back({std::make_unique<char[]>(size), size, 0});
        }
        m_chunks[m_used++].filled = 0;
    }
    Chunk& chunk = m_chunks[m_used - 1];
    char* at = chunk.bytes.get() + chunk.filled;
    std::memcpy(at, text.data(), text.size());
    chunk.filled += text.size();
    return {at, text.size()};
}

ColumnPrinter::ColumnPrinter(Snapshot& snapshot, std::size_t attribute, const char* format,
                             const RowWriter& writer, RowWriter::Column column)
    : m_snapshot(snapshot), m_attribute(attribute), m_format(format != nullptr ? format : ""),
      m_hasFormat(format != nullptr), m_writer(writer), m_column(std::move(column)),
      m_value(ValueType(snapshot.GetSchema().TypeId(attribute)))
{
}

void ColumnPrinter::Show(const BlockAt& block, std::span<const Wanted> wanted,
                         std::string_view* shown, std::size_t stride)
{
    if (m_attribute != kObjectIdIndex) {
        ShowColumn(block, ColumnOf(m_snapshot, block, m_attribute), wanted, shown, stride);
        return;
    }
    for (const Wanted& one : wanted) {
        char id[kObjectIdBytes];
        PutObjectId(id, one.number);
        shown[one.row * stride] = m_rows.Keep(Text({id, sizeof id}));
    }
}

void ColumnPrinter::ShowColumn(const BlockAt& block, const Column& column,
                               std::span<const Wanted> wanted, std::string_view* shown,
                               std::size_t stride)
{
    const auto each = [&](const auto& show) {
        for (const Wanted& one : wanted)
            shown[one.row * stride] =
                show(static_cast<unsigned>(one.number - block.firstObject), one.number);
    };
    const auto showCell = [&](unsigned slot, std::uint64_t number) {
        return ShowCell(column.At(slot, m_room), number);
    };
    if (column.IsAbsent()) {
        each([](unsigned, std::uint64_t) { return std::string_view(); });
    } else if (wanted.size() * kFew < block.view->Slots()) {
        each(showCell);
    } else if (column.IsFixed()) {
        const std::size_t size = m_snapshot.Layout()[m_attribute];
        m_forms.resize(block.view->Slots() * size + Column::kScanSlack);
        SlotBits present;
        column.Forms(m_forms.data(), present);
        each([&](unsigned slot, std::uint64_t) {
            return TestBit(present, slot) ? ShowFixed({m_forms.data() + slot * size, size})
                                          : std::string_view();
        });
    } else {
        std::array<std::uint16_t, kMostSlots> codes;
        column.Codes(codes.data());
        each([&](unsigned slot, std::uint64_t number) {
            const std::uint16_t code = codes[slot];
            if (code >= kFirstCode)
                return ShowEntry(static_cast<std::uint16_t>(code - kFirstCode));
            return code == kAbsentCode ? std::string_view() : showCell(slot, number);
        });
    }
}

std::string_view ColumnPrinter::ShowCell(const Cell& cell, std::uint64_t number)
{
    switch (cell.kind) {
    case Cell::Kind::Absent:
        return {};
    case Cell::Kind::Entry:
        return ShowEntry(cell.entry);
    case Cell::Kind::Form:
        if (m_snapshot.Layout()[m_attribute] != 0)
            return ShowFixed(cell.form);
        return m_rows.Keep(Text(cell.form));
    case Cell::Kind::Large:
        break;
    }
    return m_rows.Keep(Text(m_snapshot.Form(m_attribute, cell, number, m_large)));
}

std::string_view ColumnPrinter::ShowEntry(std::uint16_t entry)
{
    if (entry >= m_entries.size())
        m_entries.resize(std::size_t{entry} + 1);
    if (m_entries[entry].data() == nullptr)
        m_entries[entry] = m_kept.Keep(Text(m_snapshot.Text(m_attribute, entry)));
    return m_entries[entry];
}

std::string_view ColumnPrinter::ShowFixed(std::string_view form)
{
    if (form.size() > sizeof(std::uint64_t))
        return m_rows.Keep(Text(form));
    if (m_shortForms.empty())
        m_shortForms.resize(std::size_t{1} << kShortFormBits);
    std::uint64_t word = 0;
    std::memcpy(&word, form.data(), form.size());
    ShortForm& kept = m_shortForms[word * 0x9E3779B97F4A7C15 >> (64 - kShortFormBits)];
    if (kept.known && kept.word == word)
        return m_rows.Keep({kept.text, kept.size});
    const std::string& text = Text(form);
    kept.known = text.size() <= ShortForm::kMost;
    if (kept.known) {
        kept.word = word;
        kept.size = static_cast<std::uint8_t>(text.size());
        std::memcpy(kept.text, text.data(), text.size());
    }
    return m_rows.Keep(text);
}

const std::string& ColumnPrinter::Text(std::string_view form)
{
    m_text.clear();
    m_shown.clear();
    m_value.Load(form);
    m_value.Print(m_text, m_hasFormat ? m_format.c_str() : nullptr);
    m_writer.Show(m_column, m_text, m_shown);
    return m_shown;
}

} // namespace kotm
