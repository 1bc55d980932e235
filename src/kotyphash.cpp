#include <kotyphash.h>

#include "koscalartype.h"

#define KO_SCALAR_HASH(function, Type)                                                             \
    unsigned function(unsigned char format, unsigned length, void* value, unsigned count,          \
                      int& status)                                                                 \
    {                                                                                              \
        return HashScalars<Type>(format, length, value, count, status);                            \
    }

KO_SCALAR_HASH(CharHash, CharType)
KO_SCALAR_HASH(ByteHash, ByteType)
KO_SCALAR_HASH(ShortHash, ShortType)
KO_SCALAR_HASH(WordHash, WordType)
KO_SCALAR_HASH(IntHash, IntType)
KO_SCALAR_HASH(UnsignedHash, UnsignedType)
KO_SCALAR_HASH(LongHash, LongType)
KO_SCALAR_HASH(DwordHash, DwordType)
KO_SCALAR_HASH(O_8BHash, O_8BType)
KO_SCALAR_HASH(O_U8BHash, O_U8BType)
KO_SCALAR_HASH(FloatHash, FloatType)
KO_SCALAR_HASH(DoubleHash, DoubleType)
