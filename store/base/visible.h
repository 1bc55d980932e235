#ifndef KO_STORE_BASE_VISIBLE_H
#define KO_STORE_BASE_VISIBLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// True for what a terminal obeys instead of showing it, and for what changes how the text around
/// it looks: control characters, the separators of lines and paragraphs, marks that turn the
/// direction of writing, a byte order mark, and -1, which is no character.
bool IsHidden(int character) noexcept;

/// A text for people: hidden characters stand as their codes, \n, \t, \x1B or \u009B, and bytes
/// that are no UTF-8 as \xFF. No text of a file speaks to the terminal then. Three dots stand for
/// what is behind `most` characters.
std::string Visible(std::string_view utf8, std::size_t most = std::string_view::npos);

/// The same in quotes, cut to what a message has room for.
std::string Quoted(std::string_view utf8);

} // namespace ko::store::inner

#endif
