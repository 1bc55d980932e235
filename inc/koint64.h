#ifndef KOINT64_H
#define KOINT64_H

#include "kosortkey.h"
#include "kotypes.h"

/// A signed 64-bit integer held as two 32-bit halves, aligned to 4 bytes: the persistent type
/// KoINT64_T.
///
/// All arithmetic wraps modulo 2^64 and gives the same results on every machine. MIN below is the
/// smallest value, -2^63. Comparisons return the int 1 or 0.
class KoInt64
{
public:
    constexpr KoInt64() = default; ///< 0
    constexpr KoInt64(int n) : KoInt64(static_cast<o_8b>(n)) {}
    constexpr KoInt64(unsigned int n) : m_low(n) {}
    constexpr KoInt64(unsigned int low, int high) : m_low(low), m_high(high) {}
    constexpr KoInt64(long n) : KoInt64(static_cast<o_8b>(n)) {}
    constexpr KoInt64(unsigned long n) : KoInt64(static_cast<o_u8b>(n)) {}
    constexpr KoInt64(o_8b n) : KoInt64(static_cast<o_u8b>(n)) {}
    /// The bits as they are: 2^63 and above become negative.
    constexpr KoInt64(o_u8b n)
        : m_low(static_cast<o_u4b>(n)), m_high(static_cast<o_4b>(static_cast<o_u4b>(n >> 32)))
    {
    }
    /// The seven significant digits that "%E" prints, the fraction cut off: 123456789.0 becomes
    /// 123456800. Stored values depend on it. Above 2^63 - 1024 in magnitude the result is
    /// 2^63 - 1 with the sign of `d`; below 1 it is 0, and so it is for NaN.
    KOTMS_API KoInt64(double d);

    constexpr o_8b Get8b() const { return static_cast<o_8b>(GetU8b()); }
    // Compilers make one access, or a vector, of the joined halves; a bit cast hinders them.
    constexpr o_u8b GetU8b() const
    {
        return (static_cast<o_u8b>(static_cast<o_u4b>(m_high)) << 32) | m_low;
    }
    constexpr o_u4b Low() const { return m_low; }
    constexpr o_4b High() const { return m_high; }

    friend constexpr int operator==(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() == b.GetU8b();
    }
    friend constexpr int operator!=(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() != b.GetU8b();
    }
    friend constexpr int operator<(const KoInt64& a, const KoInt64& b)
    {
        return a.Get8b() < b.Get8b();
    }
    friend constexpr int operator<=(const KoInt64& a, const KoInt64& b)
    {
        return a.Get8b() <= b.Get8b();
    }
    friend constexpr int operator>(const KoInt64& a, const KoInt64& b)
    {
        return a.Get8b() > b.Get8b();
    }
    friend constexpr int operator>=(const KoInt64& a, const KoInt64& b)
    {
        return a.Get8b() >= b.Get8b();
    }

    friend constexpr KoInt64 operator+(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() + b.GetU8b();
    }
    friend constexpr KoInt64 operator-(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() - b.GetU8b();
    }
    friend constexpr KoInt64 operator*(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() * b.GetU8b();
    }
    /// Divides as Division does, also by 0.
    friend KoInt64 operator/(const KoInt64& a, const KoInt64& b) { return a.Division(b, 0); }
    friend KoInt64 operator%(const KoInt64& a, const KoInt64& b) { return a.Division(b, 1); }
    friend constexpr KoInt64 operator&(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() & b.GetU8b();
    }
    friend constexpr KoInt64 operator|(const KoInt64& a, const KoInt64& b)
    {
        return a.GetU8b() | b.GetU8b();
    }
    constexpr KoInt64 operator-() const { return 0 - GetU8b(); }
    constexpr KoInt64 operator~() const { return ~GetU8b(); }
    /// Any count; 64 and more give 0.
    constexpr KoInt64 operator<<(unsigned int n) const { return n < 64 ? GetU8b() << n : 0ULL; }
    /// Any count; the sign is kept, so 64 and more give 0 or -1.
    constexpr KoInt64 operator>>(unsigned int n) const { return Get8b() >> (n < 64 ? n : 63); }

    KoInt64& operator+=(const KoInt64& n) { return *this = *this + n; }
    KoInt64& operator-=(const KoInt64& n) { return *this = *this - n; }
    KoInt64& operator*=(const KoInt64& n) { return *this = *this * n; }
    KoInt64& operator/=(const KoInt64& n) { return *this = *this / n; }
    KoInt64& operator%=(const KoInt64& n) { return *this = *this % n; }
    KoInt64& operator<<=(unsigned int n) { return *this = *this << n; }
    KoInt64& operator>>=(unsigned int n) { return *this = *this >> n; }
    KoInt64& operator++() { return *this = GetU8b() + 1; }
    KoInt64& operator--() { return *this = GetU8b() - 1; }

    /// The magnitude; MIN stays MIN.
    constexpr KoInt64 Abs() const { return m_high < 0 ? -*this : *this; }

    /// The quotient, cut toward zero, or with `wantRemainder` not 0 the remainder, which takes the
    /// sign of the dividend. MIN / -1 is MIN, with remainder 0. A divisor of 0 is reported as the
    /// assertion "KoInt64 divide by zero" and gives 0.
    KOTMS_API KoInt64 Division(const KoInt64& divisor, int wantRemainder) const;

    /// Appends the number under `format`; null stands for "%S", decimal. See doc/text.md for the
    /// formats of numbers.
    KOTMS_API void PrintToKoString(KoString& text, const char* format) const;
    /// Reads the number leniently under `format` (null: "%S"); a text that holds none leaves the
    /// value as it is. Beyond 64 bits it is held to the limits.
    KOTMS_API void ScanFromKoString(const KoString& text, const char* format);

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    o_u4b m_low = 0;
    o_4b m_high = 0;
};

static_assert(sizeof(KoInt64) == 8 && alignof(KoInt64) == 4);

#if !defined(KO_NO_GLOBAL_NAMES)
/// Compares elements as the functions of kotypcmp.h do. The persistent form of an element is its
/// low half and then its high half, each 4 bytes in the byte order of the format.
KOTMS_API int Int64Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                           void* value2, unsigned short cmpOp, unsigned count, int& status);
#endif

#endif
