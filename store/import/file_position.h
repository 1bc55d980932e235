#ifndef KO_STORE_IMPORT_FILE_POSITION_H
#define KO_STORE_IMPORT_FILE_POSITION_H

#include <cstdint>
#include <string_view>

namespace ko::store::inner
{

/// A place in a text file. Line and column count from 1, the column in characters; the offset is
/// in bytes from the start of the file.
struct FilePosition {
    std::uint64_t line = 1;
    std::uint64_t column = 1;
    std::uint64_t offset = 0;
};

/// Moves a position over `bytes`; `previous` is the byte before them.
void Advance(FilePosition& position, std::string_view bytes, char& previous);

/// The offset in a row's bytes of byte `byte` of field `field`; the end of the field, or of the
/// row, where there is no such byte.
std::size_t FindInRow(std::string_view row, std::size_t field, std::size_t byte);

} // namespace ko::store::inner

#endif
