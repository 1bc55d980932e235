#include "number/ascii.h"
#include "number/string_number.h"
#include "temporal/odmg/elements.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

// The zone after the text of a time, as ISO 8601 has it: the sign is that of hour and minute. The
// library also holds zones whose parts have different signs, which the standard cannot write. Their
// minute has a sign of its own: "-05:+01". So have hundredths that are no fraction of their second:
// "30.-05", "30.+120".

namespace ko
{

namespace
{

/// False for what the byte of a field cannot hold.
bool Number(std::string_view digits, char sign, int& number)
{
    constexpr std::size_t kMost = 3;
    if (digits.size() > kMost)
        return false;
    number = 0;
    for (const char digit : digits)
        number = number * 10 + (digit - '0');
    if (sign == '-')
        number = -number;
    return number == static_cast<o_1b>(number);
}

/// What a text has at its end: how long the text before it is, and the zone.
struct ZoneFound {
    std::size_t begin;
    int hour = 0;
    int minute = 0;
};

/// Looks for a zone from the end of a text on.
class ZoneReader
{
public:
    explicit ZoneReader(std::string_view text) : m_text(text) { SkipBlanks(); }

    /// False where there is none.
    bool Find(ZoneFound& zone)
    {
        if (m_text.ends_with('Z') || m_text.ends_with('z')) {
            m_text.remove_suffix(1);
            return EndsInClock(zone);
        }
        const std::string_view last = TakeDigits();
        std::string_view hour = last;
        std::string_view minute;
        char minuteSign = 0; // its own, where it has one
        const bool parts = m_text.ends_with(':') || EndsInColonAndSign();
        if (parts) {
            if (!m_text.ends_with(':'))
                minuteSign = TakeSign();
            m_text.remove_suffix(1);
            hour = TakeDigits();
            minute = last;
        } else if (last.size() == 4) {
            hour = last.substr(0, 2);
            minute = last.substr(2);
        }
        if (hour.empty() || last.empty() || m_text.empty() || !IsSign(m_text.back()) ||
            (!parts && hour.size() > 2))
            return false;
        const char sign = TakeSign();
        // With a colon in the zone a digit in front of the sign is enough: no date goes on so.
        if (parts && !m_text.empty() && IsDigit(m_text.back()))
            zone.begin = m_text.size();
        else if (!EndsInClock(zone))
            return false;
        return Number(hour, sign, zone.hour) &&
               Number(minute, minuteSign != 0 ? minuteSign : sign, zone.minute);
    }

private:
    void SkipBlanks()
    {
        while (m_text.ends_with(' '))
            m_text.remove_suffix(1);
    }
    std::string_view TakeDigits()
    {
        std::size_t begin = m_text.size();
        while (begin > 0 && IsDigit(m_text[begin - 1]))
            --begin;
        const std::string_view digits = m_text.substr(begin);
        m_text.remove_suffix(digits.size());
        return digits;
    }
    char TakeSign()
    {
        const char sign = m_text.back();
        m_text.remove_suffix(1);
        return sign;
    }
    bool EndsInColonAndSign() const
    {
        return m_text.size() > 1 && IsSign(m_text.back()) && m_text[m_text.size() - 2] == ':';
    }

    /// The text goes on, blanks apart, with a digit of something that has a colon: "2024-02-05"
    /// ends in a day, and no zone.
    bool EndsInClock(ZoneFound& zone)
    {
        SkipBlanks();
        if (m_text.empty() || !IsDigit(m_text.back()))
            return false;
        zone.begin = m_text.size();
        const std::size_t before = m_text.find_last_of(" T");
        return m_text.substr(before == std::string_view::npos ? 0 : before).find(':') !=
               std::string_view::npos;
    }

    std::string_view m_text;
};

/// Takes hundredths with a sign off the end of a text.
bool TakeHundredths(std::string_view& text, int& hundredths)
{
    const std::size_t sign = text.find_last_not_of("0123456789");
    if (sign == std::string_view::npos || sign == 0 || sign + 1 == text.size() ||
        !IsSign(text[sign]) || text[sign - 1] != '.' ||
        !Number(text.substr(sign + 1), text[sign], hundredths))
        return false;
    text = text.substr(0, sign - 1);
    return true;
}

/// The second and the hundredths are one number in a text.
bool AreFraction(const d_Time& time)
{
    const int hundredths = time.hundredths();
    const int second = time.whole_second();
    return std::abs(hundredths) < 100 && (second >= 0 || hundredths <= 0) &&
           (second <= 0 || hundredths >= 0);
}

} // namespace

KoString ZonedText(TemporalFields fields, const char* format, const d_Time& time)
{
    KoString text;
    const bool fraction = AreFraction(time);
    if (!fraction)
        fields.nanoseconds = 0;
    PrintTemporal(text, fields, format);
    if (!fraction)
        AppendNumber(text, time.hundredths(), ".%+03d");
    if (time.tz_hour() != 0 || time.tz_minute() != 0)
        PrintTemporal(text, fields, "%z");
    return text;
}

d_Time ScanZonedText(TemporalFields& fields, const KoString& text, const char* format)
{
    const NarrowText narrow(text);
    std::string_view clock(narrow.Data(), narrow.Length());
    ZoneFound zone{};
    if (ZoneReader(clock).Find(zone))
        clock = clock.substr(0, zone.begin);
    else
        zone = {};
    int hundredths = 0;
    const bool apart = TakeHundredths(clock, hundredths);
    constexpr std::size_t kMost = 32767; // more than any time has
    const auto length = static_cast<short>(std::min(clock.size(), kMost));
    ScanTemporal(fields, clock.size() < text.Len() ? text.Copy(0, length) : text, format);
    d_Time time = TimeOfFields(fields, zone.hour, zone.minute);
    if (apart)
        time = d_Time::OfFields(fields.hour, fields.minute, fields.second, hundredths, zone.hour,
                                zone.minute);
    return time;
}

} // namespace ko
