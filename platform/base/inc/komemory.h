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
/// return, and so does this function then. Inside a KoMemoryScope that is told instead.
KOBASE_API void KoCallMemoryHandler(std::size_t size);

/// Installs `handler` (null: the default) and returns the one that was installed.
/// The exchange is not synchronised.
KOBASE_API KoMemoryHandler KoSetMemoryHandler(KoMemoryHandler handler);

/// While it lives, memory that runs out in the thread that made it ends no process: a handler of
/// the scope is told in place of that of the process; without one that of the process is told,
/// unless it is the default one. Scopes of a thread stand inside one another, and the innermost
/// counts.
class KOBASE_API KoMemoryScope
{
public:
    /// Told of `bytes` that could not be had. Returns.
    using Handler = void (*)(void* context, std::size_t bytes);

    explicit KoMemoryScope(Handler handler = nullptr, void* context = nullptr) noexcept;
    ~KoMemoryScope();
    KoMemoryScope(const KoMemoryScope&) = delete;
    KoMemoryScope& operator=(const KoMemoryScope&) = delete;

    /// True once memory ran out.
    bool HasRunOut() const noexcept { return m_hasRunOut; }

private:
    friend struct KoMemoryScopes;

    KoMemoryScope* m_outer;
    Handler m_handler;
    void* m_context;
    bool m_hasRunOut = false;
};

/// Replaces the heap behind KoAlloc and KoFree, so that a test can let the n-th
/// allocation fail; a null brings the process heap back. `allocate` gets a size
/// of at least 1 and `release` never gets null. Memory that is in use across the
/// change is released by the new heap. Not synchronised.
KOBASE_API void KoSetAllocator(void* (*allocate)(std::size_t), void (*release)(void*));

#endif
