#include "columnreader.h"

namespace kotm
{

ColumnReader::ColumnReader(const Attribute& attribute, std::size_t memory)
    : m_reader(attribute), m_emptyIsAbsent(attribute.type.HasNull()), m_known(memory)
{
}

FieldReader::Result ColumnReader::Read(std::string_view utf8, std::string& bytes, TextFault& fault)
{
    using Result = FieldReader::Result;
    if (utf8.empty() && m_emptyIsAbsent) {
        m_hint = &m_absentHint;
        return Result::Absent;
    }
    m_newHint = 0;
    m_hint = &m_newHint;
    if (utf8.size() > KnownTexts::kLongest)
        return m_reader.Read(utf8, bytes, fault);
    const std::uint32_t hash = KnownTexts::Hash(utf8);
    KnownTexts::Text* text = m_known.Find(hash, utf8);
    if (text != nullptr) {
        // A present value has a form, so an empty one says that there is none.
        bytes += m_known.FormOf(*text);
        m_hint = &text->hint;
        return text->formSize == 0 ? Result::Absent : Result::Present;
    }
    const std::size_t start = bytes.size();
    const Result result = m_reader.Read(utf8, bytes, fault);
    if (result != Result::Refused)
        text = m_known.Add(hash, utf8, std::string_view(bytes).substr(start));
    m_hint = text != nullptr ? &text->hint : m_hint;
    return result;
}

} // namespace kotm
