#include "import/column_reader.h"

namespace ko::store::inner
{

bool ColumnReader::Convert(std::string_view utf8, std::uint32_t hash, std::string_view& form,
                           TextFault& fault)
{
    m_form.clear();
    if (m_reader.Read(utf8, m_form, fault) == FieldReader::Result::Refused)
        return false;
    if (KnownTexts::Text* text = m_known.Add(hash, utf8, m_form)) {
        form = m_known.FormOf(*text);
        m_memo = &text->memo;
        return true;
    }
    const std::size_t size = m_form.size();
    m_form.append(kCopySlack, '\0');
    form = {m_form.data(), size};
    m_newMemo = {};
    m_memo = &m_newMemo;
    return true;
}

} // namespace ko::store::inner
