#include "konulltext.h"
#include "konumstring.h"
#include "kotemporalformat.h"
#include "kotemporaltext.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}
constexpr bool IsSign(char c)
{
    return c == '-' || c == '+';
}
/// White space of the "C" locale, whatever the process has set.
constexpr bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Held to the limits of 32 bits, as all integers are that the library reads.
constexpr o_4b Saturate(o_8b value)
{
    using Limits = std::numeric_limits<o_4b>;
    return static_cast<o_4b>(std::clamp<o_8b>(value, Limits::min(), Limits::max()));
}

class TemporalScanner
{
public:
    TemporalScanner(TemporalFields& fields, const char* text, std::size_t length)
        : m_fields(fields), m_pos(text), m_end(text + length),
          m_wildcards(KindHasWildcards(fields.kind))
    {
    }

    /// False when the text ended early.
    bool Scan(TemporalFormatWalk walk)
    {
        const bool complete = Walk(walk);
        ApplyHalfOfDay();
        return complete;
    }
    /// True when every literal character stood in the text and nothing stands behind.
    bool FitsExactly() const { return m_literalsMatch && m_pos == m_end; }

private:
    enum class Half : unsigned char { kUnknown, kMorning, kAfternoon };

    bool Walk(TemporalFormatWalk& walk)
    {
        TemporalElement element;
        for (;;) {
            SkipSpace();
            if (!walk.Next(element))
                return true;
            if (element.kind == TemporalElement::kGroupEnd)
                continue;
            if (element.kind == TemporalElement::kLiteral) {
                Literal(element.letter);
                continue;
            }
            if (m_pos == m_end && IsTemporalDirective(element.letter)) {
                if (element.optional)
                    continue;
                return false;
            }
            if (const char* expansion = TemporalExpansion(element.letter))
                walk.Enter(expansion);
            else
                Directive(element.letter);
        }
    }

    void SkipSpace()
    {
        while (m_pos != m_end && IsSpace(*m_pos))
            ++m_pos;
    }

    /// Any character that is no digit stands for any literal one, so that dates are read whatever
    /// separates their fields; a digit that is not the one asked for begins the next field.
    void Literal(char c)
    {
        if (IsSpace(c) || m_pos == m_end)
            return;
        const char found = *m_pos;
        if (found == c || !IsDigit(found))
            ++m_pos;
        m_literalsMatch = m_literalsMatch && found == c;
    }

    void Directive(char letter)
    {
        TemporalFields& f = m_fields;
        o_4b weekday;
        switch (letter) {
        case 'Y':
            Number(f.year);
            return;
        case 'y':
            ShortYear();
            return;
        case 'm':
            Number(f.month);
            return;
        case 'd':
        case 'e':
            Number(f.day);
            return;
        case 'H':
        case 'I':
            Number(f.hour);
            return;
        case 'M':
            Number(f.minute);
            return;
        case 'S':
            Number(f.second);
            return;
        case 'N':
            Number(f.nanoseconds);
            return;
        case 'f':
            Seconds();
            return;
        case 'J':
            Days();
            return;
        case 'b':
        case 'B':
            if (Wildcard())
                f.month = -1;
            else
                Name(kMonthNames, f.month);
            return;
        case 'a':
        case 'A':
            if (!Wildcard())
                Name(kDayNames, weekday); // it follows from the date
            return;
        case 'p':
        case 'P':
            if (!Wildcard())
                HalfOfDay();
            return;
        default:
            Literal(letter);
        }
    }

    bool Wildcard()
    {
        if (!m_wildcards || m_pos == m_end || *m_pos != '*')
            return false;
        ++m_pos;
        return true;
    }

    /// All digits that stand there, with a sign before them. False, with the field as it was, where
    /// there are none.
    bool Number(o_4b& field)
    {
        if (Wildcard()) {
            field = -1;
            return true;
        }
        const bool negative = Sign();
        o_8b number;
        if (!Digits(number))
            return false;
        field = Saturate(negative ? -number : number);
        return true;
    }
    bool Sign()
    {
        if (m_pos == m_end || !IsSign(*m_pos))
            return false;
        return *m_pos++ == '-';
    }
    bool Digits(o_8b& number)
    {
        constexpr o_8b kLimit = 1LL << 32;
        const char* start = m_pos;
        number = 0;
        for (; m_pos != m_end && IsDigit(*m_pos); ++m_pos)
            if (number < kLimit)
                number = 10 * number + (*m_pos - '0');
        return m_pos != start;
    }

    void ShortYear()
    {
        o_4b year;
        if (Wildcard())
            m_fields.year = -1;
        else if (Number(year))
            m_fields.year = Saturate(o_8b{year} + (year > 30 ? 1900 : 2000));
    }

    /// A count of days is spread over years of 12 months of 30 days, except in an interval.
    void Days()
    {
        o_4b days;
        if (Wildcard())
            m_fields.year = m_fields.month = m_fields.day = -1;
        else if (Number(days))
            SetTemporalDays(m_fields, days);
    }

    /// Decimals are read as they stand: through a floating number the last one would be lost at
    /// times. More than nine are cut off.
    void Seconds()
    {
        if (Wildcard()) {
            m_fields.second = m_fields.nanoseconds = -1;
            return;
        }
        const bool negative = Sign();
        o_8b seconds;
        bool read = Digits(seconds);
        o_4b fraction = 0;
        if (m_pos != m_end && *m_pos == '.') {
            ++m_pos;
            for (o_4b place = 100'000'000; m_pos != m_end && IsDigit(*m_pos);
                 ++m_pos, place /= 10) {
                fraction += place * (*m_pos - '0');
                read = true;
            }
        }
        if (read) {
            m_fields.second = Saturate(negative ? -seconds : seconds);
            m_fields.nanoseconds = negative ? -fraction : fraction;
        }
        // What else looks like a part of a number belongs to none.
        while (m_pos != m_end && (IsDigit(*m_pos) || IsSign(*m_pos) || *m_pos == '.'))
            ++m_pos;
    }

    /// The number, from 1 on, of the name that begins with the three letters at hand; as much of
    /// the name is skipped as stands there. No name at all gives way to a number of three
    /// characters, as a month is printed that has no name.
    template <std::size_t count>
    void Name(const std::string_view (&names)[count], o_4b& field)
    {
        const auto left = static_cast<std::size_t>(m_end - m_pos);
        const std::string_view text(m_pos, left);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string_view name = names[i];
            if (text.substr(0, kShortNameLength) != name.substr(0, kShortNameLength))
                continue;
            m_pos += std::mismatch(name.begin(), name.end(), text.begin(), text.end()).first -
                     name.begin();
            field = static_cast<o_4b>(i) + 1;
            return;
        }
        TemporalScanner three(m_fields, m_pos, std::min<std::size_t>(left, kShortNameLength));
        three.m_wildcards = false;
        three.Number(field);
        m_pos += std::min<std::size_t>(left, kShortNameLength);
    }

    void HalfOfDay()
    {
        const std::string_view text(m_pos, m_end - m_pos < 2 ? 0U : 2U);
        if (text == "PM" || text == "pm")
            m_half = Half::kAfternoon;
        else if (text == "AM" || text == "am")
            m_half = Half::kMorning;
        else
            return;
        m_pos += 2;
    }

    void ApplyHalfOfDay()
    {
        o_4b& hour = m_fields.hour;
        if (m_fields.kind == TemporalKind::kOdmgInterval || (m_wildcards && hour == -1))
            return;
        if (m_half == Half::kAfternoon && hour < 12)
            hour += 12;
        else if (m_half == Half::kMorning && hour == 12)
            hour = 0;
    }

    TemporalFields& m_fields;
    const char* m_pos;
    const char* m_end;
    bool m_wildcards;
    bool m_literalsMatch = true;
    Half m_half = Half::kUnknown;
};

} // namespace

bool ScanTemporal(TemporalFields& fields, const KoString& in, const char* format)
{
    const TemporalKind kind = fields.kind;
    if (KindHasNull(kind) && KoIsNullPrint(in, false)) {
        fields = {.kind = kind, .isNull = true};
        return true;
    }
    fields = {.kind = kind};
    if (format == nullptr)
        format = TemporalFormat(kind);
    const KoNarrowText text(in);
    const char* data = text.Data();
    if (TemporalScanner(fields, data, text.Length()).Scan(TemporalFormatWalk(format)))
        return true;
    // A text that ends early may be one from which printing has left out something. Where that does
    // not explain it, what was read at first stays.
    const unsigned most = TemporalFormatWalk::LeadingOptionals(format);
    for (unsigned leftOut = 1; leftOut <= most; ++leftOut) {
        TemporalFields shorter = {.kind = kind};
        TemporalScanner scanner(shorter, data, text.Length());
        if (scanner.Scan(TemporalFormatWalk(format, leftOut)) && scanner.FitsExactly()) {
            fields = shorter;
            return true;
        }
    }
    return false;
}
