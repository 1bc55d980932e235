#ifndef KOSWAP_H
#define KOSWAP_H

#include "koscalar.h"

#include <cstddef>

/// Copies `count` elements of `width` bytes (2, 4 or 8; nothing is done for another
/// width), each with its bytes in the opposite order. Neither operand needs to be
/// aligned; they must not overlap unless they are the same address. Uses the vector
/// instructions that the running processor has; copying is fastest where the
/// destination is aligned to its elements.
KOBASE_API void KoSwapCopy(void* destination, const void* source, unsigned width,
                           std::size_t count);

/// The forms in which KoSwapCopy exists.
enum class KoSwapForm : unsigned char {
    Plain,  ///< one element at a time; on every machine
    Vector, ///< AVX2, or SSSE3 where GCC builds for Windows
};

/// KoSwapCopy in one form, for tests and measurements. False, with nothing copied,
/// when the build or the processor does not have it or the width is none of those.
KOBASE_API bool KoSwapCopyAs(KoSwapForm form, void* destination, const void* source, unsigned width,
                             std::size_t count);

#endif
