#include <kotypcmp.h>

#include "koscalartype.h"

#define KO_SCALAR_COMPARE(function, Type)                                                          \
    int function(unsigned char format, unsigned length1, void* value1, unsigned length2,           \
                 void* value2, unsigned short, unsigned count, int& status)                        \
    {                                                                                              \
        return CompareScalars<Type>(format, length1, value1, length2, value2, count, status);      \
    }

KO_SCALAR_COMPARE(CharCompare, CharType)
KO_SCALAR_COMPARE(ByteCompare, ByteType)
KO_SCALAR_COMPARE(ShortCompare, ShortType)
KO_SCALAR_COMPARE(WordCompare, WordType)
KO_SCALAR_COMPARE(IntCompare, IntType)
KO_SCALAR_COMPARE(UnsignedCompare, UnsignedType)
KO_SCALAR_COMPARE(LongCompare, LongType)
KO_SCALAR_COMPARE(DwordCompare, DwordType)
KO_SCALAR_COMPARE(O_8BCompare, O_8BType)
KO_SCALAR_COMPARE(O_U8BCompare, O_U8BType)
KO_SCALAR_COMPARE(FloatCompare, FloatType)
KO_SCALAR_COMPARE(DoubleCompare, DoubleType)
