#ifndef KOHASHWALK_H
#define KOHASHWALK_H

#include "kocmpwalk.h"
#include "kohasher.h"

/// Visits the elements of `size` bytes that a hash takes: those of `count` that are within the
/// bound. `status` becomes KoRC_TRUNCATED when the bound ended before the last of them, else 0.
template <class Visit>
void KoVisitHashed(unsigned length, const void* value, unsigned size, unsigned count, int& status,
                   Visit visit)
{
    const unsigned visited = KoElementsWithin(length, size, count);
    status = visited < count ? KoRC_TRUNCATED : KoRC_OK;
    const auto* element = static_cast<const unsigned char*>(value);
    for (unsigned i = 0; i < visited; ++i, element += size)
        visit(element);
}

/// Hash of `count` elements of `size` bytes, of each of which `add(hasher, element)` adds the
/// words. These must be the same for every form of the same value.
template <class Add>
o_u4b KoHashWalk(unsigned length, const void* value, unsigned size, unsigned count, int& status,
                 Add add)
{
    KoHasher hasher;
    KoVisitHashed(length, value, size, count, status,
                  [&](const unsigned char* element) { add(hasher, element); });
    return hasher.Get();
}

/// The hash of the types whose hashes were there before the others got theirs: the exclusive or of
/// `bitsOf(element)`, times 1103515245 modulo 2^32.
template <class BitsOf>
o_u4b KoOlderHashWalk(unsigned length, const void* value, unsigned size, unsigned count,
                      int& status, BitsOf bitsOf)
{
    o_u4b sum = 0;
    KoVisitHashed(length, value, size, count, status,
                  [&](const unsigned char* element) { sum ^= bitsOf(element); });
    return sum * 1103515245U;
}

#endif
