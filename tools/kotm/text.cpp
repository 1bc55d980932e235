#include "text.h"

#include <kostore.h>

#include <algorithm>
#include <cctype>

namespace kotm
{

namespace
{

bool Continues(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

} // namespace

std::string Quoted(std::string_view utf8)
{
    constexpr std::size_t kMost = 40;
    return '"' + ko::store::Visible(utf8, kMost) + '"';
}

std::string VisibleJson(std::string_view json)
{
    std::string visible;
    for (std::size_t at = 0; at < json.size();) {
        const std::size_t start = at++;
        // Below these JSON has escapes of its own, and line breaks between its parts.
        if (static_cast<unsigned char>(json[start]) < 0x7F) {
            visible += json[start];
            continue;
        }
        while (at < json.size() && Continues(json[at]))
            ++at;
        const std::string_view character = json.substr(start, at - start);
        const std::string shown = ko::store::Visible(character);
        if (shown == character) {
            visible += character;
            continue;
        }
        std::string code = shown.substr(2); // of "\x7F" or "\u009B"
        std::transform(code.begin(), code.end(), code.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        visible += "\\u" + std::string(4 - code.size(), '0') + code;
    }
    return visible;
}

std::size_t CountCharacters(std::string_view utf8) noexcept
{
    return utf8.size() -
           static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), Continues));
}

} // namespace kotm
