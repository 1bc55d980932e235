#ifndef KOSTRINGEVAL_H
#define KOSTRINGEVAL_H

#include "kocollator.h"
#include "kostringrecord.h"

#include <kotypevl.h>

/// Bound evaluation of texts.

/// The options of a comparison in the operator word of a condition. None of them stands for those
/// of the default operator.
o_u2b KoTextOptions(o_u2b op);

/// The text of a condition as the orders that a key has to have, up to the first wildcard.
struct KoConditionText {
    /// More than a narrowed bound has room for.
    static constexpr unsigned kMaxOrders = 160;

    KoConditionText(const KoText& text, o_u2b options);

    /// The order takes part in a comparison at the first level.
    static bool IsPrimary(o_u2b order) { return KoClassOfOrder(order) >= KoORDER_DIGIT; }

    o_u2b orders[kMaxOrders];
    unsigned count = 0;
    bool isNull = false;
    bool isPattern = false; ///< a wildcard stands after the orders
    bool isWhole = true;    ///< the orders are all there are
    bool isPlain = true;    ///< the orders are those of the text as it stands: no escapes
    unsigned char variant = 0;
    unsigned char language = 0;
};

inline constexpr unsigned kMaxBound = 254; ///< bytes of a narrowed end, as of a cut key
inline constexpr unsigned kMaxText =
    kMaxBound - kRecordHead - static_cast<unsigned>(sizeof kRecordEnd);

enum class KoTextSide { kLow, kHigh };

/// Writes the stored text, of at most kMaxBound bytes, that is below or above all texts that equal
/// the condition's, or begin with it where it is a pattern. Returns its bytes; 0 where there is
/// none.
unsigned KoMakeTextEnd(unsigned char* record, unsigned char format,
                       const KoConditionText& condition, const KoCompareMode& mode,
                       KoTextSide side);

/// Narrows one end to a stored text; the other is left alone.
void KoNarrowTextEnd(KoIdxBounds& newBounds, unsigned bits, KoTextSide side, const void* record,
                     unsigned actualLen);

/// Narrows an index that is ordered under KoCMP_PLAIN with all distinctions to the texts that meet
/// the condition.
void KoNarrowTexts(KoIdxBounds* newBounds, const KoIdxBounds* bounds, unsigned bits, o_u2b options,
                   const KoText& text, const KoConditionText& condition, const void* value,
                   unsigned char format, bool cutIsOlder);

/// The evaluator of the string types.
float KoEvaluateTexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                      unsigned char format, unsigned count, KoIdxBounds* newBounds,
                      bool cutIsOlder);

#endif
