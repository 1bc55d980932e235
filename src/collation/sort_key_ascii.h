#ifndef KO_COLLATION_SORT_KEY_ASCII_H
#define KO_COLLATION_SORT_KEY_ASCII_H

#include "collation/sort_key_ways.h"
#include "collation/text.h"

namespace ko
{

/// Sort keys of short texts in ASCII, many characters at a time.
namespace sortkey
{

/// Longer texts are written another way.
inline constexpr unsigned kMostAscii = 64;
/// Room for the key of such a text: a skipped character takes three bytes at most, and what is
/// written at a time may go beyond the codes.
constexpr unsigned AsciiRoom(unsigned characters)
{
    return 3 * characters + 18;
}

/// Writes the key of a text with at most kMostAscii characters and returns its length. 0, with
/// anything in `key`, where it has characters other than ASCII, where nothing but gaps tells the
/// ideographic variant, and by SortKeyWay::kPlain. With `gaps` false what is skipped does not
/// count. `form` is that of FormOf; `key` has AsciiRoom bytes, of which those behind the key may be
/// overwritten as well. `way` is no better than BestWay().
unsigned WriteAscii(const KoText& text, unsigned form, bool gaps, TextMemory memory,
                    unsigned char* key, SortKeyWay way);

/// The best way of this processor.
SortKeyWay BestWay();

} // namespace sortkey

} // namespace ko

#endif
