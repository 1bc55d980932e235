#include "kocalendar.h"
#include "konumdigits.h"
#include "kotemporalformat.h"
#include "kotemporaltext.h"

#include <koservices.h>
#include <kostring.h>
#include <kotypemgr.h>

#include <cstring>

namespace
{

/// Text in the making: on the stack while it is short, from the heap beyond.
class TemporalBuffer
{
public:
    /// No element of a format prints more: a sign, 10 digits of seconds, a point, 9 of a fraction.
    static constexpr std::size_t kLongestElement = 24;

    TemporalBuffer() = default;
    TemporalBuffer(const TemporalBuffer&) = delete;
    TemporalBuffer& operator=(const TemporalBuffer&) = delete;
    ~TemporalBuffer() { KoFree(m_long); }

    /// Makes room for one more element and the terminator. False when the text is as long as a
    /// string can be, or memory has run out.
    bool Reserve() { return m_room - m_size > kLongestElement || Grow(); }
    bool HasFailed() const { return m_failed; }

    std::size_t Size() const { return m_size; }
    void CutTo(std::size_t size) { m_size = size; }
    void Put(char c) { m_text[m_size++] = c; }
    void Put(std::string_view text)
    {
        std::memcpy(m_text + m_size, text.data(), text.size());
        m_size += text.size();
    }
    void PutTwoDigits(unsigned value)
    {
        KoPutPair(m_text + m_size, value);
        m_size += 2;
    }
    /// At least `minDigits` digits, after a sign.
    void PutNumber(o_8b value, unsigned minDigits)
    {
        const o_u8b bits = static_cast<o_u8b>(value);
        char digits[20];
        const char* end = KoPutDecimal(digits, value < 0 ? 0 - bits : bits);
        const auto count = static_cast<unsigned>(end - digits);
        if (value < 0)
            Put('-');
        for (unsigned i = count; i < minDigits; ++i)
            Put('0');
        Put(std::string_view(digits, count));
    }

    const char* Text()
    {
        m_text[m_size] = '\0';
        return m_text;
    }

private:
    bool Grow()
    {
        if (m_size > KoString::kMaxBytes)
            return false;
        const std::size_t room = 4 * m_room;
        auto* text = static_cast<char*>(KoAlloc(room));
        if (text == nullptr) {
            KoCallMemoryHandler(room);
            m_failed = true;
            return false;
        }
        std::memcpy(text, m_text, m_size);
        KoFree(m_long);
        m_text = m_long = text;
        m_room = room;
        return true;
    }

    char m_short[256];
    char* m_long = nullptr;
    char* m_text = m_short;
    std::size_t m_size = 0;
    std::size_t m_room = sizeof m_short;
    bool m_failed = false;
};

class TemporalPrinter
{
public:
    TemporalPrinter(const TemporalFields& fields, const char* format)
        : m_fields(fields), m_format(format), m_wildcards(KindHasWildcards(fields.kind))
    {
    }

    void PrintTo(KoString& out)
    {
        TemporalFormatWalk walk(m_format);
        TemporalElement element;
        std::size_t groupStart = 0;
        bool produced = false; // by a directive: literal text does not count
        while (m_out.Reserve() && walk.Next(element)) {
            if (element.kind == TemporalElement::kLiteral) {
                m_out.Put(element.letter);
                continue;
            }
            if (element.kind == TemporalElement::kGroupEnd) {
                if (!produced)
                    m_out.CutTo(groupStart);
                continue;
            }
            if (element.opensGroup)
                groupStart = m_out.Size();
            if (element.optional && !produced && IsZero(element.letter))
                continue;
            if (const char* expansion = TemporalExpansion(element.letter))
                walk.Enter(expansion);
            else if (Directive(element.letter))
                produced = true;
            else
                m_out.Put(element.letter);
        }
        if (!m_out.HasFailed())
            out << m_out.Text();
    }

private:
    /// False for a letter that is no directive.
    bool Directive(char letter)
    {
        switch (letter) {
        case 'Y':
            Year();
            return true;
        case 'y':
            if (IsWild(m_fields.year))
                m_out.Put('*');
            else
                Two(m_fields.year % 100);
            return true;
        case 'm':
            Two(m_fields.month);
            return true;
        case 'd':
        case 'e': // pads with a zero as %d does: its precision of 2 outweighs the blank of its
                  // width
            Two(m_fields.day);
            return true;
        case 'H':
            Two(m_fields.hour);
            return true;
        case 'I':
            if (IsWild(m_fields.hour))
                m_out.Put('*');
            else
                Two(HourOfHalf());
            return true;
        case 'M':
            Two(m_fields.minute);
            return true;
        case 'S':
            Two(m_fields.second);
            return true;
        case 'f':
            Seconds();
            return true;
        case 'N':
            Number(m_fields.nanoseconds, 1);
            return true;
        case 'J':
            if (IsWild(m_fields.year) && IsWild(m_fields.month) && IsWild(m_fields.day))
                m_out.Put('*');
            else
                m_out.PutNumber(TotalDays(), 1);
            return true;
        case 'B':
        case 'b':
            Month(letter == 'b');
            return true;
        case 'A':
        case 'a':
            Weekday(letter == 'a');
            return true;
        case 'p':
        case 'P':
            if (IsWild(m_fields.hour))
                m_out.Put('*');
            else if (letter == 'p')
                m_out.Put(m_fields.hour >= 12 ? "pm" : "am");
            else
                m_out.Put(m_fields.hour >= 12 ? "PM" : "AM");
            return true;
        default:
            return false;
        }
    }

    /// Names are never 0.
    bool IsZero(char letter) const
    {
        const TemporalFields& f = m_fields;
        const bool noDate = f.year == 0 && f.month == 0 && f.day == 0;
        const bool noMinutes = f.hour == 0 && f.minute == 0;
        switch (letter) {
        case 'Y':
            return f.year == 0;
        case 'y':
            return f.year % 100 == 0;
        case 'm':
        case 'B':
        case 'b':
            return f.month == 0;
        case 'd':
        case 'e':
            return f.day == 0;
        case 'H':
            return f.hour == 0;
        case 'I':
            return HourOfHalf() == 0;
        case 'M':
            return f.minute == 0;
        case 'S':
            return f.second == 0;
        case 'f':
            return f.second == 0 && f.nanoseconds == 0;
        case 'N':
            return f.nanoseconds == 0;
        case 'J':
            return TotalDays() == 0;
        case 'D':
            return noDate;
        case 'T':
            return noMinutes && f.second == 0;
        case 'O':
            return noDate && noMinutes && f.second == 0;
        case 'X':
            return noDate && noMinutes && IsZero('f');
        case 'V':
            return IsZero('J') && noMinutes && IsZero('f');
        default:
            return false;
        }
    }

    bool IsWild(o_4b field) const { return field == -1 && m_wildcards; }

    void Number(o_4b value, unsigned minDigits)
    {
        if (IsWild(value))
            m_out.Put('*');
        else
            m_out.PutNumber(value, minDigits);
    }
    void Two(o_4b value)
    {
        if (static_cast<o_u4b>(value) < 100)
            m_out.PutTwoDigits(static_cast<unsigned>(value));
        else
            Number(value, 2);
    }
    void Year()
    {
        const auto year = static_cast<o_u4b>(m_fields.year);
        if (year < 10000) {
            m_out.PutTwoDigits(year / 100);
            m_out.PutTwoDigits(year % 100);
        } else {
            Number(m_fields.year, 4);
        }
    }

    o_8b TotalDays() const
    {
        return (o_8b{m_fields.year} * 12 + m_fields.month) * 30 + m_fields.day;
    }

    /// Midnight is 12 only beside "am": without it 00 and 12 would be told apart by nothing.
    o_4b HourOfHalf() const
    {
        const o_4b hour = m_fields.hour;
        if (m_fields.kind == TemporalKind::kOdmgInterval)
            return hour;
        if (hour > 12)
            return hour - 12;
        return hour == 0 && HasHalfOfDay(m_format) ? 12 : hour;
    }

    void Month(bool shortName)
    {
        const auto index = static_cast<o_u4b>(m_fields.month) - 1;
        if (index >= 12)
            return Number(m_fields.month, 3);
        const std::string_view name = PrintedMonthName(index);
        m_out.Put(shortName ? name.substr(0, kShortNameLength) : name);
    }

    void Weekday(bool shortName)
    {
        if (IsWild(m_fields.year) || IsWild(m_fields.month) || IsWild(m_fields.day))
            return m_out.Put('*');
        // An interval counts more days than a date's field can hold.
        const o_4b day =
            KoWeekday(static_cast<o_2b>(m_fields.year), static_cast<o_1b>(m_fields.month),
                      static_cast<o_1b>(m_fields.day));
        const std::string_view name = kDayNames[day];
        m_out.Put(shortName ? name.substr(0, kShortNameLength) : name);
    }

    /// Seconds and their fraction as one number, with as many groups of three decimals as it needs.
    /// A sign takes the place of the leading zero: the width counts it.
    void Seconds()
    {
        if (IsWild(m_fields.second) || IsWild(m_fields.nanoseconds))
            return m_out.Put('*');
        constexpr o_u8b kNano = 1'000'000'000;
        const o_8b sum = o_8b{m_fields.second} * static_cast<o_8b>(kNano) + m_fields.nanoseconds;
        const o_u8b magnitude = sum < 0 ? -static_cast<o_u8b>(sum) : static_cast<o_u8b>(sum);
        if (sum < 0)
            m_out.Put('-');
        m_out.PutNumber(static_cast<o_8b>(magnitude / kNano), sum < 0 ? 1 : 2);
        if (m_fields.nanoseconds == 0)
            return;
        m_out.Put('.');
        const o_4b fraction = static_cast<o_4b>(magnitude % kNano);
        if (m_fields.nanoseconds % 1'000'000 == 0)
            m_out.PutNumber(fraction / 1'000'000, 3);
        else if (m_fields.nanoseconds % 1000 == 0)
            m_out.PutNumber(fraction / 1000, 6);
        else
            m_out.PutNumber(fraction, 9);
    }

    const TemporalFields& m_fields;
    const char* m_format;
    bool m_wildcards;
    TemporalBuffer m_out;
};

} // namespace

void PrintTemporal(KoString& out, const TemporalFields& fields, const char* format)
{
    if (fields.isNull && KindHasNull(fields.kind)) {
        out += KoTypeMgr::GetNullPrintString();
        return;
    }
    TemporalPrinter(fields, format != nullptr ? format : TemporalFormat(fields.kind)).PrintTo(out);
}
