#include <kotyphash.h>

#include "koscalarlist.h"

namespace
{

template <class Type>
unsigned HashOf(unsigned char format, unsigned length, const void* value, unsigned count,
                int& status)
{
    return HashScalars<Type>(format, length, value, count, status);
}

// Signed bytes keep the hash that they had before the others got theirs.
template <>
unsigned HashOf<CharType>(unsigned char, unsigned length, const void* value, unsigned count,
                          int& status)
{
    return KoOlderHashWalk(length, value, 1, count, status, [](const unsigned char* element) {
        return static_cast<o_u4b>(o_4b{static_cast<o_1b>(*element)});
    });
}

} // namespace

#define KO_SCALAR_HASH(descriptor, Type, Order, Text, TextOps)                                     \
    unsigned Order##Hash(unsigned char format, unsigned length, void* value, unsigned count,       \
                         int& status)                                                              \
    {                                                                                              \
        return HashOf<Type>(format, length, value, count, status);                                 \
    }

KO_SCALAR_LIST(KO_SCALAR_HASH, KO_SCALAR_NOTHING)
