#include "column_printer.h"

#include <algorithm>
#include <cstring>

namespace kotm
{

using namespace ko::store;

namespace
{

constexpr unsigned kShortFormBits = 12;

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

ColumnPrinter::ColumnPrinter(const Attribute& attribute, const RowWriter& writer,
                             RowWriter::Column column)
    : m_codec(attribute), m_writer(writer), m_column(std::move(column))
{
}

void ColumnPrinter::Show(const Batch::Column& column, std::string_view* shown, std::size_t stride)
{
    for (std::size_t row = 0; row < column.forms.size(); ++row) {
        const std::uint32_t code = column.codes.empty() ? 0 : column.codes[row];
        std::string_view& place = shown[row * stride];
        if (code == 0) {
            place = ShowForm(column.forms[row]);
            continue;
        }
        if (code >= m_coded.size())
            m_coded.resize(std::size_t{code} + 1);
        if (m_coded[code].data() == nullptr)
            m_coded[code] = m_kept.Keep(Text(column.forms[row]));
        place = m_coded[code];
    }
}

std::string_view ColumnPrinter::ShowForm(std::string_view form)
{
    if (form.empty())
        return {};
    if (form.size() > sizeof(std::uint64_t))
        return m_rows.Keep(Text(form));
    if (m_shortForms.empty())
        m_shortForms.resize(std::size_t{1} << kShortFormBits);
    std::uint64_t word = 0;
    std::memcpy(&word, form.data(), form.size());
    ShortForm& kept = m_shortForms[word * 0x9E3779B97F4A7C15 >> (64 - kShortFormBits)];
    if (kept.known && kept.word == word && kept.form == form.size())
        return m_rows.Keep({kept.text, kept.size});
    const std::string& text = Text(form);
    kept.known = text.size() <= ShortForm::kMost;
    if (kept.known) {
        kept.word = word;
        kept.form = static_cast<std::uint8_t>(form.size());
        kept.size = static_cast<std::uint8_t>(text.size());
        std::memcpy(kept.text, text.data(), text.size());
    }
    return m_rows.Keep(text);
}

const std::string& ColumnPrinter::Text(std::string_view form)
{
    m_text.clear();
    m_shown.clear();
    m_codec.Print(form, m_text);
    m_writer.Show(m_column, m_text, m_shown);
    return m_shown;
}

} // namespace kotm
