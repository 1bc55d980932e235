#include "engine/url.h"

#include <algorithm>
#include <charconv>

namespace ko::store::inner
{

namespace
{

constexpr std::string_view kBlanks = " \t\n\r\f\v";

bool BeginsWith(std::string_view text, std::string_view lower)
{
    return text.size() >= lower.size() &&
           std::equal(lower.begin(), lower.end(), text.begin(), [](char l, char c) {
               return l == (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
           });
}

std::string_view WithoutBlanks(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(kBlanks), text.size()));
}

/// Whether a setting of that name stands at the beginning or behind a blank.
bool Sets(std::string_view text, std::string_view name)
{
    for (std::size_t at = text.find(name); at != std::string_view::npos;
         at = text.find(name, at + 1)) {
        const bool begins = at == 0 || kBlanks.find(text[at - 1]) != std::string_view::npos;
        if (begins && WithoutBlanks(text.substr(at + name.size())).starts_with('='))
            return true;
    }
    return false;
}

} // namespace

bool IsUrl(std::string_view address)
{
    return BeginsWith(address, "postgresql://") || BeginsWith(address, "postgres://");
}

bool LooksLikeDatabase(std::string_view address)
{
    if (IsUrl(address))
        return false;
    // One of these alone may be part of a path.
    constexpr std::string_view kSettings[] = {"host", "hostaddr", "port", "dbname", "user"};
    return IsUrl(WithoutBlanks(address)) || Sets(address, "password") ||
           std::count_if(std::begin(kSettings), std::end(kSettings),
                         [&](std::string_view name) { return Sets(address, name); }) > 1;
}

std::size_t BehindScheme(std::string_view url)
{
    return url.find("//") + 2;
}

std::size_t EndOfUser(std::string_view url)
{
    const std::size_t from = BehindScheme(url);
    const std::size_t at = url.substr(0, url.find('/', from)).rfind('@');
    return at == std::string_view::npos || at < from ? std::string_view::npos : at;
}

std::string Unescape(std::string_view text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const char* const digits = text.data() + i + 1;
        const bool escapes = text[i] == '%' && i + 2 < text.size() &&
                             std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2;
        bytes += escapes ? static_cast<char>(byte) : text[i];
        i += escapes ? 2 : 0;
    }
    return bytes;
}

} // namespace ko::store::inner
