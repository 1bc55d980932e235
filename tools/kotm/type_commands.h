#ifndef KOTM_TYPE_COMMANDS_H
#define KOTM_TYPE_COMMANDS_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace kotm
{

/// Lists the types: id, names, lengths, default format, capabilities.
void ListTypes(bool json, std::ostream& out);

/// Writes the persistent form of each text, in hexadecimal digits on a line of its own. All texts
/// are read before the first line is written. Throws Error (ErrorCode::Usage).
void ConvertTexts(const std::string& type, const std::vector<std::string>& texts,
                  std::uint64_t format, std::ostream& out);

/// Writes the sort key of each text under an operator word, as ConvertTexts does forms. Throws
/// Error (ErrorCode::Usage), also where the word gives the type no order.
void ShowKeys(const std::string& type, const std::vector<std::string>& texts, unsigned short word,
              std::ostream& out);

/// Shows the value of which a sort key in hexadecimal digits is, or says that keys of the type do
/// not hold it. Throws Error (ErrorCode::Usage) for bytes that are no key.
void InspectKey(const std::string& type, const std::string& hex, unsigned short word,
                std::ostream& out);

/// Shows the value that a persistent form in hexadecimal digits stands for. No byte outside the
/// form is read. A form that the type itself would write otherwise is shown as it would. Throws
/// Error (ErrorCode::Usage) for bytes that are not exactly one value.
void InspectForm(const std::string& type, const std::string& hex, std::uint64_t format,
                 std::ostream& out);

} // namespace kotm

#endif
