#ifndef KO_TEST_DATAFILE_H
#define KO_TEST_DATAFILE_H

#include "kotext.h"

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

inline constexpr std::size_t kShortestRun = 24;

inline std::string Printf(const char* format, unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

/// Splits units into runs of a repeated group of up to `longest` units, and what lies between them:
/// `put(first, units, times)` for each.
template <class Unit, class Put>
void ForEachRun(const std::vector<Unit>& all, std::size_t longest, Put put)
{
    std::size_t plain = 0; // begin of what belongs to no run
    for (std::size_t at = 0; at < all.size();) {
        std::size_t times = 1;
        std::size_t width = 1;
        for (; width <= longest; ++width) {
            std::size_t same = at + width;
            while (same < all.size() && all[same] == all[same - width])
                ++same;
            times = (same - at) / width;
            if (times >= kShortestRun)
                break;
        }
        if (width > longest) {
            ++at;
            continue;
        }
        if (plain != at)
            put(&all[plain], at - plain, 1U);
        put(&all[at], width, static_cast<unsigned>(times));
        at += width * times;
        plain = at;
    }
    if (plain != all.size())
        put(&all[plain], all.size() - plain, 1U);
}

inline unsigned Hex(const std::string& digits)
{
    return static_cast<unsigned>(std::stoul(digits, nullptr, 16));
}

/// The fields of a line; texts hold no bar.
inline std::vector<std::string> Split(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t begin = 0;
    for (std::size_t bar; (bar = line.find(" | ", begin)) != std::string::npos; begin = bar + 3)
        fields.push_back(line.substr(begin, bar - begin));
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
    ForEachRun(bytes, 2, [&notation](const unsigned char* first, std::size_t size, unsigned times) {
        for (std::size_t i = 0; i < size; ++i) {
            if (!notation.empty() && (times == 1 || i == 0))
                notation += ' ';
            notation += Printf("%02X", first[i]);
        }
        if (times != 1)
            notation += Printf("*%u", times);
    });
    return notation;
}

inline std::string FormatText(const KoString& text)
{
    if (text.IsNullValue())
        return "null";
    const bool wide = text.Width() == 2;
    const std::u16string all = UnitsOf(text);
    const std::vector<unsigned> units(all.begin(), all.end());
    std::string notation;
    ForEachRun(units, 1, [&](const unsigned* first, std::size_t size, unsigned times) {
        notation += notation.empty() ? "\"" : " \"";
        for (std::size_t i = 0; i < size; ++i) {
            const unsigned unit = first[i];
            if (unit >= ' ' && unit <= '~' &&
                std::strchr("\"\\|", static_cast<int>(unit)) == nullptr)
                notation += static_cast<char>(unit);
            else
                notation += Printf(wide ? "\\u%04X" : "\\x%02X", unit);
        }
        notation += '"';
        if (times != 1)
            notation += Printf("*%u", times);
    });
    if (notation.empty())
        notation = "\"\"";
    if (text.CodeSet() == 1 && text.Language() == 0)
        return notation;
    return Printf("%u/", text.CodeSet()) + Printf("%u:", text.Language()) + notation;
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
