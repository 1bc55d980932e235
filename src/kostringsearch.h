#ifndef KOSTRINGSEARCH_H
#define KOSTRINGSEARCH_H

#include "kocollator.h"

/// KoString::Find where trying place by place has taken long: the first character from `start` on
/// at which the pattern is found; -1 for none, kUndecided when memory runs out. Neither text is
/// null nor has zeros, the pattern is not empty, and `cmpOp` is resolved.
int KoSearchString(const KoText& text, const KoText& pattern, unsigned start,
                   const KoCompareMode& mode);

#endif
