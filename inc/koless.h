#ifndef KOLESS_H
#define KOLESS_H

#include "_konulty.h"
#include "koblob.h"
#include "koboolean.h"
#include "koistring.h"
#include "koobjid.h"
#include "koodmg.h"
#include "koseal.h"
#include "kostring.h"
#include "kotimespan.h"
#include "kotypemgr.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <tuple>

/// Order, equality and hash of the classes of values for the standard library:
///
///     std::sort(names.begin(), names.end(), ko::Less());
///     std::map<KoString, int, ko::Less> byName(ko::Less{KoCMP_IGNORE_CASE});
///     std::unordered_map<KoDate, int, ko::HashOf, ko::Equal> byDate;
///
/// Each takes an operator word (KoCmpOp), KoCMP_PLAIN unless another is given. Wildcards are always
/// off: KoCMP_PLAIN is added to the word. KoCMP_DEFAULT is the default word at the moment when the
/// object is made. What the word ignores is equal, and hashes alike.
///
/// The order is that of sort keys (KoTypeMgr::SortKey), so it is a strict weak order of all values
/// of a class:
/// - KoString: by collation, null first. A text without a code set comes after all others, with
///   which it has no common order in Compare.
/// - KoIString, KoCaseIString: by their weights. Of the latter those for which accents count come
///   after the others.
/// - dates, times and spans, of ODMG too: by their fields, -1 being a number. Null is the smallest.
/// - KoObjId, KoClassId, KoRef, KoLocalRef, KoSeal: by number, then by origin, class and version
///   where == of the class looks at them.
/// - KoInt64, d_Interval: numbers; a NaN is below all others and equal to another.
/// - KoBoolean, KoBlob, KoNull: null first, false before true, bytes, numbers.
///
/// A std::unordered_map or std::unordered_set of these takes ko::HashOf with ko::Equal of the same
/// word. std::hash is there for them all and is ko::HashOf of KoCMP_PLAIN: what ko::Equal takes for
/// equal hashes alike. Beside it std::equal_to, which is the class's ==, serves for KoInt64,
/// KoBoolean, KoBlob, KoSeal, the identities, KoNull, KoIString, KoDate, KoTime, KoDateTime,
/// KoDateTimeN and KoTimeSpan: their == is the same equality. It does not for KoString (its ==
/// knows wildcards), KoCaseIString (accents of one side count for both) and d_Date, d_Time,
/// d_Timestamp and d_Interval (they compare days, or seconds, and no NaN equals another).
namespace ko
{

/// The id of a class's type, for the classes that have one. A program that adds a type to the
/// library says so of its class: `template <> inline constexpr o_char ko::TypeIdOf<KoVersion> =
/// KoVERSION_T;`
template <class T>
inline constexpr o_char TypeIdOf = -1;
#define KO_TYPE_ID_OF(type, id)                                                                    \
    template <>                                                                                    \
    inline constexpr o_char TypeIdOf<type> = id
KO_TYPE_ID_OF(KoString, KoSTRING_T);
KO_TYPE_ID_OF(KoIString, KoISTRING_T);
KO_TYPE_ID_OF(KoCaseIString, KoCASEISTRING_T);
KO_TYPE_ID_OF(KoDate, KoDATE_T);
KO_TYPE_ID_OF(KoTime, KoTIME_T);
KO_TYPE_ID_OF(KoDateTime, KoDATIME_T);
KO_TYPE_ID_OF(KoDateTimeN, KoDATIME_N_T);
KO_TYPE_ID_OF(KoTimeSpan, KoTIMESPAN_T);
KO_TYPE_ID_OF(d_Date, D_DATE_T);
KO_TYPE_ID_OF(d_Time, D_TIME_T);
KO_TYPE_ID_OF(d_Timestamp, D_TIMESTAMP_T);
KO_TYPE_ID_OF(d_Interval, D_INTERVAL_T);
KO_TYPE_ID_OF(KoInt64, KoINT64_T);
KO_TYPE_ID_OF(KoBoolean, KoBOOLEAN_T);
KO_TYPE_ID_OF(KoSeal, KoSEAL_T);
KO_TYPE_ID_OF(KoBlob, KoBLOB_T);
KO_TYPE_ID_OF(KoObjId, KoOBJID_T);
KO_TYPE_ID_OF(KoClassId, KoCLID_T);
KO_TYPE_ID_OF(KoRef, KoREF_T);
KO_TYPE_ID_OF(KoNull_char, KoNULL_1B_T);
KO_TYPE_ID_OF(KoNull_uchar, KoNULL_U1B_T);
KO_TYPE_ID_OF(KoNull_short, KoNULL_2B_T);
KO_TYPE_ID_OF(KoNull_ushort, KoNULL_U2B_T);
KO_TYPE_ID_OF(KoNull_int, KoNULL_INT_T);
KO_TYPE_ID_OF(KoNull_unsigned, KoNULL_UNSIGNED_T);
KO_TYPE_ID_OF(KoNull_float, KoNULL_FLOAT_T);
KO_TYPE_ID_OF(KoNull_double, KoNULL_DOUBLE_T);
KO_TYPE_ID_OF(KoNull_KoInt64, KoNULL_KOINT64_T);
KO_TYPE_ID_OF(KoNull_8b, KoNULL_8B_T);
KO_TYPE_ID_OF(KoNull_u8b, KoNULL_U8B_T);
#undef KO_TYPE_ID_OF

/// A class of values that is of a type.
template <class T>
concept TypedClass = (TypeIdOf<T> >= 0);
/// One of the native dates, times and spans.
template <class T>
concept TemporalClass = TypedClass<T> && std::derived_from<T, KoTemporal<T>>;
/// A class of values that is ordered here: KoLocalRef has no type.
template <class T>
concept OrderedClass = TypedClass<T> || std::same_as<T, KoLocalRef>;

/// What the functions below have in common: a word without wildcards.
class OperatorWord
{
public:
    constexpr explicit OperatorWord(unsigned short cmpOp = KoCMP_PLAIN)
        : m_cmpOp(static_cast<unsigned short>(
              (cmpOp == KoCMP_DEFAULT ? KoLanguageContext::GetDefaultCmpOp() : cmpOp) |
              KoCMP_PLAIN))
    {
    }
    constexpr unsigned short CmpOp() const { return m_cmpOp; }

    /// Negative, 0 or positive.
    int Relate(const KoString& a, const KoString& b) const
    {
        if (const int plain = IsWithoutCodeSet(a) - IsWithoutCodeSet(b); plain != 0)
            return plain;
        return a.Compare(b, KoString::kRest, m_cmpOp);
    }
    int Relate(const KoIString& a, const KoIString& b) const { return a.Compare(b); }
    int Relate(const KoCaseIString& a, const KoCaseIString& b) const
    {
        constexpr auto kFlag = KoIStringText::kAccents;
        const int accents = (a.Flag() & kFlag) - (b.Flag() & kFlag);
        return accents != 0 ? accents : a.Compare(b);
    }
    template <TemporalClass T>
    int Relate(const T& a, const T& b) const
    {
        return a.Compare(b, m_cmpOp);
    }
    int Relate(const d_Date& a, const d_Date& b) const { return ByType(d_DateCompare, a, b); }
    int Relate(const d_Time& a, const d_Time& b) const { return ByType(d_TimeCompare, a, b); }
    int Relate(const d_Timestamp& a, const d_Timestamp& b) const
    {
        return ByType(d_TimestampCompare, a, b);
    }
    int Relate(const d_Interval& a, const d_Interval& b) const
    {
        return Relate(KoNull_float::Of(a.Seconds()), KoNull_float::Of(b.Seconds()));
    }
    int Relate(const KoInt64& a, const KoInt64& b) const { return Sign(a.Get8b() <=> b.Get8b()); }
    int Relate(const KoBoolean& a, const KoBoolean& b) const { return (a > b) - (a < b); }
    int Relate(const KoSeal& a, const KoSeal& b) const { return a != b; }
    int Relate(const KoBlob& a, const KoBlob& b) const { return a != b; }
    int Relate(const KoObjId& a, const KoObjId& b) const { return Sign(a.Number() <=> b.Number()); }
    int Relate(const KoClassId& a, const KoClassId& b) const
    {
        return Sign(std::tie(a.classNo, a.version) <=> std::tie(b.classNo, b.version));
    }
    int Relate(const KoRef& a, const KoRef& b) const
    {
        return Sign(std::tuple(a.Number(), a.originId, a.classNo) <=>
                    std::tuple(b.Number(), b.originId, b.classNo));
    }
    int Relate(const KoLocalRef& a, const KoLocalRef& b) const
    {
        return Sign(std::tuple(a.Number(), a.classNo) <=> std::tuple(b.Number(), b.classNo));
    }
    template <class T>
    constexpr int Relate(const KoNull<T>& a, const KoNull<T>& b) const
    {
        return Sign(a <=> b);
    }

    /// Of a type that is added: its own comparison.
    template <TypedClass T>
    int Relate(const T& a, const T& b) const
    {
        return KoTypeMgr().Cmp(TypeIdOf<T>, &a, &b, m_cmpOp, 1, KoFMT_MEMORY);
    }

private:
    static int IsWithoutCodeSet(const KoString& text)
    {
        return text.CodeSet() == KoCS_NONE && !text.IsNullValue();
    }
    static constexpr int Sign(std::weak_ordering order)
    {
        return std::is_gt(order) - std::is_lt(order);
    }
    template <class T>
    int ByType(KoTypeCmp& compare, const T& a, const T& b) const
    {
        int status;
        T left = a, right = b; // operands of the older signature, which is not const
        return compare(KoFMT_MEMORY, 0, &left, 0, &right, m_cmpOp, 1, status);
    }

    unsigned short m_cmpOp;
};

/// Whether a value comes before another.
struct Less : OperatorWord {
    using OperatorWord::OperatorWord;
    template <OrderedClass T>
    bool operator()(const T& a, const T& b) const
    {
        return Relate(a, b) < 0;
    }
};

/// Whether neither of two values comes before the other.
struct Equal : OperatorWord {
    using OperatorWord::OperatorWord;
    template <OrderedClass T>
    bool operator()(const T& a, const T& b) const
    {
        return Relate(a, b) == 0;
    }
};

/// A hash that ko::Equal of the same word agrees with: KoTypeMgr::HashUnder. It is the same on
/// every machine, as long as the tables of texts are. A text whose key is longer than a kilobyte
/// takes memory for as long as it is hashed; where there is none and the memory handler returns the
/// hash is 0.
struct HashOf : OperatorWord {
    using OperatorWord::OperatorWord;
    template <TypedClass T>
    std::size_t operator()(const T& value) const
    {
        const o_u8b hash = KoTypeMgr().HashUnder(TypeIdOf<T>, &value, KoFMT_MEMORY, 1, CmpOp());
        return static_cast<std::size_t>(hash);
    }
    std::size_t operator()(const KoLocalRef& value) const
    {
        KoRef ref;
        ref = value;
        return (*this)(ref);
    }
};

} // namespace ko

/// See above for the equality that belongs to it.
template <ko::OrderedClass T>
struct std::hash<T> : ko::HashOf {
};

#endif
