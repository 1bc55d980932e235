#ifndef KOMEMORY_H
#define KOMEMORY_H

#include "koscalar.h"

#include <cstddef>

/// Told of `size` bytes that could not be had. May return.
using KoMemoryHandler = void (*)(std::size_t size);

/// `size` bytes of the process heap, aligned for every scalar and not initialised;
/// the caller releases them with KoFree. A size of 0 gives memory of its own too.
/// Null when the heap has none: no handler is called here, the caller does it with
/// the size it needed.
KOBASE_API void* KoAlloc(std::size_t size);

/// Releases memory of KoAlloc; null is allowed.
KOBASE_API void KoFree(void* memory);

/// Tells the installed handler that `size` bytes could not be had. The default
/// handler writes the size to standard error and aborts the process; another may
/// return, and so does this function then.
KOBASE_API void KoCallMemoryHandler(std::size_t size);

/// Installs `handler` (null: the default) and returns the one that was installed.
/// The exchange is not synchronised.
KOBASE_API KoMemoryHandler KoSetMemoryHandler(KoMemoryHandler handler);

/// Replaces the heap behind KoAlloc and KoFree, so that a test can let the n-th
/// allocation fail; a null brings the process heap back. `allocate` gets a size
/// of at least 1 and `release` never gets null. Memory that is in use across the
/// change is released by the new heap. Not synchronised.
KOBASE_API void KoSetAllocator(void* (*allocate)(std::size_t), void (*release)(void*));

#endif
