#include "koservices.h"

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

constinit KoMemoryHandler g_handler = ReportAndAbort;
using Allocate = void* (*)(std::size_t);
using Release = void (*)(void*);

Allocate g_allocate = std::malloc;
Release g_release = std::free;

} // namespace

void* KoAlloc(std::size_t size)
{
    return g_allocate(size ? size : 1);
}

void KoFree(void* memory)
{
    if (memory)
        g_release(memory);
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
    g_allocate = allocate ? allocate : std::malloc;
    g_release = release ? release : std::free;
}
