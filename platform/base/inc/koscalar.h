#ifndef KOSCALAR_H
#define KOSCALAR_H

/// Scalar names with the same width on every platform, and the export macro of
/// the base-services library. `long` never appears in a stored or exported type:
/// its width differs between the systems.

#if defined(_WIN32)
#if defined(KOBASE_BUILD)
#define KOBASE_API __declspec(dllexport)
#elif defined(KO_STATIC)
#define KOBASE_API
#else
#define KOBASE_API __declspec(dllimport)
#endif
#else
#define KOBASE_API __attribute__((visibility("default")))
#endif

using o_char = signed char;       ///< 8 bits, signed
using o_1b = signed char;         ///< 8 bits, signed
using o_u1b = unsigned char;      ///< 8 bits, unsigned
using o_2b = short;               ///< 16 bits, signed
using o_u2b = unsigned short;     ///< 16 bits, unsigned
using o_4b = int;                 ///< 32 bits, signed
using o_u4b = unsigned int;       ///< 32 bits, unsigned
using o_8b = long long;           ///< 64 bits, signed
using o_u8b = unsigned long long; ///< 64 bits, unsigned
using o_float = float;            ///< IEEE 754 binary32
using o_double = double;          ///< IEEE 754 binary64

static_assert(sizeof(o_2b) == 2 && sizeof(o_4b) == 4 && sizeof(o_8b) == 8);
static_assert(sizeof(o_float) == 4 && sizeof(o_double) == 8);

/// The format byte, passed to every function that reads or writes values.
enum KoFormat : unsigned char {
    KoFMT_LITTLE = 1,        ///< persistent, least significant byte first
    KoFMT_BIG = 2,           ///< persistent, most significant byte first
    KoFMT_MEMORY = 8,        ///< the form in which the running process holds the value
    KoFMT_IGNORE_CS = 0x20,  ///< strings: ignore the code set of a stored string
    KoFMT_NATIVE_CS = 0x40,  ///< strings: a stored string without code set is in the native one
    KoFMT_KEY = 0x80,        ///< strings: the key form used in indexes
    KoFMT_ORDER_MASK = 0x0F, ///< the bits that choose the byte order
};

#endif
