#include "base/utf8.h"

#include <kostring.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace ko::store
{

namespace
{

constexpr unsigned kReplacement = 0xFFFD;
constexpr std::size_t kMaxNarrow = KoString::kMaxBytes - 1;   // the terminator takes one byte
constexpr std::size_t kMaxWide = KoString::kMaxBytes / 2 - 1; // or one unit

bool IsPlainAscii(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c - 1) < 0x7F; });
}

std::string OutsideCodeSet(unsigned character, unsigned codeSet)
{
    char reason[64];
    std::snprintf(reason, sizeof reason, "character U+%04X is not in code set %u", character,
                  codeSet);
    return reason;
}

/// The characters of a text; false with `fault` filled where they cannot be had.
bool Decode(std::string_view utf8, std::vector<unsigned>& characters, TextFault& fault)
{
    for (std::size_t at = 0; at < utf8.size();) {
        const std::size_t start = at;
        const int character = DecodeUtf8(utf8, at);
        if (character <= 0) {
            fault = {character == 0 ? "NUL byte in a text" : "byte that is no UTF-8", start};
            return false;
        }
        characters.push_back(static_cast<unsigned>(character));
    }
    return true;
}

std::size_t ByteOfCharacter(std::string_view utf8, std::size_t index)
{
    std::size_t at = 0;
    for (; index > 0 && at < utf8.size(); --index)
        DecodeUtf8(utf8, at);
    return at;
}

bool TooLong(std::string_view utf8, std::size_t units, std::size_t limit, TextFault& fault)
{
    if (units <= limit)
        return false;
    fault = {"text of " + std::to_string(units) + " characters where " + std::to_string(limit) +
                 " are the most",
             utf8.size()};
    return true;
}

bool MakeNarrow(std::string_view utf8, const std::vector<unsigned>& characters,
                unsigned char codeSet, KoString& text, TextFault& fault)
{
    std::string bytes;
    bytes.reserve(characters.size());
    const KoCodeSet* set = KoLanguageContext::QueryCodeSet(codeSet);
    for (std::size_t i = 0; i < characters.size(); ++i) {
        o_u2b unit = 0;
        if (characters[i] > 0xFFFF || !set->FromUnicode(static_cast<o_u2b>(characters[i]), unit)) {
            fault = {OutsideCodeSet(characters[i], codeSet), ByteOfCharacter(utf8, i)};
            return false;
        }
        bytes.push_back(static_cast<char>(unit));
    }
    if (TooLong(utf8, bytes.size(), kMaxNarrow, fault))
        return false;
    text = bytes.c_str();
    text.SetCodeSetCode(codeSet);
    return true;
}

bool MakeWide(std::string_view utf8, const std::vector<unsigned>& characters, unsigned char codeSet,
              KoString& text, TextFault& fault)
{
    std::vector<unsigned short> units;
    units.reserve(characters.size() + 1);
    const KoCodeSet* set = KoLanguageContext::QueryCodeSet(codeSet);
    for (std::size_t i = 0; i < characters.size(); ++i) {
        const unsigned character = characters[i];
        o_u2b unit = 0;
        if (character <= 0xFFFF && set->FromUnicode(static_cast<o_u2b>(character), unit)) {
            units.push_back(unit);
        } else if (character > 0xFFFF && codeSet == KoCS_UNICODE) {
            units.push_back(static_cast<unsigned short>(0xD7C0 + (character >> 10)));
            units.push_back(static_cast<unsigned short>(0xDC00 + (character & 0x3FF)));
        } else {
            fault = {OutsideCodeSet(character, codeSet), ByteOfCharacter(utf8, i)};
            return false;
        }
    }
    if (TooLong(utf8, units.size(), kMaxWide, fault))
        return false;
    units.push_back(0);
    text = units.data();
    text.SetCodeSetCode(codeSet);
    return true;
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
    if (codeSet == KoCS_NONE && utf8.size() < 256 && IsPlainAscii(utf8)) {
        char buffer[256];
        std::memcpy(buffer, utf8.data(), utf8.size());
        buffer[utf8.size()] = 0;
        text = buffer;
        text.SetCodeSetCode(KoCS_LATIN1);
        return true;
    }
    std::vector<unsigned> characters;
    characters.reserve(utf8.size());
    if (!Decode(utf8, characters, fault))
        return false;
    if (codeSet == KoCS_NONE) {
        const bool fits = std::all_of(characters.begin(), characters.end(),
                                      [](unsigned character) { return character < 0x100; });
        codeSet = fits ? KoCS_LATIN1 : KoCS_UNICODE;
    }
    return KoCodeSetWidth(codeSet) == 1 ? MakeNarrow(utf8, characters, codeSet, text, fault)
                                        : MakeWide(utf8, characters, codeSet, text, fault);
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

} // namespace ko::store
