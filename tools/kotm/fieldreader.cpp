#include "fieldreader.h"

namespace kotm
{

namespace
{

/// A text in quotes for a message: short, and nothing in it that a terminal obeys.
std::string Shown(std::string_view utf8)
{
    constexpr std::size_t kMost = 40;
    std::string shown = "\"";
    std::size_t at = 0;
    for (std::size_t count = 0; at < utf8.size() && count < kMost; ++count) {
        const int character = DecodeUtf8(utf8, at);
        const bool control = character < ' ' || (character >= 0x7F && character < 0xA0);
        AppendCharacter(shown, control ? '?' : static_cast<unsigned>(character));
        at += character < 0 ? 1 : 0;
    }
    shown += at < utf8.size() ? "...\"" : "\"";
    return shown;
}

} // namespace

FieldReader::FieldReader(const Attribute& attribute)
    : m_attribute(attribute), m_value(attribute.type)
{
}

FieldReader::Result FieldReader::Read(std::string_view utf8, std::string& bytes, TextFault& fault)
{
    if (utf8.empty() && m_attribute.type.HasNull())
        return Result::Absent;
    if (!ToKoString(utf8, m_attribute.codeSet, m_text, fault))
        return Result::Refused;
    unsigned errorAt = 0;
    const o_char id = m_attribute.type.Id();
    const int code =
        Manager().ParseFromKoString(id, m_value.Get(), m_text, m_attribute.Format(), errorAt);
    if (code != 0) {
        fault.offset = ByteOfPosition(utf8, m_text, errorAt);
        fault.reason = code == KoRC_NOT_SUPPORTED ? "no text is a value of the type "
                       : utf8.empty()             ? "empty, and there is no null value in the type "
                                                  : Shown(utf8) + " is no value of the type ";
        fault.reason += m_attribute.type.Name();
        if (m_attribute.format)
            fault.reason += " in the format " + Shown(*m_attribute.format);
        return Result::Refused;
    }
    if (m_attribute.type.HasNull() && m_value.IsNull())
        return Result::Absent;
    m_value.Store(bytes);
    return Result::Present;
}

} // namespace kotm
