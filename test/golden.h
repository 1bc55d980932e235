#ifndef GOLDEN_H
#define GOLDEN_H

#include "fixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// The golden corpus, the files test/data/golden/*.txt: values of every type with their persistent
/// bytes, hashes and texts. A line that stands there is a promise and never changes.
///
/// A file holds sections, `[type name]`, each with the rules of its type as comments (#) and one
/// line for each value, in ascending order of the exact comparison of the bytes of format 1. A line
/// defines its value by the bytes of format 1; all else follows from them:
///
///     bytes in format 1 | bytes in format 2 | hash | printed text | converted text | why
///
/// Bytes are hexadecimal; `78*40` and `20AC*40` are repeated bytes. Texts stand in double quotes,
/// with \xNN or, in 16-bit text, \uNNNN for what is not printable ASCII, `"x"*40` for repeated
/// characters, and the code set and language in front where they are not 1 and 0; the null string
/// is `null`.
namespace golden
{

enum Column { kLittle, kBig, kHash, kPrinted, kConverted, kColumnCount };
using Columns = std::array<std::string, kColumnCount>;

struct Line {
    Columns columns;
    std::string note;
    std::size_t at = 0; ///< number in the file
};

struct Section {
    std::string name;
    std::string file;
    std::vector<Line> lines;
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

inline void ReadFile(const std::string& file, std::vector<Section>& sections)
{
    std::ifstream in(file, std::ios::binary);
    const std::size_t before = sections.size();
    std::size_t at = 0;
    for (std::string line; std::getline(in, line);) {
        ++at;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] == '[' && line.back() == ']') {
            sections.push_back({line.substr(1, line.size() - 2), file, {}});
            continue;
        }
        const std::vector<std::string> fields = Split(line);
        if (sections.size() == before || fields.size() != kColumnCount + 1) {
            ADD_FAILURE() << file << ':' << at << ": not a line of a section: " << line;
            continue;
        }
        Line entry{{}, fields.back(), at};
        std::copy_n(fields.begin(), entry.columns.size(), entry.columns.begin());
        sections.back().lines.push_back(entry);
    }
}

/// Every section of every file; what cannot be read is reported as a failure of the test.
inline std::vector<Section> ReadCorpus()
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(KO_TEST_DATA "/golden"))
        files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    std::vector<Section> sections;
    for (const std::string& file : files)
        ReadFile(file, sections);
    return sections;
}

inline std::string FormatLine(const Columns& columns, const std::string& note)
{
    std::string line;
    for (const std::string& column : columns)
        line += column + " | ";
    return line + note;
}

inline Bytes ParseBytes(const std::string& notation)
{
    Bytes bytes;
    std::istringstream in(notation);
    for (std::string group; in >> group;) {
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
    std::vector<unsigned> units(text.Len());
    for (std::size_t i = 0; i < units.size(); ++i) {
        unsigned short unit = static_cast<unsigned char>(text.StrGet()[i]);
        if (wide)
            std::memcpy(&unit, text.StrGet() + 2 * i, sizeof unit);
        units[i] = unit;
    }
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

} // namespace golden

#endif
