#ifndef KOASCII_H
#define KOASCII_H

/// Characters of formats, numbers and keywords. These are ASCII in every code set that the library
/// reads them from, and what they are must not depend on the locale of the process, as the
/// functions of <cctype> do.

namespace ko
{

constexpr bool IsDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

/// The white space of the "C" locale.
constexpr bool IsSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool IsSign(char c) noexcept
{
    return c == '-' || c == '+';
}

constexpr char ToLower(char c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr char ToUpper(char c) noexcept
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool IsLetter(char c) noexcept
{
    return ToLower(c) >= 'a' && ToLower(c) <= 'z';
}

/// The value of a hexadecimal digit, or -1 for every other character.
constexpr int HexValue(char c) noexcept
{
    if (IsDigit(c))
        return c - '0';
    const char lower = ToLower(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr bool IsHexDigit(char c) noexcept
{
    return HexValue(c) >= 0;
}

} // namespace ko

#endif
