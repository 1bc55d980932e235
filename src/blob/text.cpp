#include "blob/text.h"

#include "core/record.h"
#include "number/ascii.h"
#include "number/string_number.h"
#include "string/null_text.h"

#include <kotypemgr.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace ko
{

namespace
{

constexpr const char* kOwnFormat = kTypeRows[KoBLOB_T].printFormat;
constexpr const char* kBareBytes = "%X";

/// Number of directives for the bytes; -1 for a foreign format.
constexpr int CountBytes(const char* format)
{
    int count = 0;
    for (; *format != 0; ++format) {
        if (*format != '%')
            continue;
        ++format;
        if (*format == 'X' || *format == 'x')
            ++count;
        else if (*format != 'L' && *format != '%')
            return -1;
    }
    return count > 1 ? -1 : count;
}

/// Walks through a text as a format asks for, up to its end or the first character that does not
/// belong.
class BlobReader
{
public:
    BlobReader(std::string_view text, bool strict) : m_text(text), m_strict(strict) {}

    /// True when the whole text was as the format says.
    bool Follow(const char* format)
    {
        for (; *format != 0; ++format) {
            const char directive = *format == '%' ? *++format : '\0';
            const bool goesOn = directive == 'L'   ? TakeLength()
                                : directive == 'X' ? TakeDigits()
                                : directive == 'x' ? TakeDigits()
                                                   : TakeLiteral(*format);
            if (!goesOn)
                return false;
        }
        if (m_at != m_text.size())
            return false;
        if (m_length >= 0 && m_length != m_count) {
            m_at = m_lengthAt;
            return false;
        }
        return true;
    }

    std::size_t At() const { return m_at; }
    /// The bytes were met, were there any or none.
    bool HasBytes() const { return m_bytesAt != kNowhere; }
    /// Becomes the bytes. False without memory.
    bool Put(KoBlob& blob) const
    {
        KoBlob made(static_cast<int>(m_count));
        if (made.IsNullValue())
            return false;
        unsigned char* out = made.Seek(0, -1);
        std::size_t at = m_bytesAt;
        for (o_8b i = 0; i < m_count; ++i, at += 2) {
            at = BlanksFrom(at);
            out[i] =
                static_cast<unsigned char>(HexValue(m_text[at]) * 16 + HexValue(m_text[at + 1]));
        }
        blob = std::move(made);
        return true;
    }

private:
    static constexpr auto kNowhere = static_cast<std::size_t>(-1);

    /// The first character from `at` on that is read: blanks are skipped where that is lenient.
    std::size_t BlanksFrom(std::size_t at) const
    {
        while (!m_strict && at < m_text.size() && IsSpace(m_text[at]))
            ++at;
        return at;
    }

    bool TakeLiteral(char c)
    {
        if (!m_strict && IsSpace(c)) {
            m_at = BlanksFrom(m_at);
            return true;
        }
        if (m_at >= m_text.size() || m_text[m_at] != c)
            return false;
        ++m_at;
        return true;
    }

    bool TakeLength()
    {
        m_at = m_lengthAt = BlanksFrom(m_at);
        o_8b number = 0;
        for (; m_at < m_text.size() && IsDigit(m_text[m_at]); ++m_at)
            number = number > kBlobMostInText ? number : number * 10 + (m_text[m_at] - '0');
        m_length = m_strict ? number : -1;
        return m_at != m_lengthAt;
    }

    bool TakeDigits()
    {
        const std::size_t start = m_at;
        std::size_t next = BlanksFrom(m_at);
        while (next + 1 < m_text.size() && HexValue(m_text[next]) >= 0 &&
               HexValue(m_text[next + 1]) >= 0) {
            ++m_count;
            m_at = next + 2;
            next = BlanksFrom(m_at);
        }
        const bool half = next < m_text.size() && HexValue(m_text[next]) >= 0;
        if (m_strict && half) {
            m_at = next + 1;
            return false;
        }
        // Something else where the bytes should be is not the same as no bytes.
        if (m_strict || m_count != 0 || next == m_text.size())
            m_bytesAt = start;
        return true;
    }

    std::string_view m_text;
    bool m_strict;
    std::size_t m_at = 0;
    std::size_t m_bytesAt = kNowhere;
    std::size_t m_lengthAt = 0;
    o_8b m_count = 0;
    o_8b m_length = -1;
};

const char* ReadingFormat(const char* format)
{
    return format != nullptr && CountBytes(format) == 1 ? format : kBareBytes;
}

bool IsNullText(const KoString& text)
{
    return text.IsNullValue() || (!text.IsEmpty() && MeansNullOrIsEmpty(text, true));
}

} // namespace

void PrintBlob(KoString& text, const KoBlob& blob, const char* format)
{
    if (blob.IsNullValue()) {
        text += KoTypeMgr::GetNullPrintString();
        return;
    }
    if (format == nullptr || CountBytes(format) < 0)
        format = kOwnFormat;
    const auto shown = static_cast<std::size_t>(std::min(blob.Length(), kBlobMostInText + 1));
    constexpr std::size_t kLengthDigits = 10;
    std::size_t room = 1;
    for (const char* at = format; *at != 0; ++at)
        room += *at != '%' ? 1 : *++at == 'L' ? kLengthDigits : *at == '%' ? 1 : 2 * shown;
    TextRoom made(room);
    if (made.Size() < room)
        return;
    char* out = made.Data();
    for (; *format != 0; ++format) {
        const char directive = *format == '%' ? *++format : '\0';
        if (directive == 'L') {
            out += PrintNumber(out, kLengthDigits, "%d", blob.Length());
        } else if (directive == 'X' || directive == 'x') {
            const char* digits = directive == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
            const unsigned char* bytes = blob.Seek(0, -1);
            for (std::size_t i = 0; i < shown; ++i) {
                *out++ = digits[bytes[i] >> 4U];
                *out++ = digits[bytes[i] & 15U];
            }
        } else {
            *out++ = *format;
        }
    }
    *out = 0;
    text << static_cast<const char*>(made.Data());
}

void ScanBlob(KoBlob& blob, const KoString& text, const char* format)
{
    if (IsNullText(text)) {
        blob.SetNullValue();
        return;
    }
    const NarrowText narrow(text);
    if (narrow.Length() != text.Len())
        return; // no memory for the characters
    BlobReader reader({narrow.Data(), narrow.Length()}, false);
    reader.Follow(ReadingFormat(format));
    if (reader.HasBytes())
        reader.Put(blob);
}

int ParseBlob(KoBlob& blob, const KoString& text, const char* format, unsigned& errorAt)
{
    if (IsNullText(text)) {
        blob.SetNullValue();
        return 0;
    }
    const NarrowText narrow(text);
    BlobReader reader({narrow.Data(), narrow.Length()}, true);
    const bool whole = narrow.Length() == text.Len() && reader.Follow(ReadingFormat(format));
    if (whole && reader.Put(blob))
        return 0;
    errorAt = whole ? 0 : static_cast<unsigned>(reader.At());
    return -1;
}

} // namespace ko
