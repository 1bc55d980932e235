#include "interface/call.h"

#include "string/record.h"

#include <cstring>
#include <limits>

namespace ko
{

namespace
{

/// The place of the language in a stored string whose comparison reads it as another one; 0 for
/// all other values. The older layout has no language.
std::size_t LanguageOfNullMark(o_char id, const void* bytes, std::size_t length)
{
    const auto* const record = static_cast<const unsigned char*>(bytes);
    const bool marked = id == KoSTRING_T && record[length - 1] != kOlderRecordEnd &&
                        CarriesNullMark(record[2], record[3]);
    return marked ? 3 : 0;
}

} // namespace

ko_status CheckBegin(o_char id, const void* bytes, std::size_t length, ko_order order,
                     std::size_t& at)
{
    switch (ExtensionOf(id).validate(bytes, length, static_cast<unsigned char>(order), 1, at)) {
    case KoRC_OK:
        break;
    case KoRC_TRUNCATED:
        return KO_TRUNCATED;
    case KoRC_DAMAGED:
        return KO_DAMAGED;
    default:
        return KO_NOT_SUPPORTED;
    }
    if (const std::size_t place = LanguageOfNullMark(id, bytes, at); place != 0) {
        at = place;
        return KO_DAMAGED;
    }
    return KO_OK;
}

ko_status CheckBytes(o_char id, const void* bytes, std::size_t length, ko_order order)
{
    if (bytes == nullptr && length != 0)
        return KO_BAD_ARGUMENT;
    if (length > std::numeric_limits<unsigned>::max())
        return KO_TRAILING;
    std::size_t at = 0;
    const ko_status status = CheckBegin(id, bytes, length, order, at);
    return status == KO_OK && at != length ? KO_TRAILING : status;
}

ko_status CheckFormat(const char* format)
{
    constexpr std::size_t kLongest = 255;
    if (format == nullptr)
        return KO_OK;
    for (std::size_t i = 0; i <= kLongest; ++i) {
        if (format[i] == '\0')
            return KO_OK;
        if (static_cast<unsigned char>(format[i]) >= 0x80)
            return KO_BAD_FORMAT;
    }
    return KO_BAD_FORMAT;
}

ko_status ReadStatus(int result)
{
    switch (result) {
    case 0:
        return KO_OK;
    case KoMBS_REPLACED:
        return KO_NO_CHARACTER;
    case KoMBS_TOO_LONG:
        return KO_TOO_LONG;
    case KoMBS_NO_MEMORY:
        return KO_NO_MEMORY;
    default:
        return KO_NOT_UTF8;
    }
}

void CallScope::Apply(const ko_settings& settings)
{
    if (settings.size < sizeof settings || settings.language < -1 ||
        settings.language >= KoLANG_NULL || settings.code_set < -1 ||
        settings.code_set == KoCS_NONE || settings.code_set >= KoCS_NULL) {
        m_status = KO_BAD_ARGUMENT;
        return;
    }
    // -1 is 255 in a byte, which stands for what holds outside.
    m_language.emplace(static_cast<unsigned char>(settings.language),
                       static_cast<unsigned char>(settings.code_set));
    m_codeSet = static_cast<unsigned char>(settings.code_set < 0 ? KoCS_NONE : settings.code_set);
    if (settings.null_text == nullptr)
        return;
    std::size_t errorAt = 0;
    OwnNullText& own = m_nullText.emplace();
    m_status = ReadStatus(
        own.text.Read(settings.null_text, std::strlen(settings.null_text), KoCS_NONE, errorAt));
    if (m_status == KO_OK)
        own.scope.emplace(&own.text.Get());
    else if (m_status != KO_NO_MEMORY)
        m_status = KO_BAD_ARGUMENT;
}

ko_status ScopedValue::Load(const void* bytes, std::size_t length, ko_order order)
{
    if (m_value == nullptr)
        return KO_NO_MEMORY;
    const unsigned read = m_type.load(m_value, bytes, static_cast<unsigned char>(order), 1);
    return read == length ? KO_OK : KO_NO_MEMORY;
}

ko_status Room::PutValue(ScopedValue& value, ko_order order) const
{
    const auto format = static_cast<unsigned char>(order);
    const KoTypeDescriptor& type = value.Type();
    const ko_status status = Takes(type.sizeGet(value.Get(), KoFMT_MEMORY, format, 1));
    if (status == KO_OK)
        type.store(m_out, value.Get(), format, 1);
    return status;
}

} // namespace ko
