#include <koint64.h>

#include "konumstring.h"

#include <charconv>
#include <cmath>

namespace
{

constexpr o_8b kMax = 0x7FFFFFFFFFFFFFFF;
constexpr o_8b kMin = -kMax - 1;

/// The integer that the digits of "%E" spell: one digit, a point, six digits, the exponent.
o_8b FromExponentForm(double magnitude)
{
    char text[32];
    const char* end =
        std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific, 6).ptr;
    constexpr int kMark = 8;
    int exponent = 0;
    // At least 1, the magnitude has no negative exponent: the sign is a plus.
    std::from_chars(text + kMark + 2, end, exponent);
    o_8b value = text[0] - '0';
    for (int i = 2; i < kMark && exponent > 0; ++i, --exponent)
        value = value * 10 + (text[i] - '0');
    // At most 9.223372E+18, which is below 2^63.
    for (; exponent > 0; --exponent)
        value *= 10;
    return value;
}

} // namespace

KoInt64::KoInt64(double d)
{
    const double magnitude = std::fabs(d);
    o_8b value = 0;
    if (magnitude > 9223372036854774784.0)
        value = kMax;
    else if (magnitude >= 1.0)
        value = FromExponentForm(magnitude);
    *this = d < 0 ? -value : value;
}

KoInt64 KoInt64::Division(const KoInt64& divisor, int wantRemainder) const
{
    const o_8b a = Get8b();
    const o_8b b = divisor.Get8b();
    if (b == 0) {
        // Fixed text that programs look for; file and line are no place in these sources.
        KORA_assert("KoInt64 divide by zero", "src\\koint64", 748);
        return 0;
    }
    // The one quotient beyond the range, which the processor would trap.
    if (a == kMin && b == -1)
        return wantRemainder != 0 ? 0 : kMin;
    return wantRemainder != 0 ? a % b : a / b;
}

void KoInt64::PrintToKoString(KoString& text, const char* format) const
{
    KoAppendNumber(text, Get8b(), format);
}

void KoInt64::ScanFromKoString(const KoString& text, const char* format)
{
    o_8b value = Get8b();
    if (KoScanNumber(value, text, format))
        *this = value;
}
