#ifndef KOTM_ARGUMENTS_H
#define KOTM_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI
{
class App;
}

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

/// Attribute and format of "A=FORMAT", as --print takes it. Throws Error (ErrorCode::Usage).
std::pair<std::string, std::string> ReadPrint(const std::string& argument);

/// The words of a command that takes texts, the last one first, as the parser wants them. Options
/// and their values are moved before a "--" and all other words, so that a text may begin with a
/// hyphen, as "-inf" does; one that begins with two stands after a "--" of the caller. Where an
/// option is unknown or lacks its value, the words stay as they are for the parser to say so.
std::vector<std::string> OptionsFirst(const CLI::App& command, std::vector<std::string> words);

/// The words behind the name of a program. What they have of passwords is then overwritten in
/// `argv`, which other programs see; `hidden` tells whether there was any.
std::vector<std::string> TakeWords(int argc, char** argv, bool& hidden);

} // namespace kotm

#endif
