#ifndef KO_CORE_WHOLE_TEXT_H
#define KO_CORE_WHOLE_TEXT_H

#include <cstddef>

/// The text format of types whose print format does not give every value back: the format as a
/// whole asks for the text from which strict reading makes the same value again. It is written so
/// that it means nothing in any of the format languages.

namespace ko
{

inline constexpr char kWholeText[] = "%{text}";

inline bool IsWholeText(const char* format) noexcept
{
    if (format == nullptr)
        return false;
    // Nearly every other format ends this with its second character.
    std::size_t at = 0;
    while (at < sizeof kWholeText && format[at] == kWholeText[at])
        ++at;
    return at == sizeof kWholeText;
}

} // namespace ko

#endif
