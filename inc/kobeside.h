#ifndef KOBESIDE_H
#define KOBESIDE_H

#include <koscalar.h>

#include <concepts>
#include <type_traits>
#include <utility>

class KoChar;

/// Operators between a class and what stands beside its values in expressions: literals, characters
/// and numbers. Without them such an expression is ambiguous wherever the class converts both ways.

/// How KoBeside reads an operand of the type `T` that becomes a value of the class `Self`: whatever
/// a constructor takes, but for other classes and for bool.
struct KoBesideAsValue {
    template <class Self, class T>
    static constexpr bool kTakes =
        !std::is_same_v<T, bool> && !std::is_same_v<T, Self> &&
        (!std::is_class_v<T> || std::is_same_v<T, KoChar>)&&std::is_constructible_v<Self, const T&>;

    template <class Self, class T>
    static int Order(const Self& value, const T& operand)
    {
        return value != Self(operand);
    }
    static constexpr int Unequal(int order) { return order; }
};

/// The same of an integer beside a class that converts to int: the numbers are compared, whatever
/// their widths and signs are.
struct KoBesideAsCount {
    template <class Self, class T>
    static constexpr bool kTakes = std::integral<T>;

    template <class Self, class T>
    static constexpr int Order(const Self& value, const T& operand)
    {
        const auto number = +operand; // no character and no truth value, which cannot be compared
        const auto count = static_cast<int>(value);
        return std::cmp_less(number, count) - std::cmp_less(count, number);
    }
    static constexpr int Unequal(int order) { return order; }
};

template <class T, class Self, class How>
concept KoBesideOperand = How::template kTakes<Self, T>;

/// The comparisons of `Self`, a base of it, with such operands on either side. Both orders ask the
/// same question: `operand < value` is `value > operand`. What != gives is what it gives between
/// values of the class: the order of the left side to the right one, or that they differ.
template <class Self, class How>
class KoBeside
{
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator==(const Self& a, const T& b)
    {
        return How::Order(a, b) == 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator==(const T& a, const Self& b)
    {
        return How::Order(b, a) == 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr int operator!=(const Self& a, const T& b)
    {
        return How::Unequal(How::Order(a, b));
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr int operator!=(const T& a, const Self& b)
    {
        return How::Unequal(-How::Order(b, a));
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator<(const Self& a, const T& b)
    {
        return How::Order(a, b) < 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator<(const T& a, const Self& b)
    {
        return How::Order(b, a) > 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator>(const Self& a, const T& b)
    {
        return How::Order(a, b) > 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator>(const T& a, const Self& b)
    {
        return How::Order(b, a) < 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator<=(const Self& a, const T& b)
    {
        return How::Order(a, b) <= 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator<=(const T& a, const Self& b)
    {
        return How::Order(b, a) >= 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator>=(const Self& a, const T& b)
    {
        return How::Order(a, b) >= 0;
    }
    template <KoBesideOperand<Self, How> T>
    friend constexpr bool operator>=(const T& a, const Self& b)
    {
        return How::Order(b, a) <= 0;
    }
};

/// These, and + for texts: the operand becomes a text and is joined.
template <class Self>
class KoTextBeside : public KoBeside<Self, KoBesideAsValue>
{
    template <KoBesideOperand<Self, KoBesideAsValue> T>
    friend Self operator+(const Self& a, const T& b)
    {
        return a + Self(b);
    }
    template <KoBesideOperand<Self, KoBesideAsValue> T>
    friend Self operator+(const T& a, const Self& b)
    {
        return Self(a) + b;
    }
};

/// These, and + and - for counts of other widths, of which the low 32 bits count.
template <class Self>
class KoCountBeside : public KoBeside<Self, KoBesideAsCount>
{
    template <std::integral T>
    friend Self operator+(const Self& a, T n)
    {
        return a + static_cast<int>(n);
    }
    template <std::integral T>
    friend Self operator-(const Self& a, T n)
    {
        return a - static_cast<int>(n);
    }
};

#endif
