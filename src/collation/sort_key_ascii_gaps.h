#ifndef KO_COLLATION_SORT_KEY_ASCII_GAPS_H
#define KO_COLLATION_SORT_KEY_ASCII_GAPS_H

#include "collation/sort_key_gaps.h"
#include "collation/text.h"

#include <bit>
#include <iterator>

namespace ko
{

/// The end of keys of short texts in ASCII, whose skipped characters are a set of bits. All of it
/// is inline, and so compiled for the processors that its callers are for.
namespace sortkey
{

/// The elements of gaps, by character.
struct AsciiElements {
    unsigned char bytes[128];

    AsciiElements()
    {
        const o_u2b* const orders = KoLanguageContext::QueryCodeSet(KoCS_ASCII)->Orders();
        for (unsigned i = 0; i < std::size(bytes); ++i)
            bytes[i] = static_cast<unsigned char>(CodeOfElement(orders[i]) >> 8U);
    }
};

/// Writes the gaps, one for each run of ones in `skipped`, of which there are some.
[[gnu::always_inline]] inline unsigned char* PutGaps(unsigned char* at,
                                                     const unsigned char* characters, o_u8b skipped)
{
    static const AsciiElements s_elements;
    const unsigned char* const elements = s_elements.bytes;
    unsigned next = 0; // where the next gap begins if no empty one stands before it
    o_u8b begins = skipped & ~(skipped << 1U);
    o_u8b ends = ~skipped & (skipped << 1U); // without the last one where it is at the very end
    do {
        const auto begin = static_cast<unsigned>(std::countr_zero(begins));
        const auto behind = static_cast<unsigned>(std::countr_zero(ends));
        begins &= begins - 1;
        ends &= ends - 1;
        const unsigned char more = begins != 0 ? kMore : kLast;
        const unsigned empty = begin - next;
        next = behind + 1;
        const unsigned first = elements[characters[begin]] - 1U;
        if (empty > kMostEmpty) [[unlikely]] {
            const unsigned rank = kManyEmpty - empty;
            *at++ = kAfterMany;
            *at++ = static_cast<unsigned char>(rank >> 16U);
            *at++ = static_cast<unsigned char>(rank >> 8U);
            *at++ = static_cast<unsigned char>(rank);
        } else if (behind == begin + 1 && IsShortAlone(first)) {
            *at++ = LeadOf(empty, KindOfSingle(first) + more);
            continue;
        } else {
            *at++ = LeadOf(empty, KindOf(first));
        }
        *at++ = elements[characters[begin]];
        for (unsigned i = begin + 1; i < behind; ++i)
            *at++ = elements[characters[i]];
        *at++ = more;
    } while (begins != 0);
    return at;
}

/// Ends the codes, which go up to `at`; `skipped` is what the gaps are made of. Where they begin,
/// null where nothing but gaps tells the variant.
[[gnu::always_inline]] inline unsigned char* EndCodes(unsigned char* key, unsigned char* at,
                                                      bool ideographic, o_u8b skipped)
{
    if (at == key + (ideographic ? 1 : 0)) {
        if (ideographic && skipped != 0)
            return nullptr;
        at = key;
        *at++ = kGaps;
        if (skipped == 0)
            *at++ = kLast;
    } else {
        if (ideographic)
            *key = kIdeographic;
        *at++ = skipped == 0 ? kNoGaps : kGaps;
    }
    return at;
}

/// What follows the codes; the length of the key, 0 where EndCodes gives null.
[[gnu::always_inline]] inline unsigned Finish(unsigned char* key, unsigned char* at,
                                              bool ideographic, const unsigned char* characters,
                                              o_u8b skipped)
{
    at = EndCodes(key, at, ideographic, skipped);
    if (at == nullptr)
        return 0;
    return static_cast<unsigned>((skipped == 0 ? at : PutGaps(at, characters, skipped)) - key);
}

} // namespace sortkey

} // namespace ko

#endif
