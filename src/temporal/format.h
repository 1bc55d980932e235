#ifndef KO_TEMPORAL_FORMAT_H
#define KO_TEMPORAL_FORMAT_H

#include "number/ascii.h"
#include "temporal/calendar.h"
#include "temporal/fields.h"

#include <array>
#include <cstddef>
#include <string_view>

/// The directive language of dates and times, taken apart for the printer and the two readers.

namespace ko
{

/// The English names of months that are read. The printed names of the first two months lack the
/// last letter: texts printed so are stored everywhere, and readers of them know no other spelling.
inline constexpr std::string_view kMonthNames[12] = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::string_view PrintedMonthName(std::size_t index)
{
    return kMonthNames[index].substr(0, kMonthNames[index].size() - (index < 2 ? 1 : 0));
}
inline constexpr std::size_t kShortNameLength = 3;

/// How many characters at the beginning of a text are those of a name, in either case. A character
/// that is no letter of the name ends it, as a terminator does.
constexpr std::size_t MatchingInAnyCase(std::string_view name, std::string_view text)
{
    std::size_t same = 0;
    while (same < name.size() && same < text.size() && ToLower(name[same]) == ToLower(text[same]))
        ++same;
    return same;
}

/// The format that a directive stands for, null for one that stands for itself. None of these holds
/// another of them.
constexpr const char* TemporalExpansion(char letter)
{
    switch (letter) {
    case 'D':
        return "%Y-%m-%d";
    case 'T':
        return "%H:%M:%S";
    case 'O':
        return "%Y-%m-%dT%H:%M:%S";
    case 'X':
        return "%Y-%m-%dT%H:%M:%f";
    case 'V':
        return "%J.%H:%M:%f";
    default:
        return nullptr;
    }
}

/// What a letter is after a percent sign.
enum class TemporalLetter : unsigned char {
    kNone,      ///< it stands for itself
    kName,      ///< a directive whose text is no number
    kNumber,    ///< a directive that may begin with a digit
    kExpansion, ///< likewise
};
inline constexpr auto kTemporalLetters = [] {
    std::array<TemporalLetter, 256> letters{};
    const auto set = [&letters](std::string_view list, TemporalLetter kind) {
        for (const char letter : list)
            letters[static_cast<unsigned char>(letter)] = kind;
    };
    set("YymdeHIMSfNJ", TemporalLetter::kNumber);
    set("BbAapPz", TemporalLetter::kName);
    set("DTOXV", TemporalLetter::kExpansion);
    return letters;
}();
constexpr TemporalLetter TemporalLetterKind(char letter)
{
    return kTemporalLetters[static_cast<unsigned char>(letter)];
}
constexpr TemporalLetter TemporalLetterKind(char letter, TemporalKind kind)
{
    return letter == 'z' && !KindHasZone(kind) ? TemporalLetter::kNone : TemporalLetterKind(letter);
}

/// Reads a zone at `pos`: "Z", or a sign and "hh:mm", "hhmm" or "hh", where the sign is that of
/// both. `fields` have it then; without one they have none. The end of it, or the first character
/// that does not belong.
inline const char* ReadZone(const char* pos, const char* end, TemporalFields& fields)
{
    fields.hasZone = false;
    if (pos != end && (*pos == 'Z' || *pos == 'z')) {
        fields.hasZone = true;
        fields.zoneHour = fields.zoneMinute = 0;
        return pos + 1;
    }
    if (pos == end || !IsSign(*pos))
        return pos;
    const o_4b sign = *pos++ == '-' ? -1 : 1;
    const auto areTwoDigits = [end](const char* at) {
        return end - at >= 2 && IsDigit(at[0]) && IsDigit(at[1]);
    };
    const auto number = [](const char* at) { return 10 * (at[0] - '0') + at[1] - '0'; };
    if (!areTwoDigits(pos))
        return pos != end && IsDigit(*pos) ? pos + 1 : pos;
    fields.zoneHour = sign * number(pos);
    fields.zoneMinute = 0;
    pos += 2;
    const bool colon = pos != end && *pos == ':';
    if (areTwoDigits(pos + (colon ? 1 : 0))) {
        pos += colon ? 1 : 0;
        fields.zoneMinute = sign * number(pos);
        pos += 2;
    } else if (colon) {
        return pos + 1;
    }
    fields.hasZone = true;
    return pos;
}

/// A count of days in years of 12 months of 30 days; in an interval it stays as it is.
inline void SetTemporalDays(TemporalFields& fields, o_4b days)
{
    const bool spread = fields.kind != TemporalKind::kOdmgInterval;
    fields.year = spread ? days / 360 : 0;
    fields.month = spread ? days % 360 / 30 : 0;
    fields.day = spread ? days % 30 : days;
}

/// One element of a format: a literal character below 256, or one of these.
enum TemporalElement : unsigned {
    kTemporalDirective = 0x100, ///< with its letter; one that is not known stands for itself
    kTemporalOptional = 0x200,  ///< "%?": a directive left out while it is 0 and first of all
    kTemporalOpens = 0x400,     ///< "%?(": so is what follows, up to the next ")"
    kTemporalGroupEnd = 0x800,
    kTemporalEnd = 0x1000,
};

/// Walks a format element by element. A format that ends after a percent sign ends before it.
///
/// Printing leaves out the first optional directives as long as they are 0 and no other directive
/// stands before them, so a reader does not see how many are missing. It tries: a walk with
/// `leftOut` passes over that many of them, and over the groups that are empty then.
class TemporalFormatWalk
{
public:
    explicit TemporalFormatWalk(const char* format, unsigned leftOut = 0)
        : m_pos(format), m_leftOut(leftOut)
    {
    }

    /// The letter of the directive that stands next, if it is no optional one; 0 otherwise.
    char TakeDirective()
    {
        // After a percent sign, all that is no letter of a directive stands before "@" in ASCII.
        if (*m_pos != '%' || m_pos[1] <= '?')
            return '\0';
        m_pos += 2;
        return m_pos[-1];
    }

    /// The next element as the printer sees it.
    unsigned Next()
    {
        if (const char letter = TakeDirective(); letter != '\0')
            return kTemporalDirective | static_cast<unsigned char>(letter);
        const char c = *m_pos;
        if (c == '%' || c == ')' || c == '\0')
            return NextUnusual();
        ++m_pos;
        return static_cast<unsigned char>(c);
    }

    /// The next element as a reader sees it.
    unsigned NextToRead()
    {
        for (;;) {
            const unsigned element = Next();
            if (element < kTemporalDirective || !m_leading || !Leaves(element))
                return element;
        }
    }

    /// Copies the plain text that stands next, at most `most` characters of it; the end of the
    /// copy.
    char* CopyPlain(char* to, unsigned most)
    {
        unsigned count = 0;
        for (; count < most; ++count) {
            const char c = m_pos[count];
            // Letters come after the parenthesis in ASCII.
            if (static_cast<unsigned char>(c) <= ')') [[unlikely]] {
                if (c == '%' || c == ')' || c == '\0')
                    break;
            }
            to[count] = c;
        }
        m_pos += count;
        return to + count;
    }

    /// Goes on after `run` where the format goes on with it.
    template <std::size_t size>
    bool Skip(const char (&run)[size])
    {
        for (std::size_t i = 0; i + 1 < size; ++i)
            if (m_pos[i] != run[i])
                return false;
        m_pos += size - 1;
        return true;
    }

    /// Goes on with an expansion, and after it where the walk stands now.
    void Enter(const char* expansion)
    {
        m_resume = m_pos;
        m_pos = expansion;
    }

    /// True where digits of a directive follow without anything between.
    bool DigitsFollow() const
    {
        const char* pos = m_pos;
        if (*pos != '%')
            return false;
        pos += pos[1] == '?' ? (pos[2] == '(' ? 3 : 2) : 1;
        return TemporalLetterKind(*pos) >= TemporalLetter::kNumber;
    }

    /// How many of the first optional directives printing may leave out.
    static unsigned LeadingOptionals(const char* format)
    {
        TemporalFormatWalk walk(format);
        while (walk.m_leading && walk.NextToRead() != kTemporalEnd) {
        }
        return walk.m_optionals;
    }

private:
    unsigned NextUnusual()
    {
        char c = *m_pos;
        if (c == '\0' && m_resume != nullptr) {
            m_pos = m_resume;
            m_resume = nullptr;
            return Next();
        }
        if (c == '\0')
            return kTemporalEnd;
        ++m_pos;
        if (c == ')' && m_inGroup) {
            m_inGroup = false;
            return kTemporalGroupEnd;
        }
        if (c != '%')
            return static_cast<unsigned char>(c);
        unsigned element = kTemporalDirective;
        if (*m_pos == '?') {
            ++m_pos;
            element |= kTemporalOptional;
            if (*m_pos == '(') {
                ++m_pos;
                element |= kTemporalOpens;
                m_inGroup = true;
            }
        }
        c = *m_pos;
        if (c == '\0')
            return kTemporalEnd;
        ++m_pos;
        return element | static_cast<unsigned char>(c);
    }

    /// A zone counts as literal text here, as it is for most kinds: it is never left out.
    static bool IsDirective(unsigned element)
    {
        return (element & kTemporalDirective) != 0 && (element & 0xFF) != 'z' &&
               TemporalLetterKind(static_cast<char>(element & 0xFF)) != TemporalLetter::kNone;
    }

    /// True when a directive is to be passed over. What an expansion holds does not count here: the
    /// expansion did.
    bool Leaves(unsigned element)
    {
        if (m_resume != nullptr || !IsDirective(element))
            return false;
        if ((element & kTemporalOptional) == 0) {
            m_leading = false;
            return false;
        }
        if (++m_optionals > m_leftOut)
            return false;
        if ((element & kTemporalOpens) != 0)
            PassEmptyGroup();
        return true;
    }

    /// Goes on after a group that has just been opened, if none of its directives is to be read.
    /// One that opens another group has no end of its own, and its text stays.
    void PassEmptyGroup()
    {
        TemporalFormatWalk ahead = *this;
        for (unsigned element = 0; element != kTemporalEnd;) {
            element = ahead.Next();
            if (element == kTemporalGroupEnd) {
                *this = ahead;
                return;
            }
            if (!IsDirective(element))
                continue;
            if ((element & kTemporalOpens) != 0 || (element & kTemporalOptional) == 0 ||
                ++ahead.m_optionals > m_leftOut)
                return;
        }
    }

    const char* m_pos;
    const char* m_resume = nullptr; ///< where the format goes on after an expansion
    unsigned m_leftOut;
    unsigned m_optionals = 0;
    bool m_leading = true; ///< no directive before that is always printed
    bool m_inGroup = false;
};

/// True for a format that tells the halves of the day apart, and whose %I therefore counts from 1.
inline bool HasHalfOfDay(const char* format)
{
    TemporalFormatWalk walk(format);
    unsigned element;
    do {
        element = walk.Next();
        if ((element & kTemporalDirective) != 0 &&
            ((element & 0xFF) == 'p' || (element & 0xFF) == 'P'))
            return true;
    } while (element != kTemporalEnd);
    return false;
}

} // namespace ko

#endif
