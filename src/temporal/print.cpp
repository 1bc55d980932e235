#include "collation/text.h"
#include "number/digits.h"
#include "temporal/calendar.h"
#include "temporal/fields.h"
#include "temporal/format.h"
#include "temporal/print_buffer.h"

#include <kostring.h>
#include <kotypemgr.h>

#include <array>
#include <cstring>
#include <utility>

namespace ko
{

namespace
{

char* Put(char* to, std::string_view text)
{
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

/// At least `minDigits` digits, after a sign.
char* PutNumber(char* to, o_8b value, unsigned minDigits)
{
    const o_u8b bits = static_cast<o_u8b>(value);
    char digits[20];
    const char* end = PutDecimal(digits, value < 0 ? 0 - bits : bits);
    const auto count = static_cast<unsigned>(end - digits);
    if (value < 0)
        *to++ = '-';
    for (unsigned i = count; i < minDigits; ++i)
        *to++ = '0';
    return Put(to, std::string_view(digits, count));
}

/// A name in a room of fixed size, which is copied whole.
struct PrintedName {
    char text[16] = {};
    unsigned char length = 0;

    constexpr explicit PrintedName(std::string_view name)
        : length(static_cast<unsigned char>(name.size()))
    {
        for (std::size_t i = 0; i < name.size(); ++i)
            text[i] = name[i];
    }
    char* Put(char* to, bool shortName) const
    {
        static_assert(sizeof text < TemporalBuffer::kLongestElement);
        std::memcpy(to, text, sizeof text);
        return to + (shortName ? kShortNameLength : length);
    }
};
template <std::size_t count, class NameOf>
constexpr auto PrintedNames(NameOf nameOf)
{
    return [&]<std::size_t... index>(std::index_sequence<index...>)
    {
        return std::array{PrintedName(nameOf(index))...};
    }
    (std::make_index_sequence<count>());
}
constexpr auto kPrintedMonths = PrintedNames<12>(PrintedMonthName);
constexpr auto kPrintedDays = PrintedNames<7>([](std::size_t index) { return kDayNames[index]; });

/// Each of the members that print returns the end of what it wrote.
class TemporalPrinter
{
public:
    TemporalPrinter(const TemporalFields& fields, const char* format)
        : m_fields(fields), m_format(format)
    {
    }

    /// The end of the text in `buffer`.
    char* PrintTo(TemporalBuffer& buffer) const
    {
        char* end = buffer.Begin();
        std::size_t groupStart = 0;
        bool produced = false; // by a directive: literal text does not count
        TemporalFormatWalk walk(m_format);
        for (;;) {
            if (buffer.IsFull(end)) {
                end = buffer.Grow(end);
                if (buffer.HasEnded())
                    return end;
            }
            end = walk.CopyPlain(end, TemporalBuffer::kMostPlain);
            char letter = walk.TakeDirective();
            if (letter == '\0') [[unlikely]] {
                const unsigned element = walk.Next();
                letter = static_cast<char>(element & 0xFF);
                if (element < kTemporalDirective) {
                    *end++ = letter;
                    continue;
                }
                if (element == kTemporalEnd)
                    return end;
                if (element == kTemporalGroupEnd) {
                    if (!produced)
                        end = buffer.Begin() + groupStart;
                    continue;
                }
                if ((element & kTemporalOpens) != 0)
                    groupStart = static_cast<std::size_t>(end - buffer.Begin());
                if (!produced && (element & kTemporalOptional) != 0 && IsZero(letter))
                    continue;
            }
            if (char* next = CommonDirective(end, letter, walk); next != nullptr) {
                end = next;
            } else {
                const TemporalLetter kind = TemporalLetterKind(letter, m_fields.kind);
                if (kind == TemporalLetter::kNone) {
                    *end++ = letter;
                    continue;
                }
                if (kind == TemporalLetter::kExpansion) {
                    walk.Enter(TemporalExpansion(letter));
                    continue;
                }
                end = RareDirective(end, letter);
            }
            produced = true;
        }
    }

private:
    /// Prints a directive that is in nearly every format; null, with nothing printed, for another
    /// one. Inlined, since most of the time of printing is spent here.
    [[gnu::always_inline]] char* CommonDirective(char* to, char letter,
                                                 TemporalFormatWalk& walk) const
    {
        switch (letter) {
        case 'Y':
            return IsPlainDate() && walk.Skip("-%m-%d") ? Date(to) : Year(to);
        case 'm':
            return Two(to, m_fields.month);
        case 'd':
        case 'e': // pads with a zero as %d does: its precision of 2 outweighs the blank of its
                  // width
            return Two(to, m_fields.day);
        case 'H':
            return IsPlainTime() && walk.Skip(":%M:%S") ? Time(to) : Two(to, m_fields.hour);
        case 'M':
            return Two(to, m_fields.minute);
        case 'S':
            return Two(to, m_fields.second);
        default:
            return nullptr;
        }
    }

    char* RareDirective(char* to, char letter) const
    {
        switch (letter) {
        case 'y':
            // The last digits of a year before -100 may be -1 and no wildcard.
            return IsWild(m_fields.year) ? Wild(to) : PutNumber(to, m_fields.year % 100, 2);
        case 'I':
            return IsWild(m_fields.hour) ? Wild(to) : Two(to, HourOfHalf());
        case 'f':
            return Seconds(to);
        case 'N':
            return Number(to, m_fields.nanoseconds, 1);
        case 'J':
            if (IsWild(m_fields.year) && IsWild(m_fields.month) && IsWild(m_fields.day))
                return Wild(to);
            return PutNumber(to, TotalDays(), 1);
        case 'B':
        case 'b':
            return Month(to, letter == 'b');
        case 'A':
        case 'a':
            return Weekday(to, letter == 'a');
        case 'z':
            return Zone(to);
        default: // 'p', 'P'
            if (IsWild(m_fields.hour))
                return Wild(to);
            if (letter == 'p')
                return Put(to, m_fields.hour >= 12 ? "pm" : "am");
            return Put(to, m_fields.hour >= 12 ? "PM" : "AM");
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

    bool IsWild(o_4b field) const { return field == -1 && KindHasWildcards(m_fields.kind); }

    static char* Wild(char* to)
    {
        *to = '*';
        return to + 1;
    }
    char* Number(char* to, o_4b value, unsigned minDigits) const
    {
        return IsWild(value) ? Wild(to) : PutNumber(to, value, minDigits);
    }
    char* Two(char* to, o_4b value) const
    {
        if (static_cast<o_u4b>(value) >= 100)
            return Number(to, value, 2);
        PutPair(to, static_cast<o_u4b>(value));
        return to + 2;
    }
    /// Numbers of 0 and above, the last two of two digits.
    static bool AreBelow(o_4b first, o_u4b limit, o_4b second, o_4b third)
    {
        return static_cast<o_u4b>(first) < limit && static_cast<o_u4b>(second) < 100 &&
               static_cast<o_u4b>(third) < 100;
    }
    /// Nothing but digits, as many as are always printed.
    bool IsPlainDate() const
    {
        return AreBelow(m_fields.year, 10000, m_fields.month, m_fields.day);
    }
    bool IsPlainTime() const
    {
        return AreBelow(m_fields.hour, 100, m_fields.minute, m_fields.second);
    }
    // What most formats consist of, in one go.
    char* Date(char* to) const
    {
        to = Year(to);
        return TwoMore(to, '-', m_fields.month, m_fields.day);
    }
    char* Time(char* to) const
    {
        PutPair(to, static_cast<o_u4b>(m_fields.hour));
        return TwoMore(to + 2, ':', m_fields.minute, m_fields.second);
    }
    static char* TwoMore(char* to, char separator, o_4b first, o_4b second)
    {
        to[0] = to[3] = separator;
        PutPair(to + 1, static_cast<o_u4b>(first));
        PutPair(to + 4, static_cast<o_u4b>(second));
        return to + 6;
    }
    char* Year(char* to) const
    {
        const auto year = static_cast<o_u4b>(m_fields.year);
        if (year >= 10000)
            return Number(to, m_fields.year, 4);
        PutPair(to, year / 100);
        PutPair(to + 2, year % 100);
        return to + 4;
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

    char* Month(char* to, bool shortName) const
    {
        const auto index = static_cast<o_u4b>(m_fields.month) - 1;
        if (index >= 12)
            return Number(to, m_fields.month, 3);
        return kPrintedMonths[index].Put(to, shortName);
    }

    char* Weekday(char* to, bool shortName) const
    {
        if (IsWild(m_fields.year) || IsWild(m_fields.month) || IsWild(m_fields.day))
            return Wild(to);
        // An interval counts more days than a date's field can hold.
        const o_4b day =
            WeekdayOf(static_cast<o_2b>(m_fields.year), static_cast<o_1b>(m_fields.month),
                      static_cast<o_1b>(m_fields.day));
        return kPrintedDays[static_cast<unsigned>(day)].Put(to, shortName);
    }

    /// As ISO 8601 has it, with a sign of the minute's own where it differs from the hour's.
    char* Zone(char* to) const
    {
        const o_4b hour = m_fields.zoneHour;
        const o_4b minute = m_fields.zoneMinute;
        const bool apart = (hour < 0 && minute > 0) || (hour > 0 && minute < 0);
        *to++ = hour < 0 || (hour == 0 && minute < 0) ? '-' : '+';
        to = PutNumber(to, hour < 0 ? -hour : hour, 2);
        *to++ = ':';
        if (apart && minute > 0)
            *to++ = '+';
        return PutNumber(to, minute < 0 && !apart ? -minute : minute, 2);
    }

    /// Seconds and their fraction as one number, with as many groups of three decimals as it needs.
    /// A sign takes the place of the leading zero: the width counts it.
    char* Seconds(char* to) const
    {
        if (IsWild(m_fields.second) || IsWild(m_fields.nanoseconds))
            return Wild(to);
        constexpr o_u8b kNano = 1'000'000'000;
        const o_8b sum = o_8b{m_fields.second} * static_cast<o_8b>(kNano) + m_fields.nanoseconds;
        const o_u8b magnitude = sum < 0 ? -static_cast<o_u8b>(sum) : static_cast<o_u8b>(sum);
        if (sum < 0)
            *to++ = '-';
        to = PutNumber(to, static_cast<o_8b>(magnitude / kNano), sum < 0 ? 1 : 2);
        if (m_fields.nanoseconds == 0)
            return to;
        *to++ = '.';
        const auto fraction = static_cast<o_4b>(magnitude % kNano);
        if (m_fields.nanoseconds % 1'000'000 == 0)
            return PutNumber(to, fraction / 1'000'000, 3);
        if (m_fields.nanoseconds % 1000 == 0)
            return PutNumber(to, fraction / 1000, 6);
        return PutNumber(to, fraction, 9);
    }

    const TemporalFields& m_fields;
    const char* m_format;
};

} // namespace

void PrintTemporalNull(KoString& out)
{
    out += KoTypeMgr::GetNullPrintString();
}

void PrintTemporal(KoString& out, const TemporalFields& fields, const char* format)
{
    TemporalBuffer buffer;
    const char* const used = format != nullptr ? format : TemporalFormat(fields.kind);
    buffer.AppendTo(out, TemporalPrinter(fields, used).PrintTo(buffer));
}

} // namespace ko
