#ifndef KOTEMPORAL_H
#define KOTEMPORAL_H

#include "kotypcmp.h"

#include <concepts>
#include <limits>
#include <utility>

/// What the classes of dates and times have in common.
///
/// Values are small signed fields. Nothing in an object enforces that they make a date or a time:
/// arithmetic carries invalid fields through, and every field wraps at its width. No operation
/// reports an error unless it says so.

/// Asks Compare for the plain order of all fields: bit 4 switches wildcards off.
inline constexpr unsigned short kKoCmpStrict = 0xFFFF;
inline constexpr unsigned short kKoCmpStrictBit = 0x10;

/// The order of one field: the difference `a` - `b`, or 0 where wildcards count (`strict` false)
/// and either is -1.
constexpr int KoCompareField(int a, int b, bool strict) noexcept
{
    return !strict && (a == -1 || b == -1) ? 0 : a - b;
}

/// Special values and relational operators of a class `T` over its Compare and its constants. The
/// operators compare strictly; != gives the result of Compare, whose sign is the order.
template <class T>
class KoTemporal
{
public:
    int IsNullValue() const { return Self() == T::NullValue(); }
    int IsDefaultValue() const { return Self() == T::DefaultValue(); }
    int IsZeroValue() const { return Self() == T::ZeroValue(); }
    /// These return 0.
    int SetNullValue() { return Set(T::NullValue()); }
    int SetDefaultValue() { return Set(T::DefaultValue()); }
    int SetZeroValue() { return Set(T::ZeroValue()); }

    friend bool operator==(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict) == 0; }
    friend int operator!=(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict); }
    friend bool operator<(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict) < 0; }
    friend bool operator>(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict) > 0; }
    friend bool operator<=(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict) <= 0; }
    friend bool operator>=(const T& a, const T& b) { return a.Compare(b, kKoCmpStrict) >= 0; }

private:
    const T& Self() const { return static_cast<const T&>(*this); }
    int Set(const T& value)
    {
        static_cast<T&>(*this) = value;
        return 0;
    }
};

/// Totals of a class `T` and counts of other widths, over its SetZero, AddDays(int),
/// AddSeconds(o_8b), AddSeconds(double) and AddNanoSeconds(o_8b). A count of 2^63 and more stops at
/// 2^63 - 1.
template <class T>
class KoTotals
{
public:
    /// Zero and so much.
    void SetTotalDays(int n) { FromZero().AddDays(n); }
    void SetTotalSeconds(o_8b n) { FromZero().AddSeconds(n); }
    template <std::integral N>
    void SetTotalSeconds(N n)
    {
        SetTotalSeconds(Count(n));
    }
    void SetTotalSeconds(double n) { FromZero().AddSeconds(n); }
    void SetTotalNanoSeconds(o_8b n) { FromZero().AddNanoSeconds(n); }

    template <std::integral N>
    void AddSeconds(N n)
    {
        Self().AddSeconds(Count(n));
    }
    template <std::integral N>
    void AddNanoSeconds(N n)
    {
        Self().AddNanoSeconds(Count(n));
    }

private:
    template <class N>
    static constexpr o_8b Count(N n)
    {
        return std::in_range<o_8b>(+n) ? static_cast<o_8b>(n) : std::numeric_limits<o_8b>::max();
    }
    T& Self() { return static_cast<T&>(*this); }
    T& FromZero()
    {
        Self().SetZero();
        return Self();
    }
};

#endif
