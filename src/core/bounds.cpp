#include "core/bounds.h"

#include <cstring>

#include <kobase.h>

namespace ko
{

namespace
{

constexpr double kStep = 1.0;

// The shares of null keys are not known. These are fixed guesses, in steps.
constexpr double kBeyondNull = 0.5;
constexpr double kEqualBesideNull = 0.1;
constexpr double kEqualNull = 0.001;

double Positive(double distance)
{
    return distance > 0.0 ? distance : 0.0;
}

/// Keys above `to`. Below the low end every key counts, the low end too.
double CountGreater(double to, double low, double high)
{
    return Positive(FiniteOrMax(high - (low > to ? low - kStep : to)));
}

double CountLess(double from, double low, double high)
{
    return Positive(FiniteOrMax((from > high ? high + kStep : from) - low));
}

// A NaN fails both tests, and so leaves the range as it is.
double Overlap(double from, double to, double low, double high)
{
    return (to <= high ? to : high) - (from >= low ? from : low);
}

} // namespace

double RangeCount(unsigned op, double from, double to, double low, double high)
{
    double total = 0.0;
    if ((op & KoQOP_GREATER) != 0)
        total += CountGreater(to, low, high);
    if ((op & KoQOP_LESS) != 0)
        total += CountLess(from, low, high);
    if ((op & KoQOP_EQUAL) != 0)
        total += Positive(FiniteOrMax(Overlap(from, to, low, high)) + kStep);
    return total;
}

double NullRangeCount(unsigned op, NullPoint value, NullPoint low, NullPoint high)
{
    double total = 0.0;
    if ((op & KoQOP_GREATER) != 0 && !high.null)
        total += value.null || low.null ? kBeyondNull
                                        : CountGreater(value.number, low.number, high.number);
    if ((op & KoQOP_LESS) != 0 && !value.null && !high.null)
        total += low.null ? kBeyondNull : CountLess(value.number, low.number, high.number);
    if ((op & KoQOP_EQUAL) != 0) {
        if (value.null)
            total += low.null ? kEqualNull : 0.0;
        else if (low.null)
            total += high.null ? 0.0 : kEqualBesideNull;
        else if (!high.null)
            total += Positive(Overlap(value.number, value.number, low.number, high.number) + kStep);
    }
    return total;
}

void NarrowBounds(KoIdxBounds* newBounds, unsigned op, const void* value, unsigned size)
{
    if (newBounds == nullptr)
        return;
    const auto narrow = [=](void*& end, o_u1b& length) {
        void* copy = KoAlloc(size);
        if (copy == nullptr) {
            KoCallMemoryHandler(size);
            return;
        }
        std::memcpy(copy, value, size);
        end = copy;
        length = static_cast<o_u1b>(size);
    };
    if (newBounds->low == nullptr && (op & KoQOP_LESS) == 0)
        narrow(newBounds->low, newBounds->lowLen);
    if (newBounds->high == nullptr && (op & KoQOP_GREATER) == 0)
        narrow(newBounds->high, newBounds->highLen);
}

} // namespace ko
