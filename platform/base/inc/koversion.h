#ifndef KOVERSION_H
#define KOVERSION_H

#include "koscalar.h"

/// Compares the five components of a library's version with those of this system
/// (12.0.2.248.0). Bits 0 to 3 of `flags` ask for an equal major, minor, patch and
/// build; other bits mean nothing. Returns 0, or the number (1 to 4) of the first
/// component asked for that differs. The fifth component is never compared.
KOBASE_API int CheckKoVersionNumber(unsigned major, unsigned minor, unsigned patch, unsigned build,
                                    unsigned fifth, int flags);

#endif
