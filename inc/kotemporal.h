#ifndef KOTEMPORAL_H
#define KOTEMPORAL_H

#include "kotypcmp.h"

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
/// AddSeconds(o_8b), AddSeconds(double) and AddNanoSeconds(o_8b).
template <class T>
class KoTotals
{
public:
    /// Zero and so much.
    void SetTotalDays(int n) { FromZero().AddDays(n); }
    void SetTotalSeconds(o_8b n) { FromZero().AddSeconds(n); }
    void SetTotalSeconds(int n) { SetTotalSeconds(o_8b{n}); }
    void SetTotalSeconds(long n) { SetTotalSeconds(static_cast<o_8b>(n)); }
    void SetTotalSeconds(double n) { FromZero().AddSeconds(n); }
    void SetTotalNanoSeconds(o_8b n) { FromZero().AddNanoSeconds(n); }

    void AddSeconds(int n) { Self().AddSeconds(o_8b{n}); }
    void AddSeconds(long n) { Self().AddSeconds(static_cast<o_8b>(n)); }
    void AddNanoSeconds(int n) { Self().AddNanoSeconds(o_8b{n}); }
    void AddNanoSeconds(long n) { Self().AddNanoSeconds(static_cast<o_8b>(n)); }

private:
    T& Self() { return static_cast<T&>(*this); }
    T& FromZero()
    {
        Self().SetZero();
        return Self();
    }
};

#endif
