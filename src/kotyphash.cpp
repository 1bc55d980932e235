#include <kotyphash.h>

#include "koscalarlist.h"

#define KO_SCALAR_HASH(descriptor, Type, Order, Text, TextOps)                                     \
    unsigned Order##Hash(unsigned char format, unsigned length, void* value, unsigned count,       \
                         int& status)                                                              \
    {                                                                                              \
        return HashScalars<Type>(format, length, value, count, status);                            \
    }

KO_SCALAR_LIST(KO_SCALAR_HASH, KO_SCALAR_NOTHING)
