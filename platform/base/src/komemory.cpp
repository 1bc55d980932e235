#include "komemory.h"

#include <cstdio>
#include <cstdlib>

namespace
{

void ReportAndAbort(std::size_t size)
{
    std::fprintf(stderr, "out of memory: %llu bytes could not be allocated\n",
                 static_cast<unsigned long long>(size));
    std::abort();
}

struct Heap {
    void* (*allocate)(std::size_t);
    void (*release)(void*);
};

constinit KoMemoryHandler g_handler = ReportAndAbort;
constinit Heap g_heap = {std::malloc, std::free};

/// The innermost scope of this thread. It is read where the loader puts it, without a call: scopes
/// come and go with every value that is read.
#if defined(__linux__)
[[gnu::tls_model("initial-exec")]]
#endif
constinit thread_local KoMemoryScope* t_scope = nullptr;

} // namespace

void* KoAlloc(std::size_t size)
{
    return g_heap.allocate(size ? size : 1);
}

void KoFree(void* memory)
{
    if (memory)
        g_heap.release(memory);
}

/// What scopes let the handler see. A friend function would be one that is not imported.
struct KoMemoryScopes {
    static void Tell(KoMemoryScope& scope, std::size_t size)
    {
        scope.m_hasRunOut = true;
        if (scope.m_handler != nullptr)
            scope.m_handler(scope.m_context, size);
        else if (g_handler != ReportAndAbort)
            g_handler(size);
    }
};

void KoCallMemoryHandler(std::size_t size)
{
    if (t_scope != nullptr)
        KoMemoryScopes::Tell(*t_scope, size);
    else
        g_handler(size);
}

KoMemoryScope::KoMemoryScope(Handler handler, void* context) noexcept
    : m_outer(t_scope), m_handler(handler), m_context(context)
{
    t_scope = this;
}

KoMemoryScope::~KoMemoryScope()
{
    t_scope = m_outer;
}

KoMemoryHandler KoSetMemoryHandler(KoMemoryHandler handler)
{
    const KoMemoryHandler previous = g_handler;
    g_handler = handler ? handler : ReportAndAbort;
    return previous;
}

void KoSetAllocator(void* (*allocate)(std::size_t), void (*release)(void*))
{
    g_heap = allocate && release ? Heap{allocate, release} : Heap{std::malloc, std::free};
}
