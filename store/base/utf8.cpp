#include "base/utf8.h"

#include <kombs.h>
#include <kostring.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace ko::store::inner
{

namespace
{

constexpr unsigned kReplacement = 0xFFFD;
constexpr std::size_t kMostNarrow = KoString::kMaxBytes - 1;   // the terminator takes one byte
constexpr std::size_t kMostWide = KoString::kMaxBytes / 2 - 1; // or one unit

std::string OutsideCodeSet(unsigned character, unsigned codeSet)
{
    char reason[64];
    std::snprintf(reason, sizeof reason, "character U+%04X is not in code set %u", character,
                  codeSet);
    return reason;
}

std::string LongerThan(std::string_view utf8, bool narrow)
{
    // Characters of four bytes are two units of 16 bits.
    const auto pairs = std::count_if(utf8.begin(), utf8.end(),
                                     [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
    const std::size_t units =
        CountCharacters(utf8) + (narrow ? 0 : static_cast<std::size_t>(pairs));
    return "text of " + std::to_string(units) + " characters where " +
           std::to_string(narrow ? kMostNarrow : kMostWide) + " are the most";
}

/// The units of a text, in code-set characters.
unsigned UnitAt(const KoString& text, unsigned index)
{
    const char* bytes = text.StrGet();
    if (text.Width() == 1)
        return static_cast<unsigned char>(bytes[index]);
    unsigned short unit;
    std::memcpy(&unit, bytes + 2 * std::size_t{index}, sizeof unit);
    return unit;
}

} // namespace

int DecodeUtf8(std::string_view text, std::size_t& at) noexcept
{
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        ++at;
        return lead;
    }
    const int length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() - at < static_cast<std::size_t>(length))
        return -1;
    int character = lead & (0x7F >> length);
    for (int i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]);
        if ((next & 0xC0) != 0x80)
            return -1;
        character = character << 6 | (next & 0x3F);
    }
    constexpr int kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (character < kSmallest[length] || character > 0x10FFFF ||
        (character >= 0xD800 && character < 0xE000))
        return -1;
    at += static_cast<std::size_t>(length);
    return character;
}

void AppendCharacter(std::string& text, unsigned character)
{
    const auto tail = [&](unsigned shift) {
        text.push_back(static_cast<char>(0x80 | (character >> shift & 0x3F)));
    };
    if (character < 0x80) {
        text.push_back(static_cast<char>(character));
        return;
    }
    if (character < 0x800) {
        text.push_back(static_cast<char>(0xC0 | character >> 6));
    } else if (character < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | character >> 12));
        tail(6);
    } else {
        text.push_back(static_cast<char>(0xF0 | character >> 18));
        tail(12);
        tail(6);
    }
    tail(0);
}

bool ToKoString(std::string_view utf8, unsigned char codeSet, KoString& text, TextFault& fault)
{
    std::size_t at = 0;
    const int result = KoReadMBS(utf8.data(), utf8.size(), codeSet, text, at);
    if (result == 0)
        return true;
    fault = {"byte that is no UTF-8", at};
    if (result == KoMBS_TOO_LONG)
        fault = {LongerThan(utf8, CountCharacters(utf8.substr(0, at)) == kMostNarrow), utf8.size()};
    else if (result == KoMBS_NO_MEMORY)
        fault.reason = "no memory for the text";
    else if (result == KoMBS_REPLACED)
        fault.reason = OutsideCodeSet(static_cast<unsigned>(DecodeUtf8(utf8, at)), codeSet);
    else if (utf8[at] == '\0')
        fault.reason = "NUL byte in a text";
    return false;
}

void AppendUtf8(std::string& utf8, const KoString& text)
{
    const KoCodeSet* set = KoLanguageContext::QueryCodeSet(text.CodeSet());
    const unsigned length = text.Len();
    for (unsigned i = 0; i < length; ++i) {
        unsigned unit = UnitAt(text, i);
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < length) {
            const unsigned low = UnitAt(text, i + 1);
            if (low >= 0xDC00 && low < 0xE000) {
                AppendCharacter(utf8, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                ++i;
                continue;
            }
        }
        o_u2b unicode = kReplacement;
        if (!set->ToUnicode(static_cast<o_u2b>(unit), unicode) ||
            (unicode >= 0xD800 && unicode < 0xE000))
            unicode = kReplacement;
        AppendCharacter(utf8, unicode);
    }
}

std::size_t ByteOfPosition(std::string_view utf8, const KoString& text, unsigned position)
{
    std::size_t at = 0;
    for (unsigned unit = 0; unit < position && at < utf8.size(); ++unit) {
        if (DecodeUtf8(utf8, at) > 0xFFFF && text.Width() == 2)
            ++unit;
    }
    return at;
}

std::size_t CountCharacters(std::string_view utf8) noexcept
{
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

} // namespace ko::store::inner
