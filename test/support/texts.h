#ifndef KO_TEST_SUPPORT_TEXTS_H
#define KO_TEST_SUPPORT_TEXTS_H

#include <kotms.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

// Random texts, the same in every run and on every machine.

/// -1, 0 or 1.
inline int Sign(auto order)
{
    return (order > 0) - (order < 0);
}

inline KoString NullText()
{
    KoString null;
    null.SetNullValue();
    return null;
}

inline std::u16string UnitsOf(const KoString& text)
{
    std::u16string units;
    const unsigned length = text.Len();
    for (unsigned i = 0; i < length; ++i) {
        o_u2b unit = static_cast<unsigned char>(text.StrGet()[i]);
        if (text.Width() == 2)
            std::memcpy(&unit, text.StrGet() + std::size_t{2} * i, 2);
        units += static_cast<char16_t>(unit);
    }
    return units;
}

/// A text of the given code set and language, from its characters as they are.
inline KoString Text(const std::u16string& units, unsigned char codeSet, unsigned char language = 0)
{
    KoString text(codeSet, language);
    if (text.Width() == 1) {
        const std::string bytes(units.begin(), units.end());
        text = bytes.c_str();
    } else {
        text = reinterpret_cast<const unsigned short*>(units.c_str());
    }
    text.SetCodeSetCode(codeSet);
    text.SetLanguage(language);
    return text;
}

class Random
{
public:
    explicit Random(unsigned seed) : m_random(seed) {}

    unsigned Below(unsigned end) { return static_cast<unsigned>(m_random() % end); }

    /// Up to `longest` characters of the alphabet in one of the code sets.
    template <std::size_t length, std::size_t sets>
    KoString Text(const char16_t (&alphabet)[length], unsigned longest,
                  const unsigned char (&codeSets)[sets], unsigned char language = 0)
    {
        std::u16string units(Below(longest + 1), u' ');
        for (char16_t& unit : units)
            unit = alphabet[Below(length - 1)];
        return InSome(units, codeSets, language);
    }

    /// Whatever makes comparing texts awkward, in any code set and language, null sometimes.
    KoString AnyText()
    {
        if (Below(60) == 0)
            return NullText();
        return Text(kAwkward, Below(4) == 0 ? 24 : 5, kAwkwardSets, Language());
    }

    /// A text like `text`: characters put in or replaced, by one that some word takes for the same
    /// more often than by any.
    KoString Like(const KoString& text)
    {
        std::u16string units = In16(text);
        for (unsigned changes = Below(3); changes > 0; --changes) {
            const unsigned at = Below(static_cast<unsigned>(units.size()) + 1);
            const char16_t unit = kAwkward[Below(std::size(kAwkward) - 1)];
            if (at < units.size() && Below(3) != 0)
                units[at] = Below(3) != 0 ? Twin(units[at]) : unit;
            else
                units.insert(at, 1, unit);
        }
        return InSome(units, kAwkwardSets, Below(2) == 0 ? text.Language() : Language());
    }

private:
    static constexpr char16_t kAwkward[] =
        u"aaAbBee\u00E9\u00C9ssS\u00DF\u00E6\u00C6 \t-.*?\\\u00A0\u00BD12\u00B2/\u0131\u0105"
        u"\u0430\u03B1\u4E2D\u516C\u00FD\u5000\uF600\uF601\uAC00\uFFFF\x7F\u0080";
    static constexpr unsigned char kAwkwardSets[] = {1, 2, 21, 32, 41, 253, 253, 230};

    /// A character of the same letter or kind, or the character itself.
    char16_t Twin(char16_t unit)
    {
        static constexpr std::u16string_view kAlike[] = {u"aA\u0105\u0104\u00E4", u"bB",
                                                         u"eE\u00E9\u00C9",       u"sS\u0161",
                                                         u"\u00E6\u00C6",         u"yY\u00FD\u00DD",
                                                         u"12\u00B2\u00B9",       u" \t\u00A0-./"};
        for (const std::u16string_view alike : kAlike) {
            if (alike.find(unit) != alike.npos)
                return alike[Below(static_cast<unsigned>(alike.size()))];
        }
        return unit;
    }

    unsigned char Language()
    {
        constexpr unsigned char kLanguages[] = {0, 0, 0, KoLANG_GERMAN, KoLANG_JAPANESE};
        return kLanguages[Below(std::size(kLanguages))];
    }

    static std::u16string In16(const KoString& text)
    {
        KoString wide(text);
        wide.MapToCodeSet(KoCS_UNICODE);
        return UnitsOf(wide);
    }

    /// In a code set that has all of the characters.
    template <std::size_t sets>
    KoString InSome(const std::u16string& units, const unsigned char (&codeSets)[sets],
                    unsigned char language)
    {
        KoString text(KoCS_UNICODE, language);
        text += KoString(reinterpret_cast<const unsigned short*>(units.c_str()),
                         static_cast<unsigned short>(units.size()));
        const unsigned char codeSet = codeSets[Below(sets)];
        KoString mapped;
        if (mapped.CopyMapped(text, std::max<unsigned char>(codeSet, KoCS_LATIN1), -1) != 0)
            return text;
        mapped.SetCodeSetCode(codeSet);
        return mapped;
    }

    std::mt19937 m_random;
};

#endif
