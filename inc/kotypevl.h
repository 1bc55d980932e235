#ifndef KOTYPEVL_H
#define KOTYPEVL_H

#include "kobasic.h"

/// Index bound evaluation: what KoTypeMgr::EvalAndBound is given and what it answers.
///
/// For a condition "key OP value" and an index whose keys lie between two bounds it estimates the
/// share of the index that the condition selects, and narrows the key range to scan.
///
///     KoIdxBounds keys{&lowest, &highest, 0, 0}, narrowed{};
///     unsigned short op = KoQOP_LESS;
///     float share = manager.EvalAndBound(Ko4B_T, &keys, op, &value, KoFMT_MEMORY, 1, &narrowed,
///                                        nullptr);
///     // ... scan from narrowed.low (open where null) to narrowed.high
///     KoFree(narrowed.low);
///     KoFree(narrowed.high);

/// The operator word of a condition, bits that combine: 3 is less or equal, 6 unequal, 7 any key.
/// It is not the operator word of comparisons. Bits of 0x800F that are not listed mean nothing;
/// the strings alone look at bits beyond them (below).
enum KoQueryOp : unsigned short {
    KoQOP_EQUAL = 0x0001,
    KoQOP_LESS = 0x0002,
    KoQOP_GREATER = 0x0004,
};
template <>
inline constexpr bool koIsBits<KoQueryOp> = true;

/// Two ends of a key range, both inside it. A null end is open.
///
/// Values stand in the form that the format byte of the call names, as the condition's value does,
/// and need no alignment. In `newBounds` the evaluator allocates a copy of the value for each end
/// that it narrows: the caller owns it and releases it with KoFree.
struct KoIdxBounds {
    void* low;
    void* high;
    o_u1b lowLen;  ///< bytes of the copy that was allocated for `low`, modulo 256
    o_u1b highLen; ///< the same for `high`
};

/// The rules of every evaluator (the slot `evalAndBound`, KoEvalFunc):
///
/// Estimate. The key steps of the index range that the condition selects, divided by all of them.
/// A step is 1: for numbers of every kind, for days (KoDate, d_Date), for seconds (all other dates
/// and times), for object numbers (KoObjId, KoRef). An end of `bounds` that is open stands for the
/// smallest or largest value of the type. Without `bounds` the estimate is 0. The keys between the
/// ends are taken to be spread evenly. Every estimate lies in [0, 1]: a count beyond the index is
/// cut to it, and what infinite or missing numbers leave without a result is everything, 1. A range
/// whose high end is below its low end gives no useful number.
///
// clang-format off
/// | type                          | estimate                                                  |
/// |-------------------------------|-----------------------------------------------------------|
/// | numbers, dates and times,     | as above                                                  |
/// | KoObjId, KoRef, KoSeal        |                                                           |
/// | o_8b, o_u8b, KoInt64          | as above, and at least one step where the key can exist   |
/// | o_float, o_double, d_Interval | as above; what is not 0 is at least 2^-23                 |
/// | null-capable scalars          | null comes first; a null end stands for a part of a step: |
/// |                               | 0.5 of the keys beyond it, 0.1 of those equal to a value, |
/// |                               | 0.001 of those equal to null                              |
/// | texts                         | as below                                                  |
/// | KoBoolean                     | 1/3                                                       |
/// | KoClassId, KoBlob             | 1, with or without `bounds`; `newBounds` stays as it is   |
/// | the reserved type             | 0; `newBounds` stays as it is                             |
// clang-format on
///
/// Texts count as if they were spread evenly by their letters and digits. A pattern is the range of
/// its literal prefix, by no more than its first two letters after what all keys share, and a plain
/// text that of two; all letters count where the text and both ends have one length and a common
/// beginning or digits. No text has more than a prefix of it. Unequal to what takes everything by
/// this is one half: case, symbols and the like do not count.
///
/// Narrowing. Where the condition excludes smaller keys (KoQOP_LESS is not set) the low end becomes
/// a copy of the value, where it excludes larger ones the high end; ends of `newBounds` that are
/// set are left alone, and a null `newBounds` asks for the estimate only. The copy has all `count`
/// elements. The value itself stays inside for conditions that exclude it. When memory runs out and
/// the memory handler returns, the end stays open.
///
/// Dates and times: a field of -1 in the value stands for all values of the field. An index has to
/// be scanned under the same comparison operator that the condition is tested with; then no match
/// lies outside the narrowed range, as long as no field after a field of -1 holds another value.
///
/// KoString: the operator word has room for options of the comparison (KoCMP_PLAIN to
/// KoCMP_SKIP_SYMBOLS of KoCmpOp); without any the default operator of comparisons holds. With
/// wildcards on the value is a pattern. The index has to be ordered under KoCMP_PLAIN with all
/// distinctions, and either all of its texts have a code set or none. The narrowed range then holds
/// every text that meets the condition under the options. A pattern with KoQOP_EQUAL alone narrows
/// to its literal prefix; one that begins with a wildcard, or means an order, to nothing. The ends
/// are stored strings of at most 254 bytes, also where `format` is KoFMT_MEMORY (then in
/// KoFMT_LITTLE), and of a count of 1; longer arrays are not narrowed.
///
/// KoIString, KoCaseIString: their comparisons know no wildcards. With wildcards on in the options,
/// as above, a condition that has KoQOP_EQUAL is narrowed to what begins with the text before the
/// first asterisk, question mark or backslash: that holds the text itself, and whatever a caller
/// finds that matches patterns by itself. KoCMP_PLAIN narrows to the text itself. Ends may be keys
/// of weights. Where the value has the flag kAccents and the keys do not, KoQOP_EQUAL alone
/// narrows. The ends are stored, of at most 254 bytes and of a count of 1, as for KoString.

#endif
