#ifndef KOBOOLEAN_H
#define KOBOOLEAN_H

#include "kobeside.h"
#include "kosortkey.h"
#include "kotypcmp.h"

#include <type_traits>

/// How KoBeside reads a number beside a KoBoolean.
struct KoBesideAsTruth {
    template <class, class T>
    static constexpr bool kTakes = std::is_arithmetic_v<T>;

    template <class Self, class T>
    static constexpr int Order(const Self& value, const T& truth)
    {
        return value.Rank() - Self(truth != T(0)).Rank();
    }
    static constexpr int Unequal(int order) { return order != 0; }
};

/// False, true or null, in one byte: the persistent type KoBOOLEAN_T.
///
/// Null comes before false and false before true. Comparisons of two, and with an int on the right,
/// return the int 1 or 0. Any number on either side counts as true unless it is 0, and a null value
/// equals none. Objects and stored values hold 0, 1 or 0xFF; another byte, which only foreign data
/// can hold, counts as true.
class KoBoolean : public KoBeside<KoBoolean, KoBesideAsTruth>
{
public:
    constexpr KoBoolean(int truth = 0) : m_byte(truth != 0 ? 1 : 0) {}

    constexpr int IsNullValue() const { return m_byte == kNull; }
    constexpr int SetNullValue() ///< returns 0
    {
        m_byte = kNull;
        return KoRC_OK;
    }
    constexpr int IsTrue() const { return m_byte != 0 && m_byte != kNull; }

    constexpr int operator==(const KoBoolean& other) const { return Rank() == other.Rank(); }
    constexpr int operator!=(const KoBoolean& other) const { return Rank() != other.Rank(); }
    constexpr int operator<(const KoBoolean& other) const { return Rank() < other.Rank(); }
    constexpr int operator>(const KoBoolean& other) const { return Rank() > other.Rank(); }
    constexpr int operator<=(const KoBoolean& other) const { return Rank() <= other.Rank(); }
    constexpr int operator>=(const KoBoolean& other) const { return Rank() >= other.Rank(); }
    constexpr int operator==(int truth) const { return *this == KoBoolean(truth); }
    constexpr int operator!=(int truth) const { return *this != KoBoolean(truth); }
    constexpr int operator<(int truth) const { return *this < KoBoolean(truth); }
    constexpr int operator>(int truth) const { return *this > KoBoolean(truth); }
    // The reverse of the two above is none, since they return int.
    friend constexpr int operator==(int truth, const KoBoolean& b) { return b == truth; }
    friend constexpr int operator!=(int truth, const KoBoolean& b) { return b != truth; }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    friend struct KoBesideAsTruth;

    static constexpr o_u1b kNull = 0xFF;

    constexpr int Rank() const { return m_byte == kNull ? 0 : 1 + IsTrue(); }

    o_u1b m_byte;
};

static_assert(sizeof(KoBoolean) == 1);

#if !defined(KO_NO_GLOBAL_NAMES)
/// Compares elements as the functions of kotypcmp.h do: -1, 0 or 1. All forms are the same byte.
KOTMS_API KoTypeCmp BooleanCompare;
#endif

#endif
