#ifndef KOTM_ARGUMENTS_H
#define KOTM_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kotm
{

/// A count that an option takes: decimal digits, up to 64 bits. Throws Error (ErrorCode::Usage).
std::uint64_t ReadCount(const char* option, std::string_view text);

/// An operator word of 16 bits, in decimal or, after 0x, in hexadecimal digits. Throws Error
/// (ErrorCode::Usage).
unsigned short ReadOperatorWord(const char* option, std::string_view text);

/// The number of the word of an option that takes one of a few. Throws Error (ErrorCode::Usage)
/// that lists them.
std::size_t ReadWord(const char* option, const std::string& text,
                     const std::vector<std::string>& words);

/// Names with commas between them, none of them empty. Throws Error (ErrorCode::Usage).
std::vector<std::string> ReadNames(const char* option, std::string_view text);

/// The one of `words` that `given` may be a slip of: by at most two letters that are wrong,
/// missing, too many, or have changed places, and by less than half of it. Empty where there is
/// none.
std::string Nearest(std::string_view given, const std::vector<std::string>& words);

/// The words, each in quotes, with commas between them.
std::string Listed(const std::vector<std::string>& names);

} // namespace kotm

#endif
