#include "konumformat.h"

#include <cstring>

namespace
{

/// The end of literal text: a percent sign that is not doubled, or the terminator.
const char* LiteralEnd(const char* s)
{
    while (*s != '\0' && (*s != '%' || s[1] == '%'))
        s += *s == '%' ? 2 : 1;
    return s;
}

const char* ReadCount(const char* s, unsigned& count)
{
    count = 0;
    for (; ko::IsDigit(*s); ++s) {
        count = count * 10 + static_cast<unsigned>(*s - '0');
        if (count > kNumMaxField)
            count = kNumMaxField;
    }
    return s;
}

/// Where text goes that may be longer than its room.
class Writer
{
public:
    Writer(char* out, std::size_t capacity) : m_out(out), m_capacity(capacity) {}

    void Put(char c)
    {
        if (m_length < m_capacity)
            m_out[m_length] = c;
        ++m_length;
    }
    void Fill(char c, std::size_t count)
    {
        if (m_length < m_capacity)
            std::memset(m_out + m_length, c, Room(count));
        m_length += count;
    }
    void Copy(const char* s, std::size_t count)
    {
        if (m_length < m_capacity && count != 0)
            std::memcpy(m_out + m_length, s, Room(count));
        m_length += count;
    }
    void Literal(const char* s, const char* end)
    {
        for (; s < end; ++s) {
            Put(*s);
            s += *s == '%' ? 1 : 0;
        }
    }
    std::size_t Length() const { return m_length; }

private:
    std::size_t Room(std::size_t count) const
    {
        const std::size_t room = m_capacity - m_length;
        return count < room ? count : room;
    }

    char* m_out;
    std::size_t m_capacity;
    std::size_t m_length = 0;
};

} // namespace

bool KoNumFormat::Parse(const char* format, const char* conversions)
{
    prefix = format;
    const char* s = prefixEnd = LiteralEnd(format);
    if (*s++ == '\0')
        return false;
    flags = 0;
    unsigned flag;
    for (; (flag = KoNumMeaning(*s)) != 0 && flag < kNumModifier; ++s)
        flags |= flag;
    s = ReadCount(s, width);
    precision = -1;
    if (*s == '.') {
        unsigned count;
        s = ReadCount(s + 1, count);
        precision = static_cast<int>(count);
    }
    s = KoSkipNumModifier(s);
    if (*s == '\0' || (conversions != nullptr ? std::strchr(conversions, *s) == nullptr
                                              : KoNumMeaning(*s) < kNumInteger))
        return false;
    conversion = *s;
    isFloating = KoNumMeaning(*s) == kNumFloating;
    suffix = s + 1;
    suffixEnd = LiteralEnd(suffix);
    return *suffixEnd == '\0';
}

KoNumFormat KoParseNumFormat(const char* format, const char* fallback)
{
    KoNumFormat result;
    if (format == nullptr || !result.Parse(format))
        result.Parse(fallback);
    return result;
}

const char* KoDefaultNumFormat(unsigned bits, bool isSigned)
{
    if (bits == 8)
        return "%c";
    return isSigned ? "%d" : "%u";
}

void KoNumBody::AddSign(const KoNumFormat& format, bool negative)
{
    if (negative)
        AddHead('-');
    else if (format.Has(kNumPlus))
        AddHead('+');
    else if (format.Has(kNumSpace))
        AddHead(' ');
}

std::size_t KoWriteNumField(char* out, std::size_t capacity, const KoNumFormat& format,
                            const KoNumBody& body)
{
    const std::size_t length =
        body.headCount + body.leadZeros + body.digitCount + body.trailZeros + body.tailCount;
    const std::size_t padding = format.width > length ? format.width - length : 0;
    Writer writer(out, capacity);
    writer.Literal(format.prefix, format.prefixEnd);
    if (!format.Has(kNumLeft) && !body.zeroPadded)
        writer.Fill(' ', padding);
    writer.Copy(body.head, body.headCount);
    if (!format.Has(kNumLeft) && body.zeroPadded)
        writer.Fill('0', padding);
    writer.Fill('0', body.leadZeros);
    writer.Copy(body.digits, body.digitCount);
    writer.Fill('0', body.trailZeros);
    writer.Copy(body.tail, body.tailCount);
    if (format.Has(kNumLeft))
        writer.Fill(' ', padding);
    writer.Literal(format.suffix, format.suffixEnd);
    return writer.Length();
}

bool KoNumCursor::MatchText(const char* literal, const char* literalEnd, bool exact)
{
    for (const char* s = literal; s < literalEnd; ++s) {
        if (!exact && ko::IsSpace(*s)) {
            SkipSpace();
            continue;
        }
        if (*s == '%') {
            ++s;
            if (!exact)
                SkipSpace();
        }
        if (pos == end || *pos != *s)
            return false;
        ++pos;
    }
    return true;
}
