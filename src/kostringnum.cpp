#include "kostringpiece.h"
#include "kostringtext.h"

#include <kotmsdll.h>

#include <algorithm>
#include <charconv>
#include <limits>

// Numbers to text and back.

namespace
{

/// The text of a number, in a buffer of its own.
class NumberText
{
public:
    template <class Number, class... Form>
    explicit NumberText(Number n, Form... form)
        : m_end(std::to_chars(m_text, m_text + sizeof m_text, n, form...).ptr)
    {
    }
    const char* Data() const { return m_text; }
    unsigned Count() const { return static_cast<unsigned>(m_end - m_text); }

private:
    char m_text[32];
    const char* m_end;
};

NumberText TextOf(double d)
{
    return NumberText(d, std::chars_format::general, 17);
}

bool IsBlank(unsigned c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The value of a digit of any base up to 16, or 16.
unsigned DigitOf(unsigned c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const unsigned lower = c | 0x20U;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : 16;
}

/// Reads as atol (base 10) or strtol (base 0) does.
template <class Number>
Number ReadInteger(const KoText& text, unsigned base)
{
    const auto at = [&text](unsigned i) { return i < text.units ? text.At(i) : 0; };
    unsigned i = 0;
    while (IsBlank(at(i)))
        ++i;
    const bool negative = at(i) == '-';
    if (negative || at(i) == '+')
        ++i;
    if (base == 0) {
        base = at(i) == '0' ? 8 : 10;
        if (base == 8 && (at(i + 1) | 0x20U) == 'x' && DigitOf(at(i + 2)) < 16) {
            base = 16;
            i += 2;
        }
    }
    const o_u8b limit =
        static_cast<o_u8b>(std::numeric_limits<Number>::max()) + (negative ? 1U : 0U);
    o_u8b value = 0;
    for (unsigned digit; (digit = DigitOf(at(i))) < base; ++i)
        value = value > (limit - digit) / base ? limit : value * base + digit;
    return static_cast<Number>(negative ? 0 - value : value);
}

unsigned OptionBase()
{
    return (___KoTypeMgrOptions() & 1) != 0 ? 10 : 0;
}

/// The checked forms: only a text that begins like a number counts.
template <class Number>
int ReadChecked(const KoString& string, Number& result, unsigned base)
{
    const KoText text = KoStringAccess::Get(string);
    const unsigned first = text.units == 0 ? 0 : text.At(0);
    result = 0;
    if (first != '-' && DigitOf(first) > 9)
        return -1;
    result = ReadInteger<Number>(text, base);
    return 0;
}

} // namespace

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
    const NumberText text = TextOf(d);
    return Digits(text.Data(), text.Count());
}

KoString::operator short() const
{
    return static_cast<short>(static_cast<int>(*this));
}

KoString::operator int() const
{
    return ReadInteger<int>(KoStringAccess::Get(*this), OptionBase());
}

KoString::operator o_8b() const
{
    return ReadInteger<o_8b>(KoStringAccess::Get(*this), OptionBase());
}

KoString::operator double() const
{
    const KoText text = KoStringAccess::Get(*this);
    unsigned i = 0;
    while (i < text.units && IsBlank(text.At(i)))
        ++i;
    char narrow[512];
    unsigned count = 0;
    for (; i < text.units && count < sizeof narrow && text.At(i) < 128; ++i)
        narrow[count++] = static_cast<char>(text.At(i));
    double value = 0;
    std::from_chars(narrow, narrow + count, value);
    return value;
}

int KoString::Atol(int& result) const
{
    return ReadChecked(*this, result, 10);
}

int KoString::Atoll(o_8b& result) const
{
    return ReadChecked(*this, result, 10);
}

int KoString::Strtol(int& result) const
{
    return ReadChecked(*this, result, 0);
}

int KoString::Strtoll(o_8b& result) const
{
    return ReadChecked(*this, result, 0);
}
