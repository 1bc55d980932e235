#include "base/visible.h"

#include "base/utf8.h"

#include <algorithm>
#include <cstdio>

namespace ko::store::inner
{

namespace
{

/// Appends the character at `at`, or its code, and moves `at` after it.
void AppendVisible(std::string& visible, std::string_view utf8, std::size_t& at)
{
    const std::size_t start = at;
    const int character = DecodeUtf8(utf8, at);
    if (!IsHidden(character)) {
        visible.append(utf8.substr(start, at - start));
        return;
    }
    at = std::max(at, start + 1);
    if (character == '\n' || character == '\t') {
        visible += character == '\n' ? "\\n" : "\\t";
        return;
    }
    char code[8];
    if (character >= 0x80)
        std::snprintf(code, sizeof code, "\\u%04X", static_cast<unsigned>(character) & 0xFFFF);
    else
        std::snprintf(code, sizeof code, "\\x%02X",
                      character < 0 ? static_cast<unsigned char>(utf8[start])
                                    : static_cast<unsigned>(character) & 0xFF);
    visible += code;
}

} // namespace

bool IsHidden(int character) noexcept
{
    const auto within = [&](int first, int last) {
        return character >= first && character <= last;
    };
    return character < ' ' || within(0x7F, 0x9F) || character == 0x61C || within(0x200E, 0x200F) ||
           within(0x2028, 0x202E) || within(0x2066, 0x206F) || character == 0xFEFF;
}

std::string Visible(std::string_view utf8, std::size_t most)
{
    std::string visible;
    std::size_t at = 0;
    for (std::size_t count = 0; at < utf8.size() && count < most; ++count)
        AppendVisible(visible, utf8, at);
    return visible + (at < utf8.size() ? "..." : "");
}

std::string Quoted(std::string_view utf8)
{
    constexpr std::size_t kMost = 40;
    return '"' + Visible(utf8, kMost) + '"';
}

} // namespace ko::store::inner
