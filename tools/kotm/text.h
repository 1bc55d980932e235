#ifndef KOTM_TEXT_H
#define KOTM_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kotm
{

/// A text for people in quotes, hidden characters by their codes, cut to what a message has room
/// for.
std::string Quoted(std::string_view utf8);

/// JSON text with its hidden characters escaped: it means the same.
std::string VisibleJson(std::string_view json);

/// Characters of a text, for columns.
std::size_t CountCharacters(std::string_view utf8) noexcept;

} // namespace kotm

#endif
