#ifndef KO_STORE_IMPORT_PLAIN_ROW_H
#define KO_STORE_IMPORT_PLAIN_ROW_H

#include <cstddef>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Bytes that may be read, whatever they are, after those given to SplitPlainRow.
inline constexpr std::size_t kPlainRowSlack = 16;

/// Splits the line at the front of `size` bytes at its commas into `fields`, which is what a CSV
/// parser finds in a line without quotes, and returns the line's bytes with its LF, CRLF or CR. An
/// empty line has no fields. Returns 0 where the parser has to look: for a line that has a quote,
/// or does not end within the bytes; a CR that comes last ends it only if `atEnd` says that no LF
/// can follow. `fields` means nothing then.
std::size_t SplitPlainRow(const char* bytes, std::size_t size, bool atEnd,
                          std::vector<std::string_view>& fields);

} // namespace ko::store::inner

#endif
