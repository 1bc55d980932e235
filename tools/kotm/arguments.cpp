#include "arguments.h"

#include "text.h"

#include <CLI/CLI.hpp>
#include <kostore.h>
#include <kotms.h>

#include <algorithm>
#include <charconv>

namespace kotm
{

using ko::store::Error;
using ko::store::ErrorCode;

namespace
{

/// How many letters make one word of another; letters that change places count once.
std::size_t Slips(std::string_view a, std::string_view b)
{
    // Three rows of the table of all beginnings: the current one and the two before it.
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t wrong = a[i - 1] == b[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + wrong});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[b.size()];
}

} // namespace

std::uint64_t ReadCount(const char* option, std::string_view text)
{
    std::uint64_t count = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, count);
    if (error != std::errc() || stopped != end)
        throw Error(ErrorCode::Usage, std::string(option) + ": " + Quoted(text) +
                                          " is no number from 0 to 18446744073709551615");
    return count;
}

unsigned short ReadOperatorWord(const char* option, std::string_view text)
{
    const bool hexadecimal = text.starts_with("0x");
    const std::string_view digits = text.substr(hexadecimal ? 2 : 0);
    unsigned short word = 0;
    const char* end = digits.data() + digits.size();
    const auto [stopped, error] = std::from_chars(digits.data(), end, word, hexadecimal ? 16 : 10);
    if (error != std::errc() || stopped != end)
        throw Error(ErrorCode::Usage, std::string(option) + ": " + Quoted(text) +
                                          " is no operator word from 0 to 65535, or 0x0 to 0xFFFF");
    return word;
}

std::size_t ReadWord(const char* option, const std::string& text,
                     const std::vector<std::string>& words)
{
    const auto found = std::find(words.begin(), words.end(), text);
    if (found == words.end())
        throw Error(ErrorCode::Usage,
                    std::string(option) + ": " + Quoted(text) + " is none of " + Listed(words));
    return static_cast<std::size_t>(found - words.begin());
}

std::vector<std::string> ReadNames(const char* option, std::string_view text)
{
    std::vector<std::string> names;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t comma = std::min(text.find(',', at), text.size());
        names.emplace_back(text.substr(at, comma - at));
        if (names.back().empty())
            throw Error(ErrorCode::Usage,
                        std::string(option) + ": " + Quoted(text) + " has an empty name");
        at = comma + 1;
    }
    return names;
}

std::string Nearest(std::string_view given, const std::vector<std::string>& words)
{
    std::size_t fewest = std::min<std::size_t>(2, (given.size() - 1) / 2);
    std::string nearest;
    for (const std::string& word : words) {
        const std::size_t slips = Slips(given, word);
        if (slips < fewest || (slips == fewest && nearest.empty())) {
            fewest = slips;
            nearest = word;
        }
    }
    return nearest;
}

std::string Listed(const std::vector<std::string>& names)
{
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + Quoted(name);
    return list;
}

std::pair<std::string, std::string> ReadPrint(const std::string& argument)
{
    const std::size_t at = argument.find('=');
    if (at == 0 || at == std::string::npos || at + 1 == argument.size())
        throw Error(ErrorCode::Usage, "--print: \"" + argument + "\" is not ATTRIBUTE=FORMAT");
    std::string format = argument.substr(at + 1);
    KoString text;
    std::size_t place = 0;
    if (KoReadMBS(format.data(), format.size(), 0, text, place) == KoMBS_MALFORMED)
        throw Error(ErrorCode::Usage, "--print: the format " + Quoted(format) + " is no UTF-8");
    return {argument.substr(0, at), std::move(format)};
}

std::vector<std::string> OptionsFirst(const CLI::App& command, std::vector<std::string> words)
{
    std::vector<std::string> ordered = {words[0]};
    std::vector<std::string> texts = {"--"};
    bool sound = true;
    for (std::size_t i = 1; i < words.size() && sound; ++i) {
        if (words[i] == "--") {
            texts.insert(texts.end(), words.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                         words.end());
            break;
        }
        const bool isHelp = words[i] == "-h" || words[i] == "--help";
        const bool isOption = isHelp || words[i].starts_with("--");
        (isOption ? ordered : texts).push_back(words[i]);
        if (!isOption)
            continue;
        const std::size_t equals = words[i].find('=');
        sound = command.get_option_no_throw(words[i].substr(0, equals)) != nullptr;
        if (!isHelp && equals == std::string::npos) {
            sound = sound && ++i < words.size();
            if (sound)
                ordered.push_back(words[i]);
        }
    }
    if (texts.size() > 1)
        ordered.insert(ordered.end(), texts.begin(), texts.end());
    if (!sound)
        ordered = std::move(words);
    std::reverse(ordered.begin(), ordered.end());
    return ordered;
}

std::vector<std::string> TakeWords(int argc, char** argv, bool& hidden)
{
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    hidden = false;
    for (int i = 1; i < argc; ++i)
        hidden |= ko::store::HidePassword(argv[i]);
    return words;
}

} // namespace kotm
