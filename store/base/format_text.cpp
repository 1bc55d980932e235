#include "base/format_text.h"

#include "base/utf8.h"

#include <algorithm>
#include <bitset>

namespace ko::store::inner
{

namespace
{

template <class Take>
void ForEachCharacter(std::string_view utf8, Take take)
{
    for (std::size_t at = 0; at < utf8.size();) {
        const int character = DecodeUtf8(utf8, at);
        take(character < 0 ? static_cast<unsigned char>(utf8[at++]) : character);
    }
}

/// Bytes that are no UTF-8 stay what they are.
template <class Map>
std::string Mapped(std::string_view utf8, Map map)
{
    std::string mapped;
    for (std::size_t at = 0; at < utf8.size();) {
        const int character = DecodeUtf8(utf8, at);
        if (character < 0)
            mapped.push_back(utf8[at++]);
        else
            AppendCharacter(mapped, static_cast<unsigned>(map(character)));
    }
    return mapped;
}

} // namespace

bool FormatText::IsPlain(std::string_view format)
{
    return std::all_of(format.begin(), format.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

FormatText::FormatText(std::string_view format, std::string_view text)
{
    std::bitset<0x100> used;
    for (const std::string_view each : {format, text})
        ForEachCharacter(each, [&](int character) {
            if (character < 0x100)
                used.set(static_cast<std::size_t>(character));
        });
    // From the control characters on, which texts hardly have.
    int free = 0x80;
    ForEachCharacter(format, [&](int character) {
        int byte = character;
        if (character > 0xFF) {
            const auto known =
                std::find_if(m_standIns.begin(), m_standIns.end(),
                             [&](const auto& pair) { return pair.first == character; });
            while (known == m_standIns.end() && free < 0x100 &&
                   used.test(static_cast<std::size_t>(free)))
                ++free;
            if (known != m_standIns.end())
                byte = known->second;
            else if (free < 0x100)
                m_standIns.emplace_back(character, byte = free++);
            else
                byte = '?';
        }
        m_bytes.push_back(static_cast<char>(byte));
    });
}

std::string FormatText::WithStandIns(std::string_view text) const
{
    return Mapped(text, [this](int character) {
        for (const auto& [from, to] : m_standIns)
            character = character == from ? to : character;
        return character;
    });
}

std::string FormatText::WithCharacters(std::string_view text) const
{
    return Mapped(text, [this](int character) {
        for (const auto& [to, from] : m_standIns) {
            if (character == from)
                return to;
        }
        return character;
    });
}

} // namespace ko::store::inner
