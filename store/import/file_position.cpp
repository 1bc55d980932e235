#include "import/file_position.h"

#include "base/utf8.h"

namespace ko::store::inner
{

void Advance(FilePosition& position, std::string_view bytes, char& previous)
{
    for (const char c : bytes) {
        const bool tailOfBreak = c == '\n' && previous == '\r';
        if (c == '\r' || c == '\n') {
            position.line += tailOfBreak ? 0 : 1;
            position.column = 1;
        } else {
            position.column += CountCharacters({&c, 1});
        }
        previous = c;
    }
    position.offset += bytes.size();
}

std::size_t FindInRow(std::string_view row, std::size_t field, std::size_t byte)
{
    std::size_t at = 0;
    for (std::size_t current = 0;; ++current) {
        const bool quoted = at < row.size() && row[at] == '"';
        if (quoted)
            ++at;
        for (std::size_t decoded = 0; at < row.size(); ++decoded) {
            if (current == field && decoded == byte)
                return at;
            if (quoted && row[at] == '"') {
                if (at + 1 == row.size() || row[at + 1] != '"') {
                    ++at;
                    break;
                }
                at += 2;
            } else if (!quoted && (row[at] == ',' || row[at] == '\n' || row[at] == '\r')) {
                break;
            } else {
                ++at;
            }
        }
        if (current == field || at >= row.size() || row[at] != ',')
            return at;
        ++at;
    }
}

} // namespace ko::store::inner
