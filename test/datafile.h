#ifndef KO_TEST_DATAFILE_H
#define KO_TEST_DATAFILE_H

#include "texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// The readable data files under test/data. A file holds sections, `[head]`, with one row a line;
/// the fields of a row, and of a head, stand between bars, and the last one of a row is its reason.
/// A line that begins with # and a blank is a comment.
///
/// Bytes are hexadecimal; `78*40` and `20AC*40` are repeated bytes. Texts stand in double quotes,
/// with \xNN or, in 16-bit text, \uNNNN for what is not printable ASCII, \n, \" and \\ as in C,
/// `"x"*40` for repeated characters, and the code set and language in front where they are not 1
/// and 0; the null string is `null`.
namespace data
{

using Bytes = std::vector<unsigned char>;

struct Row {
    std::vector<std::string> fields;
    std::size_t at = 0; ///< number of its line in the file
    const std::string& operator[](std::size_t i) const { return fields[i]; }
    const std::string& Reason() const { return fields.back(); }
};

struct Section {
    std::vector<std::string> head;
    std::string file;
    std::vector<Row> rows;
};

inline std::string Printf(const char* format, unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

inline unsigned Hex(const std::string& digits)
{
    return static_cast<unsigned>(std::stoul(digits, nullptr, 16));
}

/// The fields of a line; texts hold no bar.
inline std::vector<std::string> Split(const std::string& line, const std::string& bar = " | ")
{
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t at; (at = line.find(bar, begin)) != std::string::npos; begin = at + bar.size())
        fields.push_back(line.substr(begin, at - begin));
    fields.push_back(line.substr(begin));
    return fields;
}

inline void ReadFile(const std::string& file, std::size_t fieldCount, std::vector<Section>& all)
{
    std::ifstream in(file, std::ios::binary);
    const std::size_t before = all.size();
    std::size_t at = 0;
    for (std::string line; std::getline(in, line);) {
        ++at;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line == "#" || line.rfind("# ", 0) == 0)
            continue;
        if (line[0] == '[' && line.back() == ']') {
            all.push_back({Split(line.substr(1, line.size() - 2)), file, {}});
            continue;
        }
        Row row{Split(line), at};
        if (all.size() == before || row.fields.size() != fieldCount)
            ADD_FAILURE() << file << ':' << at << ": not a row of a section: " << line;
        else
            all.back().rows.push_back(row);
    }
}

/// Every section of a file or folder of test/data; what cannot be read is reported as a failure of
/// the test.
inline std::vector<Section> Read(const std::string& name, std::size_t fieldCount)
{
    const std::filesystem::path path = KO_TEST_DATA "/" + name;
    std::vector<std::string> files;
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path))
            files.push_back(entry.path().string());
    } else {
        files.push_back(path.string());
    }
    std::sort(files.begin(), files.end());
    std::vector<Section> sections;
    for (const std::string& file : files)
        ReadFile(file, fieldCount, sections);
    EXPECT_FALSE(sections.empty()) << path;
    return sections;
}

/// Calls `visit(head, row)` for every row of a file or folder, which it names in what fails.
template <class Visit>
void ForEachRow(const std::string& name, std::size_t fieldCount, Visit visit)
{
    for (const Section& section : Read(name, fieldCount)) {
        EXPECT_FALSE(section.rows.empty()) << section.head[0];
        for (const Row& row : section.rows) {
            const testing::ScopedTrace trace(section.file.c_str(), static_cast<int>(row.at),
                                             row.Reason());
            visit(section.head, row);
        }
    }
}

inline Bytes ParseBytes(const std::string& notation)
{
    Bytes bytes;
    std::istringstream in(notation);
    for (std::string group; in >> group;) {
        if (group.find_first_not_of("0123456789ABCDEF*") != std::string::npos) {
            ADD_FAILURE() << "no bytes: " << notation;
            break;
        }
        Bytes unit;
        std::size_t at = 0;
        for (; at + 1 < group.size() && group[at] != '*'; at += 2)
            unit.push_back(
                static_cast<unsigned char>(std::stoul(group.substr(at, 2), nullptr, 16)));
        const unsigned long times = at < group.size() ? std::stoul(group.substr(at + 1)) : 1;
        for (unsigned long i = 0; i < times; ++i)
            bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

inline std::string FormatBytes(const Bytes& bytes)
{
    std::string notation;
    for (const unsigned char byte : bytes)
        notation += Printf(notation.empty() ? "%02X" : " %02X", byte);
    return notation;
}

inline std::string FormatText(const KoString& text)
{
    if (text.IsNullValue())
        return "null";
    std::string notation = "\"";
    if (text.CodeSet() != 1 || text.Language() != 0)
        notation = Printf("%u/", text.CodeSet()) + Printf("%u:\"", text.Language());
    for (const unsigned unit : UnitsOf(text)) {
        if (unit >= ' ' && unit <= '~' && std::strchr("\"\\|", static_cast<int>(unit)) == nullptr)
            notation += static_cast<char>(unit);
        else
            notation += Printf(text.Width() == 2 ? "\\u%04X" : "\\x%02X", unit);
    }
    return notation + '"';
}

/// The characters of the quoted parts of a notation.
inline std::u16string ParseUnits(const std::string& notation)
{
    std::u16string units;
    std::size_t at = notation.find('"');
    if (at == std::string::npos)
        ADD_FAILURE() << "no text: " << notation;
    while (at < notation.size()) {
        std::u16string piece;
        for (++at; at < notation.size() && notation[at] != '"'; ++at) {
            auto unit = static_cast<unsigned char>(notation[at]);
            const char escape = unit == '\\' ? notation[++at] : '\0';
            if (escape == 'u' || escape == 'x') {
                const std::size_t digits = escape == 'u' ? 4 : 2;
                piece += static_cast<char16_t>(Hex(notation.substr(at + 1, digits)));
                at += digits;
            } else if (escape != '\0') {
                piece += escape == 'n' ? u'\n' : static_cast<char16_t>(escape); // or itself
            } else {
                piece += unit;
            }
        }
        std::size_t times = 1;
        if (++at < notation.size() && notation[at] == '*')
            times = std::stoul(notation.substr(at + 1));
        for (; times > 0; --times)
            units += piece;
        at = std::min(notation.find('"', at), notation.size());
    }
    return units;
}

/// The bytes that the characters of a notation name.
inline std::string ParseString(const std::string& notation)
{
    const std::u16string units = ParseUnits(notation);
    return {units.begin(), units.end()};
}

/// The text of a notation, of which code set and language may be left out in 16-bit text as well.
inline KoString ParseText(const std::string& notation)
{
    if (notation == "null")
        return NullText();
    unsigned codeSet = notation.find("\\u") == std::string::npos ? KoCS_LATIN1 : KoCS_UNICODE;
    unsigned language = 0;
    if (notation[0] != '"')
        std::sscanf(notation.c_str(), "%u/%u:", &codeSet, &language);
    return Text(ParseUnits(notation), static_cast<unsigned char>(codeSet),
                static_cast<unsigned char>(language));
}

} // namespace data

#endif
