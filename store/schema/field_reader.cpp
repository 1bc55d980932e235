#include "schema/field_reader.h"

#include "base/format_text.h"
#include "base/visible.h"

namespace ko::store::inner
{

FieldReader::FieldReader(const Attribute& attribute)
    : m_attribute(attribute), m_value(attribute.type)
{
}

FieldReader::Result FieldReader::Read(std::string_view utf8, std::string& bytes, TextFault& fault)
{
    if (utf8.empty() && m_attribute.type.HasNull())
        return Result::Absent;
    const bool plain = !m_attribute.format || FormatText::IsPlain(*m_attribute.format);
    std::optional<FormatText> format;
    std::string standingIn;
    if (!plain)
        standingIn = format.emplace(*m_attribute.format, utf8).WithStandIns(utf8);
    if (!ToKoString(plain ? utf8 : standingIn, m_attribute.codeSet, m_text, fault))
        return Result::Refused;
    unsigned errorAt = 0;
    const o_char id = m_attribute.type.Id();
    const int code = Manager().ParseFromKoString(
        id, m_value.Get(), m_text, plain ? m_attribute.Format() : format->Bytes(), errorAt);
    if (code != 0) {
        fault.offset = ByteOfPosition(utf8, m_text, errorAt);
        fault.reason = code == KoRC_NOT_SUPPORTED ? "no text is a value of the type "
                       : utf8.empty()             ? "empty, and there is no null value in the type "
                                                  : Quoted(utf8) + " is no value of the type ";
        fault.reason += m_attribute.type.Name();
        if (m_attribute.format)
            fault.reason += " in the format " + Quoted(*m_attribute.format);
        return Result::Refused;
    }
    if (m_attribute.type.HasNull() && m_value.IsNull())
        return Result::Absent;
    m_value.Store(bytes);
    return Result::Present;
}

} // namespace ko::store::inner
