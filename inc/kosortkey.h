#ifndef KOSORTKEY_H
#define KOSORTKEY_H

#include "kobasic.h"

/// Sort keys as members of the classes of values. They are the functions of the type's extension
/// (kotypes.h) for the one value that they are called on, and give what KoTypeMgr gives for it.
///
/// `SortKey` is KoSortKeyFunc: it writes the first `room` bytes of the key and returns the length
/// of the whole one. A value that cannot have a key under `cmpOp` has the length 0.
///
/// `FromSortKey` is KoFromSortKeyFunc: the value becomes the one of the key, and the result is 0;
/// or the value stays, and the result is KoRC_NOT_SUPPORTED or KoRC_DAMAGED.
///
/// `api` marks the members of a class that is not exported as a whole.
#define KO_SORT_KEY_MEMBERS(api)                                                                   \
    api unsigned SortKey(void* key, unsigned room, unsigned short cmpOp) const;                    \
    api int FromSortKey(const void* key, unsigned length, unsigned short cmpOp)

#endif
