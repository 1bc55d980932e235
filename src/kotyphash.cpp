#include <kotyphash.h>

#include "koscalartype.h"

// Signed bytes keep the hash that they had before the others got theirs.
unsigned CharHash(unsigned char, unsigned length, void* value, unsigned count, int& status)
{
    return KoOlderHashWalk(length, value, 1, count, status, [](const unsigned char* element) {
        return static_cast<o_u4b>(o_4b{static_cast<o_1b>(*element)});
    });
}

#define KO_SCALAR_HASH(function, Type)                                                             \
    unsigned function(unsigned char format, unsigned length, void* value, unsigned count,          \
                      int& status)                                                                 \
    {                                                                                              \
        return HashScalars<Type>(format, length, value, count, status);                            \
    }

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
