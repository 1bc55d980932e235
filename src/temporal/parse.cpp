#include "core/whole_text.h"
#include "number/ascii.h"
#include "number/string_number.h"
#include "string/null_text.h"
#include "temporal/calendar.h"
#include "temporal/fields.h"
#include "temporal/format.h"
#include "temporal/range.h"

#include <algorithm>
#include <cstdlib>

namespace ko
{

namespace
{

class TemporalParser
{
public:
    TemporalParser(TemporalKind kind, const char* text, std::size_t length, const char* format,
                   bool whole)
        : m_begin(text), m_end(text + length), m_errorAt(text), m_format(format),
          m_halfOfDay(HasHalfOfDay(format)), m_whole(whole)
    {
        m_now.fields.kind = kind;
    }

    bool Parse()
    {
        const TemporalKind kind = Kind();
        for (unsigned leftOut = 0, most = 0; leftOut <= most; ++leftOut) {
            m_now = {.pos = m_begin, .fields = {.kind = kind}};
            if (Walk(TemporalFormatWalk(m_format, leftOut)) && Complete())
                return true;
            if (leftOut == 0)
                most = TemporalFormatWalk::LeadingOptionals(m_format);
        }
        return false;
    }

    const TemporalFields& Fields() const { return m_now.fields; }
    unsigned ErrorAt() const { return static_cast<unsigned>(m_errorAt - m_begin); }
    KoReadResult Error() const { return m_error; }

private:
    enum Seen : unsigned { kYear = 1, kMonth = 2, kDay = 4, kWholeDate = 7 };

    /// How far the text was read.
    struct State {
        const char* pos = nullptr;
        TemporalFields fields{};
        unsigned seen = 0;               ///< parts of the date
        o_4b sign = 0;                   ///< of an interval
        const char* lostSign = nullptr;  ///< where a minus stood that no number has
        const char* datePart = nullptr;  ///< where the last one stood
        const char* halfOfDay = nullptr; ///< where it stood
        bool afternoon = false;
    };

    TemporalKind Kind() const { return m_now.fields.kind; }
    bool AtEnd() const { return m_now.pos == m_end; }
    bool IsAt(char c) const { return m_now.pos != m_end && *m_now.pos == c; }
    bool IsAtDigit() const { return m_now.pos != m_end && IsDigit(*m_now.pos); }

    /// A text can be read in several ways; the error is where the one that came farthest ended.
    bool Fail(const char* at, KoReadResult error = KoREAD_NOT_A_VALUE)
    {
        if (at >= m_errorAt) {
            m_errorAt = at;
            m_error = error;
        }
        return false;
    }
    bool IsOutOfRange(const char* at) { return Fail(at, KoREAD_OUT_OF_RANGE); }

    bool Walk(TemporalFormatWalk walk)
    {
        for (;;) {
            const unsigned element = walk.NextToRead();
            if (element == kTemporalEnd)
                return true;
            if (element == kTemporalGroupEnd)
                continue;
            const auto letter = static_cast<char>(element & 0xFF);
            const TemporalLetter kind = TemporalLetterKind(letter, Kind());
            if (element < kTemporalDirective || kind == TemporalLetter::kNone) {
                if (!Literal(letter))
                    return false;
            } else if (kind == TemporalLetter::kExpansion) {
                walk.Enter(TemporalExpansion(letter));
            } else if (!Directive(letter, walk.DigitsFollow())) {
                return false;
            }
        }
    }

    /// The conditions on the text as a whole; then what the kind lacks is cleared.
    bool Complete()
    {
        TemporalFields& f = m_now.fields;
        if (!AtEnd() || (KindHasDate(Kind()) && m_now.seen != kWholeDate))
            return Fail(m_now.pos);
        if (m_now.lostSign != nullptr)
            return Fail(m_now.lostSign);
        if (m_now.halfOfDay != nullptr && Kind() != TemporalKind::kOdmgInterval) {
            if (m_now.afternoon && f.hour < 12)
                f.hour += 12;
            else if (!m_now.afternoon && f.hour == 12)
                f.hour = 0;
            if (m_now.afternoon != (f.hour >= 12))
                return Fail(m_now.halfOfDay);
        }
        if (Kind() == TemporalKind::kTimeSpan && !IsSpanOfDays())
            return Fail(m_now.datePart);
        if (!KindHasDate(Kind()) && Kind() != TemporalKind::kTimeSpan) {
            f.year = f.month = 0;
            if (Kind() != TemporalKind::kOdmgInterval)
                f.day = 0;
        }
        if (Kind() == TemporalKind::kDate || Kind() == TemporalKind::kOdmgDate)
            f.hour = f.minute = f.second = 0;
        return true;
    }

    /// True where counting gives these years, months and days: only the first that is not 0 may be
    /// negative. Others would come back from their own text as other fields.
    bool IsSpanOfDays() const
    {
        const TemporalFields& f = m_now.fields;
        TemporalFields counted = f;
        SetSpanDays(counted, (f.year * 12 + f.month) * 30 + f.day);
        return counted.year == f.year && counted.month == f.month && counted.day == f.day;
    }

    bool Literal(char c)
    {
        if (!IsAt(c))
            return Fail(m_now.pos);
        ++m_now.pos;
        return true;
    }

    bool Directive(char letter, bool digitsFollow)
    {
        TemporalFields& f = m_now.fields;
        switch (letter) {
        case 'Y':
        case 'y':
            return Year(letter, digitsFollow);
        case 'm':
            return DateField(f.month, letter, kMonth);
        case 'd':
        case 'e':
            return DateField(f.day, letter, kDay);
        case 'J':
            return Days();
        case 'B':
        case 'b':
            return Month(letter == 'b');
        case 'A':
        case 'a': {
            // Any will do: the name printed for February's days is not that of the calendar, and
            // for the year -1 it is a wildcard.
            unsigned index;
            if (KindHasWildcards(Kind()) && IsAt('*'))
                return Literal('*');
            return Name(kDayNames, letter == 'a', index);
        }
        case 'H':
        case 'I':
            return Number(f.hour, letter);
        case 'M':
            return Number(f.minute, letter);
        case 'S':
            return Number(f.second, letter);
        case 'N':
            return Nanoseconds();
        case 'f':
            return Seconds();
        case 'z':
            return Zone();
        default: // 'p', 'P'
            return HalfOfDay();
        }
    }

    /// A number in its range. A field of -1 is printed as a wildcard, and is a value of few kinds.
    bool Number(o_4b& field, const TemporalRange& range, unsigned maxDigits)
    {
        const char* start = m_now.pos;
        if (KindHasWildcards(Kind()) && IsAt('*') && (m_whole || range.low <= -1)) {
            ++m_now.pos;
            field = -1;
            return true;
        }
        const bool negative = range.low < 0 && IsAt('-');
        m_now.pos += negative ? 1 : 0;
        o_8b number = 0;
        unsigned digits = 0;
        for (; digits < maxDigits && IsAtDigit(); ++digits, ++m_now.pos)
            number = 10 * number + (*m_now.pos - '0');
        if (digits < range.minDigits)
            return Fail(m_now.pos);
        number = negative ? -number : number;
        if (number < range.low || number > range.high)
            return IsOutOfRange(start);
        // "-0" before other numbers of a length would look like the sign of them all.
        if (negative && number == 0 && !KindHasDate(Kind()))
            m_now.lostSign = start;
        field = static_cast<o_4b>(number);
        return SignFits(field, start);
    }
    bool Number(o_4b& field, char letter)
    {
        const TemporalRange range = TemporalRangeOf(Kind(), letter, m_halfOfDay);
        return Number(field, range, std::max(DecimalDigits(range.low), DecimalDigits(range.high)));
    }

    /// In an interval all numbers that are not 0 have one sign.
    bool SignFits(o_4b number, const char* start)
    {
        if (Kind() != TemporalKind::kOdmgInterval || number == 0)
            return true;
        const o_4b sign = number < 0 ? -1 : 1;
        if (m_now.sign == -sign)
            return Fail(start);
        m_now.sign = sign;
        return true;
    }

    bool DateField(o_4b& field, char letter, unsigned part)
    {
        const char* start = m_now.pos;
        return Number(field, letter) && DatePart(part, start);
    }

    /// The part that completes a date is the one that makes it exist or not.
    bool DatePart(unsigned part, const char* start)
    {
        m_now.seen |= part;
        m_now.datePart = start;
        if (m_now.seen != kWholeDate || !KindHasDate(Kind()))
            return true;
        const TemporalFields& f = m_now.fields;
        const bool exists = KindHasWildcards(Kind()) ? IsSomeDate(f.year, f.month, f.day)
                                                     : IsReformedDate(f.year, f.month, f.day);
        return exists || IsOutOfRange(start);
    }

    /// Where wildcards are read, some date of the calendar must fit them.
    bool IsSomeDate(o_4b year, o_4b month, o_4b day) const
    {
        constexpr o_4b kLeapYear = 2000;
        if (!m_whole || (year != -1 && month != -1 && day != -1))
            return IsCalendarDate(year, month, day);
        return IsCalendarDate(year == -1 ? kLeapYear : year, month == -1 ? 1 : month,
                              day == -1 ? 1 : day);
    }

    /// Four digits at least, so that no year of two is taken for one of the first century; four
    /// exactly where the next field follows at once.
    bool Year(char letter, bool digitsFollow)
    {
        const char* start = m_now.pos;
        o_4b& year = m_now.fields.year;
        if (letter == 'y') {
            if (!Number(year, letter))
                return false;
            year += year > 30 ? 1900 : 2000;
        } else if (!Number(year, TemporalRangeOf(Kind(), letter, m_halfOfDay),
                           digitsFollow ? 4 : 5)) {
            return false;
        }
        return DatePart(kYear, start);
    }

    bool Days()
    {
        const char* start = m_now.pos;
        o_4b days;
        // A wildcard stands for three fields, and no count gives all three.
        if (IsAt('*'))
            return Fail(start);
        if (!Number(days, 'J'))
            return false;
        if (Kind() == TemporalKind::kTimeSpan)
            SetSpanDays(m_now.fields, days);
        else
            SetTemporalDays(m_now.fields, days);
        return DatePart(kWholeDate, start);
    }

    bool Month(bool shortName)
    {
        const char* start = m_now.pos;
        unsigned index;
        if (!Name(kMonthNames, shortName, index))
            return false;
        m_now.fields.month = static_cast<o_4b>(index) + 1;
        return DatePart(kMonth, start);
    }

    /// A whole name, or its first three letters, in any case; one that is spelled as it is printed
    /// comes first. Both spellings of the first two months are whole.
    template <std::size_t count>
    bool Name(const std::string_view (&names)[count], bool shortName, unsigned& index)
    {
        const std::string_view text(m_now.pos, static_cast<std::size_t>(m_end - m_now.pos));
        std::size_t longest = 0;
        for (const bool anyCase : {false, true}) {
            for (index = 0; index < count; ++index) {
                std::string_view name = names[index];
                std::size_t least = name.size();
                if (shortName)
                    name = name.substr(0, least = kShortNameLength);
                else if (count == std::size(kMonthNames))
                    least = PrintedMonthName(index).size();
                const auto exact = static_cast<std::size_t>(
                    std::mismatch(name.begin(), name.end(), text.begin(), text.end()).first -
                    name.begin());
                const std::size_t same = anyCase ? MatchingInAnyCase(name, text) : exact;
                longest = std::max(longest, same);
                if (same >= least) {
                    m_now.pos += same;
                    return true;
                }
            }
        }
        return Fail(m_now.pos + longest);
    }

    bool Nanoseconds()
    {
        const char* start = m_now.pos;
        o_4b& nanoseconds = m_now.fields.nanoseconds;
        if (!Number(nanoseconds, 'N'))
            return false;
        return nanoseconds % SecondStep(Kind()) == 0 || IsOutOfRange(start);
    }

    bool Seconds()
    {
        const char* start = m_now.pos;
        TemporalFields& f = m_now.fields;
        const bool negative = IsAt('-');
        const bool wild = IsAt('*');
        if (!Number(f.second, 'S'))
            return false;
        f.nanoseconds = wild ? -1 : 0;
        if (wild)
            return true;
        if (!IsAt('.'))
            return true;
        ++m_now.pos;
        if (!IsAtDigit())
            return Fail(m_now.pos);
        // A digit that the kind cannot hold does not belong, unless it is 0.
        for (o_4b place = 100'000'000; IsAtDigit(); ++m_now.pos, place /= 10) {
            const o_4b digit = *m_now.pos - '0';
            if (place == 0 || (digit != 0 && place < SecondStep(Kind())))
                return Fail(m_now.pos);
            f.nanoseconds += digit * place;
        }
        if (negative && f.nanoseconds != 0) {
            f.nanoseconds = -f.nanoseconds;
            if (m_now.lostSign == start)
                m_now.lostSign = nullptr;
        }
        return SignFits(f.nanoseconds, start);
    }

    bool Zone()
    {
        const char* start = m_now.pos;
        TemporalFields& f = m_now.fields;
        m_now.pos = ReadZone(start, m_end, f);
        if (!f.hasZone)
            return (m_whole && start == m_end) || Fail(m_now.pos);
        const bool exists = std::abs(f.zoneHour) < 24 && std::abs(f.zoneMinute) < 60;
        return exists || IsOutOfRange(start);
    }

    bool HalfOfDay()
    {
        const char* start = m_now.pos;
        m_now.afternoon = IsAt('p') || IsAt('P');
        if (!m_now.afternoon && !IsAt('a') && !IsAt('A'))
            return Fail(start);
        ++m_now.pos;
        if (!IsAt(*start < 'a' ? 'M' : 'm'))
            return Fail(m_now.pos);
        ++m_now.pos;
        m_now.halfOfDay = start;
        return true;
    }

    State m_now;
    const char* m_begin;
    const char* m_end;
    const char* m_errorAt;
    const char* m_format;
    bool m_halfOfDay;
    bool m_whole;
    KoReadResult m_error = KoREAD_NOT_A_VALUE;
};

/// The format under which a value has its whole text.
constexpr const char* WholeFormat(TemporalKind kind)
{
    switch (kind) {
    case TemporalKind::kOdmgTime:
        return "%H:%M:%f%z";
    case TemporalKind::kOdmgTimestamp:
        return "%X%z";
    default:
        return TemporalFormat(kind);
    }
}

} // namespace

int ParseTemporal(TemporalFields& fields, const KoString& in, const char* format, unsigned& errorAt)
{
    if (KindHasNull(fields.kind) && MeansNull(in, true)) {
        fields = {.kind = fields.kind, .isNull = true};
        return 0;
    }
    // Literal text of a format is in the default 8-bit code set.
    const SingleByteText bytes(in);
    const NarrowText text(bytes.IsExact() ? bytes.Get() : in);
    const bool whole = IsWholeText(format);
    if (whole)
        format = WholeFormat(fields.kind);
    TemporalParser parser(fields.kind, text.Data(), text.Length(),
                          format != nullptr ? format : TemporalFormat(fields.kind), whole);
    if (!parser.Parse()) {
        errorAt = parser.ErrorAt();
        return parser.Error();
    }
    fields = parser.Fields();
    return 0;
}

} // namespace ko
