#include <kotypcmp.h>

#include "koscalarlist.h"

#define KO_SCALAR_COMPARE(descriptor, Type, Order, Text, TextOps)                                  \
    int Order##Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,     \
                       void* value2, unsigned short, unsigned count, int& status)                  \
    {                                                                                              \
        return CompareScalars<Type>(format, length1, value1, length2, value2, count, status);      \
    }

KO_SCALAR_LIST(KO_SCALAR_COMPARE, KO_SCALAR_NOTHING)
