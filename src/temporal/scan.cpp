#include "number/ascii.h"
#include "number/string_number.h"
#include "string/null_text.h"
#include "temporal/fields.h"
#include "temporal/format.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ko
{

namespace
{

/// Held to the limits of 32 bits, as all integers are that the library reads.
constexpr o_4b Saturate(o_8b value)
{
    using Limits = std::numeric_limits<o_4b>;
    return static_cast<o_4b>(std::clamp<o_8b>(value, Limits::min(), Limits::max()));
}

/// Reads a text that ends with a zero.
class TemporalScanner
{
public:
    TemporalScanner(TemporalFields& fields, const char* text)
        : m_fields(fields), m_pos(text), m_wildcards(KindHasWildcards(fields.kind))
    {
    }

    /// False when the text ended early.
    bool Scan(TemporalFormatWalk walk)
    {
        const bool complete = Walk(walk);
        if (m_half != Half::kUnknown)
            ApplyHalfOfDay();
        return complete;
    }
    /// True when every literal and number stood in the text and nothing follows.
    bool FitsExactly() const { return m_exact && AtEnd(); }

private:
    enum class Half : unsigned char { kUnknown, kMorning, kAfternoon };

    bool Walk(TemporalFormatWalk walk)
    {
        for (;;) {
            while (IsSpace(*m_pos))
                ++m_pos;
            const unsigned element = walk.NextToRead();
            const auto letter = static_cast<char>(element & 0xFF);
            if (element < kTemporalDirective) {
                Literal(letter);
                continue;
            }
            if (element >= kTemporalGroupEnd) {
                if (element == kTemporalEnd)
                    return true;
                continue;
            }
            const TemporalLetter kind = TemporalLetterKind(letter, m_fields.kind);
            if (kind == TemporalLetter::kNone) {
                Literal(letter);
            } else if (AtEnd()) {
                if ((element & kTemporalOptional) == 0)
                    return false;
            } else if (kind == TemporalLetter::kExpansion) {
                walk.Enter(TemporalExpansion(letter));
            } else {
                Directive(letter, walk);
            }
        }
    }

    bool AtEnd() const { return *m_pos == '\0'; }

    /// Any character that is no digit stands for any literal one, so that dates are read whatever
    /// separates their fields; a digit that is not the one asked for begins the next field.
    void Literal(char c)
    {
        if (IsSpace(c) || AtEnd())
            return;
        const char found = *m_pos;
        if (found == c || !IsDigit(found))
            ++m_pos;
        m_exact = m_exact && found == c;
    }

    void Directive(char letter, TemporalFormatWalk& walk)
    {
        TemporalFields& f = m_fields;
        switch (letter) {
        case 'Y':
            if (IsThreeNumbers<4>('-') && walk.Skip("-%m-%d"))
                TakeThreeNumbers<4>(f.year, f.month, f.day);
            else
                Number(f.year);
            return;
        case 'm':
            Number(m_fields.month);
            return;
        case 'd':
        case 'e':
            Number(m_fields.day);
            return;
        case 'H':
            if (IsThreeNumbers<2>(':') && walk.Skip(":%M:%S"))
                TakeThreeNumbers<2>(f.hour, f.minute, f.second);
            else
                Number(f.hour);
            return;
        case 'I':
            Number(m_fields.hour);
            return;
        case 'M':
            Number(m_fields.minute);
            return;
        case 'S':
            Number(m_fields.second);
            return;
        default:
            RareDirective(letter);
        }
    }

    void RareDirective(char letter)
    {
        o_4b weekday;
        switch (letter) {
        case 'y':
            ShortYear();
            return;
        case 'N':
            Number(m_fields.nanoseconds);
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
                m_fields.month = -1;
            else
                Name(kMonthNames, m_fields.month);
            return;
        case 'a':
        case 'A':
            if (!Wildcard())
                Name(kDayNames, weekday); // it follows from the date
            return;
        case 'z':
            Zone();
            return;
        default: // 'p', 'P'
            if (!Wildcard())
                HalfOfDay();
        }
    }

    // What most texts consist of, in one go: a number of so many digits and two of two digits, just
    // as they are printed.
    template <int digits>
    bool IsThreeNumbers(char separator) const
    {
        const char* const pos = m_pos;
        for (int i = 0; i < digits; ++i)
            if (!IsDigit(pos[i]))
                return false;
        return pos[digits] == separator && IsDigit(pos[digits + 1]) && IsDigit(pos[digits + 2]) &&
               pos[digits + 3] == separator && IsDigit(pos[digits + 4]) &&
               IsDigit(pos[digits + 5]) && !IsDigit(pos[digits + 6]);
    }
    template <int digits>
    void TakeThreeNumbers(o_4b& first, o_4b& second, o_4b& third)
    {
        const auto two = [pos = m_pos](int at) { return 10 * pos[at] + pos[at + 1] - 11 * '0'; };
        first = digits == 4 ? 100 * two(0) + two(2) : two(0);
        second = two(digits + 1);
        third = two(digits + 4);
        m_pos += digits + 6;
    }

    bool Wildcard()
    {
        if (!m_wildcards || *m_pos != '*')
            return false;
        ++m_pos;
        return true;
    }

    /// All digits that stand there, with a sign before them. False, with the field as it was, where
    /// there are none.
    bool Number(o_4b& field)
    {
        // A few digits, as almost always.
        o_u4b number = 0;
        const char* pos = m_pos;
        for (; IsDigit(*pos) && pos - m_pos < 9; ++pos)
            number = 10 * number + static_cast<o_u4b>(*pos - '0');
        if (pos == m_pos || IsDigit(*pos))
            return LongNumber(field);
        m_pos = pos;
        field = static_cast<o_4b>(number);
        return true;
    }
    bool LongNumber(o_4b& field)
    {
        if (Wildcard()) {
            field = -1;
            return true;
        }
        const bool negative = Sign();
        o_8b number;
        if (!Digits(number)) {
            m_exact = false;
            return false;
        }
        field = Held(negative ? -number : number);
        return true;
    }
    o_4b Held(o_8b number) const
    {
        return m_wildcards ? static_cast<o_4b>(static_cast<o_u4b>(number)) : Saturate(number);
    }
    bool Sign() { return IsSign(*m_pos) && *m_pos++ == '-'; }
    /// Where a field may be a wildcard, a number keeps its low 32 bits: the class cuts it further
    /// to the width of the field, and held to a limit any large number would become -1 there.
    bool Digits(o_8b& number)
    {
        constexpr o_8b kLimit = 1LL << 32;
        const char* start = m_pos;
        number = 0;
        for (; IsDigit(*m_pos); ++m_pos) {
            if (m_wildcards)
                number = (10 * number + (*m_pos - '0')) % kLimit;
            else if (number < kLimit)
                number = 10 * number + (*m_pos - '0');
        }
        return m_pos != start;
    }

    void ShortYear()
    {
        o_4b year;
        if (Wildcard())
            m_fields.year = -1;
        else if (Number(year))
            m_fields.year = Held(o_8b{year} + (year > 30 ? 1900 : 2000));
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
        if (*m_pos == '.') {
            ++m_pos;
            for (o_4b place = 100'000'000; IsDigit(*m_pos); ++m_pos, place /= 10) {
                fraction += place * (*m_pos - '0');
                read = true;
            }
        }
        if (read) {
            m_fields.second = Held(negative ? -seconds : seconds);
            m_fields.nanoseconds = negative ? -fraction : fraction;
        }
        // What else looks like a part of a number belongs to none.
        while (IsDigit(*m_pos) || IsSign(*m_pos) || *m_pos == '.')
            ++m_pos;
    }

    /// The number, from 1 on, of the name that begins with the three letters at hand; as much of
    /// the name is skipped as stands there. No name at all gives way to a number of three
    /// characters, as a month is printed that has no name.
    template <std::size_t count>
    void Name(const std::string_view (&names)[count], o_4b& field)
    {
        char three[kShortNameLength + 1] = {};
        std::size_t length = 0;
        for (; length < kShortNameLength && m_pos[length] != '\0'; ++length)
            three[length] = m_pos[length];
        // What is spelled as in the name goes on so; else letters of either case may.
        for (std::size_t i = 0; i < count; ++i) {
            const std::string_view name = names[i];
            if (std::memcmp(three, name.data(), kShortNameLength) != 0)
                continue;
            m_pos += kShortNameLength;
            for (std::size_t at = kShortNameLength; at < name.size() && *m_pos == name[at]; ++at)
                ++m_pos;
            field = static_cast<o_4b>(i) + 1;
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (MatchingInAnyCase(names[i], three) < kShortNameLength)
                continue;
            m_pos += MatchingInAnyCase(names[i], m_pos);
            field = static_cast<o_4b>(i) + 1;
            return;
        }
        TemporalScanner scanner(m_fields, three);
        scanner.m_wildcards = false;
        scanner.Number(field);
        m_pos += length;
    }

    /// A text without a zone leaves it to the value that is read into.
    void Zone()
    {
        const char* const end = ReadZone(m_pos, m_pos + std::strlen(m_pos), m_fields);
        m_exact = m_exact && m_fields.hasZone;
        m_pos = end;
    }

    void HalfOfDay()
    {
        const bool afternoon = *m_pos == 'p' || *m_pos == 'P';
        const bool morning = *m_pos == 'a' || *m_pos == 'A';
        if (!(afternoon || morning) || m_pos[1] != (*m_pos < 'a' ? 'M' : 'm'))
            return;
        m_half = afternoon ? Half::kAfternoon : Half::kMorning;
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
    bool m_wildcards;
    bool m_exact = true;
    Half m_half = Half::kUnknown;
};

bool ScanText(TemporalFields& fields, const char* text, const char* format)
{
    const TemporalKind kind = fields.kind;
    TemporalScanner whole(fields, text);
    const bool complete = whole.Scan(TemporalFormatWalk(format));
    if (complete && whole.FitsExactly())
        return true;
    // It may be a text from which printing has left out something. Where that does not explain it,
    // what was read at first stays.
    const unsigned most = TemporalFormatWalk::LeadingOptionals(format);
    for (unsigned leftOut = 1; leftOut <= most; ++leftOut) {
        TemporalFields shorter = {.kind = kind};
        TemporalScanner scanner(shorter, text);
        if (scanner.Scan(TemporalFormatWalk(format, leftOut)) && scanner.FitsExactly()) {
            fields = shorter;
            return true;
        }
    }
    return complete;
}

} // namespace

bool ScanTemporal(TemporalFields& fields, const KoString& in, const char* format)
{
    const TemporalKind kind = fields.kind;
    if (KindHasNull(kind) && MeansNull(in, false)) {
        fields = {.kind = kind, .isNull = true};
        return true;
    }
    fields = {.kind = kind};
    if (format == nullptr)
        format = TemporalFormat(kind);
    if (in.Width() == 1)
        return ScanText(fields, in.StrGet(), format);
    return ScanText(fields, NarrowText(in).Data(), format);
}

} // namespace ko
