#include "string/utf8_text.h"

#include "character/utf8.h"

#include <algorithm>
#include <cstring>

namespace ko
{

namespace
{

constexpr std::size_t kMostNarrow = KoString::kMaxBytes - 1;
constexpr std::size_t kMostWide = KoString::kMaxBytes / 2 - 1;
constexpr o_u4b kReplacement = 0xFFFD;

/// The character at `at`, which moves after it; -1, with `at` unchanged, for bytes that are no
/// UTF-8.
o_4b Next(const char* utf8, std::size_t length, std::size_t& at)
{
    const auto first = static_cast<unsigned char>(utf8[at]);
    if (first < 0x80) {
        ++at;
        return first;
    }
    o_u4b character;
    const unsigned used = DecodeCharacter(character, utf8 + at, length - at);
    if (used == 0 || character > 0x10FFFF || IsHighHalf(character) || IsLowHalf(character))
        return -1;
    at += used;
    return static_cast<o_4b>(character);
}

/// True for characters from 1 to 127 alone, eight at a time.
bool IsAscii(const char* text, std::size_t length)
{
    constexpr o_u8b kOnes = 0x0101010101010101U;
    o_u8b odd = 0;
    std::size_t i = 0;
    for (; i + 8 <= length; i += 8) {
        o_u8b word;
        std::memcpy(&word, text + i, sizeof word);
        // A byte of 0 borrows, and so sets its top bit.
        odd |= word | (word - kOnes);
    }
    for (; i < length; ++i)
        odd |= static_cast<unsigned char>(text[i] - 1) < 0x7F ? 0U : 0x80U;
    return (odd & kOnes << 7U) == 0;
}

} // namespace

Utf8Survey::Utf8Survey(const char* utf8, std::size_t length)
{
    if (IsAscii(utf8, length)) {
        at = characters = units = length;
        return;
    }
    while (at < length) {
        const std::size_t start = at;
        const o_4b character = Next(utf8, length, at);
        if (character <= 0) {
            at = start;
            return;
        }
        isAscii = isAscii && character < 0x80;
        ++characters;
        units += character > 0xFFFF ? 2 : 1;
    }
}

std::size_t WriteCharacters(char* out, unsigned char codeSet, const char* utf8, std::size_t length)
{
    const KoCodeSet& set = *KoLanguageContext::QueryCodeSet(codeSet);
    const bool wide = KoCodeSetWidth(codeSet) == 2;
    std::size_t at = 0;
    while (at < length) {
        const std::size_t start = at;
        const auto character = static_cast<o_u4b>(Next(utf8, length, at));
        o_u2b units[2] = {};
        unsigned count = 1;
        if (character > 0xFFFF) {
            if (!wide)
                return start;
            units[0] = static_cast<o_u2b>(0xD7C0U + (character >> 10U));
            units[1] = static_cast<o_u2b>(0xDC00U + (character & 0x3FFU));
            count = 2;
        } else if (!set.FromUnicode(static_cast<o_u2b>(character), units[0])) {
            return start;
        }
        if (wide) {
            std::memcpy(out, units, count * sizeof(o_u2b));
            out += count * sizeof(o_u2b);
        } else {
            *out++ = static_cast<char>(units[0]);
        }
    }
    return at;
}

int Utf8Text::Read(const char* utf8, std::size_t length, unsigned char codeSet,
                   std::size_t& errorAt)
{
    m_utf8 = utf8;
    m_length = length;
    const unsigned char wanted = codeSet == KoCS_NONE ? KoString::GetDefaultCodeSet() : codeSet;
    if (length < kShort && ReadShort(wanted))
        return 0;
    const Utf8Survey survey(utf8, length);
    if (survey.at < length) {
        errorAt = survey.at;
        return KoMBS_MALFORMED;
    }
    const bool narrow = KoCodeSetWidth(wanted) == 1;
    const int result = ReadAs(wanted, narrow ? survey.characters : survey.units, errorAt);
    if (codeSet != KoCS_NONE || !narrow || result != KoMBS_REPLACED)
        return result;
    return ReadAs(KoString::GetDefault16CodeSet(), survey.units, errorAt);
}

/// The way of most texts: short ASCII, which all 8-bit code sets share.
bool Utf8Text::ReadShort(unsigned char codeSet)
{
    if (KoCodeSetWidth(codeSet) != 1 || !IsAscii(m_utf8, m_length))
        return false;
    if (m_length == 0) {
        m_text.SetCodeSetCode(codeSet);
        return true;
    }
    const std::size_t blocks = m_length / StringAccess::kBlock * StringAccess::kBlock;
    std::memset(m_short + blocks, 0, StringAccess::kBlock);
    std::memcpy(m_short, m_utf8, m_length);
    StringAccess::Lend(m_text, m_short, m_length + 1, codeSet);
    m_isLent = true;
    return true;
}

int Utf8Text::ReadAs(unsigned char codeSet, std::size_t units, std::size_t& errorAt)
{
    const unsigned width = KoCodeSetWidth(codeSet);
    const std::size_t most = width == 1 ? kMostNarrow : kMostWide;
    if (units > most) {
        std::size_t at = 0;
        for (std::size_t count = 0; count < most;)
            count += Next(m_utf8, m_length, at) > 0xFFFF && width == 2 ? 2 : 1;
        errorAt = at;
        return KoMBS_TOO_LONG;
    }
    const std::size_t size = (units + 1) * width;
    char* const buffer = StringAccess::Allocate(size);
    if (buffer == nullptr)
        return KoMBS_NO_MEMORY;
    const std::size_t read = WriteCharacters(buffer, codeSet, m_utf8, m_length);
    if (read < m_length) {
        KoFree(buffer);
        errorAt = read;
        return KoMBS_REPLACED;
    }
    std::memset(buffer + units * width, 0, width);
    // A buffer of Allocate is the string's own from here on.
    StringAccess::Lend(m_text, buffer, size, codeSet);
    return 0;
}

std::size_t Utf8Text::ByteOf(unsigned position) const
{
    std::size_t at = 0;
    for (unsigned unit = 0; unit < position && at < m_length; ++unit) {
        if (Next(m_utf8, m_length, at) > 0xFFFF && m_text.Width() == 2)
            ++unit;
    }
    return at;
}

void Utf8Writer::Put(o_u4b character)
{
    char bytes[kMaxSequence];
    const unsigned count = EncodeCharacter(bytes, character);
    if (m_size + count <= m_room)
        std::memcpy(m_out + m_size, bytes, count);
    m_size += count;
}

void Utf8Writer::Write(const KoString& string)
{
    const KoText text = StringAccess::Get(string);
    if (text.units == 0)
        return;
    if (text.Width() == 1 && IsAscii(text.bytes, text.units)) {
        if (m_size < m_room)
            std::memcpy(m_out + m_size, text.bytes,
                        std::min<std::size_t>(text.units, m_room - m_size));
        m_size += text.units;
        return;
    }
    const KoCodeSet& set = *KoLanguageContext::QueryCodeSet(text.codeSet);
    for (unsigned i = 0; i < text.units; ++i) {
        const auto unit = static_cast<o_u2b>(text.At(i));
        if (IsHighHalf(unit) && text.Width() == 2 && i + 1 < text.units &&
            IsLowHalf(text.At(i + 1))) {
            Put(JoinHalves(unit, text.At(++i)));
            continue;
        }
        o_u2b unicode = 0;
        const bool known =
            set.ToUnicode(unit, unicode) && !IsHighHalf(unicode) && !IsLowHalf(unicode);
        Put(known ? unicode : kReplacement);
    }
}

std::size_t Utf8Writer::Finish()
{
    if (m_size < m_room)
        m_out[m_size] = '\0';
    return m_size;
}

} // namespace ko

using namespace ko;

int KoReadMBS(const char* utf8, std::size_t length, unsigned char codeSet, KoString& text,
              std::size_t& errorAt)
{
    Utf8Text read;
    errorAt = 0;
    if (codeSet >= KoCS_NULL)
        return KoMBS_MALFORMED;
    const int result = read.Read(utf8, length, codeSet, errorAt);
    if (result != 0)
        return result;
    const unsigned units = read.Get().Len();
    text = read.Get();
    return text.Len() == units ? 0 : KoMBS_NO_MEMORY;
}
