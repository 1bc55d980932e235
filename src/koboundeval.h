#ifndef KOBOUNDEVAL_H
#define KOBOUNDEVAL_H

#include "kobytes.h"

#include <kotypevl.h>

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>
#include <type_traits>

/// The evaluators of kotypevl.h, told for each type by an axis: how an element is read and which
/// number it counts as.
///
// clang-format off
///     struct Axis {
///         explicit Axis(unsigned char format);
///         unsigned Size() const;                   // bytes of an element in the format
///         Value Read(const unsigned char* element) const;
///         static double From(const Value&);        // the lowest and the highest number
///         static double To(const Value&);          // that it stands for: two with wildcards
///         static Value Lowest(), Highest();        // the values of an open end
///         static constexpr KoAxisKind kKind;
///     };
// clang-format on

enum class KoAxisKind {
    kPlain,
    kExact, ///< integers that a double cannot tell apart; has Order(Value, Value)
    kFloat,
    kDouble,
};

/// The bits of a query operator that an evaluator looks at.
inline constexpr unsigned kQueryMask = 0x800F;

/// The steps between the ends of an index that a condition selects. The value stands for the
/// numbers from `from` to `to`. NaN and infinity inside count as DBL_MAX.
double KoRangeCount(unsigned op, double from, double to, double low, double high);

/// A number that may be null. The number of a null one is what is stored with it.
struct KoNullPoint {
    double number;
    bool null;
};

/// KoRangeCount where the value and the ends may be null.
double KoNullRangeCount(unsigned op, KoNullPoint value, KoNullPoint low, KoNullPoint high);

/// Closes the ends of `newBounds` that are open and that the operator bounds, with copies of the
/// `size` bytes of the value.
void KoNarrowBounds(KoIdxBounds* newBounds, unsigned op, const void* value, unsigned size);

/// The numbers of an axis that are bad for arithmetic, as DBL_MAX.
inline double KoFiniteOrMax(double number)
{
    return std::isfinite(number) ? number : std::numeric_limits<double>::max();
}

/// An estimate as evaluators return it: in [0, 1], and everything where it is no number, which
/// infinite ends and values that are none lead to.
inline float KoShareOf(double estimate)
{
    return std::isnan(estimate) ? 1.0F : static_cast<float>(std::clamp(estimate, 0.0, 1.0));
}

template <class Axis>
float KoEvaluateBounds(const KoIdxBounds* bounds, unsigned short op, const void* value,
                       unsigned char format, unsigned count, KoIdxBounds* newBounds)
{
    if (count == 0)
        return 0.0F;
    constexpr bool isFloating =
        Axis::kKind == KoAxisKind::kFloat || Axis::kKind == KoAxisKind::kDouble;
    const Axis axis(format);
    const unsigned bits = op & kQueryMask;
    double estimate = 0.0;
    if (bounds != nullptr) {
        const auto read = [&axis](const void* at) {
            return axis.Read(static_cast<const unsigned char*>(at));
        };
        const auto key = read(value);
        const auto lowest = bounds->low != nullptr ? read(bounds->low) : Axis::Lowest();
        const auto highest = bounds->high != nullptr ? read(bounds->high) : Axis::Highest();
        const double low = Axis::From(lowest);
        const double high = Axis::To(highest);
        double total = KoRangeCount(bits, Axis::From(key), Axis::To(key), low, high);
        double width = high - low;
        if constexpr (Axis::kKind == KoAxisKind::kExact) {
            // Numbers that are the same as doubles can be different keys.
            if (total == 0.0 && ((bits & KoQOP_GREATER) != 0 || Axis::Order(lowest, key) <= 0) &&
                ((bits & KoQOP_LESS) != 0 || Axis::Order(key, highest) <= 0))
                total = 1.0;
        }
        if constexpr (Axis::kKind == KoAxisKind::kDouble) {
            total = KoFiniteOrMax(total);
            width = KoFiniteOrMax(width);
        }
        estimate = total / (width + 1.0);
        if constexpr (isFloating) {
            constexpr double kSmallest = std::numeric_limits<float>::epsilon();
            if (estimate != 0.0 && estimate < kSmallest)
                estimate = kSmallest;
        }
    }
    KoNarrowBounds(newBounds, bits, value, axis.Size() * count);
    return KoShareOf(estimate);
}

/// The axis of a type whose elements are numbers or classes that have Get8b: a ko::NumberType, or a
/// type with the same members.
template <class Type>
struct KoScalarAxis {
    using Value = typename Type::Value;
    static constexpr bool kIsNumber = std::is_arithmetic_v<Value>;
    static constexpr KoAxisKind kKind = std::same_as<Value, o_float>    ? KoAxisKind::kFloat
                                        : std::same_as<Value, o_double> ? KoAxisKind::kDouble
                                        : Type::kSize == 8              ? KoAxisKind::kExact
                                                                        : KoAxisKind::kPlain;

    explicit KoScalarAxis(unsigned char format) : swap(KoNeedsSwap(format)) {}

    static constexpr unsigned Size() { return Type::kSize; }
    Value Read(const unsigned char* element) const { return Type::Read(element, swap); }
    static double From(const Value& value)
    {
        if constexpr (kIsNumber)
            return static_cast<double>(value);
        else
            return static_cast<double>(value.Get8b());
    }
    static double To(const Value& value) { return From(value); }
    static int Order(const Value& a, const Value& b) { return Type::Order(a, b); }
    static Value Lowest() { return std::numeric_limits<Number>::lowest(); }
    static Value Highest() { return std::numeric_limits<Number>::max(); }

    bool swap;

private:
    using Number = std::conditional_t<kIsNumber, Value, o_8b>;
};

/// The axis of 48-bit numbers of objects: `Ops` has FormSize(format) and NumberAt(element, format).
template <class Ops>
struct KoNumberAxis {
    using Value = double;
    static constexpr KoAxisKind kKind = KoAxisKind::kPlain;

    explicit KoNumberAxis(unsigned char f) : format(f) {}

    unsigned Size() const { return Ops::FormSize(format); }
    double Read(const unsigned char* element) const
    {
        return static_cast<double>(Ops::NumberAt(element, format));
    }
    static double From(double number) { return number; }
    static double To(double number) { return number; }
    static double Lowest() { return 0.0; }
    static double Highest() { return 281474976710655.0; }

    unsigned char format;
};

#endif
