#include "collation/text.h"
#include "number/string_number.h"
#include "string/piece.h"

#include <kotmsdll.h>

#include <charconv>

// Numbers to text and back.

namespace ko
{

namespace
{

/// The text of a number, in a buffer of its own.
class NumberText
{
public:
    template <class Number>
    explicit NumberText(Number n) : m_end(std::to_chars(m_text, m_text + sizeof m_text, n).ptr)
    {
    }
    explicit NumberText(double d) : m_end(m_text + PrintNumber(m_text, sizeof m_text, "%.17g", d))
    {
    }
    const char* Data() const { return m_text; }
    unsigned Count() const { return static_cast<unsigned>(m_end - m_text); }

private:
    char m_text[32];
    const char* m_end;
};

/// Reads as atol (decimal) or as strtol with base 0 does.
template <class Number>
Number ReadInteger(const KoString& text, bool decimal)
{
    Number value = 0;
    ScanNumber(value, text, decimal ? "%d" : "%i");
    return value;
}

bool DecimalOnly()
{
    return (___KoTypeMgrOptions() & 1) != 0;
}

/// The checked forms: only a text that begins like a number counts.
template <class Number>
int ReadChecked(const KoString& text, Number& result, bool decimal)
{
    result = 0;
    const unsigned first = text.IsEmpty() ? 0 : StringAccess::Get(text).At(0);
    if (first != '-' && (first < '0' || first > '9'))
        return -1;
    result = ReadInteger<Number>(text, decimal);
    return KoRC_OK;
}

} // namespace

} // namespace ko

using namespace ko;

KoString& KoString::Digits(const char* text, unsigned count)
{
    return Append({text, count, GetDefault8CodeSet()});
}

KoString::KoString(short n) : KoString(int{n})
{
}

KoString::KoString(int n) : KoString(GetDefault8CodeSet(), GetDefaultLanguage())
{
    *this << n;
}

KoString::KoString(unsigned int n) : KoString(static_cast<int>(n))
{
}

KoString::KoString(o_8b n) : KoString(GetDefault8CodeSet(), GetDefaultLanguage())
{
    *this << n;
}

KoString::KoString(o_u8b n) : KoString(GetDefault8CodeSet(), GetDefaultLanguage())
{
    *this << n;
}

KoString::KoString(double d) : KoString(GetDefault8CodeSet(), GetDefaultLanguage())
{
    *this << d;
}

KoString& KoString::operator<<(unsigned short c)
{
    if (Width() == 1)
        return *this << int{c};
    return Append(Piece::Of(c, 1, GetDefault16CodeSet()));
}

KoString& KoString::operator<<(short n)
{
    return *this << int{n};
}

KoString& KoString::operator<<(int n)
{
    const NumberText text(n);
    return Digits(text.Data(), text.Count());
}

KoString& KoString::operator<<(unsigned int n)
{
    return *this << static_cast<int>(n);
}

KoString& KoString::operator<<(o_8b n)
{
    const NumberText text(n);
    return Digits(text.Data(), text.Count());
}

KoString& KoString::operator<<(o_u8b n)
{
    const NumberText text(n);
    return Digits(text.Data(), text.Count());
}

KoString& KoString::operator<<(double d)
{
    const NumberText text(d);
    return Digits(text.Data(), text.Count());
}

KoString::operator short() const
{
    return static_cast<short>(static_cast<int>(*this));
}

KoString::operator int() const
{
    return ReadInteger<int>(*this, DecimalOnly());
}

KoString::operator o_8b() const
{
    return ReadInteger<o_8b>(*this, DecimalOnly());
}

KoString::operator double() const
{
    double value = 0;
    ScanNumber(value, *this, "%.17g");
    return value;
}

int KoString::Atol(int& result) const
{
    return ReadChecked(*this, result, true);
}

int KoString::Atoll(o_8b& result) const
{
    return ReadChecked(*this, result, true);
}

int KoString::Strtol(int& result) const
{
    return ReadChecked(*this, result, false);
}

int KoString::Strtoll(o_8b& result) const
{
    return ReadChecked(*this, result, false);
}
