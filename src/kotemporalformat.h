#ifndef KOTEMPORALFORMAT_H
#define KOTEMPORALFORMAT_H

#include "kotemporaltext.h"

#include <string_view>

/// The directive language of dates and times, taken apart for the printer and the two readers.

/// The English names that are read. The printed names of the first two months lack the last letter:
/// texts printed so are stored everywhere, and readers of them know no other spelling.
inline constexpr std::string_view kMonthNames[12] = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};
constexpr std::string_view PrintedMonthName(unsigned index)
{
    return kMonthNames[index].substr(0, kMonthNames[index].size() - (index < 2 ? 1 : 0));
}
inline constexpr std::string_view kDayNames[7] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                                  "Friday", "Saturday", "Sunday"};
inline constexpr std::size_t kShortNameLength = 3;

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

/// False for a letter that stands for itself.
constexpr bool IsTemporalDirective(char letter)
{
    return std::string_view("YymdeHIMSfNJBbAapPDTOXV").find(letter) != std::string_view::npos;
}

/// A count of days in years of 12 months of 30 days; in an interval it stays as it is.
inline void SetTemporalDays(TemporalFields& fields, o_4b days)
{
    const bool spread = fields.kind != TemporalKind::kOdmgInterval;
    fields.year = spread ? days / 360 : 0;
    fields.month = spread ? days % 360 / 30 : 0;
    fields.day = spread ? days % 30 : days;
}

struct TemporalElement {
    enum Kind : unsigned char {
        kLiteral,
        kDirective, ///< any letter after a percent sign; one that is not known stands for itself
        kGroupEnd,
    };
    Kind kind;
    char letter;
    bool optional;   ///< "%?": left out while it is 0 and nothing stands before it
    bool opensGroup; ///< "%?(": so is what follows, up to the next ")"
};

/// Walks a format element by element. A format that ends behind a percent sign ends before it.
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

    bool Next(TemporalElement& element)
    {
        for (;;) {
            if (!Step(element))
                return false;
            if (!m_leading || element.kind != TemporalElement::kDirective || !Leaves(element))
                return true;
        }
    }

    /// Goes on with an expansion, and after it where the walk stands now.
    void Enter(const char* expansion)
    {
        m_resume = m_pos;
        m_pos = expansion;
    }

    /// How many of the first optional directives printing may leave out.
    static unsigned LeadingOptionals(const char* format)
    {
        TemporalFormatWalk walk(format);
        TemporalElement element;
        while (walk.m_leading && walk.Next(element)) {
        }
        return walk.m_optionals;
    }

    /// True where digits of a directive follow without anything between.
    bool DigitsFollow() const
    {
        const char* pos = m_pos;
        if (*pos != '%')
            return false;
        pos += pos[1] == '?' ? (pos[2] == '(' ? 3 : 2) : 1;
        return std::string_view("YymdeHIMSfNJDTOXV").find(*pos) != std::string_view::npos;
    }

private:
    bool Step(TemporalElement& element)
    {
        if (*m_pos == '\0') {
            if (m_resume == nullptr)
                return false;
            m_pos = m_resume;
            m_resume = nullptr;
            if (*m_pos == '\0')
                return false;
        }
        element = {TemporalElement::kLiteral, *m_pos++, false, false};
        if (element.letter == '%')
            return Directive(element);
        if (element.letter == ')' && m_inGroup) {
            element.kind = TemporalElement::kGroupEnd;
            m_inGroup = false;
        }
        return true;
    }

    bool Directive(TemporalElement& element)
    {
        element.kind = TemporalElement::kDirective;
        if (*m_pos == '?') {
            ++m_pos;
            element.optional = true;
            if (*m_pos == '(') {
                ++m_pos;
                element.opensGroup = true;
            }
        }
        if (*m_pos == '\0')
            return false;
        element.letter = *m_pos++;
        m_inGroup = m_inGroup || element.opensGroup;
        return true;
    }

    /// True when a directive is to be passed over. What an expansion holds does not count here: the
    /// expansion did.
    bool Leaves(const TemporalElement& element)
    {
        if (m_resume != nullptr || !IsTemporalDirective(element.letter))
            return false;
        if (!element.optional) {
            m_leading = false;
            return false;
        }
        if (++m_optionals > m_leftOut)
            return false;
        if (element.opensGroup)
            PassEmptyGroup();
        return true;
    }

    /// Goes on behind a group that has just been opened, if none of its directives is to be read.
    /// One that opens another group has no end of its own, and its text stays.
    void PassEmptyGroup()
    {
        TemporalFormatWalk ahead = *this;
        TemporalElement element;
        while (ahead.Step(element)) {
            if (element.kind == TemporalElement::kGroupEnd) {
                *this = ahead;
                return;
            }
            if (element.kind != TemporalElement::kDirective || !IsTemporalDirective(element.letter))
                continue;
            if (element.opensGroup || !element.optional || ++ahead.m_optionals > m_leftOut)
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
    TemporalElement element;
    while (walk.Next(element))
        if (element.kind == TemporalElement::kDirective &&
            (element.letter == 'p' || element.letter == 'P'))
            return true;
    return false;
}

#endif
