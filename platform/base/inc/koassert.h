#ifndef KOASSERT_H
#define KOASSERT_H

#include "koscalar.h"

/// What becomes of a programming error: `text` is the expression or the message,
/// `file` and `line` its place in the sources. May return.
using KoAssertHandler = void (*)(const char* text, const char* file, int line);

/// Reports a programming error to the installed handler and returns; execution goes
/// on. The default handler writes one line to standard error. Null texts are allowed.
KOBASE_API void KORA_assert(const char* text, const char* file, int line);

/// Installs `handler` (null: the default) and returns the one that was installed.
/// The exchange is not synchronised with KORA_assert.
KOBASE_API KoAssertHandler KoSetAssertHandler(KoAssertHandler handler);

#endif
