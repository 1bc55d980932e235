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

void KoCallMemoryHandler(std::size_t size)
{
    g_handler(size);
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
