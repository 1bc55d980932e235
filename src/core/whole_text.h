#ifndef KO_CORE_WHOLE_TEXT_H
#define KO_CORE_WHOLE_TEXT_H

#include <cstring>

/// The text format of types whose print format does not give every value back: the format as a
/// whole asks for the text from which strict reading makes the same value again. It is written so
/// that it means nothing in any of the format languages.

namespace ko
{

inline constexpr char kWholeText[] = "%{text}";

inline bool IsWholeText(const char* format) noexcept
{
    return format != nullptr && format[0] == '%' && format[1] == '{' &&
           std::strcmp(format, kWholeText) == 0;
}

} // namespace ko

#endif
