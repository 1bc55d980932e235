#ifndef KO_STRING_SEARCH_H
#define KO_STRING_SEARCH_H

#include "collation/orders.h"

namespace ko
{

/// KoString::Find where trying place by place has taken long: the first character from `start` on
/// at which the pattern is found; -1 for none, kUndecided when memory runs out. Neither text is
/// null nor has zeros, the pattern is not empty, and `cmpOp` is resolved.
int SearchString(const KoText& text, const KoText& pattern, unsigned start,
                 const CompareMode& mode);

} // namespace ko

#endif
